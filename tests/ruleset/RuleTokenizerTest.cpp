#include "RuleManager.h"

#include <gtest/gtest.h>

namespace {

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

} // namespace
