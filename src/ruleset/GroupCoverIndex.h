#pragma once

#include "PolicyRule.h"

#include <QList>
#include <QVarLengthArray>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

// Answers "does another rule of the group cover this one" for a group too
// large to scan on every question. Every member is answered at once, in one
// sweep over the members in path order, as the table asks about every row of a
// group it shows; a rule from outside the group is answered by a search. The
// index holds raw rule pointers and copies of their fields: the group must
// stay where it is and unchanged while the index lives.
class GroupCoverIndex
{
public:
    explicit GroupCoverIndex(std::span<const PolicyRulePtr> group);

    bool answerAt(qsizetype position) const { return m_answers[std::size_t(position)]; }
    // Where the rule is in the group, if it is a member.
    std::optional<qsizetype> positionOf(const PolicyRule &rule);
    bool coversOutsider(const PolicyRule &rule) const;

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
        quint32 start; // of the path in m_pathText
        quint32 length;
        int parent = -1; // longest other indexed path that is a prefix of this one
        BucketList buckets;
    };

    // What a question reads of a rule, copied side by side so that the sweep
    // in path order stays within one block.
    struct Question
    {
        const PolicyRule *rule;
        quint32 position; // in the group
        QStringView path;
        SharedText constraint;
        quint32 policyClass;
        quint8 mask;
        bool prefixRule;

        static Question of(const PolicyRule &rule, quint32 position);
        // The path copied to the end of `block`, which has room for it, and
        // read from there on.
        QStringView movePathTo(std::u16string &block)
        {
            const std::size_t start = block.size();
            block.append(path.utf16(), std::size_t(path.size()));
            path = QStringView(block.data() + start, path.size());
            return path;
        }
    };
    using Run = std::span<const Question>; // members on one path

    void indexRun(Run run, std::vector<int> &chain);
    void answerRun(Run run);
    // `appearances`: how often the asked rule itself is among the coverers counted.
    bool isCovered(const Question &question, int longestPrefix, int appearances) const;
    QStringView pathOf(const PrefixPath &entry) const;
    int longestPrefixOf(QStringView path) const;
    // From the greatest indexed path not after `path`, down its chain of prefixes.
    int longestPrefixFrom(int candidate, QStringView path) const;

    std::span<const PolicyRulePtr> m_group;
    BucketList m_wholeScope;          // rules on "any" or ""
    std::vector<PrefixPath> m_prefix; // prefix rules, sorted by path
    // The prefix paths side by side: searching them stays within one block
    // instead of visiting each rule's own text.
    std::u16string m_pathText;
    std::vector<bool> m_answers; // by position in the group
    // Members with their positions, sorted by address; made when a row is
    // first asked about out of the group's order.
    std::optional<std::vector<std::pair<const PolicyRule *, qsizetype>>> m_byAddress;
};
