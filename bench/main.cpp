#include <QCoreApplication>
#include <QLoggingCategory>
#include <benchmark/benchmark.h>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    // Per-rule debug lines would dominate every measurement.
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false\n*.warning=false"));
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
