#include "BenchmarkData.h"
#include "RuleManager.h"
#include "RuleMatching.h"

#include <benchmark/benchmark.h>

namespace {

// The program with the most rules of its own: the costliest one to ask about.
QString busiestProgram(const RuleManager &manager)
{
    QString program;
    qsizetype most = -1;
    for (const QList<PolicyRulePtr> &group : manager.policyRulesByApplication()) {
        const QString &process = group.constFirst()->processName();
        if (group.size() > most && process.startsWith(u'/') && !process.contains(QLatin1String(" via ")) &&
            !process.contains(QLatin1String(" ancestor "))) {
            most = group.size();
            program = process;
        }
    }
    return program;
}

// Its first prefix rule's folder, so that the access meets rules of every kind.
QString fileUnderPrefixRule(const RuleManager &manager, const QString &program, const QString &home)
{
    for (const PolicyRulePtr &rule : manager.policyRules()) {
        if (rule->processName() == program && rule->policyType == PolicyType::Prefix &&
            rule->path() != u"any")
            return (rule->path().startsWith(u'~') ? home + rule->path().mid(1) : rule->path()) +
                   u"report.pdf";
    }
    return home + u"/report.pdf";
}

void BM_MatchAccess(benchmark::State &state)
{
    const std::unique_ptr<RuleManager> manager = bench::loadedManager(state.range(0), state.range(1));
    FileAccess access;
    access.homeFolder = QStringLiteral("/home/alice");
    access.program = busiestProgram(*manager);
    access.parent = QStringLiteral("/usr/bin/bash");
    access.ancestors = {QStringLiteral("/usr/lib/systemd/systemd")};
    access.path = fileUnderPrefixRule(*manager, access.program, access.homeFolder);
    access.operation = Operation::Read;

    qsizetype matches = 0;
    for (auto _ : state) {
        const AccessMatches answer = matchAccess(*manager, access);
        matches = answer.matches.size() + answer.wouldMatchIfValid.size();
        benchmark::DoNotOptimize(matches);
    }
    state.counters["matches"] = double(matches);
}
BENCHMARK(BM_MatchAccess)
    ->Args({100000, 0})
    ->Args({1000000, 0})
    ->ArgNames({"rules", "shared"})
    ->Unit(benchmark::kMillisecond);

} // namespace
