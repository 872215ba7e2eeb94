#include "PolicyFilterRows.h"
#include "RuleManager.h"
#include "RuleSearch.h"
#include "RuleText.h"

#include <QMutexLocker>
#include <algorithm>

namespace {

// The order of group keys in the views: case-folded, the key itself breaking ties.
bool keyBefore(const QString &a, const QString &b)
{
    const int folded = RuleText::caseFolded(a).compare(RuleText::caseFolded(b));
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
    const auto listedBefore = [&key](const NVCRuleBase &row) {
        return isWatchRule(row) || !keyBefore(key, applicationGroupIdentityForRule(row));
    };
    const auto shownBefore = [&](const NVCRuleBase &row) {
        const int order = compareBySortOrder(row, *rule);
        return order != 0 ? order < 0 : listedBefore(row);
    };
    // The rows shown before the new rule come first in a view: a binary search finds its place.
    const auto firstRowNotBefore = [this, &shownBefore](bool includeSystemRules) {
        qsizetype low = 0;
        qsizetype high = m_views.size(includeSystemRules);
        while (low < high) {
            const qsizetype middle = low + (high - low) / 2;
            if (shownBefore(*m_views.ruleAt(middle, includeSystemRules)))
                low = middle + 1;
            else
                high = middle;
        }
        return low;
    };

    const QList<PolicyRulePtr> &policies = m_views.policies();
    const qsizetype policyAt =
        std::partition_point(policies.cbegin(), policies.cend(),
                             [&listedBefore](const PolicyRulePtr &row) { return listedBefore(*row); }) -
        policies.cbegin();
    const qsizetype row = firstRowNotBefore(true);
    const qsizetype userRow = rule->system ? 0 : firstRowNotBefore(false);
    m_views.insertPolicy(policyAt, rule, row, userRow);
    sortRanksGainedRow(row);
    Q_EMIT viewChanged();
}

void RuleManager::removeFromViews(const PolicyRulePtr &rule)
{
    sortRanksLostRows(m_views.removePolicy(rule));
    Q_EMIT viewChanged();
}
