#include "PolicyFilterRows.h"
#include "RuleManager.h"
#include "RuleSearch.h"

#include <QMutexLocker>
#include <algorithm>

namespace {

// The order of group keys in the views: case-folded, the key itself breaking ties.
bool keyBefore(const QString &a, const QString &b)
{
    const int folded = a.toCaseFolded().compare(b.toCaseFolded());
    return folded != 0 ? folded < 0 : a < b;
}

bool isWatchRule(const NVCRuleBase &rule)
{
    return dynamic_cast<const WatchRule *>(&rule) != nullptr;
}

} // namespace

void RuleManager::ruleChangedInPlace()
{
    QMutexLocker locker(&m_lock);
    m_viewsMatchRebuild = false;
    m_sortRanks.clear();
    m_filterRows.reset();
    invalidateRedundancyIndex();
}

void RuleManager::addSortedKey(const QString &key)
{
    const auto keyAt = std::lower_bound(m_sortedKeys.begin(), m_sortedKeys.end(), key, keyBefore);
    if (keyAt == m_sortedKeys.end() || *keyAt != key)
        m_sortedKeys.insert(keyAt, key);
}

void RuleManager::filterRowsGained(const PolicyRulePtr &rule, const QString &key)
{
    if (!m_filterRows)
        return;
    // While filter rows exist the keys are kept current, so filtering need not sort them again.
    addSortedKey(key);
    m_filterRows->insert(rule, [&key](const PolicyRule &row) {
        return !keyBefore(key, applicationGroupIdentityForRule(row));
    });
}

void RuleManager::filterRowsLost(const PolicyRule &rule)
{
    if (m_filterRows)
        m_filterRows->remove(rule);
}

void RuleManager::insertIntoViews(const PolicyRulePtr &rule, const QString &key)
{
    addSortedKey(key);

    if (!m_searchString.isNull()) {
        RuleSearch search(m_searchString);
        if (!search.matches(rule->path()) && !search.matches(rule->processName()) &&
            !search.matches(rule->tag())) {
            Q_EMIT viewChanged();
            return;
        }
    }

    // A rebuild lists watch rules, then groups in key order with the new rule
    // last of its own, then sorts stably: rows before it are those sorted
    // before it, or tied with it and listed before it.
    const auto listedBefore = [&key](const RuleBasePtr &row) {
        return isWatchRule(*row) || !keyBefore(key, applicationGroupIdentityForRule(*row));
    };
    const auto shownBefore = [&](const RuleBasePtr &row) {
        const int order = compareBySortOrder(*row, *rule);
        return order != 0 ? order < 0 : listedBefore(row);
    };

    const auto policyAt =
        std::partition_point(m_policyRules.cbegin(), m_policyRules.cend(),
                             [&listedBefore](const PolicyRulePtr &row) { return listedBefore(row); });
    m_policyRules.insert(policyAt - m_policyRules.cbegin(), rule);

    // While both views hold the same rules they share one list; inserting into
    // a shared list would copy it first.
    const bool shared = m_compositeIndexUserOnly.isSharedWith(m_compositeIndex);
    if (shared && !rule->system)
        m_compositeIndexUserOnly = {};
    const auto at = std::partition_point(m_compositeIndex.cbegin(), m_compositeIndex.cend(), shownBefore);
    const qsizetype row = at - m_compositeIndex.cbegin();
    m_compositeIndex.insert(row, rule);
    sortRanksGainedRow(row);
    if (shared && !rule->system) {
        m_compositeIndexUserOnly = m_compositeIndex;
    } else if (!rule->system) {
        const auto userAt = std::partition_point(m_compositeIndexUserOnly.cbegin(),
                                                 m_compositeIndexUserOnly.cend(), shownBefore);
        m_compositeIndexUserOnly.insert(userAt - m_compositeIndexUserOnly.cbegin(), rule);
    }
    Q_EMIT viewChanged();
}

void RuleManager::removeFromViews(const PolicyRulePtr &rule)
{
    std::vector<qsizetype> rows;
    for (qsizetype row = 0; row < m_compositeIndex.size(); ++row) {
        if (m_compositeIndex.at(row) == rule)
            rows.push_back(row);
    }
    sortRanksLostRows(rows);
    const bool shared = m_compositeIndexUserOnly.isSharedWith(m_compositeIndex);
    if (shared)
        m_compositeIndexUserOnly = {};
    m_policyRules.removeAll(rule);
    m_compositeIndex.removeAll(rule);
    if (shared)
        m_compositeIndexUserOnly = m_compositeIndex;
    else
        m_compositeIndexUserOnly.removeAll(rule);
    Q_EMIT viewChanged();
}
