#include "ProductFolders.h"
#include "RuleManager.h"
#include "RulesetFolders.h"
#include "StoreTestRules.h"

#include <algorithm>

namespace {

using namespace Qt::StringLiterals;

QList<PolicyRulePtr> policiesInReadOrder(const RuleManager &manager)
{
    QList<PolicyRulePtr> rules;
    for (const auto &group : manager.policyRulesByApplication())
        rules += group;
    std::sort(rules.begin(), rules.end(),
              [](const auto &a, const auto &b) { return a->sequence < b->sequence; });
    return rules;
}

QStringList paths(const QList<PolicyRulePtr> &rules)
{
    QStringList result;
    for (const auto &rule : rules)
        result.append(rule->path());
    return result;
}

class RuleFileReader : public RulesetFolders
{
protected:
    RuleManager manager;
};

// Fields, traces, sequence numbers and duplicates are compared at random in
// RuleReaderDifferential; this is the one fixture read whole.
TEST_F(RuleFileReader, ReadsUserFile)
{
    const QString path = scratchFile("user.rc");
    install("user-local.rc", path);
    ASSERT_TRUE(manager.addFileContents(path, false)) << qPrintable(manager.lastErrorMessage());
    EXPECT_TRUE(manager.lastErrorMessage().isNull());

    QList<PolicyRulePtr> rules = policiesInReadOrder(manager);
    ASSERT_EQ(rules.size(), 5);
    // A blank before ";" makes it an ordinary line, whose unknown words read as invalid values.
    EXPECT_EQ(rules[3]->policyClass, PolicyClass::Invalid);
    EXPECT_EQ(rules[3]->policyType, PolicyType::Invalid);

    // Rules read together share their storage: one held alone keeps it alive,
    // and a path or record copied out owns its text.
    PolicyRulePtr kept = rules[4];
    const QString keptText = kept->toString();
    const QString keptPath = kept->path();
    PolicyRule copy = *kept;
    manager.reset();
    rules.clear();
    EXPECT_EQ(kept->toString(), keptText);
    kept.reset();
    EXPECT_EQ(copy.toString(), keptText);
    EXPECT_TRUE(keptText.contains(keptPath)) << qPrintable(keptPath);
}

// RuleReaderDifferential reads files with broken UTF-8 after good ones and
// checks that the earlier rules stay.
TEST_F(RuleFileReader, RefusesUnreadableFilesWithOneMessage)
{
    const QString empty = scratchFile("empty.rc");
    write(empty, "");
    const QString invalid = scratchFile("invalid.rc");
    install("invalid-utf8.rc", invalid);
    for (const QString &path : {empty, invalid, scratchFile("missing.rc")}) {
        manager.setLastErrorMessage("stale");
        EXPECT_FALSE(manager.addFileContents(path, false)) << qPrintable(path);
        EXPECT_EQ(manager.lastErrorMessage(), "failed to load contents of " + path);
    }

    EXPECT_FALSE(manager.addFileContents(QString(), false));
    EXPECT_EQ(manager.lastErrorMessage(), "Internal error: the path provided was null");
}

TEST_F(RuleFileReader, RefusesSymbolicLinksAndFolders)
{
    const QString target = scratchFile("target.rc");
    install("user-local.rc", target);
    const QString link = scratchFile("link.rc");
    ASSERT_TRUE(QFile::link(target, link));
    EXPECT_FALSE(manager.addFileContents(link, false));
    EXPECT_TRUE(manager.lastErrorMessage().startsWith("Failed to open file '" + link + "' for reading: "))
        << qPrintable(manager.lastErrorMessage());
    EXPECT_TRUE(manager.lastErrorMessage().endsWith(" (40)")) << qPrintable(manager.lastErrorMessage());
    EXPECT_TRUE(manager.policyRulesByApplication().isEmpty());

    EXPECT_FALSE(manager.addFileContents(scratchFile("system"), false));
    EXPECT_TRUE(manager.lastErrorMessage().startsWith("Failed to read() file '"))
        << qPrintable(manager.lastErrorMessage());
}

TEST_F(RuleFileReader, SystemRulesCarryFlagsAndFeedTeamWhitelist)
{
    const QString path = scratchFile("other-system.rc");
    install("system-quiven.rc", path);
    ASSERT_TRUE(manager.addFileContents(path, true));
    const QList<PolicyRulePtr> rules = policiesInReadOrder(manager);
    ASSERT_EQ(rules.size(), 5);
    EXPECT_EQ(rules[1]->flags, RuleFlag::TeamID);
    EXPECT_EQ(rules[3]->flags, RuleFlag::User);
    EXPECT_EQ(manager.teamIDsWhitelist(), QSet<QString>{"TEAMID0001"});
    ASSERT_EQ(manager.watchRules().size(), 1);
    EXPECT_EQ(manager.watchRules()[0]->flags, RuleFlag::Sticky);
    EXPECT_TRUE(manager.filterOptions().isEmpty()) << "not a base ruleset file";
}

TEST_F(RuleFileReader, SetLinesCountOnlyInBaseRulesetsOrWhenValidating)
{
    for (const QString name : {"quiven.rc", "quiven_classic.rc", "paranoid.rc"}) {
        RuleManager reader;
        install("system-quiven.rc", systemFile(name));
        ASSERT_TRUE(reader.addFileContents(systemFile(name), true));
        ASSERT_EQ(reader.filterOptions().size(), 4) << qPrintable(name);
        EXPECT_EQ(reader.getOption("policy.global.webcam"), 0u) << "the first set of a name wins";
    }
    install("system-quiven.rc", sharedFile("local.quiven.rc"));
    ASSERT_TRUE(manager.addFileContents(sharedFile("local.quiven.rc"), false));
    EXPECT_TRUE(manager.filterOptions().isEmpty());
    manager.setOnlyValidating(true);
    ASSERT_TRUE(manager.addFileContents(sharedFile("local.quiven.rc"), false));
    EXPECT_EQ(manager.getOption("policy.global.user"), 1u);
}

// Rules added to the store between reads count as members for duplicates.
TEST_F(RuleFileReader, DuplicatesIncludeRulesAddedBetweenReads)
{
    manager.addPolicyRule(
        policyRule(PolicyClass::Allow, PolicyType::Path, u"/d"_s, u"/bin/x"_s, Operation::Read));
    manager.addWatchRule(watchRule(u"/w"_s, u"any"_s));
    const QString file = scratchFile("first.rc");
    write(file, "allow path \"/d\" \"/bin/x\" r\nwatch prefix \"/w\" \"any\" r \"\"\n");
    ASSERT_TRUE(manager.addFileContents(file, false));
    EXPECT_EQ(policiesInReadOrder(manager).size(), 1);
    EXPECT_EQ(manager.watchRules().size(), 1);
}

TEST_F(RuleFileReader, FailsafeFileMergesNeighbouringDenials)
{
    install("failsafe.rc", sharedFile("failsafe.rc"));
    ASSERT_TRUE(manager.addFileContents(ProductFolders::failsafeFile(), false));
    EXPECT_EQ(paths(policiesInReadOrder(manager)),
              (QStringList{"/home/ann/Downloads/", ":volume/x", ":volume/y", "/home/ann/Music/x.mp3",
                           "/home/ann/Music/y.mp3"}));

    // The same lines anywhere else are not merged.
    RuleManager plain;
    install("failsafe.rc", scratchFile("failsafe.rc"));
    ASSERT_TRUE(plain.addFileContents(scratchFile("failsafe.rc"), false));
    EXPECT_EQ(policiesInReadOrder(plain).size(), 6);
}

} // namespace
