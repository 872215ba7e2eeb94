#include "RuleManager.h"
#include "RuleSearch.h"
#include "StoreTestRules.h"

#include <QRandomGenerator>
#include <algorithm>
#include <gtest/gtest.h>

namespace {

using namespace Qt::StringLiterals;

QStringList paths(const QList<RuleBasePtr> &rules)
{
    QStringList result;
    for (const RuleBasePtr &rule : rules)
        result.append(rule->path());
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

TEST_F(RuleStoreTest, UserListsIgnoreFilterAndSystemRules)
{
    manager.applyFilterWithString(u"nothing matches this"_s);
    EXPECT_EQ(manager.totalRules(true), 0u);
    EXPECT_EQ(manager.userPolicies().size(), 3);
    EXPECT_FALSE(manager.userPolicies().contains(lowerSystem));
    EXPECT_EQ(manager.userWatchRules(), QList<WatchRulePtr>{watchUser});
    EXPECT_EQ(manager.ruleAtIndex(0, true), nullptr);
    manager.applyFilterWithString(u""_s);
    EXPECT_TRUE(manager.searchString().isNull());
}

TEST_F(RuleStoreTest, DeleteAnswersWhetherTheRuleIsStillStored)
{
    manager.addPolicyRule(zeta); // the same object twice in its group
    EXPECT_FALSE(manager.deletePolicyRule(zeta));
    EXPECT_FALSE(paths(rows(manager, true)).contains(u"/z/1"_s));
    EXPECT_FALSE(manager.deletePolicyRule(zeta));
    EXPECT_FALSE(manager.deleteWatchRule(watchUser));
    EXPECT_EQ(manager.totalRules(true), 4u);

    // Removal is by identity: an equal twin stays.
    auto twin = std::make_shared<PolicyRule>(*upper);
    EXPECT_FALSE(manager.deletePolicyRule(twin));
    EXPECT_EQ(manager.totalRules(true), 4u);
}

// The views after the rebuild are compared in RuleStoreDifferential, whose
// full rebuilds are made of deferred changes.
TEST_F(RuleStoreTest, DeferredChangesShowOnlyAfterRebuild)
{
    manager.addPolicyRule(policyRule(PolicyClass::Allow, PolicyType::Path, u"/new"_s, u"/bin/zeta"_s, 1),
                          false);
    manager.deletePolicyRule(upper, false);
    EXPECT_EQ(paths(rows(manager, true)),
              (QStringList{u"/w/sys"_s, u"/w/user"_s, u"/u/1"_s, u"/l/sys"_s, u"/l/user"_s, u"/z/1"_s}));
}

// Plain and folded orders are compared with Qt's in TextOrdersAgreeWithQStringCompareOnRandomTexts.
TEST(RuleSortingTest, LocalizedOrderIgnoresCaseAndReadsNumbers)
{
    using Comparison = RuleSortDescriptor::Comparison;
    RuleManager manager;
    for (const QString &path : {u"file10"_s, u"File2"_s, u"file1"_s, u"b"_s})
        manager.addPolicyRule(policyRule(PolicyClass::Allow, PolicyType::Path, path, u"/bin/x"_s, 1), false);
    manager.rebuildRulesCache();

    manager.sortIndexUsingDescriptors({{u"path"_s, true, Comparison::LocalizedStandardCompare}});
    EXPECT_EQ(paths(rows(manager, true)), (QStringList{u"b"_s, u"file1"_s, u"File2"_s, u"file10"_s}));
}

// Text keys are ranked without QString::compare; the order must still be its
// order, stable among equal texts, for awkward texts with long shared starts.
TEST(RuleSortingTest, TextOrdersAgreeWithQStringCompareOnRandomTexts)
{
    using Comparison = RuleSortDescriptor::Comparison;
    // Lone surrogates too: code unit order puts them below U+FFFF.
    const QString units = u"aAkK/\u212a\u017f\u00df\u00e9\u0130\uffff"_s + QChar(0xd83d) + QChar(0xde00);
    QRandomGenerator random(11);
    RuleManager manager;
    for (int i = 0; i < 600; ++i) {
        QString path = random.bounded(3) ? u"/home/alice/Documents/"_s : QString();
        for (int length = random.bounded(4); length > 0; --length)
            path += units[random.bounded(units.size())];
        auto rule = policyRule(PolicyClass::Allow, PolicyType::Path, path, u"/bin/x%1"_s.arg(i % 7), 1);
        rule->created = random.bounded(3);
        manager.addPolicyRule(rule, false);
    }
    manager.rebuildRulesCache();

    for (const Comparison comparison : {Comparison::Compare, Comparison::CaseInsensitiveCompare}) {
        for (const bool ascending : {true, false}) {
            QList<RuleBasePtr> expected = rows(manager, true);
            const auto text = [&](const RuleBasePtr &rule) {
                return comparison == Comparison::Compare ? rule->path() : rule->path().toCaseFolded();
            };
            std::stable_sort(expected.begin(), expected.end(), [&](const auto &a, const auto &b) {
                const int order = text(a).compare(text(b));
                if (order != 0)
                    return ascending ? order < 0 : order > 0;
                return a->created > b->created;
            });
            manager.sortIndexUsingDescriptors(
                {{u"path"_s, ascending, comparison}, {u"created"_s, false, Comparison::Compare}});
            EXPECT_EQ(rows(manager, true), expected) << int(comparison) << ascending;
        }
    }
}

// The search folds case one unit at a time and remembers answers per text data.
TEST(RuleSearchTest, AgreesWithQtOnRandomTexts)
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

} // namespace
