#include "RuleMatching.h"

#include "CandidateGroups.h"
#include "RuleLogging.h"
#include "RuleManager.h"
#include "RulePrefetch.h"

#include <QMutexLocker>
#include <algorithm>
#include <bitset>
#include <limits>

namespace {

// Finds the rows of a few rules in a view of up to millions: a bit per hashed
// address rules out almost every row before the exact search.
class RowFinder
{
public:
    explicit RowFinder(const std::vector<RuleBasePtr> &rules)
    {
        m_sorted.reserve(rules.size());
        for (std::size_t i = 0; i < rules.size(); ++i) {
            m_sorted.emplace_back(rules[i].get(), i);
            m_seen.set(slot(rules[i].get()));
        }
        std::sort(m_sorted.begin(), m_sorted.end());
    }

    std::vector<std::optional<quint64>> rowsIn(const RuleRows &view) const
    {
        std::vector<std::optional<quint64>> rows(m_sorted.size());
        std::size_t missing = m_sorted.size();
        for (qsizetype row = 0; row < view.size() && missing > 0; ++row) {
            const NVCRuleBase *rule = view.ruleAt(row);
            if (!m_seen.test(slot(rule)))
                continue;
            const auto at =
                std::lower_bound(m_sorted.begin(), m_sorted.end(), std::make_pair(rule, std::size_t(0)));
            if (at != m_sorted.end() && at->first == rule && !rows[at->second]) {
                rows[at->second] = quint64(row);
                --missing;
            }
        }
        return rows;
    }

private:
    static constexpr std::size_t kSlots = 1 << 16;
    static std::size_t slot(const NVCRuleBase *rule)
    {
        const auto address = quint64(reinterpret_cast<quintptr>(rule));
        return std::size_t((address * 0x9e3779b97f4a7c15ULL) >> 48);
    }

    std::vector<std::pair<const NVCRuleBase *, std::size_t>> m_sorted;
    std::bitset<kSlots> m_seen;
};

// Candidates lie scattered over the heap; asking for rules and their paths a
// few steps ahead lets the cache misses overlap.
template <typename Rule>
void collectMatches(const std::vector<const Rule *> &candidates, const AccessMatcher &matcher,
                    std::vector<RuleBasePtr> &found)
{
    constexpr std::size_t distance = 8;
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        if (i + distance < candidates.size())
            prefetchRuleData(candidates[i + distance]->get());
        if (i + distance / 2 < candidates.size())
            prefetchRuleData(candidates[i + distance / 2]->get()->pathView().data());
        if (matcher.matches(**candidates[i]))
            found.push_back(*candidates[i]);
    }
}

RuleMatch describe(const RuleManager &manager, const RuleBasePtr &rule, std::optional<quint64> row)
{
    RuleMatch match{rule, false, false, QString(), row};
    if (const PolicyRulePtr policy = std::dynamic_pointer_cast<PolicyRule>(rule)) {
        match.redundant = manager.isRedundant(policy);
        match.group = RuleManager::applicationGroupIdentityForRule(*rule);
    } else {
        match.isWatchRule = true;
    }
    return match;
}

// Table order; rules the search hides come last, in reading order.
void sortByRow(QList<RuleMatch> &matches)
{
    const auto place = [](const RuleMatch &match) {
        return std::make_pair(match.row.value_or(std::numeric_limits<quint64>::max()), match.rule->sequence);
    };
    std::stable_sort(matches.begin(), matches.end(),
                     [&place](const RuleMatch &a, const RuleMatch &b) { return place(a) < place(b); });
}

} // namespace

AccessMatches matchAccess(const RuleManager &manager, const FileAccess &access)
{
    QMutexLocker locker(&manager.lock());
    const AccessMatcher matcher(access);

    std::vector<const PolicyRulePtr *> policies;
    for (const QList<PolicyRulePtr> *group : candidateGroups(manager, matcher)) {
        for (const PolicyRulePtr &rule : *group) {
            if (rule)
                policies.push_back(&rule);
        }
    }
    // Watch rules are few and not grouped by program.
    std::vector<const WatchRulePtr *> watches;
    watches.reserve(std::size_t(manager.watchRules().size()));
    for (const WatchRulePtr &rule : manager.watchRules()) {
        if (rule)
            watches.push_back(&rule);
    }
    std::vector<RuleBasePtr> found;
    collectMatches(policies, matcher, found);
    collectMatches(watches, matcher, found);

    const std::vector<std::optional<quint64>> rows = RowFinder(found).rowsIn(manager.compositeIndex());
    AccessMatches answer;
    for (std::size_t i = 0; i < found.size(); ++i) {
        QList<RuleMatch> &list = manager.validateRule(*found[i]) ? answer.matches : answer.wouldMatchIfValid;
        list.append(describe(manager, found[i], rows[i]));
    }
    sortByRow(answer.matches);
    sortByRow(answer.wouldMatchIfValid);
    qCDebug(lcRuleManagement).noquote()
        << QStringLiteral("Access to %1 by %2: %3 of %4 candidate rules match, %5 more if valid")
               .arg(access.path, access.program)
               .arg(answer.matches.size())
               .arg(policies.size() + watches.size())
               .arg(answer.wouldMatchIfValid.size());
    return answer;
}
