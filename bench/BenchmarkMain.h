#pragma once

#include <QLoggingCategory>
#include <benchmark/benchmark.h>

namespace bench {

// Runs the benchmarks the command line selects, with the application object
// already made by the caller. Per-rule log lines would dominate every measurement.
inline int runBenchmarks(int argc, char **argv)
{
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false\n*.warning=false"));
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

} // namespace bench
