#pragma once

#include "PolicyRule.h"
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
    rule->path = path;
    rule->processName = processName;
    rule->operations = operations;
    rule->constraint = constraint;
    rule->system = system;
    return rule;
}

inline WatchRulePtr watchRule(const QString &path, const QString &processName, bool system = false)
{
    auto rule = std::make_shared<WatchRule>();
    rule->policyType = PolicyType::Prefix;
    rule->path = path;
    rule->processName = processName;
    rule->operations = Operation::Read;
    rule->system = system;
    return rule;
}
