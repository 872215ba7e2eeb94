#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>
#include <vector>

// The tokens of one rule-file line, in UTF-16 or in the file's UTF-8 bytes.
// Most tokens are a slice of the line; only text assembled from separate
// pieces (a quoted field carried over to the next one) is kept apart. Kept
// from line to line, so that reading a file allocates nothing per line.
template <typename View, typename Owned> class BasicRuleTokens
{
public:
    qsizetype size() const { return qsizetype(m_tokens.size()); }
    View view(View line, qsizetype index) const
    {
        const Token &token = m_tokens[std::size_t(index)];
        return token.assembled < 0 ? line.sliced(token.start, token.length)
                                   : View(m_assembled[std::size_t(token.assembled)]);
    }
    void clear()
    {
        m_tokens.clear();
        m_assembledUsed = 0;
    }
    void appendSlice(qsizetype start, qsizetype length) { m_tokens.push_back({start, length, -1}); }
    // The next assembled text, to be filled and then appended.
    Owned &nextAssembled()
    {
        if (m_assembledUsed == m_assembled.size())
            m_assembled.emplace_back();
        Owned &text = m_assembled[m_assembledUsed];
        text.clear();
        return text;
    }
    void appendAssembled() { m_tokens.push_back({0, 0, qsizetype(m_assembledUsed++)}); }

private:
    struct Token
    {
        qsizetype start;
        qsizetype length;
        qsizetype assembled; // index in m_assembled, or -1 for a slice
    };
    std::vector<Token> m_tokens;
    std::vector<Owned> m_assembled;
    std::size_t m_assembledUsed = 0;
};

using RuleTokens = BasicRuleTokens<QStringView, QString>;
using Utf8RuleTokens = BasicRuleTokens<QByteArrayView, QByteArray>;

// Splits one line at spaces and double quotes; the reader's grammar, quirks
// included. Both delimiters are ASCII, so the bytes of a UTF-8 line split
// exactly as its text does.
void tokenizeRuleLine(QStringView line, RuleTokens &tokens);
void tokenizeRuleLine(QByteArrayView line, Utf8RuleTokens &tokens);
