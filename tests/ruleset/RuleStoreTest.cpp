#include "RuleManager.h"
#include "StoreTestRules.h"

#include <gtest/gtest.h>

namespace {

using namespace Qt::StringLiterals;

QStringList paths(const QList<RuleBasePtr> &rules)
{
    QStringList result;
    for (const RuleBasePtr &rule : rules)
        result.append(rule->path);
    return result;
}

class RuleStoreTest : public ::testing::Test
{
protected:
    RuleManager manager;
    // Groups "zeta", "Alpha" and "alpha" differ from their insertion order and
    // two of them only by letter case.
    PolicyRulePtr zeta = policyRule(PolicyClass::Allow, PolicyType::Path, u"/z/1"_s, u"/bin/zeta"_s, 1);
    PolicyRulePtr upper = policyRule(PolicyClass::Deny, PolicyType::Path, u"/u/1"_s, u"/bin/Alpha"_s, 1);
    PolicyRulePtr lowerSystem =
        policyRule(PolicyClass::Deny, PolicyType::Path, u"/l/sys"_s, u"/opt/alpha"_s, 1, u""_s, true);
    PolicyRulePtr lower = policyRule(PolicyClass::Allow, PolicyType::Path, u"/l/user"_s, u"/opt/alpha"_s, 1);
    WatchRulePtr watchSystem = watchRule(u"/w/sys"_s, u"any"_s, true);
    WatchRulePtr watchUser = watchRule(u"/w/user"_s, u"any"_s);

