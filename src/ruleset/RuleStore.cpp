#include "RuleLogging.h"
#include "RuleManager.h"
#include "RuleSearch.h"

#include <QMutexLocker>
#include <algorithm>
#include <vector>

namespace {

// Group keys sorted ignoring case; keys equal but for case keep a fixed order.
QStringList sortedCaseInsensitive(const QList<QString> &keys)
{
    std::vector<std::pair<QString, QString>> folded;
    folded.reserve(size_t(keys.size()));
    for (const QString &key : keys)
        folded.emplace_back(key.toCaseFolded(), key);
    std::sort(folded.begin(), folded.end());
    QStringList sorted;
    sorted.reserve(keys.size());
    for (auto &entry : folded)
        sorted.append(std::move(entry.second));
    return sorted;
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
    // then skips the sort.
    const bool keysUnchanged =
        m_sortedKeys.size() == m_policyRulesByApplication.size() &&
        std::all_of(m_sortedKeys.cbegin(), m_sortedKeys.cend(),
                    [this](const QString &key) { return m_policyRulesByApplication.contains(key); });
    if (!keysUnchanged)
        m_sortedKeys = sortedCaseInsensitive(m_policyRulesByApplication.keys());

    qsizetype total = m_watchRules.size();
    for (const auto &group : std::as_const(m_policyRulesByApplication))
        total += group.size();
    m_policyRules = {};
    m_compositeIndex = {};
    m_compositeIndexUserOnly = {};
    m_compositeIndex.reserve(total);
    if (m_searchString.isNull())
        m_policyRules.reserve(total);

    const bool filtering = !m_searchString.isNull();
    RuleSearch search(m_searchString);
    for (const WatchRulePtr &rule : std::as_const(m_watchRules)) {
        if (!rule)
            continue;
        if (filtering && !search.matches(rule->path) && !search.matches(rule->processName))
            continue;
        m_compositeIndex.append(rule);
        if (!rule->system)
            m_compositeIndexUserOnly.append(rule);
    }

    for (const QString &key : std::as_const(m_sortedKeys)) {
        auto group = m_policyRulesByApplication.constFind(key);
        if (group == m_policyRulesByApplication.cend())
            continue;
        for (const PolicyRulePtr &rule : *group) {
            if (!rule)
                continue;
            if (filtering && !search.matches(rule->path) && !search.matchesShared(rule->processName) &&
                !search.matches(rule->tag))
                continue;
            m_policyRules.append(rule);
            m_compositeIndex.append(rule);
            if (!rule->system)
                m_compositeIndexUserOnly.append(rule);
        }
    }

    if (m_sortDescriptors)
        sortIndexUsingDescriptors(*m_sortDescriptors);
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
    return quint64(includeSystemRules ? m_compositeIndex.size() : m_compositeIndexUserOnly.size());
}

RuleBasePtr RuleManager::ruleAtIndex(quint64 index, bool includeSystemRules) const
{
    QMutexLocker locker(&m_lock);
    const QList<RuleBasePtr> &view = includeSystemRules ? m_compositeIndex : m_compositeIndexUserOnly;
    if (index >= quint64(view.size())) {
        qCWarning(lcRuleManagement).noquote()
            << QStringLiteral("%1<%2>: Requested index %3 is out of bounds")
                   .arg(description(), QLatin1String("-[RuleManager ruleAtIndex:includeSystemRules:]"))
                   .arg(index);
        return nullptr;
    }
    return view.at(qsizetype(index));
}

bool RuleManager::addPolicyRule(const PolicyRulePtr &rule, bool rebuildRulesCache)
{
    if (!rule) {
        qCWarning(lcRuleManagement) << "Refusing to add a missing policy rule";
        return false;
    }
    QMutexLocker locker(&m_lock);
    {
        QMutexLocker groupLocker(&m_groupMapLock);
        m_policyRulesByApplication[applicationGroupIdentityForRule(*rule)].append(rule);
    }
    invalidateRedundancyIndex();
    if (rebuildRulesCache)
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
    invalidateRedundancyIndex();
    if (rebuildRulesCache)
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
    return m_watchRules.contains(rule);
}
