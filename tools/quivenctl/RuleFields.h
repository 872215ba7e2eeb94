#pragma once

#include "NVCRuleBase.h"

#include <QCommandLineParser>
#include <QString>

// The field options with which `rules add` and `rules delete` describe one
// rule, and the rule they make.
namespace quivenctl {

void addRuleFieldOptions(QCommandLineParser &parser);

// The first required field option that is missing, or null.
QString missingRuleField(const QCommandLineParser &parser);

// The rule the options describe; null with a message naming the bad field
// when a value is invalid.
RuleBasePtr ruleFromFieldOptions(const QCommandLineParser &parser, QString *error);

} // namespace quivenctl
