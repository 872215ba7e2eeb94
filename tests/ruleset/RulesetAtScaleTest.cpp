#include "RedundancyIndex.h"
#include "RuleManager.h"
#include "RuleSearch.h"
#include "RulesetFolders.h"
#include "RulesetGenerator.h"
#include "StoreTestRules.h"

#include <QRandomGenerator>

// The shortcuts taken for large rulesets (remembered search and group
// answers) must give the plain answers.
namespace {

using namespace Qt::StringLiterals;

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

} // namespace
