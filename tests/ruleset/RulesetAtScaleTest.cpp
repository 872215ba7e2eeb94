#include "RedundancyIndex.h"
#include "RuleManager.h"
#include "RuleSearch.h"
#include "RulesetFolders.h"
#include "RulesetGenerator.h"
#include "StoreTestRules.h"

#include <QRandomGenerator>

// The shortcuts taken for large rulesets (batched group appends, remembered
// search and group answers, shared views) must give the plain answers.
namespace {

using namespace Qt::StringLiterals;

QStringList paths(const QList<PolicyRulePtr> &rules)
{
    QStringList result;
    for (const PolicyRulePtr &rule : rules)
        result.append(rule->path);
    return result;
}

TEST(RuleSearchAtScale, AgreesWithQtOnRandomTexts)
{
    const QString alphabet = u"aAbBkKsS/_.[{@`\u212A\u017F\u00DF\u00E9\u00C9\u0130i"_s;
    QRandomGenerator random(7);
    auto text = [&](int length) {
        QString result;
        for (int i = 0; i < length; ++i)
            result.append(alphabet.at(random.bounded(int(alphabet.size()))));
        return result;
    };
    for (int round = 0; round < 300; ++round) {
        const QString needle = text(1 + random.bounded(3));
        RuleSearch search(needle);
        QStringList fields;
        for (int i = 0; i < 12; ++i)
            fields.append(text(random.bounded(9)));
        // Twice over, so that remembered answers are asked for as well.
        for (int pass = 0; pass < 2; ++pass) {
            for (const QString &field : std::as_const(fields)) {
                const bool expected = QStringView(field).contains(needle, Qt::CaseInsensitive);
                ASSERT_EQ(search.matches(field), expected)
                    << qPrintable(needle) << " in " << qPrintable(field);
                ASSERT_EQ(search.matchesShared(field), expected)
                    << qPrintable(needle) << " in " << qPrintable(field);
            }
        }
        EXPECT_FALSE(search.matchesShared(QString()));
    }
}

class ReadBatches : public RulesetFolders
{
protected:
    RuleManager manager;

