#include "RuleLogging.h"
#include "RuleManager.h"

namespace {

// Constraint forms the filter understands; only their lengths are checked, so
// that no rule file the filter accepts is refused here.
bool isAcceptedConstraint(const QString &constraint)
{
    if (constraint.isEmpty())
        return true;
    if (constraint == QLatin1String("APPLE_PF_BINARY") || constraint == QLatin1String("APPLECOMPUTER"))
        return true;
    const qsizetype length = constraint.size();
    return length == 10 || length == 40 || length == 64;
}

} // namespace

bool RuleManager::validateRule(const NVCRuleBase &rule) const
{
    qCDebug(lcRuleManagement).noquote() << QStringLiteral("Validating rule %1").arg(rule.description());
    if (rule.processName().isNull() || rule.pathView().isNull()) {
        qCWarning(lcRuleManagement) << "Validation failed due to invalid process name or path";
        return false;
    }
    if (rule.policyClass == PolicyClass::Invalid || rule.policyType == PolicyType::Invalid) {
        qCWarning(lcRuleManagement) << "Validation failed due to invalid class or type";
        return false;
    }
    if (!isAcceptedConstraint(rule.constraint())) {
        qCWarning(lcRuleManagement).noquote()
            << QStringLiteral("Validation failed due to invalid constraint <%1>").arg(rule.constraint());
        return false;
    }
    qCDebug(lcRuleManagement).noquote()
        << QStringLiteral("Successfully validated syntax for rule %1").arg(rule.description());
    return true;
}
