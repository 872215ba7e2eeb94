#include "BenchmarkData.h"
#include "BenchmarkMain.h"
#include "NVCRuleManager.h"
#include "RulesEditorTableController.h"

#include <QApplication>
#include <QLineEdit>
#include <QTableView>
#include <benchmark/benchmark.h>

namespace {

// The daemons play no part in drawing: the store is filled from the file
// directly, on a bus connection that goes nowhere.
std::unique_ptr<NVCRuleManager> loadedStore(qint64 rules)
{
    auto manager =
        std::make_unique<NVCRuleManager>(QDBusConnection(QStringLiteral("no-bus")), NVCNamespace(QString()));
    manager->initWithContentsOfFile(bench::rulesetFile(rules, 0), false);
    return manager;
}

void paint(QWidget &window)
{
    benchmark::DoNotOptimize(window.grab());
}

void BM_MainWindowFirstPaint(benchmark::State &state)
{
    const std::unique_ptr<NVCRuleManager> manager = loadedStore(state.range(0));
    for (auto _ : state) {
        RulesEditorTableController window(manager.get());
        window.resize(1100, 680);
        window.show();
        paint(window);
        state.PauseTiming();
        window.close();
        QApplication::processEvents();
        state.ResumeTiming();
    }
    state.counters["rows"] = double(manager->totalRules(true));
}
BENCHMARK(BM_MainWindowFirstPaint)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_FilterKeystrokeRepaint(benchmark::State &state)
{
    const std::unique_ptr<NVCRuleManager> manager = loadedStore(state.range(0));
    RulesEditorTableController window(manager.get());
    window.resize(1100, 680);
    window.show();
    paint(window);
    // Typing "backup" and taking it back again: each keystroke filters and redraws.
    const QString word = QStringLiteral("backup");
    qsizetype length = 0;
    int direction = 1;
    for (auto _ : state) {
        length += direction;
        if (length == word.size() || length == 0)
            direction = -direction;
        window.searchField()->setText(word.left(length));
        paint(*window.rulesEditorTableView()->viewport());
    }
}
BENCHMARK(BM_FilterKeystrokeRepaint)->Arg(100000)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    return bench::runBenchmarks(argc, argv);
}
