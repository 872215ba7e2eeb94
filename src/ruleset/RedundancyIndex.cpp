#include "RedundancyIndex.h"

#include "RuleManager.h"
#include "RulePrefetch.h"

#include <algorithm>

void RedundancyIndex::answerMembers(GroupOfTexts &found)
{
    if (found.members.size() > CovererScan::kLargestScannedGroup) {
        found.index = &m_groups.try_emplace(found.group, found.members).first->second;
        return;
    }
    found.firstAnswer = m_answers.size();
    found.firstCoverer = m_coverers.size();
    m_answers.resize(m_answers.size() + found.members.size());
    CovererScan::answerGroup(found.members, m_coverers, std::span(m_answers).subspan(found.firstAnswer));
    found.covererCount = m_coverers.size() - found.firstCoverer;
}

std::span<const RedundancyIndex::Coverer> RedundancyIndex::coverersOf(const GroupOfTexts &found) const
{
    return std::span(m_coverers).subspan(found.firstCoverer, found.covererCount);
}

std::optional<qsizetype> RedundancyIndex::positionInGroup(GroupOfTexts &found, const PolicyRule &rule) const
{
    if (found.isNext(rule))
        return found.nextPosition;
    if (found.index)
        return found.index->positionOf(rule);
    const auto at = std::find_if(found.members.begin(), found.members.end(),
                                 [&rule](const PolicyRulePtr &member) { return member.get() == &rule; });
    return at != found.members.end() ? std::optional(at - found.members.begin()) : std::nullopt;
}

inline bool RedundancyIndex::answerAt(GroupOfTexts &found, qsizetype position)
{
    found.nextPosition = position + 1;
    return found.index ? found.index->answerAt(position)
                       : m_answers[found.firstAnswer + std::size_t(position)];
}

void RedundancyIndex::countRowInOrder(bool inOrder)
{
    m_rowsInOrder = inOrder ? m_rowsInOrder + 1 : 0;
}

bool RedundancyIndex::isRedundant(const Store &store, const PolicyRule &rule)
{
    if (m_wholeTable) {
        if (const std::optional<bool> answer = m_wholeTable->answerInOrder(rule))
            return *answer;
    }
    // The next row of the group last asked about is answered without reading its record.
    if (m_lastGroup && m_lastGroup->answered() && m_lastGroup->isNext(rule)) {
        countRowInOrder(true);
        return answerAt(*m_lastGroup, m_lastGroup->nextPosition);
    }

    const bool lastGroupDone = !m_lastGroup || m_lastGroup->isDone();
    // A screenful of rows is asked about again and again; only going through
    // the whole table keeps to table order this long.
    constexpr qsizetype kRowsInOrderBeforeAnsweringAll = 4096;
    if (!m_wholeTable && lastGroupDone && m_rowsInOrder >= kRowsInOrderBeforeAnsweringAll) {
        m_wholeTable = std::make_unique<WholeTableAnswers>(store);
        if (const std::optional<bool> answer = m_wholeTable->answerInOrder(rule))
            return *answer;
    }

    GroupOfTexts &found = groupOf(store, rule);
    if (!found.group) {
        countRowInOrder(false);
        return false;
    }
    if (!found.answered())
        answerMembers(found);
    if (const std::optional<qsizetype> position = positionInGroup(found, rule)) {
        countRowInOrder(lastGroupDone && *position == 0);
        return answerAt(found, *position);
    }
    countRowInOrder(false);
    // A rule outside the store, such as a copy being edited.
    return found.index ? found.index->coversOutsider(rule) : CovererScan::isCovered(coverersOf(found), rule);
}

bool RedundancyIndex::GroupOfTexts::holdsTextsOf(const PolicyRule &rule) const
{
    return processName == rule.sharedProcessName() && constraint == rule.sharedConstraint();
}

RedundancyIndex::GroupOfTexts &RedundancyIndex::addGroup(std::pair<SharedText, SharedText> texts,
                                                         const QList<PolicyRulePtr> *group)
{
    GroupOfTexts &added = m_groupsFound.emplace_back();
    added.processName = texts.first;
    added.constraint = texts.second;
    added.group = group;
    if (group)
        added.members = std::span(group->constData(), std::size_t(group->size()));
    m_groupsByTexts.insert(texts, &added);
    return added;
}

void RedundancyIndex::listEveryGroup(const Store &store)
{
    m_groupsByTexts.reserve(m_groupsByTexts.size() + store.size());
    // Two steps ahead: a group's list of rules is fetched first, its first
    // rule once the list has arrived.
    auto listAhead = store.cbegin();
    auto ruleAhead = store.cbegin();
    for (int i = 0; i < 16 && listAhead != store.cend(); ++i, ++listAhead) {
        if (i < 8)
            ++ruleAhead;
    }
    for (auto group = store.cbegin(); group != store.cend(); ++group) {
        if (listAhead != store.cend()) {
            if (!listAhead->isEmpty())
                prefetchRuleData(listAhead->constData());
            ++listAhead;
        }
        if (ruleAhead != store.cend()) {
            if (!ruleAhead->isEmpty() && ruleAhead->constFirst())
                prefetchRuleData(ruleAhead->constFirst().get());
            ++ruleAhead;
        }
        const auto first =
            std::find_if(group->cbegin(), group->cend(), [](const auto &rule) { return rule; });
        if (first == group->cend())
            continue;
        const std::pair texts{(*first)->sharedProcessName(), (*first)->sharedConstraint()};
        if (!m_groupsByTexts.contains(texts))
            addGroup(texts, &group.value());
    }
}

RedundancyIndex::GroupOfTexts &RedundancyIndex::groupOf(const Store &store, const PolicyRule &rule)
{
    if (m_lastGroup && m_lastGroup->holdsTextsOf(rule))
        return *m_lastGroup;
    const std::pair texts{rule.sharedProcessName(), rule.sharedConstraint()};
    auto known = m_groupsByTexts.constFind(texts);
    // A screenful of rows meets a few groups, a scan of the whole table all of them.
    constexpr int kIdentitiesBeforeListing = 64;
    if (known == m_groupsByTexts.cend() && !m_everyGroupListed &&
        m_identitiesComposed >= kIdentitiesBeforeListing) {
        m_everyGroupListed = true;
        listEveryGroup(store);
        known = m_groupsByTexts.constFind(texts);
    }
    if (known != m_groupsByTexts.cend()) {
        m_lastGroup = known.value();
        return *m_lastGroup;
    }
    // A rule whose texts differ from those its group was listed under, or
    // one of a group not stored: the group's identity decides.
    ++m_identitiesComposed;
    const auto stored = store.constFind(RuleManager::applicationGroupIdentityForRule(rule));
    m_lastGroup = &addGroup(texts, stored != store.cend() ? &stored.value() : nullptr);
    return *m_lastGroup;
}
