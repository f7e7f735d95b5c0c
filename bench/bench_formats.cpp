// Cue interchange imports at the size of a feature's spotting: 10,000
// markers in a DAW's session text and 10,000 rows of a spreadsheet, each
// detected and read whole (the target is under 50 ms each).
#include "cuelist/CueFormats.h"

#include <benchmark/benchmark.h>

namespace {

QString label(int frame)
{
    return QString::asprintf("%02d:%02d:%02d:%02d", frame / 90000, frame / 1500 % 60, frame / 25 % 60, frame % 25);
}

QByteArray sessionText(int markers)
{
    QByteArray text = "SESSION NAME:\tFeature R1\nSAMPLE RATE:\t48000.000000\nBIT DEPTH:\t24-bit\n"
                      "SESSION START TIMECODE:\t00:59:00:00\nTIMECODE FORMAT:\t25 Frame\n\n"
                      "M A R K E R S  L I S T I N G\n"
                      "#   \tLOCATION     \tTIME REFERENCE    \tUNITS    \tNAME                             \tTRACK NAME   "
                      "\tTRACK TYPE   \tCOMMENTS\n";
    for (int i = 0; i < markers; ++i) {
        const int frame = 90000 + i * 37;
        text += QStringLiteral("%1\t%2  \t%3\tSamples  \t\"Line %1 of the reel\" [ADD] {Take=%4}   \tANNA   \tTrack   \tcheck sync\n")
                    .arg(i + 1)
                    .arg(label(frame))
                    .arg(qint64(frame - 88500) * 1920)
                    .arg(i % 9)
                    .toUtf8();
    }
    return text;
}

QByteArray spreadsheet(int rows)
{
    QByteArray text = "Cue,Start,End,Character,Dialogue,Notes,Reason,Status\r\n";
    for (int i = 0; i < rows; ++i) {
        const int frame = 90000 + i * 37;
        text += QStringLiteral("A%1,%2,%3,BEN,\"Line %1, \"\"quoted\"\"\",take 3,ADD,todo\r\n")
                    .arg(i)
                    .arg(label(frame), label(frame + 50))
                    .toUtf8();
    }
    return text;
}

void readAll(benchmark::State& state, const QByteArray& bytes, const char* format)
{
    rz48::formats::ImportOptions options;
    options.tctype = 1;
    for (auto _ : state) {
        const rz48::formats::Imported imported = rz48::formats::importCues(bytes, options);
        if (imported.format != QLatin1String(format) || imported.cues.size() != state.range(0)
            || !imported.problems.isEmpty()) {
            state.SkipWithError("the import did not read every cue");
            break;
        }
        benchmark::DoNotOptimize(imported.cues.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * bytes.size());
}

void BM_SessionTextMarkers(benchmark::State& state)
{
    readAll(state, sessionText(int(state.range(0))), "protools");
}
BENCHMARK(BM_SessionTextMarkers)->Arg(10000)->Unit(benchmark::kMillisecond);

void BM_CsvRows(benchmark::State& state)
{
    readAll(state, spreadsheet(int(state.range(0))), "csv");
}
BENCHMARK(BM_CsvRows)->Arg(10000)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
