#pragma once

#include "PolicyRule.h"
#include "WatchRule.h"

#include <QList>
#include <QString>

// The user's ruleset file the filter daemon owns.
namespace quiven::filterd {

struct UserRuleset
{
    QList<WatchRulePtr> watchRules;
    QList<PolicyRulePtr> policyRules;
};

UserRuleset readUserRuleset(const QString &path);
// Replaces the file in one step (temporary file, flush to disk, rename);
// refuses, with *error saying so, when a symbolic link stands at the path.
bool writeUserRuleset(const QString &path, const UserRuleset &ruleset, QString *error);

} // namespace quiven::filterd
