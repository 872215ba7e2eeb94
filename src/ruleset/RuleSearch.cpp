#include "RuleSearch.h"

namespace {

inline char16_t fold(char16_t c)
{
    if (c < 0x80)
        return (c >= u'A' && c <= u'Z') ? char16_t(c | 0x20) : c;
    return QChar::toCaseFolded(c);
}

// ASCII units that some non-ASCII unit folds to (the Kelvin sign to "k", for
// one): a needle holding one of them needs the full folding search.
const std::array<bool, 0x80> &asciiFoldTargets()
{
    static const std::array<bool, 0x80> targets = [] {
        std::array<bool, 0x80> found{};
        for (char32_t c = 0x80; c <= 0xFFFF; ++c) {
            const char16_t folded = QChar::toCaseFolded(char16_t(c));
            if (folded < 0x80)
                found[folded] = true;
        }
        return found;
    }();
    return targets;
}

// Whether the folded needle stands in the haystack; `foldFirst` folds the
// candidate first unit, the cheap test that rejects most places.
template <typename FoldFirst>
bool containsFolded(const char16_t *hay, qsizetype size, const QString &folded, FoldFirst foldFirst)
{
    const qsizetype needleSize = folded.size();
    const auto *needle = reinterpret_cast<const char16_t *>(folded.constData());
    const char16_t first = needle[0];
    const qsizetype last = size - needleSize;
    for (qsizetype i = 0; i <= last; ++i) {
        if (foldFirst(hay[i]) != first)
            continue;
        qsizetype j = 1;
        while (j < needleSize && fold(hay[i + j]) == needle[j])
            ++j;
        if (j == needleSize)
            return true;
    }
    return false;
}

} // namespace

RuleSearch::RuleSearch(const QString &text)
{
    // Folded once here so that each test folds only the field's characters.
    m_folded.reserve(text.size());
    m_asciiOnly = true;
    for (const QChar c : text) {
        const char16_t folded = fold(c.unicode());
        m_folded.append(QChar(folded));
        if (folded >= 0x80 || asciiFoldTargets()[folded])
            m_asciiOnly = false;
    }
}

bool RuleSearch::matches(QStringView field) const
{
    if (field.isNull())
        return false;
    if (m_folded.isEmpty())
        return true;
    const char16_t *hay = field.utf16();
    return m_asciiOnly ? matchesAscii(hay, field.size()) : matchesFolding(hay, field.size());
}

bool RuleSearch::matchesAscii(const char16_t *hay, qsizetype size) const
{
    const char16_t first = m_folded.front().unicode();
    // Setting the case bit maps both cases of a letter to the folded one and
    // never maps a non-ASCII unit into ASCII.
    const char16_t caseBit = (first >= u'a' && first <= u'z') ? 0x20 : 0;
    return containsFolded(hay, size, m_folded, [caseBit](char16_t c) { return char16_t(c | caseBit); });
}

bool RuleSearch::matchesFolding(const char16_t *hay, qsizetype size) const
{
    return containsFolded(hay, size, m_folded, fold);
}

bool RuleSearch::matchesShared(const QString &field)
{
    if (field.isNull())
        return false;
    // Equal data pointer and length mean the same characters while the rules
    // being filtered are alive, which holds for one rebuild. Neighbouring rules
    // mostly share their text, so the last hit is tried first.
    const auto same = [&field](const Memo &memo) {
        return memo.data == field.constData() && memo.size == field.size();
    };
    if (same(m_memos[m_lastHitMemo]))
        return m_memos[m_lastHitMemo].result;
    for (std::size_t i = 0; i < m_memos.size(); ++i) {
        if (same(m_memos[i])) {
            m_lastHitMemo = i;
            return m_memos[i].result;
        }
    }
    const bool result = matches(field);
    m_lastHitMemo = m_nextMemo;
    m_memos[m_nextMemo] = Memo{field.constData(), field.size(), result};
    m_nextMemo = (m_nextMemo + 1) % m_memos.size();
    return result;
}

std::optional<QByteArray> RuleSearch::foldedAsciiNeedle() const
{
    QByteArray needle;
    needle.reserve(m_folded.size());
    for (const QChar c : m_folded) {
        const char16_t unit = c.unicode();
        if (unit == 0)
            return std::nullopt;
        if (unit >= 0x80)
            return QByteArray();
        needle.append(char(unit));
    }
    if (needle.isEmpty())
        return std::nullopt;
    return needle;
}
