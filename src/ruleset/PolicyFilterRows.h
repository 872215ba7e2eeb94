#pragma once

#include "FoldedAsciiTexts.h"
#include "PolicyRule.h"

#include <QHash>
#include <QStringList>
#include <optional>
#include <utility>
#include <vector>

class RuleSearch;

// The policy rules in the views' group order, with every plain-ASCII path,
// process name and tag lowered into byte blobs, so that a filter keystroke
// searches contiguous bytes instead of every rule's fields and reads no rule
// whose fields are plain ASCII. Valid while the groups' members and their
// fields stay the same: the store drops it on every change.
class PolicyFilterRows
{
public:
    PolicyFilterRows(const QStringList &sortedKeys, const QHash<QString, QList<PolicyRulePtr>> &groups);

    // The rules whose path, process or tag `search` finds, in group order.
    std::vector<const PolicyRulePtr *> matching(RuleSearch &search) const;

private:
    struct Row
    {
        const PolicyRulePtr *rule;
        bool pathFolded;
        quint32 process; // index into m_sharedTexts
        quint32 tag;     // index into m_sharedTexts
    };

    using TextData = std::pair<const QChar *, qsizetype>;
    using SharedTextIndexes = QHash<TextData, quint32>;
    using LastSharedText = std::optional<std::pair<TextData, quint32>>;
    quint32 sharedTextIndex(const QString &text, SharedTextIndexes &indexes, LastSharedText &last);

    std::vector<Row> m_rows;
    FoldedAsciiTexts m_paths; // owned by rows
    // Process names and tags, shared by many rules, each tested once a keystroke.
    std::vector<QString> m_sharedTexts;
    std::vector<bool> m_sharedTextFolded;
    FoldedAsciiTexts m_foldedSharedTexts; // owned by shared texts
};
