#pragma once

#include "UserRulesetFile.h"

#include <QList>
#include <QString>
#include <QVariantMap>
#include <optional>

// Turns the rule records of a save request into a ruleset the daemon may
// write, or says why not: wrong types, texts beyond the length cap, or a
// field that the file's line grammar cannot hold.
namespace quiven::filterd {

std::optional<UserRuleset> admitRules(const QList<QVariantMap> &watchRules,
                                      const QList<QVariantMap> &policyRules, QString *error);

} // namespace quiven::filterd
