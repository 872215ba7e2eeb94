#include "WatchRule.h"

#include "RuleText.h"

QString WatchRule::toString() const
{
    return textForRule(*this);
}

QString WatchRule::textForRule(const WatchRule &rule)
{
    QString cleanTag = rule.tag();
    cleanTag.remove(u'"');
    // A watch rule's flags are not part of its line.
    return u"watch " + RuleText::policyTypeWord(rule.policyType) + u" \"" + rule.path() + u"\" \"" +
           rule.processName() + u"\" " + RuleText::operationLetters(rule.operations) + u" \"" + cleanTag +
           u"\"\n";
}

QString WatchRule::description() const
{
    // No closing bracket: log readers match this exact shape.
    return QStringLiteral("<WatchRule: policyClass: %1, policyType: %2, path: %3, operations: %4, flags: %5, "
                          "processName: %6, tag: %7, processShortName: %8, system: %9, sequence:%10, "
                          "constraint: %11")
        .arg(policyClass)
        .arg(policyType)
        .arg(RuleText::orNullMarker(path()))
        .arg(operations)
        .arg(flags)
        .arg(RuleText::orNullMarker(processName()), RuleText::orNullMarker(tag()),
             RuleText::orNullMarker(processShortName()))
        .arg(int(system))
        .arg(sequence)
        .arg(RuleText::orNullMarker(constraint()));
}

bool WatchRule::isSameKindAs(const NVCRuleBase &other) const
{
    return dynamic_cast<const WatchRule *>(&other) != nullptr;
}
