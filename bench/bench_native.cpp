// A session's cue list of 2,000 cues with characters and statuses: saved to
// its own file and read back (twice, byte for byte), and printed as a PDF of
// about 60 pages.
#include "cuelist/NativeCueList.h"
#include "print/CueSheetPdf.h"

#include <benchmark/benchmark.h>

namespace {

rz48::native::CueList sessionList(int n)
{
    static const char* const characters[] = {"PETER", "ANNA", "THE DOCTOR", "NURSE", "WAITER"};
    rz48::native::CueList list;
    list.options.tctype = 1;
    list.options.start = QStringLiteral("00:59:50:00");
    for (int i = 0; i < n; ++i) {
        CueItem c;
        c.cueId = QStringLiteral("%1").arg(100 + i);
        c.cueIn = QString::asprintf("01:%02d:%02d:%02d", (i / 30) % 60, (i * 2) % 60, i % 25);
        c.cueOut = QString::asprintf("01:%02d:%02d:%02d", (i / 30) % 60, (i * 2 + 1) % 60, i % 25);
        c.cueText = QStringLiteral("Line %1: I told you, we leave at dawn, whatever the weather says").arg(i);
        c.cueNotes = QStringLiteral("take 2");
        c.character = QLatin1String(characters[i % 5]);
        c.reason = i % 7 == 0 ? QStringLiteral("noise") : QString();
        c.status = i % 3 == 0 ? CueStatus::Done : CueStatus::Todo;
        list.cues << c;
    }
    return list;
}

void BM_NativeSave(benchmark::State& state)
{
    const rz48::native::CueList list = sessionList(int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(rz48::native::writeCueList(list).data());
}
BENCHMARK(BM_NativeSave)->Arg(2000)->Unit(benchmark::kMillisecond);

void BM_NativeReopen(benchmark::State& state)
{
    const QByteArray bytes = rz48::native::writeCueList(sessionList(int(state.range(0))));
    bool identical = true;
    for (auto _ : state) {
        rz48::native::CueList read;
        rz48::native::readCueList(bytes, read, nullptr);
        identical = identical && rz48::native::writeCueList(read) == bytes; // the second save, byte for byte
    }
    state.counters["identical"] = identical ? 1 : 0;
}
BENCHMARK(BM_NativeReopen)->Arg(2000)->Unit(benchmark::kMillisecond);

void BM_PrintedSheet(benchmark::State& state)
{
    const rz48::native::CueList list = sessionList(int(state.range(0)));
    int pages = 0;
    for (auto _ : state) {
        rz48::print::PdfOptions options;
        options.title = QStringLiteral("Reel 1");
        benchmark::DoNotOptimize(rz48::print::cueSheetPdf(list, options, &pages).data());
    }
    state.counters["pages"] = pages;
}
BENCHMARK(BM_PrintedSheet)->Arg(2000)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace
