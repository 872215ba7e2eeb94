#pragma once

#include "CovererScan.h"
#include "GroupCoverIndex.h"
#include "PolicyRule.h"

#include <QHash>
#include <QList>
#include <QString>
#include <memory>
#include <optional>
#include <span>
#include <vector>

// Every group's answers to "does another rule of the group cover this one",
// made at once on two threads, for a table that is being gone through from
// top to bottom. Rows then come group after group, each group from its first
// member on: a row costs a look at the group it continues or starts. Holds raw
// pointers into the store, which must stay unchanged while this lives.
class WholeTableAnswers
{
public:
    using Store = QHash<QString, QList<PolicyRulePtr>>;
    explicit WholeTableAnswers(const Store &store);

    // The answer when `rule` is the member after the one last answered, or
    // the first member of a group; none otherwise.
    std::optional<bool> answerInOrder(const PolicyRule &rule);

private:
    struct Group
    {
        const PolicyRulePtr *members;
        quint32 size;
        quint64 scannedAnswers = 0; // bit i for member i, of a group small enough to scan
        std::unique_ptr<GroupCoverIndex> index;

        bool answerAt(quint32 position) const
        {
            return index ? index->answerAt(position) : (scannedAnswers >> position) & 1;
        }
    };
    void answerEveryGroup();
    void answerScannedGroups(std::span<const quint32> groups, std::vector<CovererScan::Coverer> &coverers);
    void listFirstMembers();
    std::optional<quint32> groupStartedBy(const PolicyRule &rule) const;

    std::vector<Group> m_groups;
    // Groups by their first member, open addressed.
    std::vector<std::pair<const PolicyRule *, quint32>> m_firstMembers;
    std::size_t m_firstMemberMask = 0;
    // The group last asked about, and the position after the member last answered.
    const Group *m_current = nullptr;
    quint32 m_next = 0;
};
