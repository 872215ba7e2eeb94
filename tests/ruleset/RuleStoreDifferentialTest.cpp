#include "RuleManager.h"
#include "StoreReferenceModel.h"
#include "StoreTestRules.h"

#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <gtest/gtest.h>

// Random stores driven through random steps, compared after every step with
// the plain reference model.
namespace {

using namespace Qt::StringLiterals;

QString describe(const QList<RuleBasePtr> &rules)
{
    QStringList lines;
    for (const RuleBasePtr &rule : rules)
        lines.append(rule->processName() + u" | "_s + rule->path() + u" | "_s + rule->tag());
    return lines.join(u'\n');
}

struct StoreCase
{
    const char *name;
    quint64 seed;
    int initialRules;
    int steps;
    // Letters that fold together or to ASCII (Kelvin sign, long s, dotted I),
    // accents and NUL, on top of plain ASCII paths.
    QString alphabet;
};

class RandomStore
{
public:
    explicit RandomStore(const StoreCase &c)
        : m_random(c.seed)
        , m_alphabet(c.alphabet)
    {}

    QString text(int maxLength)
    {
        QString result;
        const int length = m_random.bounded(maxLength + 1);
        for (int i = 0; i < length; ++i)
            result.append(m_alphabet.at(m_random.bounded(int(m_alphabet.size()))));
        return result;
    }
    // Few processes and tags, so that groups hold many rules and texts are shared.
    QString process()
    {
        return u"/usr/bin/"_s +
               m_alphabet.at(m_random.bounded(int(std::min<qsizetype>(6, m_alphabet.size()))));
    }
    QString tag() { return m_random.bounded(3) == 0 ? text(3) : QString(); }

    PolicyRulePtr policy()
    {
        // Operations and types vary, so that covering rules stay the exception.
        static constexpr quint32 kOperations[] = {Operation::Read, Operation::Write,
                                                  Operation::Read | Operation::Write};
        const quint32 type = m_random.bounded(3) == 0 ? PolicyType::Path : PolicyType::Prefix;
        PolicyRulePtr rule = policyRule(PolicyClass::Allow, type, u"/"_s + text(12), process(),
                                        kOperations[m_random.bounded(3)], u""_s, m_random.bounded(5) == 0);
        rule->setTag(tag());
        return rule;
    }
    WatchRulePtr watch() { return watchRule(u"/w"_s + text(6), process(), m_random.bounded(4) == 0); }

