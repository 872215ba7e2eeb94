#include "RuleManager.h"

#include <gtest/gtest.h>

namespace {

struct TokenizerCase
{
    const char16_t *line;
    QStringList tokens;
};

class TokenizerTest : public ::testing::TestWithParam<TokenizerCase>
{};

TEST_P(TokenizerTest, SplitsLine)
{
    const TokenizerCase &c = GetParam();
    const QStringList tokens = RuleManager::scanString(QStringView(c.line));
    EXPECT_EQ(tokens, c.tokens) << qPrintable(QString::fromUtf16(c.line)) << " gave ["
                                << qPrintable(tokens.join(u'|')) << "]";
    for (const QString &token : tokens)
        EXPECT_FALSE(token.isNull()) << "tokens are never absent texts";
}

INSTANTIATE_TEST_SUITE_P(
    Grammar, TokenizerTest,
    ::testing::Values(TokenizerCase{u"", {}}, TokenizerCase{u"   ", {}}, TokenizerCase{u"allow", {"allow"}},
                      TokenizerCase{u"  set   a  1  ", {"set", "a", "1"}},
                      // Tabs are ordinary characters.
                      TokenizerCase{u"a\tb c", {"a\tb", "c"}},
                      TokenizerCase{u"allow path \"/a b/c\" \"any\" rw \"\" \"\" \"5\"",
                                    {"allow", "path", "/a b/c", "any", "rw", "", "", "5"}},
                      // Spaces inside quotes are kept one for one.
                      TokenizerCase{u"\"a  b\"", {"a  b"}}, TokenizerCase{u"\" a\"", {" a"}},
                      // A quote always ends a token.
                      TokenizerCase{u"a\"b\"", {"a", "b"}}, TokenizerCase{u"ab\"", {"ab"}},
                      // An empty quoted field gives one empty token.
                      TokenizerCase{u"x \"\" y", {"x", "", "y"}},
                      // A quoted field ending in a space gives an empty token, and its text moves
                      // in front of the next quoted field.
                      TokenizerCase{u"\"a \" \"b\"", {"", "a b"}},
                      TokenizerCase{u"\"a \" x \"b c\"", {"", "x", "a b c"}},
                      // The text of an unterminated quote is dropped, except its last word.
                      TokenizerCase{u"x \"a b", {"x", "b"}}, TokenizerCase{u"x \"a b ", {"x"}},
                      TokenizerCase{u"watch prefix \"/tmp/\" \"/usr/bin/tool\" rw \"note\"",
                                    {"watch", "prefix", "/tmp/", "/usr/bin/tool", "rw", "note"}},
                      TokenizerCase{u"deny path \"/x\" \"/usr/bin/a via /sbin/b\" r",
                                    {"deny", "path", "/x", "/usr/bin/a via /sbin/b", "r"}},
                      TokenizerCase{u"\"\u00e9t\u00e9 \u65e5\u672c\"",
                                    {QString::fromUtf16(u"\u00e9t\u00e9 \u65e5\u672c")}}));

} // namespace
