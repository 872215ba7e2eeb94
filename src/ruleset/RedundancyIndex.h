#pragma once

#include "CovererScan.h"
#include "GroupCoverIndex.h"
#include "PolicyRule.h"
#include "WholeTableAnswers.h"

#include <QHash>
#include <QList>
#include <QString>
#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

// Answers "does another rule of the group cover this one" for the table, which
// asks about every row it shows, group by group; a group can hold tens of
// thousands of rules. Every member of a group is answered when the group is
// first asked about: a small group by scanning its few coverers, a large one
// by its own index. Once rows have been asked about group after group for a
// long stretch, the whole table is being gone through, and every group is
// answered at once. The answers hold raw rule pointers and copies of their
// fields, so the owner must drop them whenever the store changes.
class RedundancyIndex
{
public:
    // Finds the rule's group in `store` (keyed by group identity). The store's
    // lists must stay where they are and unchanged while the index lives.
    bool isRedundant(const QHash<QString, QList<PolicyRulePtr>> &store, const PolicyRule &rule);

private:
    using Coverer = CovererScan::Coverer;

    // A group's rules share their process and constraint texts, so the group
    // found for one pair of texts is remembered.
    struct GroupOfTexts
    {
        SharedText processName;
        SharedText constraint;
        const QList<PolicyRulePtr> *group = nullptr; // none when the store lacks the group
        // The group's rules, taken when the group is found: the store's entry
        // for it is not visited again.
        std::span<const PolicyRulePtr> members;
        // Made when the group is first asked about, with every member's
        // answer: an index for a group too large to scan on every question,
        // the coverers for a smaller one, whose answers are in m_answers.
        GroupCoverIndex *index = nullptr;
        std::size_t firstCoverer = 0;
        std::size_t covererCount = 0;
        std::size_t firstAnswer = std::size_t(-1);
        // Rows come in the group's own order: the member after the last one
        // asked about is tried first.
        qsizetype nextPosition = 0;

        bool answered() const { return index || firstAnswer != std::size_t(-1); }
        bool isDone() const { return std::size_t(nextPosition) == members.size(); }
        bool isNext(const PolicyRule &rule) const
        {
            return std::size_t(nextPosition) < members.size() &&
                   members[std::size_t(nextPosition)].get() == &rule;
        }
        bool holdsTextsOf(const PolicyRule &rule) const;
    };
    using Store = QHash<QString, QList<PolicyRulePtr>>;
    GroupOfTexts &groupOf(const Store &store, const PolicyRule &rule);
    void answerMembers(GroupOfTexts &found);
    // Counts the rows asked about in table order, or starts counting anew.
    void countRowInOrder(bool inOrder);
    std::span<const Coverer> coverersOf(const GroupOfTexts &found) const;
    std::optional<qsizetype> positionInGroup(GroupOfTexts &found, const PolicyRule &rule) const;
    bool answerAt(GroupOfTexts &found, qsizetype position);
    GroupOfTexts &addGroup(std::pair<SharedText, SharedText> texts, const QList<PolicyRulePtr> *group);
    // Every stored group under the texts of its first rule: when many rows are
    // asked about, this costs less than composing each group's identity.
    void listEveryGroup(const Store &store);

    // Groups are told apart by address, which spares hashing the long group key twice.
    std::unordered_map<const QList<PolicyRulePtr> *, GroupCoverIndex> m_groups;
    // The coverers of every small group asked about, side by side: a list
    // each would cost an allocation for every group.
    std::vector<Coverer> m_coverers;
    std::vector<quint8> m_answers;
    std::deque<GroupOfTexts> m_groupsFound; // never moved, so pointers to them hold
    QHash<std::pair<SharedText, SharedText>, GroupOfTexts *> m_groupsByTexts;
    // Rows are asked about group by group: the last answer is tried first.
    GroupOfTexts *m_lastGroup = nullptr;
    int m_identitiesComposed = 0;
    bool m_everyGroupListed = false;
    // Rows asked about one after another in their groups' order, each group
    // from its first member on.
    qsizetype m_rowsInOrder = 0;
    std::unique_ptr<WholeTableAnswers> m_wholeTable;
};