    QList<PolicyRulePtr> group(const QString &processName) const
    {
        const auto rule = policyRule(PolicyClass::Allow, PolicyType::Path, u"/"_s, processName, 1);
        return manager.policyRulesByApplication().value(RuleManager::applicationGroupIdentityForRule(*rule));
    }
};

TEST_F(ReadBatches, GroupsKeepReadingOrderAcrossFilesAndFailures)
{
    const QString first = scratchFile("first.rc");
    const QString second = scratchFile("second.rc");
    write(first, "allow path \"/a1\" \"/bin/a\" r\nallow path \"/b1\" \"/bin/b\" r\n"
                 "allow path \"/a2\" \"/bin/a\" r\n");
    // Interleaved groups, a duplicate of a rule of the first file, then a
    // broken trace line: what came before it stays, in order.
    write(second, "allow path \"/b2\" \"/bin/b\" r\nallow path \"/a1\" \"/bin/a\" r\n"
                  "allow path \"/c1\" \"/bin/c\" r\nallow path \"/a3\" \"/bin/a\" r\n"
                  "allow path \"/b2\" \"/bin/b\" r\ntrace\nallow path \"/a4\" \"/bin/a\" r\n");
    ASSERT_TRUE(manager.addFileContents(first, false));
    EXPECT_FALSE(manager.addFileContents(second, false));

    EXPECT_EQ(paths(group(u"/bin/a"_s)), (QStringList{u"/a1"_s, u"/a2"_s, u"/a3"_s}));
    EXPECT_EQ(paths(group(u"/bin/b"_s)), (QStringList{u"/b1"_s, u"/b2"_s}));
    EXPECT_EQ(paths(group(u"/bin/c"_s)), QStringList{u"/c1"_s});
    EXPECT_EQ(manager.policyRulesByApplication().size(), 3);

    // Sequence numbers follow the lines kept, and later reads see the new members.
    EXPECT_LT(group(u"/bin/a"_s)[1]->sequence, group(u"/bin/b"_s)[1]->sequence);
    ASSERT_TRUE(manager.addFileContents(first, false));
    EXPECT_EQ(group(u"/bin/a"_s).size(), 3);
}

class GeneratedRuleset : public RulesetFolders
{
protected:
    std::unique_ptr<RuleManager> load(qsizetype rules, qsizetype sharedGroupRules)
    {
        const QString path = scratchFile("generated.rc");
        write(path, generateRuleset({rules, 99, sharedGroupRules}));
        return RuleManager::withContentsOfFile(path, false);
    }
};

TEST_F(GeneratedRuleset, RedundancyAgreesWithScanningTheGroup)
{
    const std::unique_ptr<RuleManager> manager = load(3000, 600);
    // The same rule twice in a group does not cover itself.
    const PolicyRulePtr wide =
        policyRule(PolicyClass::Allow, PolicyType::Prefix, u"any"_s, u"/usr/bin/twice"_s, 31);
    const PolicyRulePtr narrow =
        policyRule(PolicyClass::Allow, PolicyType::Path, u"/tmp/x"_s, u"/usr/bin/twice"_s, 1);
    for (const PolicyRulePtr &rule : {wide, wide, narrow})
        manager->addPolicyRule(rule, false);
    manager->rebuildRulesCache();

    qsizetype redundant = 0;
    for (const PolicyRulePtr &rule : manager->policyRules()) {
        const auto key = RuleManager::applicationGroupIdentityForRule(*rule);
        const bool expected =
            RedundancyIndex::scanGroup(manager->policyRulesByApplication().value(key), *rule);
        ASSERT_EQ(manager->isRedundant(rule), expected) << qPrintable(rule->toString());
        redundant += expected;
    }
    EXPECT_GT(redundant, 0);
    EXPECT_FALSE(manager->isRedundant(wide));
    EXPECT_TRUE(manager->isRedundant(narrow));

    // A rule outside the store is answered from the group its texts name.
    const PolicyRulePtr visitor =
        policyRule(PolicyClass::Allow, PolicyType::Path, u"/tmp/y"_s, u"/usr/bin/twice"_s, 1);
    EXPECT_TRUE(manager->isRedundant(visitor));
    visitor->processName = u"/usr/bin/unknown"_s;
    EXPECT_FALSE(manager->isRedundant(visitor));
}

TEST_F(GeneratedRuleset, ViewsMatchAPlainWalkOfTheGroups)
{
    const std::unique_ptr<RuleManager> manager = load(2000, 0);
    auto expectedRows = [&](const QString &needle, bool includeSystemRules) {
        QList<RuleBasePtr> rows;
        auto hit = [&](const QString &field) {
            return !field.isNull() && QStringView(field).contains(needle, Qt::CaseInsensitive);
        };
        for (const WatchRulePtr &rule : manager->watchRules()) {
            if ((includeSystemRules || !rule->system) &&
                (needle.isEmpty() || hit(rule->path) || hit(rule->processName)))
                rows.append(rule);
        }
        for (const QString &key : manager->sortedKeys()) {
            for (const PolicyRulePtr &rule : manager->policyRulesByApplication().value(key)) {
                if ((includeSystemRules || !rule->system) &&
                    (needle.isEmpty() || hit(rule->path) || hit(rule->processName) || hit(rule->tag)))
                    rows.append(rule);
            }
        }
        return rows;
    };

    for (const QString &needle : {u""_s, u"BACKUP"_s, u"/home/alice/"_s, u"via any"_s, u"nothing"_s}) {
        manager->applyFilterWithString(needle);
        EXPECT_EQ(manager->compositeIndex(), expectedRows(needle, true)) << qPrintable(needle);
        EXPECT_EQ(manager->compositeIndexUserOnly(), expectedRows(needle, false)) << qPrintable(needle);
    }

    // A system rule leaves the user view and stays in the full one.
    manager->applyFilterWithString(QString());
    const PolicyRulePtr system = policyRule(PolicyClass::Deny, PolicyType::Path, u"/etc/shadow"_s,
                                            u"/usr/bin/login"_s, 1, u""_s, true);
    manager->addPolicyRule(system);
    EXPECT_TRUE(manager->compositeIndex().contains(system));
    EXPECT_FALSE(manager->compositeIndexUserOnly().contains(system));
    EXPECT_EQ(manager->compositeIndexUserOnly(), expectedRows(QString(), false));
    EXPECT_EQ(manager->compositeIndex().size(), manager->compositeIndexUserOnly().size() + 1);
}

} // namespace
