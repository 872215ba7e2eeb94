#pragma once

#include "RuleManager.h"

#include <QMap>
#include <algorithm>

// Redundancy read plainly: another rule of the group, of the same class and
// present constraint, allows at least the rule's low eight operation bits and
// reaches its path, everywhere when on "any" or "", as a prefix rule on the
// paths that begin with its own.
inline bool plainlyRedundant(const QList<PolicyRulePtr> &group, const PolicyRule &rule)
{
    return std::any_of(group.cbegin(), group.cend(), [&rule](const PolicyRulePtr &member) {
        if (!member || member.get() == &rule)
            return false;
        const QStringView prefix = member->pathView();
        if (prefix.isNull() || member->sharedConstraint().isNull() ||
            member->sharedConstraint() != rule.sharedConstraint() ||
            member->policyClass != rule.policyClass || ((rule.operations & 0xFF) & ~member->operations) != 0)
            return false;
        if (prefix.isEmpty() || prefix == u"any")
            return true;
        return member->policyType == PolicyType::Prefix && !rule.pathView().isNull() &&
               rule.pathView().startsWith(prefix);
    });
}

// The store's views computed the plain way, without any of its shortcuts:
// watch rules, then policy groups ordered by their case-folded key (the key
// itself breaking ties), members in insertion order; a filter keeps the rules
// whose path, process or (policy rules only) tag holds the needle, folding
// case one UTF-16 unit at a time.
class StoreReferenceModel
{
public:
    void addPolicy(const PolicyRulePtr &rule)
    {
        m_groups[RuleManager::applicationGroupIdentityForRule(*rule)].append(rule);
    }
    void addWatch(const WatchRulePtr &rule) { m_watches.append(rule); }
    void deletePolicy(const PolicyRulePtr &rule)
    {
        const auto group = m_groups.find(RuleManager::applicationGroupIdentityForRule(*rule));
        if (group != m_groups.end())
            group->removeAll(rule);
    }
    void setFilter(const QString &text) { m_filter = text; }

    QList<RuleBasePtr> view(bool includeSystemRules, bool filtered = true) const
    {
        const auto includes = [this, filtered](const NVCRuleBase &rule, bool withTag) {
            return !filtered || this->includes(rule, withTag);
        };
        QList<RuleBasePtr> result;
        for (const WatchRulePtr &rule : m_watches) {
            if (includes(*rule, false) && (includeSystemRules || !rule->system))
                result.append(rule);
        }
        QStringList keys = m_groups.keys();
        std::sort(keys.begin(), keys.end(), [](const QString &a, const QString &b) {
            const QString foldedA = a.toCaseFolded();
            const QString foldedB = b.toCaseFolded();
            return foldedA != foldedB ? foldedA < foldedB : a < b;
        });
        for (const QString &key : keys) {
            for (const PolicyRulePtr &rule : m_groups[key]) {
                if (includes(*rule, true) && (includeSystemRules || !rule->system))
                    result.append(rule);
            }
        }
        return result;
    }

    // Another rule of the group covers it.
    bool isRedundant(const PolicyRule &rule) const
    {
        const auto group = m_groups.constFind(RuleManager::applicationGroupIdentityForRule(rule));
        return group != m_groups.cend() && plainlyRedundant(*group, rule);
    }

    // What the writer puts in a file: every user rule's line, whatever the filter.
    QByteArray userFile() const
    {
        QByteArray bytes;
        for (const RuleBasePtr &rule : view(false, false))
            bytes += rule->toString().toUtf8();
        return bytes;
    }

    static bool contains(const QString &field, const QString &needle)
    {
        if (field.isNull())
            return false;
        const auto fold = [](QChar c) { return QChar::toCaseFolded(c.unicode()); };
        for (qsizetype at = 0; at + needle.size() <= field.size(); ++at) {
            qsizetype i = 0;
            while (i < needle.size() && fold(field[at + i]) == fold(needle[i]))
                ++i;
            if (i == needle.size())
                return true;
        }
        return false;
    }

private:
    bool includes(const NVCRuleBase &rule, bool withTag) const
    {
        return m_filter.isEmpty() || contains(rule.path(), m_filter) ||
               contains(rule.processName(), m_filter) || (withTag && contains(rule.tag(), m_filter));
    }

    QMap<QString, QList<PolicyRulePtr>> m_groups;
    QList<WatchRulePtr> m_watches;
    QString m_filter;
};
