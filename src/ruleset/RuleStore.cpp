#include "PolicyFilterRows.h"
#include "RuleLogging.h"
#include "RuleManager.h"
#include "RulePrefetch.h"
#include "RuleSearch.h"
#include "RuleText.h"
#include "TextRanks.h"
#include "TwoThreadWork.h"

#include <QMutexLocker>
#include <algorithm>
#include <vector>

namespace {

using GroupMap = QHash<QString, QList<PolicyRulePtr>>;

struct SortedGroups
{
    QStringList keys;
    std::vector<const QList<PolicyRulePtr> *> members; // of each key, found while sorting
};

// Group keys sorted ignoring case; keys equal but for case keep a fixed order.
SortedGroups sortedCaseInsensitive(const GroupMap &groups)
{
    // Where each group's key and list lie in the map.
    struct Entry
    {
        const QString *key;
        const QList<PolicyRulePtr> *members;
    };
    std::vector<Entry> entries;
    entries.reserve(std::size_t(groups.size()));
    for (auto group = groups.cbegin(); group != groups.cend(); ++group)
        entries.push_back({&group.key(), &group.value()});
    // Each key's text lies in its own block: it is asked for a few keys
    // ahead, and two threads fold a run of keys at a time.
    constexpr std::size_t distance = 8;
    constexpr std::size_t kKeysPerRun = 4096;
    std::vector<QString> folded(entries.size());
    runOnTwoThreads((entries.size() + kKeysPerRun - 1) / kKeysPerRun, [&](std::size_t run, int) {
        const std::size_t end = std::min(entries.size(), (run + 1) * kKeysPerRun);
        for (std::size_t i = run * kKeysPerRun; i < end; ++i) {
            if (i + distance < end)
                prefetchRuleData(entries[i + distance].key->constData());
            folded[i] = RuleText::caseFolded(*entries[i].key);
        }
    });
    // Keys share long beginnings (the folders of programs), which this sort compares once.
    std::vector<std::size_t> order = codeUnitOrder(std::vector<QStringView>(folded.cbegin(), folded.cend()));
    for (auto run = order.begin(); run != order.end();) {
        const auto runEnd =
            std::find_if(run + 1, order.end(), [&](std::size_t at) { return folded[at] != folded[*run]; });
        std::sort(run, runEnd,
                  [&](std::size_t a, std::size_t b) { return *entries[a].key < *entries[b].key; });
        run = runEnd;
    }
    // In key order the map's entries are visited at random: each is asked
    // for twice as far ahead as its key's text.
    SortedGroups sorted;
    sorted.keys.reserve(qsizetype(order.size()));
    sorted.members.reserve(order.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
        if (i + 2 * distance < order.size())
            prefetchRuleData(entries[order[i + 2 * distance]].key);
        if (i + distance < order.size())
            prefetchRuleData(entries[order[i + distance]].key->constData());
        sorted.keys.append(*entries[order[i]].key);
        sorted.members.push_back(entries[order[i]].members);
    }
    return sorted;
}

std::vector<const QList<PolicyRulePtr> *> groupsOfKeys(const QStringList &keys, const GroupMap &groups)
{
    std::vector<const QList<PolicyRulePtr> *> found;
    found.reserve(std::size_t(keys.size()));
    for (const QString &key : keys) {
        const auto group = groups.constFind(key);
        if (group != groups.cend())
            found.push_back(&group.value());
    }
    return found;
}

// The listing reads each record's system flag, the only line of a record it
// touches: rules read from a file share one reference count, which stays at hand.
void prefetchAhead(const std::vector<const PolicyRulePtr *> &rules, std::size_t at)
{
    constexpr std::size_t distance = 16;
    if (at + distance < rules.size()) {
        const PolicyRule *rule = rules[at + distance]->get();
        prefetchRuleData(&rule->system);
    }
}

} // namespace

QList<PolicyRulePtr> RuleManager::userPolicies() const
{
    QMutexLocker locker(&m_groupMapLock);
    QList<PolicyRulePtr> result;
    for (const auto &group : m_policyRulesByApplication) {
        for (const PolicyRulePtr &rule : group) {
            if (rule && !rule->system)
                result.append(rule);
        }
    }
    return result;
}

QList<WatchRulePtr> RuleManager::userWatchRules() const
{
    QMutexLocker locker(&m_watchListLock);
    QList<WatchRulePtr> result;
    for (const WatchRulePtr &rule : m_watchRules) {
        if (rule && !rule->system)
            result.append(rule);
    }
    return result;
}

