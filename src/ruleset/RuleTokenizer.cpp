#include "RuleTokenizer.h"

#include "RuleManager.h"
#include "RuleText.h"

#include <bit>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

char16_t unit(QChar c)
{
    return c.unicode();
}

char16_t unit(char c)
{
    return uchar(c);
}

QString ownedCopy(QStringView text)
{
    return text.toString();
}

QByteArray ownedCopy(QByteArrayView text)
{
    return text.toByteArray();
}

// Quoted text collected piece by piece; stays a slice of the line while the
// pieces are adjacent there.
template <typename View, typename Owned> class Accumulator
{
public:
    bool isEmpty() const { return !m_isAssembled && m_length == 0; }

    void append(View line, qsizetype start, qsizetype length)
    {
        if (isEmpty()) {
            m_start = start;
            m_length = length;
        } else if (!m_isAssembled && start == m_start + m_length) {
            m_length += length;
        } else {
            if (!m_isAssembled) {
                m_assembled = ownedCopy(line.sliced(m_start, m_length));
                m_isAssembled = true;
            }
            m_assembled += line.sliced(start, length);
        }
    }

    BasicRuleToken<View, Owned> take()
    {
        BasicRuleToken<View, Owned> token{m_start, m_length, std::move(m_assembled), m_isAssembled};
        *this = Accumulator();
        return token;
    }

private:
    qsizetype m_start = 0;
    qsizetype m_length = 0;
    Owned m_assembled;
    bool m_isAssembled = false;
};

bool isDelimiter(auto c)
{
    return unit(c) == u'"' || unit(c) == u' ';
}

// The first space or double quote at or after `from`, or the line's end.
qsizetype nextDelimiter(QStringView line, qsizetype from)
{
    while (from < line.size() && !isDelimiter(line[from]))
        ++from;
    return from;
}

qsizetype nextDelimiter(QByteArrayView line, qsizetype from)
{
#if defined(__SSE2__)
    // Rule lines are read by the hundred thousand: sixteen bytes are tested at once.
    const __m128i space = _mm_set1_epi8(' ');
    const __m128i quote = _mm_set1_epi8('"');
    for (; line.size() - from >= 16; from += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(line.data() + from));
        const auto found = unsigned(
            _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(bytes, space), _mm_cmpeq_epi8(bytes, quote))));
        if (found != 0)
            return from + std::countr_zero(found);
    }
#endif
    while (from < line.size() && !isDelimiter(line[from]))
        ++from;
    return from;
}

template <typename View, typename Owned>
void tokenize(View line, QVarLengthArray<BasicRuleToken<View, Owned>, 10> &tokens)
{
    using Token = BasicRuleToken<View, Owned>;
    tokens.clear();
    Accumulator<View, Owned> accumulator;
    bool insideQuotes = false;
    const qsizetype size = line.size();
    qsizetype position = 0;
    while (position < size) {
        const qsizetype runEnd = nextDelimiter(line, position);
        const qsizetype runLength = runEnd - position;
        if (runEnd == size) {
            // Text of an unterminated quote still in the accumulator is dropped.
            if (runLength > 0)
                tokens.append(Token{position, runLength, {}, false});
            return;
        }
        if (unit(line[runEnd]) == u'"') {
            const bool wasInsideQuotes = insideQuotes;
            insideQuotes = !insideQuotes;
            if (runLength == 0) {
                if (wasInsideQuotes)
                    tokens.append(Token{runEnd, 0, {}, false});
            } else {
                accumulator.append(line, position, runLength);
                tokens.append(accumulator.take());
            }
        } else if (insideQuotes) {
            // The run and the space after it are adjacent in the line.
            accumulator.append(line, position, runLength + 1);
        } else if (runLength > 0) {
            tokens.append(Token{position, runLength, {}, false});
        }
        position = runEnd + 1;
    }
}

} // namespace

void tokenizeRuleLine(QStringView line, RuleTokens &tokens)
{
    tokenize(line, tokens);
}

void tokenizeRuleLine(QByteArrayView line, Utf8RuleTokens &tokens)
{
    tokenize(line, tokens);
}

QStringList RuleManager::scanString(QStringView line)
{
    RuleTokens tokens;
    tokenizeRuleLine(line, tokens);
    QStringList words;
    words.reserve(tokens.size());
    for (const RuleToken &token : tokens) {
        const QStringView view = token.view(line);
        words.append(view.isEmpty() ? RuleText::emptyText() : view.toString());
    }
    return words;
}
