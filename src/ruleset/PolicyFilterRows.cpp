#include "PolicyFilterRows.h"

#include "RulePrefetch.h"
#include "RuleSearch.h"

#include <algorithm>

namespace {

// Each row copies its rule's reference and reads its fields and path: the
// lines holding them are asked for a few rules ahead.
void prefetchAhead(const QList<PolicyRulePtr> &group, qsizetype at, qsizetype distance)
{
    if (at + distance < group.size() && group[at + distance])
        prefetchRuleData(group[at + distance].get());
    if (at + distance / 2 < group.size() && group[at + distance / 2])
        prefetchRuleData(group[at + distance / 2]->pathView().data());
}

} // namespace

PolicyFilterRows::PolicyFilterRows(const QStringList &sortedKeys,
                                   const QHash<QString, QList<PolicyRulePtr>> &groups)
{
    LastSharedText lastProcess;
    LastSharedText lastTag;
    for (const QString &key : sortedKeys) {
        const auto group = groups.constFind(key);
        if (group == groups.cend())
            continue;
        constexpr qsizetype distance = 8;
        for (qsizetype i = 0; i < group->size(); ++i) {
            prefetchAhead(*group, i, distance);
            const PolicyRulePtr &rule = (*group)[i];
            if (!rule)
                continue;
            const bool pathFolded = m_paths.append(rule->pathView(), quint32(m_rows.size()));
            m_rows.push_back(Row{rule, pathFolded, sharedTextIndex(rule->sharedProcessName(), lastProcess),
                                 sharedTextIndex(rule->sharedTag(), lastTag)});
        }
    }
}

quint32 PolicyFilterRows::sharedTextIndex(SharedText text, LastSharedText &last)
{
    // Neighbouring rules mostly share their texts: the last one of the field is tried first.
    if (last && text == last->first)
        return last->second;
    const auto found = m_sharedTextIndexes.constFind(text);
    quint32 index;
    if (found != m_sharedTextIndexes.cend()) {
        index = *found;
    } else {
        index = quint32(m_sharedTexts.size());
        m_sharedTextIndexes.insert(text, index);
        m_sharedTexts.push_back(text.text());
        m_sharedTextFolded.push_back(m_foldedSharedTexts.append(text.text(), index));
    }
    last.emplace(text, index);
    return index;
}

std::vector<const PolicyRulePtr *> PolicyFilterRows::matching(RuleSearch &search) const
{
    const std::optional<QByteArray> needle = search.foldedAsciiNeedle();
    const bool blobsDecide = needle.has_value();
    const std::vector<bool> pathHits =
        blobsDecide ? m_paths.hits(*needle, m_rows.size()) : std::vector<bool>();
    // Per shared text: -1 untested, else whether the search finds it.
    std::vector<signed char> sharedMatches(m_sharedTexts.size(), -1);
    if (blobsDecide) {
        const std::vector<bool> sharedHits = m_foldedSharedTexts.hits(*needle, m_sharedTexts.size());
        for (std::size_t i = 0; i < m_sharedTexts.size(); ++i) {
            if (m_sharedTextFolded[i])
                sharedMatches[i] = sharedHits[i] ? 1 : 0;
        }
    }
    const auto sharedTextMatches = [&](quint32 index) {
        signed char &known = sharedMatches[index];
        if (known < 0)
            known = search.matches(m_sharedTexts[index]) ? 1 : 0;
        return known == 1;
    };
    std::vector<const PolicyRulePtr *> kept;
    const std::size_t count = m_rows.size();
    for (std::size_t i = 0; i < count; ++i) {
        const Row &row = m_rows[i];
        const bool pathMatches =
            (blobsDecide && row.pathFolded) ? bool(pathHits[i]) : search.matches(row.rule->pathView());
        if (pathMatches || sharedTextMatches(row.process) || sharedTextMatches(row.tag))
            kept.push_back(&row.rule);
    }
    return kept;
}

void PolicyFilterRows::insert(const PolicyRulePtr &rule,
                              const std::function<bool(const PolicyRule &)> &listedBefore)
{
    const auto at = std::partition_point(m_rows.begin(), m_rows.end(),
                                         [&](const Row &row) { return listedBefore(*row.rule); });
    const auto index = quint32(at - m_rows.begin());
    m_paths.makeRoomForOwner(index);
    LastSharedText none;
    Row row{rule, m_paths.append(rule->pathView(), index), sharedTextIndex(rule->sharedProcessName(), none),
            sharedTextIndex(rule->sharedTag(), none)};
    m_rows.insert(at, std::move(row));
}

void PolicyFilterRows::remove(const PolicyRule &rule)
{
    for (std::size_t i = m_rows.size(); i-- > 0;) {
        if (m_rows[i].rule.get() == &rule) {
            m_paths.removeOwner(quint32(i));
            m_rows.erase(m_rows.begin() + qsizetype(i));
        }
    }
}
