#pragma once

#include "PolicyRule.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QVarLengthArray>
#include <deque>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

// Answers "does another rule of the group cover this one" without scanning the
// group: the table asks for every visible row, and a group can hold tens of
// thousands of rules. Groups are indexed lazily on first query. The index holds
// raw rule pointers and copies of their fields, so the owner must drop it
// whenever the store changes.
class RedundancyIndex
{
public:
    // Finds the rule's group in `store` (keyed by group identity). The store's
    // lists must stay where they are and unchanged while the index lives.
    bool isRedundant(const QHash<QString, QList<PolicyRulePtr>> &store, const PolicyRule &rule);

private:
    // Counts of covering rules sharing class and constraint, per low-8-bit
    // operations mask (few distinct masks occur, so a short list).
    struct Bucket
    {
        quint32 policyClass = 0;
        SharedText constraint;
        QVarLengthArray<std::pair<quint8, int>, 2> masks;

        void add(quint8 mask);
        int coveringCount(quint8 mask) const;
    };
    using BucketList = QVarLengthArray<Bucket, 1>;

    struct PrefixPath
    {
        quint32 start; // of the path in the group's path text
        quint32 length;
        int parent = -1; // longest other indexed path that is a prefix of this one
        BucketList buckets;
    };

    struct GroupIndex
    {
        BucketList wholeScope;                   // rules on "any" or ""
        std::vector<PrefixPath> prefix;          // prefix rules, sorted by path
        std::vector<const PolicyRule *> members; // indexed rules, sorted by address
        // The prefix paths side by side: searching them stays within one block
        // instead of visiting each rule's own text.
        std::u16string pathText;

        explicit GroupIndex(const QList<PolicyRulePtr> &group);
        bool isRedundant(const PolicyRule &rule) const;

    private:
        int selfCount(const PolicyRule &rule) const;
        QStringView pathOf(const PrefixPath &entry) const;
        int longestPrefixOf(QStringView path) const;
    };

    // What a small group's scan needs of a rule that can cover others, side by side.
    struct Coverer
    {
        const PolicyRule *rule;
        const char16_t *path;
        quint32 pathSize;
        quint32 policyClass;
        SharedText constraint;
        quint8 mask;
        bool wholeScope; // otherwise a prefix rule
    };
    static bool scanCoverers(const std::vector<Coverer> &coverers, const PolicyRule &rule);

    // A group's rules share their process and constraint texts, so the group
    // found for one pair of texts is remembered.
    struct GroupOfTexts
    {
        SharedText processName;
        SharedText constraint;
        const QList<PolicyRulePtr> *group = nullptr; // none when the store lacks the group
        // Made when the group is first asked about: an index for a group too
        // large to scan on every question, the coverers for a smaller one.
        const GroupIndex *index = nullptr;
        std::optional<std::vector<Coverer>> coverers;

        bool holdsTextsOf(const PolicyRule &rule) const;
    };
    using Store = QHash<QString, QList<PolicyRulePtr>>;
    GroupOfTexts &groupOf(const Store &store, const PolicyRule &rule);
    GroupOfTexts &addGroup(std::pair<SharedText, SharedText> texts, const QList<PolicyRulePtr> *group);
    // Every stored group under the texts of its first rule: when many rows are
    // asked about, this costs less than composing each group's identity.
    void listEveryGroup(const Store &store);

    // Groups are told apart by address, which spares hashing the long group key twice.
    std::unordered_map<const QList<PolicyRulePtr> *, GroupIndex> m_groups;
    std::deque<GroupOfTexts> m_groupsFound; // never moved, so pointers to them hold
    QHash<std::pair<SharedText, SharedText>, GroupOfTexts *> m_groupsByTexts;
    // Rows are asked about group by group: the last answer is tried first.
    GroupOfTexts *m_lastGroup = nullptr;
    int m_identitiesComposed = 0;
    bool m_everyGroupListed = false;
};
