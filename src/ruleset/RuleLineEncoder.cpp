#include "RuleLineEncoder.h"

#include "PolicyRule.h"
#include "RuleText.h"
#include "WatchRule.h"

#include <charconv>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

char *appendAscii(char *at, const char *text)
{
    const std::size_t length = std::strlen(text);
    std::memcpy(at, text, length);
    return at + length;
}

// Words and letters of a line are ASCII.
char *appendAscii(char *at, const QString &text)
{
    for (const QChar c : text)
        *at++ = char(c.unicode());
    return at;
}

// The tag loses its double quotes in the file.
template <typename Append> char *appendWithoutQuotes(char *at, QStringView text, Append appendText)
{
    qsizetype start = 0;
    for (qsizetype quote = text.indexOf(u'"'); quote >= 0; quote = text.indexOf(u'"', start)) {
        at = appendText(at, text.sliced(start, quote - start));
        start = quote + 1;
    }
    return appendText(at, text.sliced(start));
}

// Fields are nearly always ASCII, whose UTF-8 is its units narrowed, eight
// at a time. False, with `out` partly written, at the first unit that is not.
bool narrowAscii(QStringView text, char *out)
{
    const char16_t *in = text.utf16();
    const char16_t *const end = in + text.size();
#if defined(__SSE2__)
    const __m128i nonAscii = _mm_set1_epi16(qint16(0xFF80));
    for (; end - in >= 8; in += 8, out += 8) {
        const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i *>(in));
        if (_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(chunk, nonAscii), _mm_setzero_si128())) != 0xFFFF)
            return false;
        _mm_storel_epi64(reinterpret_cast<__m128i *>(out), _mm_packus_epi16(chunk, chunk));
    }
#endif
    for (; in < end; ++in, ++out) {
        if (*in >= 0x80)
            return false;
        *out = char(*in);
    }
    return true;
}

} // namespace

char *RuleLineEncoder::appendText(char *at, QStringView text)
{
    if (narrowAscii(text, at))
        return at + text.size();
    return m_encoder.appendToBuffer(at, text);
}

bool RuleLineEncoder::append(QByteArray &out, const NVCRuleBase &rule)
{
    const bool policy = dynamic_cast<const PolicyRule *>(&rule);
    if (!policy && !dynamic_cast<const WatchRule *>(&rule))
        return false;
    appendLine(out, rule, policy);
    return true;
}

bool RuleLineEncoder::append(QByteArray &out, const PolicyRule &rule)
{
    appendLine(out, rule, true);
    return true;
}

void RuleLineEncoder::appendLine(QByteArray &out, const NVCRuleBase &rule, bool policy)
{
    constexpr qsizetype fixedPart = 96; // words, letters, quotes, blanks and a 64-bit number
    const qsizetype textLength = rule.pathView().size() + rule.processName().size() + rule.tag().size() +
                                 (policy ? rule.constraint().size() : 0);
    const qsizetype start = out.size();
    out.resize(start + fixedPart + 3 * textLength);
    char *at = out.data() + start;
    auto text = [this](char *to, QStringView field) { return appendText(to, field); };

    at = policy ? appendAscii(at, RuleText::policyClassWord(rule.policyClass)) : appendAscii(at, "watch");
    *at++ = ' ';
    at = appendAscii(at, RuleText::policyTypeWord(rule.policyType));
    at = appendAscii(at, " \"");
    at = appendText(at, rule.pathView());
    at = appendAscii(at, "\" \"");
    at = appendText(at, rule.processName());
    at = appendAscii(at, "\" ");
    at = appendAscii(at, RuleText::operationLetters(rule.operations));
    at = appendAscii(at, " \"");
    at = appendWithoutQuotes(at, rule.tag(), text);
    if (policy) {
        at = appendAscii(at, "\" \"");
        at = appendText(at, rule.constraint());
        at = appendAscii(at, "\" \"");
        at = std::to_chars(at, at + 20, rule.created).ptr;
    }
    at = appendAscii(at, "\"\n");
    out.resize(at - out.constData());
}
