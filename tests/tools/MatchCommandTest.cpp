#include "QuivenctlRunner.h"

#include <gtest/gtest.h>

namespace {

const QByteArray kRules = R"(deny prefix "~/Documents/" "any" rw "" "" "0"
allow prefix "~/Documents/" "/usr/bin/evince" r "" "" "0"
allow path "~/Documents/tax/2025.pdf" "/usr/bin/evince" r "" "" "0"
allow prefix "/" "/usr/bin/evince via /usr/bin/bash" r "" "" "0"
permit prefix "/home/" "/usr/bin/evince" r "" "" "0"
watch prefix "/home/" "any" r ""
allow prefix "/etc/" "/usr/bin/evince" r "" "" "0"
)";

const QStringList kEvinceReadsTax{
    "--process", "/usr/bin/evince", "--path", "~/Documents/tax/2025.pdf", "--operation", "r"};

QProcessEnvironment homeOfAnn()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), QStringLiteral("/home/ann"));
    return environment;
}

QuivenctlRun match(const QStringList &arguments)
{
    return runQuivenctl(QStringList{"rules", "match"} + arguments, {}, homeOfAnn());
}

// Which rules match, in what order and which are redundant is the library's; here
// the answer's fields and the rows of the table they point at.
TEST(QuivenctlMatch, JsonAnswerNamesTheTableRowsOfTheMatchingRules)
{
    RuleFolder folder;
    const QString file = folder.write(QStringLiteral("rules.rc"), kRules);
    const QuivenctlRun run = match(kEvinceReadsTax + QStringList{"--json", "--system", file});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    const QJsonArray matches = run.object()["matches"].toArray();
    ASSERT_EQ(matches.size(), 4);

    // The rows are those of `parse`, the table's view with system rules.
    const QJsonArray rows = runQuivenctl({"parse", "--system", file}).object()["rows"].toArray();
    for (const QJsonValue &found : matches)
        EXPECT_EQ(rows[found["row"].toInt()]["text"], found["text"]);
    EXPECT_EQ(matches[0]["kind"], "watch");
    EXPECT_EQ(matches[0]["class"], "watch");
    EXPECT_EQ(matches[0]["group"], QJsonValue());
    EXPECT_EQ(matches[1]["class"], "deny");
    EXPECT_EQ(matches[1]["system"], true);
    EXPECT_EQ(matches[2]["group"], "evince:/usr/bin/evince:(null):");
    EXPECT_EQ(matches[2]["redundant"], false);
    EXPECT_EQ(matches[3]["redundant"], true);
    EXPECT_EQ(run.object()["wouldMatchIfValid"].toArray().at(0)["path"], "/home/");

    const QuivenctlRun viaBash =
        match(kEvinceReadsTax + QStringList{"--parent", "/usr/bin/bash", "--json", file});
    EXPECT_EQ(viaBash.object()["matches"].toArray().size(), 5);
}

TEST(QuivenctlMatch, TextAnswerAndExitStatusTellWhetherAnyValidRuleMatches)
{
    RuleFolder folder;
    const QString file = folder.write(QStringLiteral("rules.rc"), kRules);
    const QuivenctlRun found = match(kEvinceReadsTax + QStringList{file});
    ASSERT_EQ(found.exitCode, 0) << found.err.toStdString();
    const QList<QByteArray> lines = found.out.split('\n');
    EXPECT_TRUE(lines[0].contains("redundant")) << found.out.toStdString();
    EXPECT_TRUE(lines[4].contains("yes") && lines[4].contains("2025.pdf")) << found.out.toStdString();
    EXPECT_TRUE(found.out.contains("Would match if it were valid:")) << found.out.toStdString();

    const QuivenctlRun none =
        match({"--process", "/usr/bin/vi", "--path", "/etc/hosts", "--operation", "w", file});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_EQ(none.out, "No rule matches.\n");

    // An invalid rule alone is no match.
    const QString invalid =
        folder.write(QStringLiteral("invalid.rc"), R"(permit prefix "/srv/" "/usr/bin/evince" r "" "" "0")"
                                                   "\n");
    const QuivenctlRun onlyInvalid =
        match({"--process", "/usr/bin/evince", "--path", "/srv/x", "--operation", "r", "--json", invalid});
    EXPECT_EQ(onlyInvalid.exitCode, 1);
    EXPECT_EQ(onlyInvalid.object()["matches"].toArray().size(), 0);
    EXPECT_EQ(onlyInvalid.object()["wouldMatchIfValid"].toArray().size(), 1);

    EXPECT_EQ(match(kEvinceReadsTax + QStringList{folder.path("missing.rc")}).exitCode, 1);
}

TEST(QuivenctlMatch, MalformedAccessesAreUsageErrors)
{
    const struct
    {
        QStringList arguments;
        const char *message;
    } cases[] = {
        {{"--process", "/usr/bin/vi", "--path", "/etc/x"}, "required"},
        {{"--process", "/usr/bin/vi", "--path", "/etc/x", "--operation", "rw"}, "one of r, w, c, m, x"},
        {{"--process", "vi", "--path", "/etc/x", "--operation", "r"}, "full path"},
        {{"--process", "/usr/bin/vi", "--path", "etc/x", "--operation", "r"}, "full path"},
        {{"--process", "/usr/bin/vi", "--parent", "/usr/bin/bash", "--ancestor", "/sbin/init", "--path",
          "/etc/x", "--operation", "r"},
         "not both"},
        {{"--process", "/usr/bin/vi", "--path", "/etc/x", "--operation", "r", "--system"}, "--system"},
    };
    for (const auto &entry : cases) {
        const QuivenctlRun run = match(entry.arguments);
        EXPECT_EQ(run.exitCode, 2) << entry.arguments.join(' ').toStdString();
        EXPECT_TRUE(run.err.contains(entry.message)) << run.err.toStdString();
    }
}

} // namespace