void RuleManager::rebuildRulesCache()
{
    QMutexLocker locker(&m_lock);
    qCDebug(lcRuleManagement) << "Rebuilding rules cache";
    invalidateRedundancyIndex();

    // Keys are only ever added (or all replaced by reset), so the same count with
    // every sorted key still present means the key set is unchanged: filtering
    // then skips the sort. Filter rows outlive no change of the groups, so
    // while they exist the keys are those they were built with.
    const bool keysUnchanged =
        m_filterRows || (m_sortedKeys.size() == m_policyRulesByApplication.size() &&
                         std::all_of(m_sortedKeys.cbegin(), m_sortedKeys.cend(), [this](const QString &key) {
                             return m_policyRulesByApplication.contains(key);
                         }));
    std::vector<const QList<PolicyRulePtr> *> sortedGroups;
    if (!keysUnchanged) {
        SortedGroups sorted = sortedCaseInsensitive(m_policyRulesByApplication);
        m_sortedKeys = std::move(sorted.keys);
        sortedGroups = std::move(sorted.members);
    }

    m_sortRanks.clear();

    const bool filtering = !m_searchString.isNull();
    RuleSearch search(m_searchString);
    std::vector<const WatchRulePtr *> watches;
    watches.reserve(std::size_t(m_watchRules.size()));
    for (const WatchRulePtr &rule : std::as_const(m_watchRules)) {
        if (rule && (!filtering || search.matches(rule->path()) || search.matchesShared(rule->processName())))
            watches.push_back(&rule);
    }

    std::vector<const PolicyRulePtr *> policies;
    if (filtering) {
        if (!keysUnchanged || !m_filterRows)
            m_filterRows = std::make_unique<PolicyFilterRows>(m_sortedKeys, m_policyRulesByApplication);
        policies = m_filterRows->matching(search);
    } else {
        if (keysUnchanged)
            sortedGroups = groupsOfKeys(m_sortedKeys, m_policyRulesByApplication);
        // Each group's list lies in a block of its own: it is asked for a few groups ahead.
        constexpr std::size_t distance = 8;
        for (std::size_t i = 0; i < sortedGroups.size(); ++i) {
            if (i + distance < sortedGroups.size() && !sortedGroups[i + distance]->isEmpty())
                prefetchRuleData(sortedGroups[i + distance]->constData());
            for (const PolicyRulePtr &rule : *sortedGroups[i]) {
                if (rule)
                    policies.push_back(&rule);
            }
        }
    }

    m_views.beginListing(qsizetype(watches.size()), qsizetype(policies.size()));
    for (const WatchRulePtr *rule : watches)
        m_views.appendWatch(*rule);
    for (std::size_t i = 0; i < policies.size(); ++i) {
        prefetchAhead(policies, i);
        m_views.appendPolicy(*policies[i]);
    }

    if (m_sortDescriptors)
        sortViews(*m_sortDescriptors);
    m_viewsMatchRebuild = true;
    Q_EMIT viewChanged();
}

void RuleManager::applyFilterWithString(const QString &text)
{
    QMutexLocker locker(&m_lock);
    m_searchString = text.isEmpty() ? QString() : text;
    rebuildRulesCache();
}

quint64 RuleManager::totalRules(bool includeSystemRules) const
{
    QMutexLocker locker(&m_lock);
    return quint64(m_views.size(includeSystemRules));
}

RuleBasePtr RuleManager::ruleAtIndex(quint64 index, bool includeSystemRules) const
{
    QMutexLocker locker(&m_lock);
    if (index >= quint64(m_views.size(includeSystemRules))) {
        qCWarning(lcRuleManagement).noquote()
            << QStringLiteral("%1<%2>: Requested index %3 is out of bounds")
                   .arg(description(), QLatin1String("-[RuleManager ruleAtIndex:includeSystemRules:]"))
                   .arg(index);
        return nullptr;
    }
    return m_views.rows(includeSystemRules).at(qsizetype(index));
}

bool RuleManager::addPolicyRule(const PolicyRulePtr &rule, bool rebuildRulesCache)
{
    if (!rule) {
        qCWarning(lcRuleManagement) << "Refusing to add a missing policy rule";
        return false;
    }
    QMutexLocker locker(&m_lock);
    const QString key = applicationGroupIdentityForRule(*rule);
    {
        QMutexLocker groupLocker(&m_groupMapLock);
        m_policyRulesByApplication[key].append(rule);
    }
    filterRowsGained(rule, key);
    invalidateRedundancyIndex();
    if (!rebuildRulesCache)
        m_viewsMatchRebuild = false;
    else if (m_viewsMatchRebuild)
        insertIntoViews(rule, key);
    else
        this->rebuildRulesCache();
    return true;
}

bool RuleManager::addWatchRule(const WatchRulePtr &rule, bool rebuildRulesCache)
{
    if (!rule) {
        qCWarning(lcRuleManagement) << "Refusing to add a missing watch rule";
        return false;
    }
    QMutexLocker locker(&m_lock);
    qCDebug(lcRuleManagement).noquote() << QStringLiteral("Adding %1").arg(rule->description());
    {
        QMutexLocker watchLocker(&m_watchListLock);
        m_watchRules.append(rule);
    }
    if (rebuildRulesCache)
        this->rebuildRulesCache();
    else
        m_viewsMatchRebuild = false;
    return true;
}

// Returns whether the rule is still stored afterwards: false after a normal
// deletion. The table relies on this inverted answer.
bool RuleManager::deletePolicyRule(const PolicyRulePtr &rule, bool rebuildRulesCache)
{
    if (!rule)
        return false;
    QMutexLocker locker(&m_lock);
    const QString key = applicationGroupIdentityForRule(*rule);
    {
        QMutexLocker groupLocker(&m_groupMapLock);
        auto group = m_policyRulesByApplication.find(key);
        if (group != m_policyRulesByApplication.end())
            group->removeAll(rule);
    }
    filterRowsLost(*rule);
    invalidateRedundancyIndex();
    if (!rebuildRulesCache)
        m_viewsMatchRebuild = false;
    else if (m_viewsMatchRebuild)
        removeFromViews(rule);
    else
        this->rebuildRulesCache();
    const auto group = m_policyRulesByApplication.constFind(key);
    return group != m_policyRulesByApplication.cend() && group->contains(rule);
}

bool RuleManager::deleteWatchRule(const WatchRulePtr &rule, bool rebuildRulesCache)
{
    QMutexLocker locker(&m_lock);
    {
        QMutexLocker watchLocker(&m_watchListLock);
        m_watchRules.removeAll(rule);
    }
    if (rebuildRulesCache)
        this->rebuildRulesCache();
    else
        m_viewsMatchRebuild = false;
    return m_watchRules.contains(rule);
}
