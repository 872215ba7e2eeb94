#include "RuleLineParser.h"

#include "PolicyRule.h"
#include "RuleReadSupport.h"
#include "RuleText.h"
#include "RuleTokenizer.h"
#include "WatchRule.h"

#include <array>
#include <bit>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// Length of the line separator starting at `at`, or 0: LF, VT, FF, CR, NEL,
// U+2028 and U+2029, as UTF-8.
int separatorLength(const char *at, const char *end)
{
    const auto c = uchar(at[0]);
    if (c >= 0x0a && c <= 0x0d)
        return 1;
    if (c == 0xc2 && end - at >= 2 && uchar(at[1]) == 0x85)
        return 2;
    if (c == 0xe2 && end - at >= 3 && uchar(at[1]) == 0x80 && (uchar(at[2]) == 0xa8 || uchar(at[2]) == 0xa9))
        return 3;
    return 0;
}

// Bytes that may begin a line separator: the scan stops only at these.
constexpr std::array<bool, 256> kSeparatorStarts = [] {
    std::array<bool, 256> starts{};
    for (int c = 0x0a; c <= 0x0d; ++c)
        starts[std::size_t(c)] = true;
    starts[0xc2] = true;
    starts[0xe2] = true;
    return starts;
}();

// The next line separator at or after `at`, with its length (0 at the end).
std::pair<const char *, int> nextSeparator(const char *at, const char *end)
{
#if defined(__SSE2__)
    // Lines are long and separators rare: sixteen bytes are tested at once
    // for a byte that may begin one.
    const __m128i first = _mm_set1_epi8(0x0a);
    const __m128i span = _mm_set1_epi8(0x0d - 0x0a);
    const __m128i nel = _mm_set1_epi8(char(0xc2));
    const __m128i paragraph = _mm_set1_epi8(char(0xe2));
    for (; end - at >= 16; at += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(at));
        const __m128i offset = _mm_sub_epi8(bytes, first);
        const __m128i control = _mm_cmpeq_epi8(_mm_min_epu8(offset, span), offset);
        const __m128i starts =
            _mm_or_si128(control, _mm_or_si128(_mm_cmpeq_epi8(bytes, nel), _mm_cmpeq_epi8(bytes, paragraph)));
        for (unsigned mask = unsigned(_mm_movemask_epi8(starts)); mask != 0; mask &= mask - 1) {
            const char *candidate = at + std::countr_zero(mask);
            if (const int length = separatorLength(candidate, end))
                return {candidate, length};
        }
    }
#endif
    for (; at < end; ++at) {
        if (kSeparatorStarts[uchar(*at)]) {
            if (const int length = separatorLength(at, end))
                return {at, length};
        }
    }
    return {end, 0};
}

// Calls `lineFound(line, separator)` for every line of `part`, the last one included.
template <typename LineFound> void forEachLine(QByteArrayView part, LineFound lineFound)
{
    const char *const end = part.data() + part.size();
    for (const char *lineStart = part.data(); lineStart;) {
        const auto [lineEnd, separator] = nextSeparator(lineStart, end);
        lineFound(QByteArrayView(lineStart, lineEnd - lineStart), lineEnd, separator);
        lineStart = separator > 0 ? lineEnd + separator : nullptr;
    }
}

} // namespace

RuleLineParser::RuleLineParser(bool system)
    : m_system(system)
{}

std::vector<ParsedRuleLine> RuleLineParser::parse(QByteArrayView part)
{
    std::vector<ParsedRuleLine> parsed;
    parsed.reserve(std::size_t(part.size() / kShortRuleLineBytes));
    // The process and constraint texts of a line lie anywhere in a large
    // table, and so do the copies they are compared with. A line is split and
    // its table slots asked for; once the next line is split, the copies in
    // those slots are asked for; and once another is split, it is read.
    std::size_t count = 0; // lines split so far
    auto line = [this](std::size_t index) -> SplitLine & { return m_lines[index % m_lines.size()]; };
    forEachLine(part, [&](QByteArrayView text, const char *, int) {
        if (text.startsWith(';') || !split(text, line(count)))
            return;
        if (count >= 1)
            askForKeptTexts(line(count - 1));
        if (count >= 2)
            read(line(count - 2), parsed);
        ++count;
    });
    if (count >= 1)
        askForKeptTexts(line(count - 1));
    for (std::size_t index = count >= 2 ? count - 2 : 0; index < count; ++index)
        read(line(index), parsed);
    return parsed;
}

