#include "DaemonStack.h"
#include "QuivenctlRunner.h"
#include "TestFiles.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

const QStringList kCatFields{
    "--class",   "allow",        "--type",       "path", "--path", "/home/ann/report.odt",
    "--process", "/usr/bin/cat", "--operations", "rw",   "--tag",  "report"};

QStringList rulePaths(const QJsonObject &listing)
{
    QStringList paths;
    for (const QJsonValue &rule : listing.value(QStringLiteral("rules")).toArray())
        paths.append(rule.toObject().value(QStringLiteral("path")).toString());
    // Rows are grouped by application; the tests care about membership.
    paths.sort();
    return paths;
}

class RulesCommand : public ::testing::Test
{
protected:
    void start(const QString &authAnswer)
    {
        daemons.writeSystemFile(QStringLiteral("quiven.rc"),
                                "deny prefix \"/dev/\" \"any\" r \"\" \"\" \"0\"\n"
                                "deny prefix \"/home/ann/\" \"any\" w \"\" \"\" \"0\"\n");
        daemons.writeSharedFile(QStringLiteral("local.quiven.rc"),
                                "allow path \"/home/ann/a\" \"/usr/bin/vi\" rw \"\" \"\" \"0\"\n"
                                "watch prefix \"/etc/\" \"any\" wc \"config\"\n");
        ASSERT_TRUE(daemons.start(authAnswer)) << daemons.failureText().toStdString();
    }

    QuivenctlRun quivenctl(const QStringList &arguments)
    {
        return runQuivenctl(QStringList{"rules"} + arguments, {}, daemons.environment());
    }

    DaemonStack daemons;
    QTemporaryDir scratch;
};

TEST_F(RulesCommand, AddListAndDeleteGoThroughTheDaemons)
{
    start(QStringLiteral("grant"));
    const QuivenctlRun added = quivenctl(QStringList{"add"} + kCatFields);
    ASSERT_EQ(added.exitCode, 0) << added.err.data();
    EXPECT_EQ(added.object().value("added").toObject().value("path").toString(), "/home/ann/report.odt");
    EXPECT_TRUE(daemons.userFile().contains("/home/ann/report.odt"));

    const QuivenctlRun listed = quivenctl({"list", "--user-only"});
    ASSERT_EQ(listed.exitCode, 0) << listed.err.data();
    EXPECT_EQ(rulePaths(listed.object()), (QStringList{"/etc/", "/home/ann/a", "/home/ann/report.odt"}));
    const QuivenctlRun all = quivenctl({"list", "--filter", "dev"});
    EXPECT_EQ(rulePaths(all.object()), QStringList{"/dev/"});

    const QuivenctlRun again = quivenctl(QStringList{"add"} + kCatFields);
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_TRUE(again.err.contains("already exists")) << again.err.data();

    const QuivenctlRun deleted = quivenctl(QStringList{"delete"} + kCatFields.mid(0, 10));
    ASSERT_EQ(deleted.exitCode, 0) << deleted.err.data();
    EXPECT_FALSE(daemons.userFile().contains("/home/ann/report.odt"));
    EXPECT_TRUE(daemons.userFile().contains("/home/ann/a"));

    const QStringList systemRule{"delete", "--class",   "deny", "--type",       "prefix", "--path",
                                 "/dev/",  "--process", "any",  "--operations", "r"};
    const QuivenctlRun refused = quivenctl(systemRule);
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_TRUE(refused.err.contains("system rules cannot be deleted")) << refused.err.data();
    const QuivenctlRun unknown = quivenctl(QStringList{"delete"} + kCatFields.mid(0, 10));
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_TRUE(unknown.err.contains("no user rule matches")) << unknown.err.data();
}

TEST_F(RulesCommand, ExportWritesTheUsersRulesAndImportAddsOnlyValidNewOnes)
{
    start(QStringLiteral("grant"));
    const QString everything = scratch.filePath(QStringLiteral("all.quiven"));
    const QuivenctlRun exported = quivenctl({"export", "--out", everything});
    ASSERT_EQ(exported.exitCode, 0) << exported.err.data();
    EXPECT_EQ(exported.object().value("exported").toInt(), 2);
    const QByteArray allText = readFile(everything);
    EXPECT_TRUE(allText.contains("/home/ann/a") && allText.contains("/etc/"));
    EXPECT_FALSE(allText.contains("/dev/"));

    const QString one = scratch.filePath(QStringLiteral("one.quiven"));
    ASSERT_EQ(quivenctl({"export", "--out", one, "--select", "1"}).exitCode, 0);
    EXPECT_EQ(readFile(one).count('\n'), 1);
    EXPECT_EQ(quivenctl({"export", "--out", one, "--select", "7"}).exitCode, 2);

    const QString suggestions = scratch.filePath(QStringLiteral("suggestions.quiven"));
    ASSERT_TRUE(writeFile(suggestions,
                          "allow path \"/home/ann/new\" \"/usr/bin/less\" r \"\" \"\" \"0\"\n"
                          "allow path \"/home/ann/a\" \"/usr/bin/vi\" rw \"\" \"\" \"0\"\n"
                          "permit path \"/home/ann/bad\" \"/usr/bin/less\" r \"\" \"\" \"0\"\n"));
    const QuivenctlRun imported = quivenctl({"import", suggestions});
    ASSERT_EQ(imported.exitCode, 0) << imported.err.data();
    EXPECT_EQ(imported.object(), (QJsonObject{{"imported", 1}, {"total", 3}}));
    EXPECT_TRUE(daemons.userFile().contains("/home/ann/new"));
    EXPECT_FALSE(daemons.userFile().contains("/home/ann/bad"));

    EXPECT_EQ(quivenctl({"import", scratch.filePath(QStringLiteral("missing.quiven"))}).exitCode, 1);
}

TEST_F(RulesCommand, MatchAnswersFromTheSystemAndUserRulesTheDaemonsHold)
{
    start(QStringLiteral("grant"));
    const QuivenctlRun run = quivenctl(
        {"match", "--process", "/usr/bin/vi", "--path", "/home/ann/a", "--operation", "w", "--json"});
    ASSERT_EQ(run.exitCode, 0) << run.err.data();
    const QJsonArray matches = run.object()["matches"].toArray();
    ASSERT_EQ(matches.size(), 2);
    EXPECT_NE(matches[0]["system"], matches[1]["system"]);
    // The rows are those of `rules list`, which lists the daemons' ruleset as the table shows it.
    const QJsonArray listed = quivenctl({"list"}).object()["rules"].toArray();
    for (const QJsonValue &match : matches)
        EXPECT_EQ(listed[match["row"].toInt()]["text"], match["text"]);
}

} // namespace