    int bounded(int limit) { return m_random.bounded(limit); }

private:
    QRandomGenerator m_random;
    QString m_alphabet;
};

const StoreCase kStoreCases[] = {
    {"ascii", 11, 200, 150, u"abcABC/._ kK"_s},
    {"folding letters", 12, 200, 150, u"ksKS/\u212A\u017F\u0130i\u00E9\u00C9"_s},
    {"nul and spaces", 13, 120, 150, u"a A\0b/"_s},
    {"one big group", 14, 600, 60, u"ab"_s},
};

TEST(RuleStoreDifferential, ViewsFollowAddsDeletesEditsAndFilters)
{
    for (const StoreCase &c : kStoreCases) {
        SCOPED_TRACE(c.name);
        RandomStore random(c);
        RuleManager manager;
        StoreReferenceModel reference;
        QList<PolicyRulePtr> policies;
        for (int i = 0; i < c.initialRules; ++i) {
            if (random.bounded(10) == 0) {
                const WatchRulePtr rule = random.watch();
                manager.addWatchRule(rule, false);
                reference.addWatch(rule);
                continue;
            }
            const PolicyRulePtr rule = random.policy();
            manager.addPolicyRule(rule, false);
            reference.addPolicy(rule);
            policies.append(rule);
        }
        manager.rebuildRulesCache();

        for (int step = 0; step < c.steps; ++step) {
            SCOPED_TRACE(step);
            switch (random.bounded(6)) {
            case 0: {
                const PolicyRulePtr rule = random.policy();
                manager.addPolicyRule(rule);
                reference.addPolicy(rule);
                policies.append(rule);
                break;
            }
            case 1:
                if (!policies.isEmpty()) {
                    const PolicyRulePtr rule = policies.takeAt(random.bounded(int(policies.size())));
                    manager.deletePolicyRule(rule);
                    reference.deletePolicy(rule);
                }
                break;
            case 2:
                // Edited in place as the table's tag editor does: the views
                // show it from the next rebuild on.
                if (!policies.isEmpty()) {
                    const PolicyRulePtr &rule = policies.at(random.bounded(int(policies.size())));
                    if (random.bounded(2))
                        rule->setTag(random.tag());
                    else
                        rule->setPath(u"/"_s + random.text(12));
                    manager.ruleChangedInPlace();
                }
                continue;
            default: {
                const QString needle = random.text(3);
                manager.applyFilterWithString(needle);
                reference.setFilter(needle);
                break;
            }
            }
            for (const bool includeSystemRules : {true, false}) {
                const QList<RuleBasePtr> expected = reference.view(includeSystemRules);
                const QList<RuleBasePtr> actual = rows(manager, includeSystemRules);
                ASSERT_TRUE(actual == expected)
                    << "filter '" << manager.searchString().toStdString() << "'\nexpected\n"
                    << describe(expected).toStdString() << "\nactual\n"
                    << describe(actual).toStdString();
            }
            for (const PolicyRulePtr &rule : std::as_const(policies)) {
                ASSERT_EQ(manager.isRedundant(rule), reference.isRedundant(*rule))
                    << qPrintable(rule->description());
            }
        }

        // Written whole whatever the filter, which is put back afterwards.
        manager.applyFilterWithString(u"/"_s + random.text(1));
        const QList<RuleBasePtr> shown = manager.compositeIndex().toList();
        const QList<PolicyRulePtr> shownPolicies = manager.policyRules();
        const QList<RuleBasePtr> shownUserRules = manager.compositeIndexUserOnly().toList();
        QTemporaryDir dir;
        const QString path = dir.filePath(u"written.rc"_s);
        ASSERT_TRUE(manager.writeToFile(path));
        QFile written(path);
        ASSERT_TRUE(written.open(QIODevice::ReadOnly));
        EXPECT_EQ(written.readAll(), reference.userFile());
        EXPECT_EQ(manager.compositeIndex().toList(), shown);
        EXPECT_EQ(manager.policyRules(), shownPolicies);
        EXPECT_EQ(manager.compositeIndexUserOnly().toList(), shownUserRules);
    }
}

// Thousands of groups whose identities differ in case and in letters that
// fold together: the keys are folded a run at a time, on two threads.
TEST(RuleStoreDifferential, ManyGroupsAreListedInThePlainOrder)
{
    RandomStore random({"many groups", 15, 0, 0, u"abAB/ k\u212A\u017F\u0130i\u00E9\u00C9"_s});
    RuleManager manager;
    StoreReferenceModel reference;
    for (int i = 0; i < 9000; ++i) {
        const PolicyRulePtr rule = random.policy();
        rule->setProcessName(u"/opt/"_s + random.text(7));
        manager.addPolicyRule(rule, false);
        reference.addPolicy(rule);
    }
    manager.rebuildRulesCache();
    ASSERT_GT(manager.policyRulesByApplication().size(), 4096);
    for (const QString &needle : {QString(), u"k"_s}) {
        manager.applyFilterWithString(needle);
        reference.setFilter(needle);
        for (const bool includeSystemRules : {true, false})
            ASSERT_TRUE(rows(manager, includeSystemRules) == reference.view(includeSystemRules))
                << "filter '" << needle.toStdString() << "'";
    }
}

} // namespace