bool RuleLineParser::split(QByteArrayView line, SplitLine &into)
{
    tokenizeRuleLine(line, into.tokens);
    if (into.tokens.size() == 0)
        return false;
    into.line = line;
    into.processHash = into.hasProcess() ? m_strings.hashOf(into.token(3)) : 0;
    if (into.hasProcess())
        m_strings.prefetch(into.processHash);
    into.constraintHash = into.hasConstraint() ? m_strings.hashOf(into.token(6)) : 0;
    if (into.hasConstraint())
        m_strings.prefetch(into.constraintHash);
    return true;
}

void RuleLineParser::askForKeptTexts(const SplitLine &split) const
{
    if (split.hasProcess())
        m_strings.prefetchKey(split.processHash);
    if (split.hasConstraint())
        m_strings.prefetchKey(split.constraintHash);
}

void RuleLineParser::read(const SplitLine &split, std::vector<ParsedRuleLine> &parsed)
{
    using Kind = ParsedRuleLine::Kind;
    const qsizetype count = split.tokens.size();
    const QByteArrayView line = split.line;
    auto token = [&split](qsizetype i) { return split.token(i); };
    const QByteArrayView first = token(0);
    // Fields 1-5 mean the same on watch and policy lines; field 5 is a user
    // rule's tag but a system rule's flags.
    auto fillSharedFields = [&](NVCRuleBase &rule) {
        rule.policyType = RuleText::policyTypeForWord(token(1));
        m_strings.setPath(rule, token(2), m_records);
        rule.setProcessName(m_strings.intern(token(3), split.processHash));
        rule.operations = RuleText::operationsForLetters(token(4));
        rule.system = m_system;
        if (count > 5) {
            if (m_system)
                rule.flags = RuleText::flagsForLetters(token(5));
            else
                rule.setTag(m_strings.intern(token(5)));
        }
    };

    if (first == "watch" && count >= 5) {
        auto rule = m_records.newWatchRule();
        fillSharedFields(*rule);
        const size_t hash = duplicateHash(*rule);
        parsed.push_back({.kind = Kind::Watch, .line = line, .rule = std::move(rule), .duplicateHash = hash});
    } else if (first == "set" && count >= 3) {
        parsed.push_back({.kind = Kind::Option, .line = line});
    } else if (first == "trace") {
        parsed.push_back({.kind = Kind::Trace, .line = line});
    } else if (count < 5) {
        parsed.push_back({.kind = Kind::Malformed, .line = line});
    } else {
        auto rule = m_records.newPolicyRule();
        rule->policyClass = RuleText::policyClassForWord(first);
        fillSharedFields(*rule);
        if (split.hasConstraint())
            rule->setConstraint(m_strings.intern(token(6), split.constraintHash));
        if (count > 7)
            rule->created = RuleText::leadingInteger(token(7));
        const size_t hash = duplicateHash(*rule);
        const size_t groupHash = GroupsByTexts::hashOf(rule->sharedProcessName(), rule->sharedConstraint());
        parsed.push_back({.kind = Kind::Policy,
                          .line = line,
                          .rule = std::move(rule),
                          .duplicateHash = hash,
                          .groupHash = groupHash});
    }
}

std::vector<QByteArrayView> splitAtLineEnds(QByteArrayView text, int count)
{
    std::vector<QByteArrayView> parts;
    const char *const end = text.data() + text.size();
    const char *start = text.data();
    for (int left = count; left > 1 && start < end; --left) {
        const auto [separator, length] = nextSeparator(start + (end - start) / left, end);
        if (length == 0)
            break;
        parts.emplace_back(start, separator + length - start);
        start = separator + length;
    }
    parts.emplace_back(start, end - start);
    return parts;
}

qsizetype lineNumberAt(QByteArrayView file, const char *lineStart)
{
    qsizetype number = 1;
    const char *const begin = file.data();
    forEachLine(QByteArrayView(begin, lineStart - begin),
                [&](QByteArrayView, const char *lineEnd, int separator) {
                    if (separator > 0 && !(*lineEnd == '\n' && lineEnd > begin && lineEnd[-1] == '\r'))
                        ++number;
                });
    return number;
}
