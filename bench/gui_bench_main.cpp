// The main of the benchmarks that draw: an offscreen application for the
// fonts, then Google Benchmark.
#include <QGuiApplication>

#include <benchmark/benchmark.h>

int main(int argc, char** argv)
{
    // Offscreen; with an X server (DISPLAY), its OpenGL too.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
