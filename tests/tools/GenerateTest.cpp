#include "QuivenctlRunner.h"

#include <gtest/gtest.h>

namespace {

// Determinism and variety are the generator library's; this checks the command's output reads back.
TEST(QuivenctlGenerate, OutputReadsBackAsValidRules)
{
    RuleFolder folder;
    const QString file =
        folder.write("generated.rc", runQuivenctl({"generate", "--rules", "400", "--seed", "9"}).out);
    const QuivenctlRun run = runQuivenctl({"parse", "--validating", file});
    ASSERT_EQ(run.exitCode, 0);
    const QJsonArray rows = run.object()["rows"].toArray();
    EXPECT_EQ(rows.size(), 400);
    for (const QJsonValue &row : rows)
        EXPECT_TRUE(row["valid"].toBool()) << row["text"].toString().toStdString();
    EXPECT_FALSE(run.object()["options"].toArray().isEmpty());
}

} // namespace
