#include "RuleText.h"

#include <array>
#include <limits>

namespace RuleText {

QString directoryOfPath(const QString &path)
{
    if (path.isNull())
        return path;
    QStringView rest(path);
    while (rest.size() > 1 && rest.endsWith(u'/'))
        rest.chop(1);
    const qsizetype slash = rest.lastIndexOf(u'/');
    if (slash < 0)
        return QStringLiteral("/");
    QStringView directory = rest.left(slash);
    while (directory.size() > 1 && directory.endsWith(u'/'))
        directory.chop(1);
    // The root keeps a single slash instead of gaining a second one.
    if (directory.isEmpty() || directory == u"/")
        return QStringLiteral("/");
    return directory + u'/';
}

static bool isBlank(QChar c)
{
    return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r' || c == u'\v' || c == u'\f';
}

qint64 leadingInteger(QStringView text)
{
    qsizetype i = 0;
    while (i < text.size() && isBlank(text[i]))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == u'-' || text[i] == u'+')) {
        negative = text[i] == u'-';
        ++i;
    }
    constexpr quint64 positiveLimit = quint64(std::numeric_limits<qint64>::max());
    const quint64 limit = negative ? positiveLimit + 1 : positiveLimit;
    quint64 value = 0;
    for (; i < text.size(); ++i) {
        const char16_t c = text[i].unicode();
        if (c < u'0' || c > u'9')
            break;
        const quint64 digit = c - u'0';
        if (value > (limit - digit) / 10) {
            value = limit;
            break;
        }
        value = value * 10 + digit;
    }
    if (negative)
        return value == positiveLimit + 1 ? std::numeric_limits<qint64>::min() : -qint64(value);
    return qint64(value);
}

qint32 leadingInt32(QStringView text)
{
    const qint64 value = leadingInteger(text);
    if (value > std::numeric_limits<qint32>::max())
        return std::numeric_limits<qint32>::max();
    if (value < std::numeric_limits<qint32>::min())
        return std::numeric_limits<qint32>::min();
    return qint32(value);
}

bool textIsTrue(QStringView text)
{
    qsizetype i = 0;
    while (i < text.size() && isBlank(text[i]))
        ++i;
    if (i < text.size() && (text[i] == u'-' || text[i] == u'+'))
        ++i;
    while (i < text.size() && text[i] == u'0')
        ++i;
    if (i >= text.size())
        return false;
    const char16_t c = text[i].unicode();
    return c == u'Y' || c == u'y' || c == u'T' || c == u't' || (c >= u'1' && c <= u'9');
}

quint32 policyClassForWord(QStringView word)
{
    if (word == u"allow")
        return 0;
    if (word == u"deny")
        return 1;
    return 5;
}

quint32 policyTypeForWord(QStringView word)
{
    if (word == u"prefix")
        return 0;
    if (word == u"path")
        return 1;
    if (word == u"suffix")
        return 2;
    return 4;
}

static quint32 bitsForLetters(QStringView letters, std::u16string_view alphabet)
{
    quint32 bits = 0;
    for (const QChar c : letters) {
        const auto at = alphabet.find(c.unicode());
        if (at != std::u16string_view::npos)
            bits |= 1u << at;
    }
    return bits;
}

quint32 operationsForLetters(QStringView letters)
{
    return bitsForLetters(letters, u"rwcmx");
}

quint32 flagsForLetters(QStringView letters)
{
    return bitsForLetters(letters, u"ust");
}

QString policyClassWord(quint32 policyClass)
{
    switch (policyClass) {
    case 0:
        return QStringLiteral("allow");
    case 1:
        return QStringLiteral("deny");
    case 2:
        return QStringLiteral("watch");
    default:
        return QStringLiteral("err");
    }
}

QString policyTypeWord(quint32 policyType)
{
    switch (policyType) {
    case 0:
        return QStringLiteral("prefix");
    case 1:
        return QStringLiteral("path");
    case 2:
        return QStringLiteral("suffix");
    default:
        return QStringLiteral("err");
    }
}

template <std::size_t Count>
static std::array<QString, (1u << Count)> letterTable(const char16_t (&alphabet)[Count + 1])
{
    std::array<QString, (1u << Count)> table;
    for (quint32 bits = 0; bits < table.size(); ++bits) {
        QString letters = RuleText::emptyText();
        for (std::size_t bit = 0; bit < Count; ++bit) {
            if (bits & (1u << bit))
                letters += QChar(alphabet[bit]);
        }
        table[bits] = letters;
    }
    return table;
}

// Written once per rule line, so the texts are built once and shared.
QString operationLetters(quint32 operations)
{
    static const auto table = letterTable<5>(u"rwcmx");
    return table[operations & 0x1f];
}

QString flagLetters(quint32 flags)
{
    static const auto table = letterTable<3>(u"ust");
    return table[flags & 0x7];
}

} // namespace RuleText
