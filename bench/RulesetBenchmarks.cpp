#include "BenchmarkData.h"
#include "RuleManager.h"

#include <QElapsedTimer>
#include <benchmark/benchmark.h>
#include <cstring>

namespace {

using bench::loadedManager;

void sizes(benchmark::internal::Benchmark *b)
{
    b->Args({10000, 0})
        ->Args({100000, 0})
        ->Args({1000000, 0})
        ->ArgNames({"rules", "shared"})
        ->Unit(benchmark::kMillisecond);
}

// The same sizes plus rulesets of which a fifth falls into one group.
void sizesWithLargeGroup(benchmark::internal::Benchmark *b)
{
    sizes(b);
    b->Args({100000, 20000})->Args({1000000, 200000});
}

void BM_LineScan(benchmark::State &state)
{
    const QByteArray &text = bench::rulesetText(state.range(0), state.range(1));
    for (auto _ : state) {
        qint64 lines = 0;
        const char *at = text.constData();
        const char *end = at + text.size();
        while (const void *found = std::memchr(at, '\n', std::size_t(end - at))) {
            ++lines;
            at = static_cast<const char *>(found) + 1;
        }
        benchmark::DoNotOptimize(lines);
    }
    state.SetBytesProcessed(state.iterations() * text.size());
}
BENCHMARK(BM_LineScan)->Apply(sizes);

void BM_Parse(benchmark::State &state)
{
    const QString &file = bench::rulesetFile(state.range(0), state.range(1));

    // Memory of one loaded ruleset, measured once before the timed runs.
    const qint64 before = bench::residentBytes();
    const qint64 heapBefore = bench::heapBytesInUse();
    std::unique_ptr<RuleManager> measured = loadedManager(state.range(0), state.range(1));
    const qint64 heapAfter = bench::heapBytesInUse();
    const qint64 after = bench::residentBytes();
    const auto loaded = double(measured->compositeIndex().size());
    measured.reset();

    for (auto _ : state) {
        std::unique_ptr<RuleManager> manager = RuleManager::withContentsOfFile(file, false);
        benchmark::DoNotOptimize(manager->compositeIndex().size());
        // Freeing the ruleset is not part of loading it.
        state.PauseTiming();
        manager.reset();
        state.ResumeTiming();
    }
    state.counters["rules_loaded"] = loaded;
    state.counters["rss_bytes_per_rule"] = loaded > 0 ? double(after - before) / loaded : 0;
    state.counters["heap_bytes_per_rule"] = loaded > 0 ? double(heapAfter - heapBefore) / loaded : 0;
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_Parse)->Apply(sizesWithLargeGroup);

void BM_RebuildCache(benchmark::State &state)
{
    const std::unique_ptr<RuleManager> manager = loadedManager(state.range(0), state.range(1));
    for (auto _ : state)
        manager->rebuildRulesCache();
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_RebuildCache)->Apply(sizes);

void BM_Filter(benchmark::State &state)
{
    const std::unique_ptr<RuleManager> manager = loadedManager(state.range(0), state.range(1));
    // A text typed into the search field: matches tags, paths and process names.
    const QStringList texts{QStringLiteral("backup"), QStringLiteral("/home/alice/"),
                            QStringLiteral("firefox")};
    // The first keystroke after a load also prepares what later ones reuse.
    QElapsedTimer first;
    first.start();
    manager->applyFilterWithString(QStringLiteral("bin"));
    state.counters["first_ms"] = double(first.nsecsElapsed()) / 1e6;
    qsizetype next = 0;
    for (auto _ : state) {
        manager->applyFilterWithString(texts[next++ % texts.size()]);
        benchmark::DoNotOptimize(manager->compositeIndex().size());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_Filter)->Apply(sizes);

void BM_Sort(benchmark::State &state)
{
    const std::unique_ptr<RuleManager> manager = loadedManager(state.range(0), state.range(1));
    using Comparison = RuleSortDescriptor::Comparison;
    // Alternating directions so that every run really reorders the view.
    const QList<QList<RuleSortDescriptor>> orders{
        {{QStringLiteral("path"), true, Comparison::CaseInsensitiveCompare},
         {QStringLiteral("created"), false, Comparison::Compare}},
        {{QStringLiteral("path"), false, Comparison::CaseInsensitiveCompare},
         {QStringLiteral("created"), true, Comparison::Compare}},
    };
    // Timed runs sort again; the first sort after a load is reported apart.
    QElapsedTimer first;
    first.start();
    manager->sortIndexUsingDescriptors(orders.back());
    state.counters["first_ms"] = double(first.nsecsElapsed()) / 1e6;
    qsizetype next = 0;
    for (auto _ : state)
        manager->sortIndexUsingDescriptors(orders[next++ % orders.size()]);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_Sort)->Apply(sizes);

// The rule the table adds in the one-rule benchmarks.
PolicyRulePtr addedRule(qint64 number)
{
    auto rule = std::make_shared<PolicyRule>();
    rule->policyClass = PolicyClass::Allow;
    rule->policyType = PolicyType::Prefix;
    rule->setPath(QStringLiteral("/home/alice/Added/%1/").arg(number));
    rule->setProcessName(QStringLiteral("/usr/bin/added-editor"));
    rule->operations = Operation::Read;
    return rule;
}

// One rule added through the table while a sort order is set, until the
// views show it; each run's rule is taken out again untimed.
void BM_AddOneRule(benchmark::State &state)
{
    const std::unique_ptr<RuleManager> manager = loadedManager(state.range(0), state.range(1));
    manager->sortIndexUsingDescriptors(
        {{QStringLiteral("path"), true, RuleSortDescriptor::Comparison::CaseInsensitiveCompare}});
    qint64 next = 0;
    for (auto _ : state) {
        const PolicyRulePtr rule = addedRule(next++);
        manager->addPolicyRule(rule);
        benchmark::DoNotOptimize(manager->compositeIndex().size());
        state.PauseTiming();
        manager->deletePolicyRule(rule);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_AddOneRule)->Apply(sizes);

// One rule added while the table is filtered, then the next keystroke: the
// filter's prepared rows take the rule in instead of being built again.
void BM_AddOneRuleThenKeystroke(benchmark::State &state)
{
    const std::unique_ptr<RuleManager> manager = loadedManager(state.range(0), state.range(1));
    const QStringList texts{QStringLiteral("backup"), QStringLiteral("/home/alice/")};
    manager->applyFilterWithString(QStringLiteral("bin"));
    qint64 next = 0;
    for (auto _ : state) {
        const PolicyRulePtr rule = addedRule(next);
        manager->addPolicyRule(rule);
        manager->applyFilterWithString(texts[next++ % texts.size()]);
        benchmark::DoNotOptimize(manager->compositeIndex().size());
        state.PauseTiming();
        manager->deletePolicyRule(rule);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_AddOneRuleThenKeystroke)->Apply(sizes);

// One rule added while the table is sorted, then a click on the column to
// reverse it: the known ranks take the rule in instead of being worked out again.
void BM_AddOneRuleThenSort(benchmark::State &state)
{
    const std::unique_ptr<RuleManager> manager = loadedManager(state.range(0), state.range(1));
    using Comparison = RuleSortDescriptor::Comparison;
    const QList<QList<RuleSortDescriptor>> orders{
        {{QStringLiteral("path"), true, Comparison::CaseInsensitiveCompare}},
        {{QStringLiteral("path"), false, Comparison::CaseInsensitiveCompare}}};
    manager->sortIndexUsingDescriptors(orders.front());
    qint64 next = 0;
    for (auto _ : state) {
        const PolicyRulePtr rule = addedRule(next);
        manager->addPolicyRule(rule);
        manager->sortIndexUsingDescriptors(orders[++next % orders.size()]);
        state.PauseTiming();
        manager->deletePolicyRule(rule);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_AddOneRuleThenSort)->Apply(sizes);

// Exposes the cover index reset so every run starts cold, as the first paint
// of the table after a load does.
class ColdRedundancyManager : public RuleManager
{
public:
    using RuleManager::invalidateRedundancyIndex;
};

void BM_RedundancyAllRows(benchmark::State &state)
{
    ColdRedundancyManager manager;
    manager.initWithContentsOfFile(bench::rulesetFile(state.range(0), state.range(1)), false);
    const QList<PolicyRulePtr> rows = manager.policyRules();
    qint64 redundant = 0;
    for (auto _ : state) {
        manager.invalidateRedundancyIndex();
        redundant = 0;
        for (const PolicyRulePtr &rule : rows)
            redundant += manager.isRedundant(rule);
        benchmark::DoNotOptimize(redundant);
    }
    state.counters["redundant_rows"] = double(redundant);
    state.SetItemsProcessed(state.iterations() * rows.size());
}
BENCHMARK(BM_RedundancyAllRows)->Apply(sizesWithLargeGroup);

void BM_Write(benchmark::State &state)
{
    const std::unique_ptr<RuleManager> manager = loadedManager(state.range(0), state.range(1));
    const QString out = bench::scratchFile(QStringLiteral("written.rc"));
    for (auto _ : state) {
        if (!manager->writeToFile(out)) {
            state.SkipWithError(qPrintable(manager->lastErrorMessage()));
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_Write)->Apply(sizes);

} // namespace
