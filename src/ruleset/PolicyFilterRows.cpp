#include "PolicyFilterRows.h"

#include "RulePrefetch.h"
#include "RuleSearch.h"

#include <algorithm>
#include <cstring>

namespace {

// The path in lower case as bytes, or nothing when a unit is not ASCII (or
// NUL, the blob's separator): those paths keep the full folding search.
bool appendFoldedAscii(QByteArray &blob, const QString &path)
{
    const qsizetype start = blob.size();
    blob.resize(start + path.size() + 1);
    char *out = blob.data() + start;
    for (const QChar c : path) {
        const char16_t unit = c.unicode();
        if (unit == 0 || unit >= 0x80) {
            blob.truncate(start);
            return false;
        }
        *out++ = char((unit >= u'A' && unit <= u'Z') ? unit | 0x20 : unit);
    }
    *out = '\0';
    return true;
}

} // namespace

PolicyFilterRows::PolicyFilterRows(const QStringList &sortedKeys,
                                   const QHash<QString, QList<PolicyRulePtr>> &groups)
{
    SharedTextIndexes textIndexes;
    LastSharedText lastProcess;
    LastSharedText lastTag;
    for (const QString &key : sortedKeys) {
        const auto group = groups.constFind(key);
        if (group == groups.cend())
            continue;
        for (const PolicyRulePtr &rule : *group) {
            if (!rule)
                continue;
            const auto offset = quint32(m_folded.size());
            const bool folded =
                !rule->path.isNull() &&
                std::size_t(m_folded.size()) + std::size_t(rule->path.size()) < std::size_t(kNotFolded) &&
                appendFoldedAscii(m_folded, rule->path);
            if (folded) {
                m_foldedStarts.push_back(offset);
                m_foldedRows.push_back(quint32(m_rows.size()));
            }
            m_rows.push_back(Row{&rule, rule->path, folded ? offset : kNotFolded,
                                 sharedTextIndex(rule->processName, textIndexes, lastProcess),
                                 sharedTextIndex(rule->tag, textIndexes, lastTag)});
        }
    }
}

quint32 PolicyFilterRows::sharedTextIndex(const QString &text, SharedTextIndexes &indexes,
                                          LastSharedText &last)
{
    // Texts are told apart by their data: the reader hands equal texts the same.
    const TextData key{text.constData(), text.size()};
    // Neighbouring rules mostly share their texts: the last one of the field is tried first.
    if (last && key == last->first)
        return last->second;
    const auto found = indexes.constFind(key);
    quint32 index;
    if (found != indexes.cend()) {
        index = *found;
    } else {
        index = quint32(m_sharedTexts.size());
        indexes.insert(key, index);
        m_sharedTexts.push_back(text);
    }
    last.emplace(key, index);
    return index;
}

std::vector<bool> PolicyFilterRows::foldedPathHits(const QByteArray &needle) const
{
    std::vector<bool> hits(m_rows.size());
    if (needle.isEmpty())
        return hits;
    const char *blob = m_folded.constData();
    const std::size_t size = std::size_t(m_folded.size());
    std::size_t at = 0;
    while (at < size) {
        const void *found = memmem(blob + at, size - at, needle.constData(), std::size_t(needle.size()));
        if (!found)
            break;
        const auto offset = std::size_t(static_cast<const char *>(found) - blob);
        // The path holding the hit: the last one starting at or before it.
        const auto next = std::upper_bound(m_foldedStarts.cbegin(), m_foldedStarts.cend(), offset);
        hits[m_foldedRows[std::size_t(next - m_foldedStarts.cbegin()) - 1]] = true;
        at = next == m_foldedStarts.cend() ? size : *next;
    }
    return hits;
}

std::vector<const PolicyRulePtr *> PolicyFilterRows::matching(RuleSearch &search) const
{
    const std::optional<QByteArray> needle = search.foldedAsciiNeedle();
    const bool blobDecides = needle.has_value();
    const std::vector<bool> hits = blobDecides ? foldedPathHits(*needle) : std::vector<bool>();
    // Per shared text: -1 untested, else whether the search finds it.
    std::vector<signed char> sharedMatches(m_sharedTexts.size(), -1);
    const auto sharedTextMatches = [&](quint32 index, const QString &current) {
        const QString &text = m_sharedTexts[index];
        if (current.constData() != text.constData() || current.size() != text.size())
            return search.matches(current);
        signed char &known = sharedMatches[index];
        if (known < 0)
            known = search.matches(text) ? 1 : 0;
        return known == 1;
    };
    std::vector<const PolicyRulePtr *> kept;
    constexpr std::size_t distance = 8;
    const std::size_t count = m_rows.size();
    for (std::size_t i = 0; i < count; ++i) {
        if (i + distance < count)
            prefetchRuleData(m_rows[i + distance].rule->get());
        const Row &row = m_rows[i];
        const PolicyRule &rule = **row.rule;
        const bool pathUnchanged = row.folded != kNotFolded &&
                                   rule.path.constData() == row.path.constData() &&
                                   rule.path.size() == row.path.size();
        const bool pathMatches = (blobDecides && pathUnchanged) ? bool(hits[i]) : search.matches(rule.path);
        if (pathMatches || sharedTextMatches(row.process, rule.processName) ||
            sharedTextMatches(row.tag, rule.tag))
            kept.push_back(row.rule);
    }
    return kept;
}
