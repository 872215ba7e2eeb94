#include "GroupCoverIndex.h"

#include "RuleCover.h"
#include "RuleManager.h"
#include "RulePrefetch.h"
#include "TextRanks.h"

#include <algorithm>

using namespace RuleCover;

namespace {

// Code unit order: any total order serves, as long as a path's prefixes sort
// before it and paths sharing a prefix lie together.
bool unitLess(QStringView a, QStringView b)
{
    const qsizetype shared = commonPrefixLength(a, b);
    if (shared < a.size() && shared < b.size())
        return a.utf16()[shared] < b.utf16()[shared];
    return a.size() < b.size();
}

template <typename List>
auto findBucket(List &list, quint32 policyClass, SharedText constraint) -> decltype(list.data())
{
    for (auto &bucket : list) {
        if (bucket.policyClass == policyClass && bucket.constraint == constraint)
            return &bucket;
    }
    return nullptr;
}

template <typename List> auto &bucketFor(List &list, quint32 policyClass, SharedText constraint)
{
    if (auto *bucket = findBucket(list, policyClass, constraint))
        return *bucket;
    list.append({});
    list.back().policyClass = policyClass;
    list.back().constraint = constraint;
    return list.back();
}

} // namespace

void GroupCoverIndex::Bucket::add(quint8 mask)
{
    for (auto &entry : masks) {
        if (entry.first == mask) {
            ++entry.second;
            return;
        }
    }
    masks.append({mask, 1});
}

int GroupCoverIndex::Bucket::coveringCount(quint8 mask) const
{
    int count = 0;
    for (const auto &entry : masks) {
        if (RuleManager::isBitwiseInclusive(entry.first, mask))
            count += entry.second;
    }
    return count;
}

GroupCoverIndex::Question GroupCoverIndex::Question::of(const PolicyRule &rule, quint32 position)
{
    return {&rule,
            position,
            rule.pathView(),
            rule.sharedConstraint(),
            rule.policyClass,
            lowMask(rule.operations),
            rule.policyType == PolicyType::Prefix};
}

GroupCoverIndex::GroupCoverIndex(std::span<const PolicyRulePtr> group)
    : m_group(group)
    , m_answers(group.size(), false)
{
    // Members with a path, to be put in path order; the others can only be
    // covered by whole-scope rules.
    std::vector<Question> questions;
    std::vector<Question> pathless;
    questions.reserve(group.size());
    std::size_t units = 0;
    std::size_t prefixRules = 0;
    constexpr std::size_t distance = 8;
    for (std::size_t i = 0; i < group.size(); ++i) {
        if (i + distance < group.size() && group[i + distance])
            prefetchRuleData(group[i + distance].get());
        if (!group[i])
            continue;
        const Question question = Question::of(*group[i], quint32(i));
        if (question.path.isNull()) {
            pathless.push_back(question);
            continue;
        }
        if (!question.constraint.isNull()) {
            if (isWholeScopePath(question.path))
                bucketFor(m_wholeScope, question.policyClass, question.constraint).add(question.mask);
            else if (question.prefixRule)
                ++prefixRules;
        }
        units += std::size_t(question.path.size());
        questions.push_back(question);
    }
    for (const Question &question : pathless)
        m_answers[question.position] = isCovered(question, -1, 0);

    // The paths are read into one block once: sorting reads each of them many
    // times, and the records lie scattered over the heap.
    std::u16string pathCopies;
    pathCopies.reserve(units);
    std::vector<QStringView> paths;
    paths.reserve(questions.size());
    for (std::size_t i = 0; i < questions.size(); ++i) {
        if (i + distance < questions.size())
            prefetchRuleData(questions[i + distance].path.utf16());
        paths.push_back(questions[i].movePathTo(pathCopies));
    }
    // Laid out again in path order, texts too, for the sweep to read in turn.
    std::vector<Question> sorted;
    sorted.reserve(questions.size());
    std::u16string sortedPaths;
    sortedPaths.reserve(units);
    for (const std::size_t at : codeUnitOrder(paths)) {
        Question question = questions[at];
        question.movePathTo(sortedPaths);
        sorted.push_back(question);
    }

    // Run by run of equal paths: a run's prefix rules are indexed before its
    // members are answered, and every path indexed so far sorts before it.
    m_prefix.reserve(prefixRules);
    std::vector<int> chain;
    for (std::size_t first = 0; first < sorted.size();) {
        std::size_t end = first + 1;
        while (end < sorted.size() && sameUnits(sorted[end].path, sorted[first].path))
            ++end;
        const Run run(sorted.data() + first, end - first);
        indexRun(run, chain);
        answerRun(run);
        first = end;
    }
}

