#include "QuivenctlRunner.h"
#include "TestFiles.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

// The commands that read and write rule files without a daemon. What the rules
// mean is the libraries'; these prove each command is wired to them.
namespace {

TEST(QuivenctlFiles, TokenizeWriteAndParseHandleRuleFiles)
{
    const QuivenctlRun run = runQuivenctl({"tokenize"}, "allow path \"/a b/c\" r\n\n\"x \" \"y\"\nü \"ø\"");
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out,
              QByteArray("[\"allow\",\"path\",\"/a b/c\",\"r\"]\n[]\n[\"\",\"x y\"]\n[\"ü\",\"ø\"]\n"));

    QTemporaryDir folder;
    const QByteArray rules = "watch suffix \".key\" \"any\" rw \"keys\"\n"
                             "allow path \"/c\" \"/usr/bin/one\" w \"\" \"\" \"7\"\n";
    const QString input = folder.filePath("in.rc");
    ASSERT_TRUE(writeFile(input, rules));
    const QString out = folder.filePath("out.rc");
    const QuivenctlRun written = runQuivenctl({"write", "--out", out, input});
    ASSERT_EQ(written.exitCode, 0) << written.err.toStdString();
    EXPECT_EQ(readFile(out), rules);

    const QString second = folder.filePath("second.rc");
    const QuivenctlRun failed =
        runQuivenctl({"write", "--out", second, input, folder.filePath("missing.rc")});
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_TRUE(failed.object()["error"].toString().contains("missing.rc"));
    EXPECT_FALSE(QFile::exists(second));

    const QString file = folder.filePath("rules.rc");
    ASSERT_TRUE(writeFile(file, R"(set policy.global.webcam 2
trace /tmp/x /usr/bin/strace
watch prefix "/etc/" "any" w "s"
deny path "/etc/shadow" "/usr/bin/foo via /usr/bin/bar" rw "t" "ABCDEFGHIJ" "123"
allow prefix "/Backup/" "/usr/bin/one" r "" "" "1"
allow prefix "/Users/" "any" rw "t" "AAAAAAAAAA" "1"
)"));
    const QString missing = folder.filePath("missing.rc");
    const QuivenctlRun parsed = runQuivenctl({"parse", "--system", "--validating", file, missing});
    EXPECT_EQ(parsed.exitCode, 1);
    const QJsonObject report = parsed.object();
    EXPECT_EQ(report["files"][0]["ok"], true);
    EXPECT_EQ(report["files"][1]["error"], QString("failed to load contents of " + missing));
    EXPECT_EQ(report["options"][0]["value"], 2);
    QStringList paths;
    for (const QJsonValue &row : report["rows"].toArray())
        paths << row["path"].toString();
    EXPECT_EQ(paths, QStringList({"/etc/", "/Users/", "/etc/shadow", "/Backup/"}));
    const QJsonObject row = report["rows"][2].toObject();
    EXPECT_EQ(row["group"], "foo:/usr/bin/foo:/usr/bin/bar:ABCDEFGHIJ");
    EXPECT_EQ(row["text"],
              R"(deny path "/etc/shadow" "/usr/bin/foo via /usr/bin/bar" rw "" "ABCDEFGHIJ" "123")");
}

TEST(QuivenctlFiles, MatchAnswersWithTableRowsAndExitsOneWithoutAValidMatch)
{
    QTemporaryDir folder;
    const QString file = folder.filePath("rules.rc");
    ASSERT_TRUE(writeFile(file, R"(deny prefix "/home/ann/" "any" rw "" "" "0"
allow path "/home/ann/tax.pdf" "/usr/bin/evince" r "" "" "0"
permit prefix "/home/" "/usr/bin/evince" r "" "" "0"
)"));
    const QStringList access{"rules", "match", "--process", "/usr/bin/evince", "--operation", "r", "--path"};
    const QuivenctlRun json =
        runQuivenctl(access + QStringList{"/home/ann/tax.pdf", "--json", "--system", file});
    ASSERT_EQ(json.exitCode, 0) << json.err.toStdString();
    const QJsonArray matches = json.object()["matches"].toArray();
    ASSERT_EQ(matches.size(), 2);
    const QJsonArray rows = runQuivenctl({"parse", "--system", file}).object()["rows"].toArray();
    for (const QJsonValue &found : matches)
        EXPECT_EQ(rows[found["row"].toInt()]["text"], found["text"]);
    EXPECT_EQ(json.object()["wouldMatchIfValid"][0]["path"], "/home/");

    const QuivenctlRun table = runQuivenctl(access + QStringList{"/home/ann/tax.pdf", file});
    EXPECT_EQ(table.exitCode, 0);
    EXPECT_TRUE(table.out.contains("Would match if it were valid:")) << table.out.toStdString();

    const QuivenctlRun none = runQuivenctl(access + QStringList{"/srv/x", file});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_EQ(none.out, "No rule matches.\n");
}

// Refused before any daemon is asked: a usage error exits with 2 and prints
// nothing on standard output, a rule that cannot be written exits with 1.
TEST(QuivenctlFiles, RefusedCommandsNameWhatIsWrongOnStandardError)
{
    const QStringList add{"rules", "add", "--type", "path", "--class", "allow", "--path"};
    const QStringList match{"rules", "match", "--process", "/usr/bin/vi", "--path", "/etc/x"};
    const QString holds = "%1 holds a line break or a double quote";
    const std::tuple<QStringList, int, QString> cases[] = {
        {add + QStringList{"/a", "--class", "permit", "--process", "any", "--operations", "r"}, 1,
         "the class must be allow, deny"},
        {add + QStringList{"/a", "--process", "any", "--operations", "rq"}, 1,
         "'q' is not an operation letter"},
        {add + QStringList{"/a\"\nallow prefix \"/\" \"any\" rwcmx \"\" \"\" \"0", "--process", "any",
                           "--operations", "r"},
         1, holds.arg("the path")},
        {add + QStringList{"/a", "--process", "any", "--operations", "r", "--tag", "one\rtwo"}, 1,
         holds.arg("the tag")},
        {{}, 2, ""},
        {{"rules", "add", "--class", "deny", "--type", "path", "--process", "any"}, 2, "--path is required"},
        {{"rules", "match", "--process", "vi", "--path", "/etc/x", "--operation", "r"}, 2, "full path"},
        {match + QStringList{"--operation", "r", "--system"}, 2, "--system"},
    };
    for (const auto &[arguments, exitCode, message] : cases) {
        SCOPED_TRACE(arguments.join(' ').toStdString());
        const QuivenctlRun run = runQuivenctl(arguments);
        EXPECT_EQ(run.exitCode, exitCode);
        EXPECT_TRUE(exitCode != 2 || run.out.isEmpty());
        EXPECT_TRUE(!run.err.isEmpty() && run.err.contains(message.toUtf8())) << run.err.toStdString();
    }
}

} // namespace
