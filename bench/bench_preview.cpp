// One streamer, punch and overlay preview render at 1920 x 1080, against the
// 33 ms loop period of the preview workers.
#include "cues/DrawStreamerThread.h"
#include "cues/DrawAnnunciatorThread.h"
#include "cues/DrawThread.h"

#include <QGuiApplication>

#include <benchmark/benchmark.h>

static void BM_StreamerFrame(benchmark::State& state)
{
    DrawStreamerThread worker;
    {
        std::lock_guard lock(worker.ioLock());
        worker.foreColor = QColor(255, 255, 0, 200); // with transparency: blended
    }
    for (auto _ : state) {
        QImage image = worker.renderPicture();
        benchmark::DoNotOptimize(image.constBits());
    }
}
BENCHMARK(BM_StreamerFrame)->Unit(benchmark::kMillisecond);

static void BM_PunchFrame(benchmark::State& state)
{
    DrawThread worker;
    {
        std::lock_guard lock(worker.ioLock());
        worker.radius = 200;
    }
    for (auto _ : state) {
        QImage image = worker.renderPicture();
        benchmark::DoNotOptimize(image.constBits());
    }
}
BENCHMARK(BM_PunchFrame)->Unit(benchmark::kMillisecond);

static void BM_OverlayFrame(benchmark::State& state)
{
    DrawAnnunciatorThread worker; // three boxes of text and the second line
    {
        std::lock_guard lock(worker.ioLock());
        worker.annunciatorPoint = {800, 200};
        worker.tcPoint = {760, 1000};
        worker.textPoint = {300, 500};
    }
    for (auto _ : state) {
        QImage image = worker.renderPicture();
        benchmark::DoNotOptimize(image.constBits());
    }
}
BENCHMARK(BM_OverlayFrame)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
