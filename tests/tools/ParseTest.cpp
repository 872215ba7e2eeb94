#include "QuivenctlRunner.h"

#include <gtest/gtest.h>

namespace {

const QByteArray kSystemFile = R"(; system rules
set policy.global.webcam 2
trace /tmp/x /usr/bin/strace
allow prefix "/Users/" "any" rw "t" "ZZZZZZZZZZ" "1"
allow prefix "/Users/" "any" rw "t" "AAAAAAAAAA" "1"
allow prefix "/Users" "any" rw "t" "MMMMMMMMMM" "1"
watch prefix "/etc/" "any" w "s"
deny path "/etc/shadow" "/usr/bin/foo via /usr/bin/bar" rw "t" "ABCDEFGHIJ" "123"
alow path "/x" "/usr/bin/foo" r "" "" "1"
allow prefix "/srv/" "/usr/bin/web" rw "" "" "1"
allow path "/srv/index.html" "/usr/bin/web" r "" "" "1"
too few tokens
)";

QJsonObject ruleWithPath(const QJsonArray &rules, const QString &path)
{
    for (const QJsonValue &rule : rules) {
        if (rule[QStringLiteral("path")].toString() == path)
            return rule.toObject();
    }
    ADD_FAILURE() << "no rule on " << path.toStdString();
    return {};
}

TEST(QuivenctlParse, SystemFileReportsEveryPartOfTheRuleset)
{
    RuleFolder folder;
    const QString file = folder.write(QStringLiteral("rules.rc"), kSystemFile);
    const QuivenctlRun run = runQuivenctl({"parse", "--system", "--validating", file});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    const QJsonObject report = run.object();

    EXPECT_EQ(report["files"].toArray(),
              QJsonArray({QJsonObject{{"path", file}, {"ok", true}, {"error", QJsonValue::Null}}}));
    EXPECT_EQ(report["options"].toArray(),
              QJsonArray({QJsonObject{{"name", "policy.global.webcam"}, {"value", 2}}}));
    EXPECT_EQ(report["teamIDs"].toArray(), QJsonArray({"AAAAAAAAAA", "ZZZZZZZZZZ"}));
    EXPECT_EQ(report["traceRules"].toArray(),
              QJsonArray({QJsonObject{{"processName", "/usr/bin/strace"}, {"path", "/tmp/x"}}}));

    const QJsonArray watchRules = report["watchRules"].toArray();
    ASSERT_EQ(watchRules.size(), 1);
    EXPECT_EQ(watchRules[0]["kind"], "watch");
    EXPECT_EQ(watchRules[0]["flags"], 2);
    EXPECT_FALSE(watchRules[0].toObject().contains("group"));
    EXPECT_FALSE(watchRules[0].toObject().contains("redundant"));

    const QJsonObject expected{
        {"kind", "policy"},
        {"policyClass", 1},
        {"policyType", 1},
        {"path", "/etc/shadow"},
        {"processName", "/usr/bin/foo via /usr/bin/bar"},
        {"operations", 3},
        {"flags", 4},
        {"tag", ""},
        {"constraint", "ABCDEFGHIJ"},
        {"created", 123},
        {"sequence", 4},
        {"system", true},
        {"name", "foo"},
        {"group", "foo:/usr/bin/foo:/usr/bin/bar:ABCDEFGHIJ"},
        {"valid", true},
        {"redundant", false},
        {"text", R"(deny path "/etc/shadow" "/usr/bin/foo via /usr/bin/bar" rw "" "ABCDEFGHIJ" "123")"},
    };
    const QJsonArray rows = report["rows"].toArray();
    EXPECT_EQ(ruleWithPath(rows, "/etc/shadow"), expected);

    EXPECT_FALSE(ruleWithPath(rows, "/x")["valid"].toBool());
    EXPECT_TRUE(ruleWithPath(rows, "/srv/index.html")["redundant"].toBool());

    // Watch rules lead the view; the flat policy list holds the rest.
    EXPECT_EQ(rows.size(), 8);
    EXPECT_EQ(rows[0]["kind"], "watch");
    EXPECT_EQ(report["policyRules"].toArray().size(), 7);
}

// Filtering and sorting are the store's; this checks that the options reach it.
TEST(QuivenctlParse, ViewOptions)
{
    RuleFolder folder;
    const QString file = folder.write("view.rc", R"(deny prefix "/b/" "/usr/bin/one" r "Backup" "" "1"
allow prefix "/A/" "/usr/bin/two" r "" "" "2"
watch path "/w/archive" "/usr/bin/three" r "backup"
allow path "/c" "/usr/bin/one" r "" "" "3"
)");
    const auto paths = [&](const QStringList &options) {
        const QuivenctlRun run = runQuivenctl(QStringList{"parse"} + options + QStringList{file});
        EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
        QStringList result;
        for (const QJsonValue &row : run.object()["rows"].toArray())
            result << row["path"].toString();
        return result;
    };
    EXPECT_EQ(paths({"--filter", "BACKUP"}), QStringList({"/b/"}));
    EXPECT_EQ(paths({"--sort", "path:desc"}), QStringList({"/w/archive", "/c", "/b/", "/A/"}));

    for (const char *sort : {"colour", "path:down", "path:desc:asc", "", "path,"}) {
        const QuivenctlRun run = runQuivenctl({"parse", "--sort", sort, file});
        EXPECT_EQ(run.exitCode, 2) << sort;
        EXPECT_TRUE(run.out.isEmpty()) << sort;
        EXPECT_FALSE(run.err.isEmpty()) << sort;
    }
}

TEST(QuivenctlParse, EveryFileIsReportedAndAFailedOneFailsTheCommand)
{
    RuleFolder folder;
    const QString first = folder.write("one.rc", "allow path \"/1\" \"/p\" r \"\" \"\" \"1\"\n");
    const QString second = folder.write("two.rc", "allow path \"/2\" \"/q\" r \"\" \"\" \"1\"\n");
    const QString missing = folder.path("missing.rc");
    const QString empty = folder.write("empty.rc", "");

    const QuivenctlRun bad = runQuivenctl({"parse", first, missing, empty, second});
    EXPECT_EQ(bad.exitCode, 1);
    const QJsonArray files = bad.object()["files"].toArray();
    ASSERT_EQ(files.size(), 4);
    EXPECT_EQ(files[0]["ok"], true);
    EXPECT_EQ(files[1], QJsonObject({{"path", missing},
                                     {"ok", false},
                                     {"error", QString("failed to load contents of " + missing)}}));
    EXPECT_EQ(files[2]["error"], QString("failed to load contents of " + empty));
    EXPECT_EQ(files[3]["ok"], true);
    EXPECT_EQ(bad.object()["rows"].toArray().size(), 2);
}

} // namespace
