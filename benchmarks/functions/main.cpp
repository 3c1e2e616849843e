#include "process.h"

#include <QApplication>

#include <benchmark/benchmark.h>

/// Runs the benchmarks on Qt's offscreen platform, without a driver.
int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qunsetenv("LD_LIBRARY_PATH");
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    process::share_heap(); // as the program does
    const QApplication application(argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
