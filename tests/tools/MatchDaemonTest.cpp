#include "DaemonStack.h"
#include "QuivenctlRunner.h"

#include <gtest/gtest.h>

namespace {

TEST(QuivenctlMatchOverDaemons, AnswersFromTheSystemAndUserRulesTheDaemonsHold)
{
    DaemonStack daemons;
    daemons.writeSystemFile(QStringLiteral("quiven.rc"),
                            "deny prefix \"/home/ann/.ssh/\" \"any\" rw \"\" \"\" \"0\"\n"
                            "allow prefix \"/usr/\" \"any\" r \"\" \"\" \"0\"\n");
    daemons.writeSharedFile(QStringLiteral("local.quiven.rc"),
                            "allow path \"/home/ann/.ssh/id_ed25519\" \"/usr/bin/ssh\" r \"\" \"\" \"0\"\n"
                            "watch prefix \"/home/ann/\" \"any\" w \"\"\n");
    ASSERT_TRUE(daemons.start()) << daemons.failureText().toStdString();

    const QuivenctlRun run = runQuivenctl({"rules", "match", "--process", "/usr/bin/ssh", "--path",
                                           "/home/ann/.ssh/id_ed25519", "--operation", "r", "--json"},
                                          {}, daemons.environment());
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    const QJsonArray matches = run.object()["matches"].toArray();
    ASSERT_EQ(matches.size(), 2);
    EXPECT_EQ(matches[0]["system"], true);
    EXPECT_EQ(matches[0]["class"], "deny");
    EXPECT_EQ(matches[1]["system"], false);
    EXPECT_EQ(matches[1]["class"], "allow");

    // The rows are those of `rules list`, which lists the daemons' ruleset as the table shows it.
    const QJsonArray listed =
        runQuivenctl({"rules", "list"}, {}, daemons.environment()).object()["rules"].toArray();
    for (const QJsonValue &match : matches)
        EXPECT_EQ(listed[match["row"].toInt()]["text"], match["text"]);
}

} // namespace
