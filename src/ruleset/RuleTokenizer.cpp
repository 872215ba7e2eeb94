#include "RuleTokenizer.h"

#include "RuleManager.h"
#include "RuleText.h"

namespace {

// Quoted text collected piece by piece; stays a slice of the line while the
// pieces are adjacent there.
class Accumulator
{
public:
    bool isEmpty() const { return !m_isAssembled && m_length == 0; }

    void append(QStringView line, qsizetype start, qsizetype length)
    {
        if (isEmpty()) {
            m_start = start;
            m_length = length;
        } else if (!m_isAssembled && start == m_start + m_length) {
            m_length += length;
        } else {
            if (!m_isAssembled) {
                m_assembled = line.sliced(m_start, m_length).toString();
                m_isAssembled = true;
            }
            m_assembled += line.sliced(start, length);
        }
    }

    RuleToken take()
    {
        RuleToken token{m_start, m_length, std::move(m_assembled), m_isAssembled};
        *this = Accumulator();
        return token;
    }

private:
    qsizetype m_start = 0;
    qsizetype m_length = 0;
    QString m_assembled;
    bool m_isAssembled = false;
};

bool isDelimiter(QChar c)
{
    return c == u'"' || c == u' ';
}

} // namespace

void tokenizeRuleLine(QStringView line, RuleTokens &tokens)
{
    tokens.clear();
    Accumulator accumulator;
    bool insideQuotes = false;
    const qsizetype size = line.size();
    qsizetype position = 0;
    while (position < size) {
        qsizetype runEnd = position;
        while (runEnd < size && !isDelimiter(line[runEnd]))
            ++runEnd;
        const qsizetype runLength = runEnd - position;
        if (runEnd == size) {
            // Text of an unterminated quote still in the accumulator is dropped.
            if (runLength > 0)
                tokens.append(RuleToken{position, runLength, {}, false});
            return;
        }
        if (line[runEnd] == u'"') {
            const bool wasInsideQuotes = insideQuotes;
            insideQuotes = !insideQuotes;
            if (runLength == 0) {
                if (wasInsideQuotes)
                    tokens.append(RuleToken{runEnd, 0, {}, false});
            } else {
                accumulator.append(line, position, runLength);
                tokens.append(accumulator.take());
            }
        } else if (insideQuotes) {
            // The run and the space after it are adjacent in the line.
            accumulator.append(line, position, runLength + 1);
        } else if (runLength > 0) {
            tokens.append(RuleToken{position, runLength, {}, false});
        }
        position = runEnd + 1;
    }
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
