#pragma once

#include <QString>

// The table's search: a case-insensitive substring test of one text against the
// rule fields it is applied to, folding case one UTF-16 unit at a time (accents
// still count). An absent field never matches.
class RuleSearch
{
public:
    explicit RuleSearch(const QString &text);

    bool matches(const QString &field) const;

    // Rules of one application share their process text, so its answer is
    // remembered for the same string data.
    bool matchesShared(const QString &field);

private:
    QString m_folded;
    const QChar *m_lastData = nullptr;
    qsizetype m_lastSize = -1;
    bool m_lastResult = false;
};
