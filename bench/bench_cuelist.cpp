// Cue lists of 1,000 and 10,000 cues: the three-stage sort, writing and
// reading the cue sheet, and the MIDI export.
#include "common/Diagnostics.h"
#include "cuelist/CueSheet.h"
#include "cuelist/MidiTrack.h"
#include "timecode/TcCalculator.h"

#include <benchmark/benchmark.h>

#include <random>

namespace {

QList<CueItem> makeCues(int n)
{
    std::mt19937 rng(48);
    QList<CueItem> cues;
    cues.reserve(n);
    for (int i = 0; i < n; ++i) {
        CueItem c;
        c.cueId = QStringLiteral("C%1").arg(i);
        c.cueIn = QString::asprintf("%02u:%02u:%02u:%02u", unsigned(rng() % 24), unsigned(rng() % 60),
                                    unsigned(rng() % 60), unsigned(rng() % 30));
        c.cueOut = QString();
        c.cueText = QStringLiteral("Line %1 of the scene").arg(i);
        c.cueNotes = QStringLiteral("take 3");
        cues.append(c);
    }
    return cues;
}

void BM_Sort(benchmark::State& state)
{
    const QList<CueItem> cues = makeCues(int(state.range(0)));
    const TcCalculator tcc;
    for (auto _ : state) {
        QList<CueItem> items = cues;
        rz48::cuesheet::sortCues(items, true, true, tcc);
        benchmark::DoNotOptimize(items.data());
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_Sort)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity();

void BM_SheetWrite(benchmark::State& state)
{
    const QList<CueItem> cues = makeCues(int(state.range(0)));
    for (auto _ : state) {
        const QByteArray sheet = rz48::cuesheet::stringFromCueTable({}, cues).toUtf8();
        benchmark::DoNotOptimize(sheet.data());
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_SheetWrite)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity();

void BM_SheetRead(benchmark::State& state)
{
    const QString sheet = rz48::cuesheet::stringFromCueTable({}, makeCues(int(state.range(0))));
    for (auto _ : state) {
        rz48::cuesheet::Options options;
        QList<CueItem> items;
        rz48::cuesheet::cueTableFromString(sheet, options, items);
        benchmark::DoNotOptimize(items.data());
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_SheetRead)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity();

void BM_MidiExport(benchmark::State& state)
{
    QList<CueItem> cues = makeCues(int(state.range(0)));
    const TcCalculator tcc;
    rz48::cuesheet::sortCues(cues, false, false, tcc);
    MidiTrack track;
    rz48::DiagCapture quiet; // the offset line
    for (auto _ : state) {
        const QByteArray file = track.onExportMidi(cues, QStringLiteral("00:00:00:00"), 1, -2.0, true, false, true);
        benchmark::DoNotOptimize(file.data());
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_MidiExport)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity();

} // namespace

BENCHMARK_MAIN();
