#pragma once

#include "FileAccess.h"
#include "PolicyRule.h"

#include <QList>
#include <vector>

class RuleManager;

// The policy rule groups of `manager` that can hold rules about the access:
// those of the program, under each way a rule can name it, alone or with its
// parent or an ancestor, and those of any program. Each group appears once.
// The caller holds the manager's lock.
std::vector<const QList<PolicyRulePtr> *> candidateGroups(const RuleManager &manager,
                                                          const AccessMatcher &matcher);
