#include "QuivenctlRunner.h"

#include <gtest/gtest.h>

namespace {

// Refused before any daemon is asked, so no bus is needed.
TEST(QuivenctlRulesAdd, NamesTheFieldThatARuleLineCannotHold)
{
    const QStringList base{"rules", "add", "--class", "allow", "--type", "path", "--operations", "r"};
    struct Case
    {
        QStringList fields;
        const char *named;
    };
    const Case cases[] = {
        {{"--path", "/a\"\nallow prefix \"/\" \"any\" rwcmx \"\" \"\" \"0", "--process", "any"}, "path"},
        {{"--path", "/a", "--process", "/usr/bin/x\u2028y"}, "process"},
        {{"--path", "/a", "--process", "/usr/bin/x", "--parent", "/bin/\"sh"}, "parent"},
        {{"--path", "/a", "--process", "any", "--tag", "one\rtwo"}, "tag"},
        {{"--path", "/a", "--process", "any", "--constraint", "T\"EAM"}, "constraint"},
    };
    for (const Case &c : cases) {
        const QuivenctlRun run = runQuivenctl(base + c.fields);
        EXPECT_EQ(run.exitCode, 1) << c.named;
        const QByteArray expected = "the " + QByteArray(c.named) + " holds a line break or a double quote";
        EXPECT_TRUE(run.err.contains(expected)) << run.err.toStdString();
    }
}

} // namespace
