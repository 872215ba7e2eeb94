#include "WholeTableAnswers.h"

#include "RulePrefetch.h"
#include "TwoThreadWork.h"

#include <algorithm>
#include <array>
#include <bit>
#include <numeric>

namespace {

using CovererScan::kLargestScannedGroup;

// Small groups are handed out in batches of about this many rules, so that
// taking one costs little beside answering it.
constexpr std::size_t kRulesPerBatch = 2048;

std::size_t slotOf(const PolicyRule *rule, std::size_t mask)
{
    return std::size_t((quint64(reinterpret_cast<quintptr>(rule)) * 0x9e3779b97f4a7c15ULL) >> 32) & mask;
}

} // namespace

WholeTableAnswers::WholeTableAnswers(const Store &store)
{
    m_groups.reserve(std::size_t(store.size()));
    for (const QList<PolicyRulePtr> &group : store) {
        if (!group.isEmpty())
            m_groups.push_back({group.constData(), quint32(group.size()), 0, nullptr});
    }
    answerEveryGroup();
    listFirstMembers();
}

void WholeTableAnswers::answerEveryGroup()
{
    // Large groups go first, largest first, so that the threads finish close
    // together; small ones follow in batches.
    std::vector<quint32> order(m_groups.size());
    std::iota(order.begin(), order.end(), 0);
    const auto isLarge = [this](quint32 group) { return m_groups[group].size > kLargestScannedGroup; };
    const auto small = std::stable_partition(order.begin(), order.end(), isLarge);
    std::sort(order.begin(), small,
              [this](quint32 a, quint32 b) { return m_groups[a].size > m_groups[b].size; });

    std::vector<std::size_t> itemStarts;
    for (std::size_t i = 0; i < std::size_t(small - order.begin()); ++i)
        itemStarts.push_back(i);
    std::size_t batchRules = kRulesPerBatch;
    for (auto group = small; group != order.end(); ++group) {
        if (batchRules >= kRulesPerBatch) {
            itemStarts.push_back(std::size_t(group - order.begin()));
            batchRules = 0;
        }
        batchRules += m_groups[*group].size;
    }
    itemStarts.push_back(order.size());

    std::array<std::vector<CovererScan::Coverer>, 2> coverers;
    runOnTwoThreads(itemStarts.size() - 1, [&](std::size_t item, int worker) {
        const std::span<const quint32> groups(order.data() + itemStarts[item],
                                              itemStarts[item + 1] - itemStarts[item]);
        Group &first = m_groups[groups.front()];
        if (first.size > kLargestScannedGroup)
            first.index = std::make_unique<GroupCoverIndex>(std::span(first.members, first.size));
        else
            answerScannedGroups(groups, coverers[std::size_t(worker)]);
    });
}

void WholeTableAnswers::answerScannedGroups(std::span<const quint32> groups,
                                            std::vector<CovererScan::Coverer> &coverers)
{
    std::array<quint8, kLargestScannedGroup> answers{};
    for (std::size_t i = 0; i < groups.size(); ++i) {
        // The next group's members are asked for while this one is answered,
        // and the list of the one after it.
        if (i + 2 < groups.size())
            prefetchRuleData(m_groups[groups[i + 2]].members);
        if (i + 1 < groups.size()) {
            const Group &next = m_groups[groups[i + 1]];
            for (quint32 m = 0; m < next.size; ++m) {
                if (next.members[m])
                    prefetchRuleData(next.members[m].get());
            }
        }
        Group &group = m_groups[groups[i]];
        coverers.clear();
        CovererScan::answerGroup(std::span(group.members, group.size), coverers,
                                 std::span(answers.data(), group.size));
        quint64 bits = 0;
        for (quint32 m = 0; m < group.size; ++m)
            bits |= quint64(answers[m]) << m;
        group.scannedAnswers = bits;
    }
}

void WholeTableAnswers::listFirstMembers()
{
    const std::size_t slots = std::bit_ceil(std::max<std::size_t>(16, m_groups.size() * 2));
    m_firstMembers.assign(slots, {nullptr, 0});
    m_firstMemberMask = slots - 1;
    constexpr std::size_t distance = 8;
    for (quint32 i = 0; i < m_groups.size(); ++i) {
        if (i + distance < m_groups.size())
            prefetchRuleData(m_groups[i + distance].members);
        const PolicyRule *first = m_groups[i].members[0].get();
        if (!first)
            continue;
        std::size_t slot = slotOf(first, m_firstMemberMask);
        while (m_firstMembers[slot].first && m_firstMembers[slot].first != first)
            slot = (slot + 1) & m_firstMemberMask;
        if (!m_firstMembers[slot].first)
            m_firstMembers[slot] = {first, i};
    }
}

std::optional<quint32> WholeTableAnswers::groupStartedBy(const PolicyRule &rule) const
{
    for (std::size_t slot = slotOf(&rule, m_firstMemberMask); m_firstMembers[slot].first;
         slot = (slot + 1) & m_firstMemberMask) {
        if (m_firstMembers[slot].first == &rule)
            return m_firstMembers[slot].second;
    }
    return std::nullopt;
}

std::optional<bool> WholeTableAnswers::answerInOrder(const PolicyRule &rule)
{
    if (m_current && m_next < m_current->size && m_current->members[m_next].get() == &rule)
        return m_current->answerAt(m_next++);
    const std::optional<quint32> started = groupStartedBy(rule);
    if (!started)
        return std::nullopt;
    m_current = &m_groups[*started];
    m_next = 1;
    return m_current->answerAt(0);
}
