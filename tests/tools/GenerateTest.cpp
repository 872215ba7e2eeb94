#include "QuivenctlRunner.h"

#include <gtest/gtest.h>

namespace {

TEST(QuivenctlGenerate, SameSeedSameBytesAndTheToolReadsItBack)
{
    const QByteArray first = runQuivenctl({"generate", "--rules", "400", "--seed", "9"}).out;
    EXPECT_EQ(runQuivenctl({"generate", "--rules", "400", "--seed", "9"}).out, first);
    EXPECT_NE(runQuivenctl({"generate", "--rules", "400", "--seed", "10"}).out, first);

    RuleFolder folder;
    const QString file = folder.write("generated.rc", first);
    const QuivenctlRun run = runQuivenctl({"parse", "--validating", file});
    ASSERT_EQ(run.exitCode, 0);
    const QJsonArray rows = run.object()["rows"].toArray();
    EXPECT_EQ(rows.size(), 400);
    for (const QJsonValue &row : rows)
        EXPECT_TRUE(row["valid"].toBool()) << row["text"].toString().toStdString();
    EXPECT_FALSE(run.object()["options"].toArray().isEmpty());
}

TEST(QuivenctlGenerate, ZeroRulesIsJustTheHeader)
{
    const QuivenctlRun run = runQuivenctl({"generate", "--rules", "0"});
    EXPECT_EQ(run.exitCode, 0);
    for (const QByteArray &line : run.out.trimmed().split('\n'))
        EXPECT_TRUE(line.startsWith(';') || line.startsWith("set ")) << line.toStdString();
}

} // namespace
