#pragma once

#include "FileAccess.h"

#include <QList>
#include <optional>

class RuleManager;

// One rule that applies to an access, with what the rules table shows of it.
// Class, system and the rule's texts are the rule's own fields.
struct RuleMatch
{
    RuleBasePtr rule;
    bool isWatchRule = false;
    bool redundant = false;     // another rule of its group covers it (policy rules only)
    QString group;              // application group identity; null for watch rules
    std::optional<quint64> row; // as ruleAtIndex(row, true) counts; none while the search hides the rule
};

struct AccessMatches
{
    QList<RuleMatch> matches;           // valid rules, in the table's order
    QList<RuleMatch> wouldMatchIfValid; // rules that fail validation but would otherwise match
};

// Every policy and watch rule of `manager` that applies to `access`, allow and
// deny side by side: which of them the filter obeys is the filter's business.
// Rules are found whether or not the search shows them; rows and the groups
// searched are those of the manager's last view rebuild. Only the groups of
// the access's programs and of "any" program are looked at.
AccessMatches matchAccess(const RuleManager &manager, const FileAccess &access);
