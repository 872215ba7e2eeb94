#include "RuleJson.h"

#include "RuleManager.h"

namespace quivenctl {

QJsonValue nullableText(const QString &text)
{
    return text.isNull() ? QJsonValue(QJsonValue::Null) : QJsonValue(text);
}

QJsonObject ruleToJson(const NVCRuleBase &rule)
{
    const bool isWatch = dynamic_cast<const WatchRule *>(&rule) != nullptr;
    QString text = rule.toString();
    if (text.endsWith(QLatin1Char('\n')))
        text.chop(1);

    QJsonObject object{
        {QStringLiteral("kind"), isWatch ? QStringLiteral("watch") : QStringLiteral("policy")},
        {QStringLiteral("policyClass"), qint64(rule.policyClass)},
        {QStringLiteral("policyType"), qint64(rule.policyType)},
        {QStringLiteral("path"), nullableText(rule.path())},
        {QStringLiteral("processName"), nullableText(rule.processName())},
        {QStringLiteral("operations"), qint64(rule.operations)},
        {QStringLiteral("flags"), qint64(rule.flags)},
        {QStringLiteral("tag"), nullableText(rule.tag())},
        {QStringLiteral("constraint"), nullableText(rule.constraint())},
        {QStringLiteral("created"), rule.created},
        {QStringLiteral("sequence"), rule.sequence},
        {QStringLiteral("system"), rule.system},
        {QStringLiteral("name"), nullableText(RuleManager::applicationNameForRule(rule))},
        {QStringLiteral("text"), text},
    };
    if (!isWatch)
        object.insert(QStringLiteral("group"),
                      nullableText(RuleManager::applicationGroupIdentityForRule(rule)));
    return object;
}

QJsonObject ruleToJson(const RuleBasePtr &rule, const RuleManager &manager)
{
    QJsonObject object = ruleToJson(*rule);
    object.insert(QStringLiteral("valid"), manager.validateRule(*rule));
    if (const PolicyRulePtr policy = std::dynamic_pointer_cast<PolicyRule>(rule))
        object.insert(QStringLiteral("redundant"), manager.isRedundant(policy));
    return object;
}

} // namespace quivenctl
