#pragma once

#include "FoldedAsciiTexts.h"
#include "PolicyRule.h"

#include <QHash>
#include <QStringList>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

class RuleSearch;

// The policy rules in the views' group order, with every plain-ASCII path,
// process name and tag lowered into byte blobs, so that a filter keystroke
// searches contiguous bytes instead of every rule's fields and reads no rule
// whose fields are plain ASCII. One rule added or deleted is taken in; the
// store drops it on every other change of the groups or the rules' fields.
class PolicyFilterRows
{
public:
    PolicyFilterRows(const QStringList &sortedKeys, const QHash<QString, QList<PolicyRulePtr>> &groups);

    // The rules whose path, process or tag `search` finds, in group order.
    std::vector<const PolicyRulePtr *> matching(RuleSearch &search) const;

    // The store gained `rule` as the last of its group; `listedBefore` tells
    // the rules of the groups up to and including its own.
    void insert(const PolicyRulePtr &rule, const std::function<bool(const PolicyRule &)> &listedBefore);
    // The store lost every occurrence of `rule`.
    void remove(const PolicyRule &rule);

private:
    struct Row
    {
        PolicyRulePtr rule;
        bool pathFolded;
        quint32 process; // index into m_sharedTexts
        quint32 tag;     // index into m_sharedTexts
    };

    using LastSharedText = std::optional<std::pair<SharedText, quint32>>;
    quint32 sharedTextIndex(SharedText text, LastSharedText &last);

    std::vector<Row> m_rows;
    QHash<SharedText, quint32> m_sharedTextIndexes;
    FoldedAsciiTexts m_paths; // owned by rows
    // Process names and tags, shared by many rules, each tested once a keystroke.
    std::vector<QString> m_sharedTexts;
    std::vector<bool> m_sharedTextFolded;
    FoldedAsciiTexts m_foldedSharedTexts; // owned by shared texts
};
