#include "RuleFieldCheck.h"

#include <algorithm>

namespace {

bool holdsLineSeparator(QStringView text)
{
    return std::any_of(text.begin(), text.end(), [](QChar c) { return isRuleLineSeparator(c.unicode()); });
}

bool fitsQuotedField(QStringView text)
{
    return !holdsLineSeparator(text) && !text.contains(u'"');
}

} // namespace

bool isRuleLineSeparator(char16_t c)
{
    return (c >= 0x0a && c <= 0x0d) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

std::optional<RuleField> unwritableRuleField(const NVCRuleBase &rule)
{
    if (!fitsQuotedField(rule.pathView()))
        return RuleField::Path;
    if (!fitsQuotedField(rule.processName()))
        return RuleField::Process;
    if (holdsLineSeparator(rule.tag()))
        return RuleField::Tag;
    if (!fitsQuotedField(rule.constraint()))
        return RuleField::Constraint;
    return std::nullopt;
}

QString ruleFieldName(RuleField field)
{
    switch (field) {
    case RuleField::Path:
        return QStringLiteral("path");
    case RuleField::Process:
        return QStringLiteral("process");
    case RuleField::Tag:
        return QStringLiteral("tag");
    case RuleField::Constraint:
        return QStringLiteral("constraint");
    }
    return QString();
}
