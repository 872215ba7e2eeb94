#include "RuleSearch.h"

namespace {

inline char16_t fold(char16_t c)
{
    if (c < 0x80)
        return (c >= u'A' && c <= u'Z') ? char16_t(c | 0x20) : c;
    return QChar::toCaseFolded(c);
}

} // namespace

RuleSearch::RuleSearch(const QString &text)
{
    // Folded once here so that each test folds only the field's characters.
    m_folded.reserve(text.size());
    for (const QChar c : text)
        m_folded.append(QChar(fold(c.unicode())));
}

bool RuleSearch::matches(const QString &field) const
{
    if (field.isNull())
        return false;
    const qsizetype needleSize = m_folded.size();
    const qsizetype last = field.size() - needleSize;
    if (needleSize == 0)
        return true;
    const char16_t *hay = reinterpret_cast<const char16_t *>(field.constData());
    const char16_t *needle = reinterpret_cast<const char16_t *>(m_folded.constData());
    const char16_t first = needle[0];
    for (qsizetype i = 0; i <= last; ++i) {
        if (fold(hay[i]) != first)
            continue;
        qsizetype j = 1;
        while (j < needleSize && fold(hay[i + j]) == needle[j])
            ++j;
        if (j == needleSize)
            return true;
    }
    return false;
}

bool RuleSearch::matchesShared(const QString &field)
{
    // Equal data pointer and length mean the same characters while the rules
    // being filtered are alive, which holds for one rebuild.
    if (field.constData() == m_lastData && field.size() == m_lastSize && !field.isNull())
        return m_lastResult;
    m_lastData = field.constData();
    m_lastSize = field.size();
    m_lastResult = matches(field);
    return m_lastResult;
}
