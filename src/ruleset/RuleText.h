#pragma once

#include <QByteArrayView>
#include <QString>
#include <QStringView>

// Small text helpers shared by the records, the reader and the options.
namespace RuleText {

// The non-null empty text: records default to it, and an absent (null) text
// must stay distinguishable from it.
inline QString emptyText()
{
    return QStringLiteral("");
}

// How an absent text shows in descriptions and composed keys.
inline QString orNullMarker(const QString &text)
{
    return text.isNull() ? QStringLiteral("(null)") : text;
}

// The path without its last component, with "/" appended: /a/b/c.txt gives /a/b/.
// A null path stays null.
QString directoryOfPath(const QString &path);

// UTF-8 that is all ASCII, widened to UTF-16 at `out` (room for as many units
// as bytes), sixteen bytes at a time. False, with `out` partly written, at the
// first byte that is not ASCII: such text is for a real decoder.
bool widenAscii(QByteArrayView utf8, char16_t *out);

// QString::toCaseFolded, without its Unicode tables for ASCII text, which
// folds by lowering A to Z alone; text without capitals comes back shared.
QString caseFolded(const QString &text);

// Leading decimal number as a signed 64-bit value: blanks, an optional sign and
// digits; 0 when there are none; saturates instead of overflowing.
qint64 leadingInteger(QStringView text);
qint64 leadingInteger(QByteArrayView utf8);

// Leading decimal number kept within 32 signed bits (saturating).
qint32 leadingInt32(QStringView text);

// Boolean reading of a text: true for a leading "Y", "y", "T", "t" or a non-zero digit.
bool textIsTrue(QStringView text);

// Each also reads the UTF-8 bytes of a rule file directly, with the same result.
quint32 policyClassForWord(QStringView word);
quint32 policyClassForWord(QByteArrayView utf8);
quint32 policyTypeForWord(QStringView word);
quint32 policyTypeForWord(QByteArrayView utf8);
quint32 operationsForLetters(QStringView letters);
quint32 operationsForLetters(QByteArrayView utf8);
quint32 flagsForLetters(QStringView letters);
quint32 flagsForLetters(QByteArrayView utf8);

QString policyClassWord(quint32 policyClass);
QString policyTypeWord(quint32 policyType);
const QString &operationLetters(quint32 operations);
QString flagLetters(quint32 flags);

} // namespace RuleText
