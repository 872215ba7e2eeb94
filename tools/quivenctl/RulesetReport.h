#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>

class RuleManager;

namespace quivenctl {

struct ReadSettings
{
    bool system = false;     // label the rules as system rules
    bool validating = false; // take `set` lines from every file
};

// Reads `paths` into `manager` as a single-file manager followed by added
// files, then rebuilds its views. Returns one {"path","ok","error"} entry per
// file; `allRead` tells whether every file was read.
QJsonArray readRuleFiles(RuleManager &manager, const QStringList &paths, const ReadSettings &settings,
                         bool *allRead);

// The manager's state as one object: files, options, teamIDs, traceRules,
// watchRules, policyRules and rows (the view with or without system rules).
QJsonObject rulesetReport(const RuleManager &manager, const QJsonArray &files, bool userOnly);

QJsonObject fileEntry(const QString &path, bool ok, const QString &error);

} // namespace quivenctl
