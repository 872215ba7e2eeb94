#pragma once

#include "PolicyRule.h"
#include "RuleCell.h"
#include "WatchRule.h"

#include <QCoreApplication>

class RuleManager;

// Helpers the rules table and both rule editors share: the texts, colours and
// icons of the table's cells and the checks behind them.
class NVCEditPolicyUI
{
    Q_DECLARE_TR_FUNCTIONS(NVCEditPolicyUI)
public:
    static constexpr int columnCount = 8;

    // Column 0: the "system" or "new" image for states 1 and 2.
    static void setRuleState(int state, RuleCell &cell);
    // `parentRule` is the policy rule of the row above, when there is one.
    static void populatePolicyRule(const PolicyRulePtr &rule, RuleCell &cell, int column,
                                   const NVCRuleBase *parentRule, const RuleManager &manager);
    static void populateWatchRule(const WatchRule &rule, RuleCell &cell, int column);
    // The name and icon show only on the first row of an application group.
    static void setApplicationNameForRule(const NVCRuleBase &rule, RuleCell &cell,
                                          const NVCRuleBase *parentRule);
    static void addTag(const NVCRuleBase &rule, RuleCell &cell);

    static bool isValidApplicationPath(const NVCRuleBase &rule);
    static bool hasDefaultColor(quint32 type, const QString &path, bool isSystem);
    // Lower-case hexadecimal digests of a file's whole contents; null when it
    // cannot be read. Kept per file while its size and time stay the same.
    static QString sha1(const QString &path);
    static QString sha256(const QString &path);

    // The colours the table and editors mark texts with.
    static QColor systemRed();
    static QColor systemOrange();
};
