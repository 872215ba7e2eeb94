#include "QuivenctlRunner.h"

#include <gtest/gtest.h>

namespace {

struct Case
{
    QByteArray line;
    QStringList tokens;
};

// All lines go through one run, which also checks that each input line gets
// exactly one array, in order.
TEST(QuivenctlTokenize, OneArrayPerLineWithTheFileFormatsQuirks)
{
    const QList<Case> cases{
        {R"(allow path "/a b/c" "any" r "" "" "5")", {"allow", "path", "/a b/c", "any", "r", "", "", "5"}},
        {"", {}},
        {"   ", {}},
        {"a   b", {"a", "b"}},
        {"a\tb c", {"a\tb", "c"}},
        {R"(a"b")", {"a", "b"}},
        {R"("")", {""}},
        {R"("x " "y")", {"", "x y"}},
        {R"("two  spaces")", {"two  spaces"}},
        {R"(a "b c)", {"a", "c"}},
        {R"(watch prefix "~/Tax Returns/" "any" rw "my tag")",
         {"watch", "prefix", "~/Tax Returns/", "any", "rw", "my tag"}},
        {"; comment \"kept\" as tokens", {";", "comment", "kept", "as", "tokens"}},
        {"set opt 4294967297", {"set", "opt", "4294967297"}},
        {R"(ümlaut "ø ß")", {"ümlaut", "ø ß"}},
    };

    QByteArray input;
    for (const Case &c : cases)
        input += c.line + '\n';
    const QuivenctlRun run = runQuivenctl({QStringLiteral("tokenize")}, input);
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();

    const QList<QByteArray> lines = run.out.split('\n');
    ASSERT_EQ(lines.size(), cases.size() + 1) << run.out.toStdString();
    EXPECT_TRUE(lines.last().isEmpty());
    for (qsizetype i = 0; i < cases.size(); ++i) {
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(lines[i], &error);
        ASSERT_TRUE(document.isArray()) << lines[i].toStdString();
        QStringList tokens;
        for (const QJsonValue &token : document.array())
            tokens << token.toString();
        EXPECT_EQ(tokens, cases[i].tokens) << "line: " << cases[i].line.toStdString();
    }
}

TEST(QuivenctlTokenize, LastLineWithoutNewlineAndNoInput)
{
    EXPECT_EQ(runQuivenctl({QStringLiteral("tokenize")}, "a b").out, QByteArray("[\"a\",\"b\"]\n"));
    const QuivenctlRun empty = runQuivenctl({QStringLiteral("tokenize")});
    EXPECT_EQ(empty.exitCode, 0);
    EXPECT_TRUE(empty.out.isEmpty());
    EXPECT_EQ(runQuivenctl({QStringLiteral("tokenize"), QStringLiteral("file.rc")}).exitCode, 2);
}

} // namespace
