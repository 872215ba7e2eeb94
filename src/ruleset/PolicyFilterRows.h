#pragma once

#include "PolicyRule.h"

#include <QByteArray>
#include <QHash>
#include <QStringList>
#include <optional>
#include <utility>
#include <vector>

class RuleSearch;

// The policy rules in the views' group order, with every plain-ASCII path
// case-folded into one byte blob, so that a filter keystroke searches
// contiguous bytes once instead of every rule's path. Valid while the groups'
// members stay the same; a path replaced since it was folded is noticed by its
// data and searched afresh.
class PolicyFilterRows
{
public:
    PolicyFilterRows(const QStringList &sortedKeys, const QHash<QString, QList<PolicyRulePtr>> &groups);

    // The rules whose path, process or tag `search` finds, in group order.
    std::vector<const PolicyRulePtr *> matching(RuleSearch &search) const;

private:
    static constexpr quint32 kNotFolded = 0xFFFFFFFF;

    struct Row
    {
        const PolicyRulePtr *rule;
        // A copy shares the folded path's data, so the rule's path cannot
        // change without getting other data.
        QString path;
        quint32 folded;  // offset into m_folded, or kNotFolded
        quint32 process; // index into m_sharedTexts
        quint32 tag;     // index into m_sharedTexts
    };

    std::vector<bool> foldedPathHits(const QByteArray &needle) const;
    using TextData = std::pair<const QChar *, qsizetype>;
    using SharedTextIndexes = QHash<TextData, quint32>;
    using LastSharedText = std::optional<std::pair<TextData, quint32>>;
    quint32 sharedTextIndex(const QString &text, SharedTextIndexes &indexes, LastSharedText &last);

    std::vector<Row> m_rows;
    QByteArray m_folded;                 // folded paths, each ended by a NUL
    std::vector<quint32> m_foldedStarts; // offset of each folded path, ascending
    std::vector<quint32> m_foldedRows;   // row of each folded path
    // Process names and tags, shared by many rules, each tested once a keystroke.
    // Copies here likewise pin the data a rule's text is recognised by.
    std::vector<QString> m_sharedTexts;
};
