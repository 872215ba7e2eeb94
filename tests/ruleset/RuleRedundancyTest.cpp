#include "RuleManager.h"
#include "StoreReferenceModel.h"
#include "StoreTestRules.h"

#include <QRandomGenerator>
#include <gtest/gtest.h>

namespace {

using namespace Qt::StringLiterals;

constexpr quint32 R = Operation::Read;
constexpr quint32 W = Operation::Write;
const QString app = u"/Applications/App.app/Contents/MacOS/App"_s;

TEST(RuleValidationTest, AcceptsOnlyWellFormedRules)
{
    struct Case
    {
        const char *name;
        std::function<void(PolicyRule &)> change;
        bool valid;
    };
    const QList<Case> cases{
        {"plain rule", [](PolicyRule &) {}, true},
        {"absent process", [](PolicyRule &r) { r.setProcessName(QString()); }, false},
        {"absent path", [](PolicyRule &r) { r.setPath(QString()); }, false},
        {"unknown class", [](PolicyRule &r) { r.policyClass = PolicyClass::Invalid; }, false},
        {"absent constraint", [](PolicyRule &r) { r.setConstraint(QString()); }, true},
        {"nine characters", [](PolicyRule &r) { r.setConstraint(u"ABCDE1234"_s); }, false},
        {"code digest", [](PolicyRule &r) { r.setConstraint(QString(40, u'z')); }, true},
        {"65 characters", [](PolicyRule &r) { r.setConstraint(QString(65, u'a')); }, false},
        {"platform binary", [](PolicyRule &r) { r.setConstraint(u"APPLE_PF_BINARY"_s); }, true},
    };
    RuleManager manager;
    for (const Case &c : cases) {
        PolicyRule rule = *policyRule(PolicyClass::Deny, PolicyType::Suffix, u"/x"_s, app, R);
        c.change(rule);
        EXPECT_EQ(manager.validateRule(rule), c.valid) << c.name;
    }
}

TEST(RuleValidationTest, BitwiseInclusionLooksAtTheLowEightBitsOnly)
{
    EXPECT_FALSE(RuleManager::isBitwiseInclusive(R, R | W));
    EXPECT_TRUE(RuleManager::isBitwiseInclusive(0, 0x100));
    EXPECT_TRUE(RuleManager::isBitwiseInclusive(0x80, 0xF80));
    EXPECT_FALSE(RuleManager::isBitwiseInclusive(0x100, 0x80));
}

// Random rulesets whose fields collide often: shared path prefixes, whole-scope
// paths, absent texts, groups mixing constraints ("any via" processes).
class RandomRules
{
public:
    explicit RandomRules(quint32 seed)
        : m_random(seed)
    {}