void GroupCoverIndex::indexRun(Run run, std::vector<int> &chain)
{
    int entry = -1;
    for (const Question &rule : run) {
        if (!rule.prefixRule || rule.constraint.isNull() || isWholeScopePath(rule.path))
            continue;
        if (entry < 0) {
            // The chain holds the prefixes of the path indexed last, and with
            // them every indexed prefix of this one.
            while (!chain.empty() && !hasPrefix(rule.path, pathOf(m_prefix[std::size_t(chain.back())])))
                chain.pop_back();
            entry = int(m_prefix.size());
            m_prefix.push_back({quint32(m_pathText.size()),
                                quint32(rule.path.size()),
                                chain.empty() ? -1 : chain.back(),
                                {}});
            m_pathText.append(rule.path.utf16(), std::size_t(rule.path.size()));
            chain.push_back(entry);
        }
        bucketFor(m_prefix[std::size_t(entry)].buckets, rule.policyClass, rule.constraint).add(rule.mask);
    }
}

void GroupCoverIndex::answerRun(Run run)
{
    const int longest = longestPrefixFrom(int(m_prefix.size()) - 1, run.front().path);
    if (run.size() == 1) {
        m_answers[std::size_t(run.front().position)] = isCovered(run.front(), longest, 1);
        return;
    }
    // A rule listed twice in the group counts as a coverer twice, and covers
    // neither of its own appearances.
    std::vector<const PolicyRule *> rules;
    rules.reserve(run.size());
    for (const Question &question : run)
        rules.push_back(question.rule);
    std::sort(rules.begin(), rules.end());
    for (const Question &question : run) {
        const auto [first, last] = std::equal_range(rules.cbegin(), rules.cend(), question.rule);
        m_answers[std::size_t(question.position)] = isCovered(question, longest, int(last - first));
    }
}

std::optional<qsizetype> GroupCoverIndex::positionOf(const PolicyRule &rule)
{
    if (!m_byAddress) {
        auto &members = m_byAddress.emplace();
        members.reserve(m_group.size());
        for (std::size_t i = 0; i < m_group.size(); ++i) {
            if (m_group[i])
                members.emplace_back(m_group[i].get(), qsizetype(i));
        }
        std::sort(members.begin(), members.end());
    }
    const auto at = std::lower_bound(
        m_byAddress->cbegin(), m_byAddress->cend(), &rule,
        [](const auto &member, const PolicyRule *address) { return member.first < address; });
    if (at == m_byAddress->cend() || at->first != &rule)
        return std::nullopt;
    return at->second;
}

bool GroupCoverIndex::coversOutsider(const PolicyRule &rule) const
{
    const Question question = Question::of(rule, 0);
    return isCovered(question, question.path.isNull() ? -1 : longestPrefixOf(question.path), 0);
}

QStringView GroupCoverIndex::pathOf(const PrefixPath &entry) const
{
    return QStringView(m_pathText.data() + entry.start, qsizetype(entry.length));
}

int GroupCoverIndex::longestPrefixOf(QStringView path) const
{
    // Every indexed prefix of `path` sorts at or before it, and is a prefix of
    // the greatest indexed path not after it.
    const auto after =
        std::upper_bound(m_prefix.begin(), m_prefix.end(), path,
                         [this](QStringView p, const PrefixPath &e) { return unitLess(p, pathOf(e)); });
    return longestPrefixFrom(int(after - m_prefix.begin()) - 1, path);
}

int GroupCoverIndex::longestPrefixFrom(int candidate, QStringView path) const
{
    if (candidate < 0)
        return -1;
    const qsizetype shared = commonPrefixLength(pathOf(m_prefix[std::size_t(candidate)]), path);
    while (candidate >= 0 && qsizetype(m_prefix[std::size_t(candidate)].length) > shared)
        candidate = m_prefix[std::size_t(candidate)].parent;
    return candidate;
}

bool GroupCoverIndex::isCovered(const Question &question, int longestPrefix, int appearances) const
{
    if (question.constraint.isNull())
        return false;

    if (const Bucket *bucket = findBucket(m_wholeScope, question.policyClass, question.constraint)) {
        int count = bucket->coveringCount(question.mask);
        if (isWholeScopePath(question.path))
            count -= appearances;
        if (count > 0)
            return true;
    }

    for (int i = longestPrefix; i >= 0; i = m_prefix[std::size_t(i)].parent) {
        const PrefixPath &entry = m_prefix[std::size_t(i)];
        const Bucket *bucket = findBucket(entry.buckets, question.policyClass, question.constraint);
        if (!bucket)
            continue;
        int count = bucket->coveringCount(question.mask);
        if (question.prefixRule && sameUnits(question.path, pathOf(entry)))
            count -= appearances;
        if (count > 0)
            return true;
    }
    return false;
}