namespace {

using Comparison = RuleSortDescriptor::Comparison;

struct SortCase
{
    const char *name;
    quint64 seed;
    // Orders the table may be sorted by, picked at random between changes.
    QList<QList<RuleSortDescriptor>> orders;
};

const SortCase kSortCases[] = {
    {"unsorted", 21, {}},
    {"path folded, either way",
     22,
     {{{u"path"_s, true, Comparison::CaseInsensitiveCompare}},
      {{u"path"_s, false, Comparison::CaseInsensitiveCompare}}}},
    {"tag localized then created",
     23,
     {{{u"tag"_s, true, Comparison::LocalizedStandardCompare}, {u"created"_s, false, Comparison::Compare}},
      {{u"created"_s, true, Comparison::Compare}}}},
    {"process exact, system, unknown key",
     24,
     {{{u"processName"_s, true, Comparison::Compare}},
      {{u"system"_s, false, Comparison::Compare}, {u"nonsense"_s, true, Comparison::Compare}},
      {{u"tag"_s, true, Comparison::CaseInsensitiveCompare}}}},
};

// The same calls on two managers holding the same rules: one changes its views
// rule by rule, the other rebuilds them in full after every change.
TEST(RuleStoreDifferential, SingleRuleChangesMatchFullRebuilds)
{
    const StoreCase shape{"", 0, 0, 0, u"abAB/ k\u212A\u00E9"_s};
    for (const SortCase &c : kSortCases) {
        SCOPED_TRACE(c.name);
        StoreCase seeded = shape;
        seeded.seed = c.seed;
        RandomStore random(seeded);
        RuleManager incremental;
        RuleManager rebuilt;
        QList<PolicyRulePtr> policies;
        const auto fresh = [&] {
            PolicyRulePtr rule = random.policy();
            rule->created = random.bounded(4);
            return rule;
        };
        const auto add = [&](const PolicyRulePtr &rule) {
            incremental.addPolicyRule(rule);
            rebuilt.addPolicyRule(rule, false);
            rebuilt.rebuildRulesCache();
            policies.append(rule);
        };
        // The watch rule first, so that system rules join a view that had none.
        const WatchRulePtr watch = random.watch();
        incremental.addWatchRule(watch);
        rebuilt.addWatchRule(watch);
        for (int i = 0; i < 80; ++i)
            add(fresh());

        for (int step = 0; step < 200; ++step) {
            SCOPED_TRACE(step);
            switch (random.bounded(8)) {
            case 0:
                if (!c.orders.isEmpty()) {
                    const auto &order = c.orders.at(random.bounded(int(c.orders.size())));
                    incremental.sortIndexUsingDescriptors(order);
                    rebuilt.sortIndexUsingDescriptors(order);
                }
                break;
            case 1: {
                const QString needle = random.bounded(2) ? random.text(2) : QString();
                incremental.applyFilterWithString(needle);
                rebuilt.applyFilterWithString(needle);
                break;
            }
            case 2:
                if (!policies.isEmpty()) {
                    const PolicyRulePtr &rule = policies.at(random.bounded(int(policies.size())));
                    rule->setTag(random.tag());
                    incremental.ruleChangedInPlace();
                    rebuilt.ruleChangedInPlace();
                }
                break;
            case 3:
            case 4:
                if (!policies.isEmpty()) {
                    const PolicyRulePtr rule = policies.takeAt(random.bounded(int(policies.size())));
                    EXPECT_FALSE(incremental.deletePolicyRule(rule));
                    rebuilt.deletePolicyRule(rule, false);
                    rebuilt.rebuildRulesCache();
                }
                break;
            default:
                // Now and then the same record twice, as a paste of one rule would.
                add(random.bounded(10) == 0 && !policies.isEmpty() ? policies.last() : fresh());
                break;
            }
            for (const bool includeSystemRules : {true, false}) {
                const QList<RuleBasePtr> expected = rows(rebuilt, includeSystemRules);
                const QList<RuleBasePtr> actual = rows(incremental, includeSystemRules);
                ASSERT_TRUE(actual == expected) << "expected\n"
                                                << describe(expected).toStdString() << "\nactual\n"
                                                << describe(actual).toStdString();
            }
            ASSERT_TRUE(incremental.policyRules() == rebuilt.policyRules());
            ASSERT_EQ(incremental.sortedKeys(), rebuilt.sortedKeys());
        }
    }
}

} // namespace
