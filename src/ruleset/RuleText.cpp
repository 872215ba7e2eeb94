#include "RuleText.h"

#include <array>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#include <bit>
#include <cstring>
#include <limits>
#include <optional>
#include <string_view>
#include <type_traits>

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

// One code unit of a line, whether UTF-16 or UTF-8: the grammar's own
// characters are ASCII, and no unit of a longer character equals one.
static char16_t unitAt(QStringView text, qsizetype i)
{
    return text[i].unicode();
}

static char16_t unitAt(QByteArrayView text, qsizetype i)
{
    return uchar(text[i]);
}

static bool isBlank(char16_t c)
{
    return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r' || c == u'\v' || c == u'\f';
}

// Eight ASCII digits as one number, or none when a byte is not a digit.
static std::optional<quint64> eightDigits(const char *text)
{
    constexpr quint64 highHalves = 0xF0F0F0F0F0F0F0F0ULL;
    constexpr quint64 zeros = 0x3030303030303030ULL;
    quint64 chunk;
    std::memcpy(&chunk, text, sizeof chunk);
    // A digit's high half is 3, and stays 3 when 6 is added.
    if ((chunk & highHalves) != zeros || ((chunk + 0x0606060606060606ULL) & highHalves) != zeros)
        return std::nullopt;
    chunk -= zeros;
    // The first digit is the lowest byte: pairs of digits, then the whole.
    chunk = chunk * 10 + (chunk >> 8);
    return ((chunk & 0x000000FF000000FFULL) * (100 + (1000000ULL << 32)) +
            ((chunk >> 16) & 0x000000FF000000FFULL) * (1 + (10000ULL << 32))) >>
           32;
}

template <typename View> static qint64 leadingIntegerOf(View text)
{
    qsizetype i = 0;
    while (i < text.size() && isBlank(unitAt(text, i)))
        ++i;
    bool negative = false;
    if (i < text.size() && (unitAt(text, i) == u'-' || unitAt(text, i) == u'+')) {
        negative = unitAt(text, i) == u'-';
        ++i;
    }
    constexpr quint64 positiveLimit = quint64(std::numeric_limits<qint64>::max());
    const quint64 limit = negative ? positiveLimit + 1 : positiveLimit;
    quint64 value = 0;
    if constexpr (std::is_same_v<View, QByteArrayView> && std::endian::native == std::endian::little) {
        // Creation times have ten digits: the first eight are read at once.
        if (text.size() - i >= 8) {
            if (const std::optional<quint64> first = eightDigits(text.data() + i)) {
                value = *first;
                i += 8;
            }
        }
    }
    for (; i < text.size(); ++i) {
        const char16_t c = unitAt(text, i);
        if (c < u'0' || c > u'9')
            break;
        const quint64 digit = c - u'0';
        // Below this bound no digit can overflow, so the division is left out for usual numbers.
        constexpr quint64 safeBelow = (positiveLimit - 9) / 10;
        if (value > safeBelow && value > (limit - digit) / 10) {
            value = limit;
            break;
        }
        value = value * 10 + digit;
    }
    if (negative)
        return value == positiveLimit + 1 ? std::numeric_limits<qint64>::min() : -qint64(value);
    return qint64(value);
}

qint64 leadingInteger(QStringView text)
{
    return leadingIntegerOf(text);
}

qint64 leadingInteger(QByteArrayView text)
{
    return leadingIntegerOf(text);
}

bool widenAscii(QByteArrayView utf8, char16_t *out)
{
    const char *in = utf8.data();
    const char *const end = in + utf8.size();
#if defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128();
    for (; end - in >= 16; in += 16, out += 16) {
        const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i *>(in));
        if (_mm_movemask_epi8(chunk) != 0)
            return false;
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out), _mm_unpacklo_epi8(chunk, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out + 8), _mm_unpackhi_epi8(chunk, zero));
    }
#endif
    for (; in < end; ++in, ++out) {
        if (uchar(*in) >= 0x80)
            return false;
        *out = char16_t(uchar(*in));
    }
    return true;
}

QString caseFolded(const QString &text)
{
    const char16_t *units = QStringView(text).utf16();
    const qsizetype size = text.size();
    qsizetype at = 0;
    bool capitals = false;
#if defined(__SSE2__)
    // Group keys and paths are long: eight units are tested at once.
    const __m128i nonAscii = _mm_set1_epi16(qint16(0xFF80));
    const __m128i beforeA = _mm_set1_epi16('A' - 1);
    const __m128i afterZ = _mm_set1_epi16('Z' + 1);
    for (; size - at >= 8; at += 8) {
        const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i *>(units + at));
        if (_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(chunk, nonAscii), _mm_setzero_si128())) != 0xFFFF)
            return text.toCaseFolded();
        capitals |= _mm_movemask_epi8(
                        _mm_and_si128(_mm_cmpgt_epi16(chunk, beforeA), _mm_cmplt_epi16(chunk, afterZ))) != 0;
    }
#endif
    for (; at < size; ++at) {
        if (units[at] >= 0x80)
            return text.toCaseFolded();
        capitals |= units[at] >= u'A' && units[at] <= u'Z';
    }
    if (!capitals)
        return text;
    QString folded(size, Qt::Uninitialized);
    char16_t *out = reinterpret_cast<char16_t *>(folded.data());
    for (qsizetype i = 0; i < size; ++i)
        out[i] = units[i] >= u'A' && units[i] <= u'Z' ? char16_t(units[i] + (u'a' - u'A')) : units[i];
    return folded;
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
    while (i < text.size() && isBlank(text[i].unicode()))
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

template <typename View> static bool isWord(View text, std::string_view ascii)
{
    if (text.size() != qsizetype(ascii.size()))
        return false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (unitAt(text, i) != char16_t(ascii[std::size_t(i)]))
            return false;
    }
    return true;
}

template <typename View> static quint32 policyClassOf(View word)
{
    if (isWord(word, "allow"))
        return 0;
    if (isWord(word, "deny"))
        return 1;
    return 5;
}

quint32 policyClassForWord(QStringView word)
{
    return policyClassOf(word);
}

quint32 policyClassForWord(QByteArrayView word)
{
    return policyClassOf(word);
}

template <typename View> static quint32 policyTypeOf(View word)
{
    if (isWord(word, "prefix"))
        return 0;
    if (isWord(word, "path"))
        return 1;
    if (isWord(word, "suffix"))
        return 2;
    return 4;
}

quint32 policyTypeForWord(QStringView word)
{
    return policyTypeOf(word);
}

quint32 policyTypeForWord(QByteArrayView word)
{
    return policyTypeOf(word);
}

// The alphabet's letters are few: comparing with each beats a search.
template <typename View, std::size_t Size>
static quint32 bitsForLetters(View letters, const char16_t (&alphabet)[Size])
{
    quint32 bits = 0;
    for (qsizetype i = 0; i < letters.size(); ++i) {
        const char16_t letter = unitAt(letters, i);
        for (std::size_t at = 0; at + 1 < Size; ++at) {
            if (letter == alphabet[at]) {
                bits |= 1u << at;
                break;
            }
        }
    }
    return bits;
}

quint32 operationsForLetters(QStringView letters)
{
    return bitsForLetters(letters, u"rwcmx");
}

quint32 operationsForLetters(QByteArrayView letters)
{
    return bitsForLetters(letters, u"rwcmx");
}

quint32 flagsForLetters(QStringView letters)
{
    return bitsForLetters(letters, u"ust");
}

quint32 flagsForLetters(QByteArrayView letters)
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
const QString &operationLetters(quint32 operations)
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