    PolicyRulePtr next()
    {
        static const QStringList paths{u"/a"_s,    u"/a/"_s,  u"/a/b"_s, u"/a/b/c.txt"_s, u"/ab"_s,
                                       u"/abc/"_s, u"/b/a"_s, u"any"_s,  u""_s,           u"/"_s};
        static const QStringList processes{u"/bin/one"_s, u"/bin/two via /sbin/init"_s, u"any via Finder"_s,
                                           u"any ancestor /sbin/launchd"_s};
        static const QStringList constraints{u""_s, u"TEAM123456"_s, u"(null)"_s, u"other"_s};
        const int pathPick = pick(paths.size() + 1);
        const int constraintPick = pick(constraints.size() + 1);
        // Half the rules fall into a few large groups, half into many small ones.
        const QString process =
            processes[pick(processes.size())] + (pick(2) == 0 ? QString() : QString::number(pick(300)));
        QString path = pathPick == paths.size() ? QString() : paths[pathPick];
        // Paths of their own too, as most paths of a real group are.
        if (!path.isNull() && pick(2) == 0)
            path += QString::number(pick(500));
        auto rule =
            policyRule(pick(3) == 2 ? PolicyClass::Invalid : quint32(pick(2)), quint32(pick(4)), path,
                       process, quint32(m_random.bounded(1024)),
                       constraintPick == constraints.size() ? QString() : constraints[constraintPick]);
        if (rule->policyType == 3)
            rule->policyType = PolicyType::Invalid;
        return rule;
    }

private:
    int pick(qsizetype count) { return int(m_random.bounded(int(count))); }
    QRandomGenerator m_random;
};

TEST(RuleRedundancyTest, IndexAgreesWithPlainScanOnRandomRulesets)
{
    for (quint32 seed = 1; seed <= 40; ++seed) {
        RandomRules random(seed);
        RuleManager manager;
        QList<PolicyRulePtr> stored;
        // Small groups are scanned and large ones indexed; a few groups are
        // found by their identities, many by listing them all.
        const int count = seed % 2 == 0 ? 120 : 3000;
        for (int i = 0; i < count; ++i) {
            PolicyRulePtr rule = random.next();
            manager.addPolicyRule(rule, false);
            stored.append(rule);
            if (i % 17 == 0) {
                manager.addPolicyRule(rule, false);
            }
        }
        QList<PolicyRulePtr> probes = stored;
        for (const PolicyRulePtr &rule : std::as_const(stored))
            probes.append(std::make_shared<PolicyRule>(*rule));
        for (int i = 0; i < 60; ++i)
            probes.append(random.next());

        for (const PolicyRulePtr &probe : std::as_const(probes)) {
            const QString key = RuleManager::applicationGroupIdentityForRule(*probe);
            const bool expected = manager.policyRulesByApplication().contains(key) &&
                                  plainlyRedundant(manager.policyRulesByApplication()[key], *probe);
            ASSERT_EQ(manager.isRedundant(probe), expected)
                << "seed " << seed << ": " << qPrintable(probe->description()) << " constraint "
                << (probe->constraint().isNull() ? "absent" : qPrintable(probe->constraint()));
        }
    }
}

bool expectedRedundancy(const RuleManager &manager, const PolicyRule &rule)
{
    const QString key = RuleManager::applicationGroupIdentityForRule(rule);
    return manager.policyRulesByApplication().contains(key) &&
           plainlyRedundant(manager.policyRulesByApplication()[key], rule);
}

// Going through every row in table order answers the whole table at once
// after a while; rows asked about out of order, again from the top, or from
// outside the store must be answered as before.
TEST(RuleRedundancyTest, WholeTableInOrderAgreesWithPlainScan)
{
    for (quint32 seed = 1; seed <= 3; ++seed) {
        RandomRules random(seed);
        RuleManager manager;
        for (int i = 0; i < 12000; ++i) {
            PolicyRulePtr rule = random.next();
            manager.addPolicyRule(rule, false);
            if (i % 23 == 0)
                manager.addPolicyRule(rule, false);
        }
        // Every other group gets a rule covering much of it, so that each
        // group's answers matter, small groups' too.
        const auto groups = manager.policyRulesByApplication();
        int listed = 0;
        for (const QList<PolicyRulePtr> &group : groups) {
            if (group.isEmpty() || listed++ % 2 == 1)
                continue;
            const auto cover = std::make_shared<PolicyRule>(*group.front());
            cover->setPath(u"any"_s);
            cover->operations = 0xFF;
            manager.addPolicyRule(cover, false);
        }
        manager.rebuildRulesCache();
        const QList<PolicyRulePtr> rows = manager.policyRules();
        std::vector<bool> expected;
        for (const PolicyRulePtr &rule : rows)
            expected.push_back(expectedRedundancy(manager, *rule));

        const auto askInOrder = [&](const char *pass) {
            for (qsizetype row = 0; row < rows.size(); ++row)
                ASSERT_EQ(manager.isRedundant(rows[row]), expected[std::size_t(row)])
                    << pass << ", seed " << seed << ", row " << row << ": "
                    << qPrintable(rows[row]->description());
        };
        askInOrder("first pass");
        QRandomGenerator pick(seed);
        for (int i = 0; i < 2000; ++i) {
            const qsizetype row = pick.bounded(int(rows.size()));
            ASSERT_EQ(manager.isRedundant(rows[row]), expected[std::size_t(row)])
                << "row " << row << " out of order";
            const PolicyRulePtr copy = std::make_shared<PolicyRule>(*rows[row]);
            ASSERT_EQ(manager.isRedundant(copy), expectedRedundancy(manager, *copy)) << "copy of row " << row;
        }
        askInOrder("second pass");
    }
}

} // namespace
