#include "BenchmarkMain.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    return bench::runBenchmarks(argc, argv);
}
