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

// Quoted text collected piece by piece; stays a slice of the line while the
// pieces are adjacent there.
template <typename View, typename Owned> class Accumulator
{
public:
    explicit Accumulator(BasicRuleTokens<View, Owned> &tokens)
        : m_tokens(tokens)
    {}

    bool isEmpty() const { return !m_assembled && m_length == 0; }

    void append(View line, qsizetype start, qsizetype length)
    {
        if (isEmpty()) {
            m_start = start;
            m_length = length;
        } else if (!m_assembled && start == m_start + m_length) {
            m_length += length;
        } else {
            if (!m_assembled) {
                m_assembled = &m_tokens.nextAssembled();
                m_assembled->append(line.sliced(m_start, m_length));
            }
            m_assembled->append(line.sliced(start, length));
        }
    }

    // Appends the collected text as a token and starts again.
    void finishToken()
    {
        if (m_assembled)
            m_tokens.appendAssembled();
        else
            m_tokens.appendSlice(m_start, m_length);
        m_start = 0;
        m_length = 0;
        m_assembled = nullptr;
    }

private:
    BasicRuleTokens<View, Owned> &m_tokens;
    qsizetype m_start = 0;
    qsizetype m_length = 0;
    Owned *m_assembled = nullptr;
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
    // Every quote is followed by a space or another quote: half the runs are empty.
    if (from < line.size() && isDelimiter(line[from]))
        return from;
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

template <typename View, typename Owned> void tokenize(View line, BasicRuleTokens<View, Owned> &tokens)
{
    tokens.clear();
    Accumulator<View, Owned> accumulator(tokens);
    bool insideQuotes = false;
    const qsizetype size = line.size();
    qsizetype position = 0;
    while (position < size) {
        const qsizetype runEnd = nextDelimiter(line, position);
        const qsizetype runLength = runEnd - position;
        if (runEnd == size) {
            // Text of an unterminated quote still in the accumulator is dropped.
            if (runLength > 0)
                tokens.appendSlice(position, runLength);
            return;
        }
        if (unit(line[runEnd]) == u'"') {
            const bool wasInsideQuotes = insideQuotes;
            insideQuotes = !insideQuotes;
            if (runLength == 0) {
                if (wasInsideQuotes)
                    tokens.appendSlice(runEnd, 0);
            } else {
                accumulator.append(line, position, runLength);
                accumulator.finishToken();
            }
        } else if (insideQuotes) {
            // The run and the space after it are adjacent in the line.
            accumulator.append(line, position, runLength + 1);
        } else if (runLength > 0) {
            tokens.appendSlice(position, runLength);
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
    for (qsizetype i = 0; i < tokens.size(); ++i) {
        const QStringView view = tokens.view(line, i);
        words.append(view.isEmpty() ? RuleText::emptyText() : view.toString());
    }
    return words;
}
