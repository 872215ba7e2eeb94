#pragma once

#include "NVCRuleBase.h"

#include <QJsonObject>
#include <QJsonValue>

class RuleManager;

// The one JSON form of a rule that every quivenctl command prints.
namespace quivenctl {

// Record fields plus the derived "kind", "name", "group" (policy rules only)
// and "text" (the file line without its newline). Absent texts are null.
QJsonObject ruleToJson(const NVCRuleBase &rule);

// The same, plus "valid" and, for policy rules, "redundant", answered by
// `manager`, which must hold `rule` for the redundancy answer to mean anything.
QJsonObject ruleToJson(const RuleBasePtr &rule, const RuleManager &manager);

// A text as JSON, keeping absent (null) apart from empty.
QJsonValue nullableText(const QString &text);

} // namespace quivenctl
