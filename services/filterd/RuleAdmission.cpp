#include "RuleAdmission.h"

#include "RequestLimits.h"
#include "RuleCoding.h"
#include "RuleFieldCheck.h"

namespace quiven::filterd {
namespace {

std::optional<QString> refusalFor(const NVCRuleBase &rule)
{
    for (const QStringView text : {rule.pathView(), QStringView(rule.processName()), QStringView(rule.tag()),
                                   QStringView(rule.constraint()), QStringView(rule.processShortName())}) {
        if (text.size() > kMaxRuleTextLength)
            return QStringLiteral("a text of the rule is longer than %1 characters").arg(kMaxRuleTextLength);
    }
    if (const std::optional<RuleField> field = unwritableRuleField(rule))
        return QStringLiteral("the %1 holds a line break or a double quote").arg(ruleFieldName(*field));
    return std::nullopt;
}

template <typename Rule>
bool admitEach(const QList<std::shared_ptr<Rule>> &rules, const char *kind, QString *error)
{
    for (qsizetype index = 0; index < rules.size(); ++index) {
        if (const std::optional<QString> refusal = refusalFor(*rules.at(index))) {
            *error = QStringLiteral("%1 rule %2: %3").arg(QLatin1String(kind)).arg(index).arg(*refusal);
            return false;
        }
    }
    return true;
}

} // namespace

std::optional<UserRuleset> admitRules(const QList<QVariantMap> &watchRules,
                                      const QList<QVariantMap> &policyRules, QString *error)
{
    UserRuleset ruleset;
    if (!quiven::dbus::unarchiveWatchRules(watchRules, &ruleset.watchRules, error) ||
        !quiven::dbus::unarchivePolicyRules(policyRules, &ruleset.policyRules, error) ||
        !admitEach(ruleset.watchRules, "watch", error) || !admitEach(ruleset.policyRules, "policy", error))
        return std::nullopt;
    return ruleset;
}

} // namespace quiven::filterd
