#include "QuivenctlRunner.h"

#include <QFile>
#include <gtest/gtest.h>

namespace {

class QuivenctlLoad : public testing::Test
{
protected:
    void SetUp() override
    {
        root.write("system/quiven.rc", "set policy.global.webcam 2\nset policy.global.user 1\n"
                                       "allow prefix \"/etc/\" \"/usr/bin/dpkg\" rw \"\" \"\" \"1\"\n");
        root.write("system/user.rc", "deny prefix \"~/.ssh/\" \"any\" r \"\" \"\" \"1\"\n");
        root.write("system/webcam.rc", "deny prefix \"/dev/video\" \"any\" rw \"\" \"\" \"1\"\n");
        root.write("system/startup.rc", "deny path \"~/.profile\" \"any\" w \"\" \"\" \"1\"\n");
        root.write("shared/local.quiven.rc",
                   "watch prefix \"/etc/\" \"any\" w \"mine\"\n"
                   "allow prefix \"~/src/\" \"/usr/bin/git\" rw \"mine\" \"\" \"1\"\n");
        environment.insert("QUIVEN_SYSTEM_RULES_DIR", root.path("system") + '/');
        environment.insert("QUIVEN_SHARED_DIR", root.path("shared") + '/');
    }

    QStringList filePaths(const QJsonObject &report) const
    {
        QStringList paths;
        for (const QJsonValue &file : report["files"].toArray())
            paths << file["path"].toString().mid(root.path().size());
        return paths;
    }

    RuleFolder root;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
};

TEST_F(QuivenctlLoad, ReadsUserAndSystemFilesFromTheFolderOverrides)
{
    // exec.rc is missing: it is listed as failed and the exit status says so.
    const QuivenctlRun run = runQuivenctl({"load"}, {}, environment);
    EXPECT_EQ(run.exitCode, 1) << run.err.toStdString();
    const QJsonObject report = run.object();
    EXPECT_EQ(filePaths(report), QStringList({"shared/local.quiven.rc", "system/quiven.rc", "system/user.rc",
                                              "system/startup.rc", "system/exec.rc"}));
    EXPECT_EQ(report["files"][4]["ok"], false);
    EXPECT_EQ(
        ruleTexts(report["rows"].toArray()),
        QStringList({R"(watch prefix "/etc/" "any" w "mine")", R"(deny prefix "~/.ssh/" "any" r "" "" "1")",
                     R"(deny path "~/.profile" "any" w "" "" "1")",
                     R"(allow prefix "/etc/" "/usr/bin/dpkg" rw "" "" "1")",
                     R"(allow prefix "~/src/" "/usr/bin/git" rw "mine" "" "1")"}));

    root.write("system/exec.rc", "deny prefix \"/tmp/\" \"any\" x \"\" \"\" \"1\"\n");
    const QuivenctlRun userOnly = runQuivenctl({"load", "--user-only"}, {}, environment);
    EXPECT_EQ(userOnly.exitCode, 0) << userOnly.err.toStdString();
    EXPECT_EQ(ruleTexts(userOnly.object()["rows"].toArray()),
              QStringList({R"(watch prefix "/etc/" "any" w "mine")",
                           R"(allow prefix "~/src/" "/usr/bin/git" rw "mine" "" "1")"}));
}

class QuivenctlWrite : public testing::Test
{
protected:
    RuleFolder folder;
    const QString input = folder.write("in.rc", R"(allow prefix "/b/" "/usr/bin/one" r "say "hi"" "" "5"
watch suffix ".key" "any" rw "keys"
deny path "/a b/c" "/usr/bin/two via /usr/bin/bash" rwcmx "" "ABCDEFGHIJ" "0"
allow path "/c" "/usr/bin/one" w "" "" "7"
)");
};

TEST_F(QuivenctlWrite, RoundTripKeepsEveryUserRule)
{
    const QString out = folder.path("out.rc");
    const QuivenctlRun run = runQuivenctl({"write", "--out", out, input});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.object(), QJsonObject({{"ok", true}, {"error", QJsonValue::Null}}));

    QFile written(out);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    const QByteArray content = written.readAll();
    // What the writer keeps of each rule, and in which order, is the library's test.
    EXPECT_TRUE(content.startsWith("watch suffix \".key\" \"any\" rw \"keys\"\n")) << content.toStdString();
    EXPECT_EQ(content.count('\n'), 4) << content.toStdString();
}

TEST_F(QuivenctlWrite, FailuresLoseNothing)
{
    const QString unwritable = folder.path("no/such/folder/out.rc");
    const QuivenctlRun openFailure = runQuivenctl({"write", "--out", unwritable, input});
    EXPECT_EQ(openFailure.exitCode, 1);
    EXPECT_EQ(openFailure.object()["ok"], false);
    EXPECT_TRUE(openFailure.object()["error"].toString().startsWith(
        QString("Failed to open file '" + unwritable + "'")));

    // An unreadable input must not produce an output missing its rules.
    const QString out = folder.path("out.rc");
    const QuivenctlRun readFailure = runQuivenctl({"write", "--out", out, input, folder.path("missing.rc")});
    EXPECT_EQ(readFailure.exitCode, 1);
    EXPECT_EQ(readFailure.object()["ok"], false);
    EXPECT_TRUE(readFailure.object()["error"].toString().contains("missing.rc"));
    EXPECT_FALSE(QFile::exists(out));
}

TEST(QuivenctlUsage, UsageErrorsExitWithTwoAndPrintNothingOnStdout)
{
    const QList<QStringList> cases{{},
                                   {"no-such-command"},
                                   {"load", "some.rc"},
                                   {"parse"},
                                   {"parse", "--no-such-option", "x.rc"},
                                   {"write", "x.rc"},
                                   {"write", "--out"},
                                   {"write", "--out", "o.rc"},
                                   {"generate"},
                                   {"generate", "--rules", "many"},
                                   {"generate", "--rules", "5", "--shared-group", "6"},
                                   {"generate", "--rules", "5", "extra"}};
    for (const QStringList &arguments : cases) {
        const QuivenctlRun run = runQuivenctl(arguments);
        EXPECT_EQ(run.exitCode, 2) << arguments.join(' ').toStdString();
        EXPECT_TRUE(run.out.isEmpty()) << arguments.join(' ').toStdString();
        EXPECT_FALSE(run.err.isEmpty()) << arguments.join(' ').toStdString();
    }
}

} // namespace
