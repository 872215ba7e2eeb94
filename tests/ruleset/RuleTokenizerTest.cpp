#include "RuleTokenizer.h"

#include "RuleManager.h"

#include <QRandomGenerator>
#include <gtest/gtest.h>

namespace {

using namespace Qt::StringLiterals;

struct TokenizerCase
{
    const char16_t *line;
    QStringList tokens;
};

const TokenizerCase kCases[] = {
    {u"", {}},
    {u"   ", {}},
    {u"allow", {"allow"}},
    {u"  set   a  1  ", {"set", "a", "1"}},
    // Tabs are ordinary characters.
    {u"a\tb c", {"a\tb", "c"}},
    {u"allow path \"/a b/c\" \"any\" rw \"\" \"\" \"5\"",
     {"allow", "path", "/a b/c", "any", "rw", "", "", "5"}},
    // Spaces inside quotes are kept one for one.
    {u"\"a  b\"", {"a  b"}},
    {u"\" a\"", {" a"}},
    // A quote always ends a token.
    {u"a\"b\"", {"a", "b"}},
    {u"ab\"", {"ab"}},
    // An empty quoted field gives one empty token.
    {u"x \"\" y", {"x", "", "y"}},
    // A quoted field ending in a space gives an empty token, and its text moves
    // in front of the next quoted field.
    {u"\"a \" x \"b c\"", {"", "x", "a b c"}},
    {u"\"a  \"b c\"", {"", "b", "a  c"}},
    {u"\"a \" \"b \" \"c\"", {"", "", "a b c"}},
    // The text of an unterminated quote is dropped, except its last word.
    {u"x \"a b", {"x", "b"}},
    {u"x \"a b ", {"x"}},
    {u"\"\u00e9t\u00e9 \u65e5\u672c\"", {QString::fromUtf16(u"\u00e9t\u00e9 \u65e5\u672c")}}};

TEST(RuleTokenizer, SplitsLinesAtSpacesAndQuotes)
{
    for (const TokenizerCase &c : kCases) {
        const QStringList tokens = RuleManager::scanString(QStringView(c.line));
        EXPECT_EQ(tokens, c.tokens) << qPrintable(QString::fromUtf16(c.line)) << " gave ["
                                    << qPrintable(tokens.join(u'|')) << "]";
        for (const QString &token : tokens)
            EXPECT_FALSE(token.isNull()) << "tokens are never absent texts";
    }
}

// The reader splits a line's UTF-8 bytes, many bytes at a time; the line's
// text must come out the same, wherever its delimiters fall.
TEST(RuleTokenizer, BytesSplitAsTheirText)
{
    const QList<QString> pieces{u" "_s, u"\""_s, u"a"_s, u"\u00e9"_s, u"\u65e5"_s, u"\t"_s, u"ab"_s};
    QRandomGenerator random(7);
    QList<QString> lines;
    for (const TokenizerCase &c : kCases)
        lines.append(QString::fromUtf16(c.line));
    for (int i = 0; i < 3000; ++i) {
        QString line;
        const int length = random.bounded(200);
        // Long stretches without delimiters too, across whole blocks of bytes.
        const bool sparse = random.bounded(4) == 0;
        while (line.size() < length)
            line += sparse && random.bounded(10) != 0 ? u"x"_s : pieces[random.bounded(int(pieces.size()))];
        lines.append(line);
    }
    RuleTokens textTokens;
    Utf8RuleTokens byteTokens;
    for (const QString &line : std::as_const(lines)) {
        const QByteArray bytes = line.toUtf8();
        tokenizeRuleLine(QStringView(line), textTokens);
        tokenizeRuleLine(QByteArrayView(bytes), byteTokens);
        ASSERT_EQ(byteTokens.size(), textTokens.size()) << qPrintable(line);
        for (qsizetype t = 0; t < textTokens.size(); ++t)
            ASSERT_EQ(QString::fromUtf8(byteTokens.view(bytes, t)), textTokens.view(line, t).toString())
                << qPrintable(line) << " token " << t;
    }
}

} // namespace
