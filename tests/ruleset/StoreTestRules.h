#pragma once

#include "PolicyRule.h"
#include "RuleManager.h"
#include "WatchRule.h"

#include <memory>

// Compact rule builders for the store's tests.
inline PolicyRulePtr policyRule(quint32 policyClass, quint32 policyType, const QString &path,
                                const QString &processName, quint32 operations,
                                const QString &constraint = QStringLiteral(""), bool system = false)
{
    auto rule = std::make_shared<PolicyRule>();
    rule->policyClass = policyClass;
    rule->policyType = policyType;
    rule->setPath(path);
    rule->setProcessName(processName);
    rule->operations = operations;
    rule->setConstraint(constraint);
    rule->system = system;
    return rule;
}

inline WatchRulePtr watchRule(const QString &path, const QString &processName, bool system = false)
{
    auto rule = std::make_shared<WatchRule>();
    rule->policyType = PolicyType::Prefix;
    rule->setPath(path);
    rule->setProcessName(processName);
    rule->operations = Operation::Read;
    rule->system = system;
    return rule;
}

// A view of the store as its rows, with or without system rules.
inline QList<RuleBasePtr> rows(const RuleManager &manager, bool includeSystemRules)
{
    QList<RuleBasePtr> result;
    for (quint64 i = 0; i < manager.totalRules(includeSystemRules); ++i)
        result.append(manager.ruleAtIndex(i, includeSystemRules));
    return result;
}
