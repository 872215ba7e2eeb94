#include "DaemonStack.h"
#include "QuivenctlRunner.h"
#include "TestFiles.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

const QStringList kCatFields{
    "--class",   "allow",        "--type",       "path", "--path", "/home/ann/report.odt",
    "--process", "/usr/bin/cat", "--operations", "rw",   "--tag",  "report"};

TEST(RulesCommand, RulesGoThroughTheDaemons)
{
    DaemonStack daemons;
    daemons.writeSystemFile(QStringLiteral("quiven.rc"),
                            "deny prefix \"/dev/\" \"any\" r \"\" \"\" \"0\"\n"
                            "deny prefix \"/home/ann/\" \"any\" w \"\" \"\" \"0\"\n");
    daemons.writeSharedFile(QStringLiteral("local.quiven.rc"),
                            "allow path \"/home/ann/a\" \"/usr/bin/vi\" rw \"\" \"\" \"0\"\n"
                            "watch prefix \"/etc/\" \"any\" wc \"config\"\n");
    ASSERT_TRUE(daemons.start(QStringLiteral("grant"))) << daemons.failureText().toStdString();
    const auto quivenctl = [&](const QStringList &arguments) {
        return runQuivenctl(QStringList{"rules"} + arguments, {}, daemons.environment());
    };
    QTemporaryDir scratch;
    const QString exported = scratch.filePath(QStringLiteral("all.quiven"));
    ASSERT_EQ(quivenctl({"export", "--out", exported}).exitCode, 0);
    const QByteArray exportedText = readFile(exported);
    EXPECT_TRUE(exportedText.contains("/home/ann/a") && exportedText.contains("/etc/"));
    EXPECT_FALSE(exportedText.contains("/dev/"));

    const QuivenctlRun added = quivenctl(QStringList{"add"} + kCatFields);
    ASSERT_EQ(added.exitCode, 0) << added.err.data();
    EXPECT_TRUE(daemons.userFile().contains("/home/ann/report.odt"));
    const QByteArray listed = quivenctl({"list", "--user-only"}).out;
    EXPECT_TRUE(listed.contains("/home/ann/report.odt") && listed.contains("/etc/"));
    EXPECT_FALSE(listed.contains("/dev/"));
    EXPECT_EQ(quivenctl(QStringList{"add"} + kCatFields).exitCode, 1);

    // The match rows are those of `rules list`, the daemons' ruleset as the table shows it.
    const QuivenctlRun match = quivenctl(
        {"match", "--process", "/usr/bin/vi", "--path", "/home/ann/a", "--operation", "w", "--json"});
    ASSERT_EQ(match.exitCode, 0) << match.err.data();
    const QJsonArray matches = match.object()["matches"].toArray();
    ASSERT_EQ(matches.size(), 2);
    EXPECT_NE(matches[0]["system"], matches[1]["system"]);
    const QJsonArray all = quivenctl({"list"}).object()["rules"].toArray();
    for (const QJsonValue &found : matches)
        EXPECT_EQ(all[found["row"].toInt()]["text"], found["text"]);

    const QuivenctlRun deleted = quivenctl(QStringList{"delete"} + kCatFields.mid(0, 10));
    ASSERT_EQ(deleted.exitCode, 0) << deleted.err.data();
    EXPECT_FALSE(daemons.userFile().contains("/home/ann/report.odt"));
    const QStringList systemRule{"delete", "--class",   "deny", "--type",       "prefix", "--path",
                                 "/dev/",  "--process", "any",  "--operations", "r"};
    const QuivenctlRun refused = quivenctl(systemRule);
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_TRUE(refused.err.contains("system rules cannot be deleted")) << refused.err.data();

    const QString suggestions = scratch.filePath(QStringLiteral("suggestions.quiven"));
    ASSERT_TRUE(writeFile(suggestions,
                          "allow path \"/home/ann/new\" \"/usr/bin/less\" r \"\" \"\" \"0\"\n"
                          "allow path \"/home/ann/a\" \"/usr/bin/vi\" rw \"\" \"\" \"0\"\n"
                          "permit path \"/home/ann/bad\" \"/usr/bin/less\" r \"\" \"\" \"0\"\n"));
    const QuivenctlRun imported = quivenctl({"import", suggestions});
    ASSERT_EQ(imported.exitCode, 0) << imported.err.data();
    EXPECT_EQ(imported.object(), (QJsonObject{{"imported", 1}, {"total", 3}}));
    EXPECT_TRUE(daemons.userFile().contains("/home/ann/new"));
}

} // namespace
