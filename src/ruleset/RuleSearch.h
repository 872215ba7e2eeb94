#pragma once

#include <QByteArray>
#include <QString>
#include <array>
#include <optional>

// The table's search: a case-insensitive substring test of one text against the
// rule fields it is applied to, folding case one UTF-16 unit at a time (accents
// still count). An absent field never matches.
class RuleSearch
{
public:
    explicit RuleSearch(const QString &text);

    bool matches(QStringView field) const;

    // Rules of one application share their process text and most rules share a
    // handful of tags, so answers are remembered for the last few string data.
    bool matchesShared(const QString &field);

    // The needle as lower-case ASCII bytes, for searching plain-ASCII text
    // lowered the same way: empty when no such text can hold it, nothing when
    // that shortcut does not apply (an empty needle, or one holding NUL).
    std::optional<QByteArray> foldedAsciiNeedle() const;

private:
    bool matchesAscii(const char16_t *hay, qsizetype size) const;
    bool matchesFolding(const char16_t *hay, qsizetype size) const;

    struct Memo
    {
        const QChar *data = nullptr;
        qsizetype size = -1;
        bool result = false;
    };

    QString m_folded;
    // No needle unit can match a non-ASCII unit, so plain ASCII case rules decide.
    bool m_asciiOnly = false;
    std::array<Memo, 8> m_memos{};
    std::size_t m_nextMemo = 0;
    std::size_t m_lastHitMemo = 0;
};
