#pragma once

#include <QHashFunctions>
#include <QString>

// A text that many rules repeat (process name, short name, tag, constraint),
// kept once for the life of the process: a rule holds only its 32-bit number.
// Equal numbers mean equal code units, and an absent (null) text is a value of
// its own, apart from the empty one.
class SharedText
{
public:
    SharedText() = default; // the absent text
    explicit SharedText(const QString &text);
    // The same for a text in a caller's buffer: a copy of it is kept only
    // when the text is new.
    static SharedText of(QStringView text);
    // The empty text, without a lookup: every new record starts with it.
    static SharedText empty();

    const QString &text() const;
    bool isNull() const { return m_id == 0; }

    friend bool operator==(SharedText, SharedText) = default;
    friend size_t qHash(SharedText text, size_t seed = 0) { return qHash(text.m_id, seed); }

private:
    explicit SharedText(quint32 id)
        : m_id(id)
    {}

    quint32 m_id = 0;
};
