// One streamer, punch and overlay preview render at 1920 x 1080, against the
// 33 ms loop period of the preview workers.
#include "pages/DrawStreamerThread.h"
#include "pages/DrawAnnunciatorThread.h"
#include "pages/DrawThread.h"

#include <benchmark/benchmark.h>

static void BM_StreamerFrame(benchmark::State& state)
{
    DrawStreamerThread worker;
    StreamerPicture picture;
    picture.foreColor = QColor(255, 255, 0, 200); // with transparency: blended
    worker.setPicture(picture);
    for (auto _ : state) {
        QImage image = worker.renderPicture();
        benchmark::DoNotOptimize(image.constBits());
    }
}
BENCHMARK(BM_StreamerFrame)->Unit(benchmark::kMillisecond);

static void BM_PunchFrame(benchmark::State& state)
{
    DrawThread worker;
    PunchPicture picture;
    picture.radius = 200;
    worker.setPicture(picture);
    for (auto _ : state) {
        QImage image = worker.renderPicture();
        benchmark::DoNotOptimize(image.constBits());
    }
}
BENCHMARK(BM_PunchFrame)->Unit(benchmark::kMillisecond);

static void BM_OverlayFrame(benchmark::State& state)
{
    DrawAnnunciatorThread worker; // three boxes of text and the second line
    OverlayPicture picture;
    picture.annunciatorPoint = {800, 200};
    picture.tcPoint = {760, 1000};
    picture.textPoint = {300, 500};
    worker.setPicture(picture);
    for (auto _ : state) {
        QImage image = worker.renderPicture();
        benchmark::DoNotOptimize(image.constBits());
    }
}
BENCHMARK(BM_OverlayFrame)->Unit(benchmark::kMillisecond);
