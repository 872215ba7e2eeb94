#include "RuleCoding.h"

namespace quiven::dbus {
namespace {

template <typename Rule> QList<QVariantMap> archiveAll(const QList<std::shared_ptr<Rule>> &rules)
{
    QList<QVariantMap> archives;
    archives.reserve(rules.size());
    for (const auto &rule : rules)
        archives << rule->archive();
    return archives;
}

template <typename Rule>
bool unarchiveAll(const QList<QVariantMap> &archives, QList<std::shared_ptr<Rule>> *rules, QString *error)
{
    QList<std::shared_ptr<Rule>> decoded;
    for (qsizetype i = 0; i < archives.size(); ++i) {
        auto rule = std::make_shared<Rule>();
        QString reason;
        if (!rule->unarchive(archives[i], &reason)) {
            if (error)
                *error = QStringLiteral("rule %1: %2").arg(i).arg(reason);
            return false;
        }
        decoded << rule;
    }
    *rules = decoded;
    return true;
}

} // namespace

QList<QVariantMap> archiveWatchRules(const QList<WatchRulePtr> &rules)
{
    return archiveAll(rules);
}

QList<QVariantMap> archivePolicyRules(const QList<PolicyRulePtr> &rules)
{
    return archiveAll(rules);
}

bool unarchiveWatchRules(const QList<QVariantMap> &archives, QList<WatchRulePtr> *rules, QString *error)
{
    return unarchiveAll(archives, rules, error);
}

bool unarchivePolicyRules(const QList<QVariantMap> &archives, QList<PolicyRulePtr> *rules, QString *error)
{
    return unarchiveAll(archives, rules, error);
}

} // namespace quiven::dbus