    void SetUp() override
    {
        for (const auto &rule : {zeta, upper, lowerSystem, lower})
            manager.addPolicyRule(rule, false);
        manager.addWatchRule(watchSystem, false);
        manager.addWatchRule(watchUser, false);
        manager.rebuildRulesCache();
    }
};

TEST_F(RuleStoreTest, ViewListsWatchRulesThenGroupsIgnoringCase)
{
    EXPECT_EQ(paths(rows(manager, true)),
              (QStringList{u"/w/sys"_s, u"/w/user"_s, u"/u/1"_s, u"/l/sys"_s, u"/l/user"_s, u"/z/1"_s}));
    EXPECT_EQ(paths(rows(manager, false)), (QStringList{u"/w/user"_s, u"/u/1"_s, u"/l/user"_s, u"/z/1"_s}));
    EXPECT_EQ(manager.ruleAtIndex(manager.totalRules(true), true), nullptr);
    EXPECT_EQ(manager.ruleAtIndex(manager.totalRules(false), false), nullptr);
}

TEST_F(RuleStoreTest, UserListsIgnoreFilterAndSystemRules)
{
    manager.applyFilterWithString(u"nothing matches this"_s);
    EXPECT_EQ(manager.totalRules(true), 0u);
    EXPECT_EQ(manager.userPolicies().size(), 3);
    EXPECT_FALSE(manager.userPolicies().contains(lowerSystem));
    EXPECT_EQ(manager.userWatchRules(), QList<WatchRulePtr>{watchUser});
}

TEST_F(RuleStoreTest, FilterMatchesFieldsIgnoringCase)
{
    lower->tag = u"Holiday photos"_s;
    watchUser->tag = u"Holiday"_s;
    manager.applyFilterWithString(u"HOLIDAY"_s);
    // Policy rules match by tag, watch rules do not.
    EXPECT_EQ(paths(rows(manager, true)), QStringList{u"/l/user"_s});
    EXPECT_EQ(manager.policyRules(), QList<PolicyRulePtr>{lower});

    // A shared process text admits its whole group, system rules included.
    manager.applyFilterWithString(u"opt/ALPHA"_s);
    EXPECT_EQ(paths(rows(manager, true)), (QStringList{u"/l/sys"_s, u"/l/user"_s}));
    EXPECT_EQ(paths(rows(manager, false)), QStringList{u"/l/user"_s});

    manager.applyFilterWithString(u"/w/"_s);
    EXPECT_EQ(paths(rows(manager, true)), (QStringList{u"/w/sys"_s, u"/w/user"_s}));

    manager.applyFilterWithString(u""_s);
    EXPECT_TRUE(manager.searchString().isNull());
    EXPECT_EQ(manager.totalRules(true), 6u);
}

TEST_F(RuleStoreTest, DeleteAnswersWhetherTheRuleIsStillStored)
{
    manager.addPolicyRule(zeta); // the same object twice in its group
    EXPECT_FALSE(manager.deletePolicyRule(zeta));
    EXPECT_FALSE(paths(rows(manager, true)).contains(u"/z/1"_s));
    EXPECT_FALSE(manager.deletePolicyRule(zeta));
    EXPECT_FALSE(manager.deleteWatchRule(watchUser));
    EXPECT_FALSE(manager.deleteWatchRule(watchUser));
    EXPECT_EQ(manager.totalRules(true), 4u);

    // Removal is by identity: an equal twin stays.
    auto twin = std::make_shared<PolicyRule>(*upper);
    EXPECT_FALSE(manager.deletePolicyRule(twin));
    EXPECT_EQ(manager.totalRules(true), 4u);
}

TEST_F(RuleStoreTest, DeferredChangesShowOnlyAfterRebuild)
{
    auto added = policyRule(PolicyClass::Allow, PolicyType::Path, u"/new"_s, u"/bin/zeta"_s, 1);
    manager.addPolicyRule(added, false);
    manager.deletePolicyRule(upper, false);
    EXPECT_TRUE(paths(rows(manager, true)).contains(u"/u/1"_s));
    manager.rebuildRulesCache();
    EXPECT_EQ(paths(rows(manager, true)),
              (QStringList{u"/w/sys"_s, u"/w/user"_s, u"/l/sys"_s, u"/l/user"_s, u"/z/1"_s, u"/new"_s}));
}

TEST_F(RuleStoreTest, SortOrderSurvivesRebuildsAndKeepsTiesStable)
{
    using Comparison = RuleSortDescriptor::Comparison;
    manager.sortIndexUsingDescriptors({{u"policyClass"_s, false, Comparison::Compare},
                                       {u"path"_s, true, Comparison::CaseInsensitiveCompare}});
    EXPECT_EQ(paths(rows(manager, true)),
              (QStringList{u"/l/sys"_s, u"/u/1"_s, u"/l/user"_s, u"/w/sys"_s, u"/w/user"_s, u"/z/1"_s}));
    EXPECT_EQ(paths(rows(manager, false)), (QStringList{u"/u/1"_s, u"/l/user"_s, u"/w/user"_s, u"/z/1"_s}));

    manager.addPolicyRule(policyRule(PolicyClass::Deny, PolicyType::Path, u"/a"_s, u"/bin/zeta"_s, 1));
    EXPECT_EQ(paths(rows(manager, true)).first(), u"/a"_s);

    // Equal keys keep the unsorted view order.
    manager.sortIndexUsingDescriptors({{u"operations"_s, true, Comparison::Compare}});
    manager.rebuildRulesCache();
    EXPECT_EQ(paths(rows(manager, true)), (QStringList{u"/w/sys"_s, u"/w/user"_s, u"/u/1"_s, u"/l/sys"_s,
                                                       u"/l/user"_s, u"/z/1"_s, u"/a"_s}));
}

TEST(RuleSortingTest, ComparisonsOrderTextsAsTheTableExpects)
{
    using Comparison = RuleSortDescriptor::Comparison;
    RuleManager manager;
    for (const QString &path : {u"file10"_s, u"File2"_s, u"file1"_s, u"b"_s})
        manager.addPolicyRule(policyRule(PolicyClass::Allow, PolicyType::Path, path, u"/bin/x"_s, 1), false);
    manager.rebuildRulesCache();

    const auto sortedBy = [&](Comparison comparison) {
        manager.sortIndexUsingDescriptors({{u"path"_s, true, comparison}});
        return paths(rows(manager, true));
    };
    EXPECT_EQ(sortedBy(Comparison::Compare), (QStringList{u"File2"_s, u"b"_s, u"file1"_s, u"file10"_s}));
    EXPECT_EQ(sortedBy(Comparison::CaseInsensitiveCompare),
              (QStringList{u"b"_s, u"file1"_s, u"file10"_s, u"File2"_s}));
    EXPECT_EQ(sortedBy(Comparison::LocalizedStandardCompare),
              (QStringList{u"b"_s, u"file1"_s, u"File2"_s, u"file10"_s}));
}

} // namespace
