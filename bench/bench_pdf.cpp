// Importing a 20-page sheet of 1,000 cues of each kind, beside the time
// pdftotext (poppler-utils) takes to extract the same file's text. The
// sheets are made by tests/data/pdf/make_sheets.py into RZ48_BENCH_SHEETS.
#include "cuelist/PdfImport.h"

#include <QProcess>

#include <benchmark/benchmark.h>

#include <cstdlib>

namespace {

QString sheetPath(const char* kind)
{
    const char* dir = std::getenv("RZ48_BENCH_SHEETS");
    return QString::fromLocal8Bit(dir ? dir : ".") + QStringLiteral("/bench_%1.pdf").arg(QLatin1String(kind));
}

void importSheet(benchmark::State& state, const char* kind)
{
    const QString path = sheetPath(kind);
    qsizetype count = 0;
    for (auto _ : state) {
        QList<CueItem> cues;
        QString message;
        if (!rz48::pdf::importPdf(path, cues, &message)) {
            state.SkipWithError(qPrintable(message));
            return;
        }
        count = cues.size();
        benchmark::DoNotOptimize(cues.data());
    }
    state.counters["cues"] = double(count);
}

void pdftotext(benchmark::State& state, const char* kind)
{
    const QString path = sheetPath(kind);
    for (auto _ : state) {
        QProcess p;
        p.start(QStringLiteral("pdftotext"), {path, QStringLiteral("-")});
        if (!p.waitForFinished(60000) || p.exitCode() != 0) {
            state.SkipWithError("pdftotext failed");
            return;
        }
        benchmark::DoNotOptimize(p.readAllStandardOutput().size());
    }
}

} // namespace

BENCHMARK_CAPTURE(importSheet, FilmLight, "filmlight")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(pdftotext, FilmLight, "filmlight")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(importSheet, Generic, "generic")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(pdftotext, Generic, "generic")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(importSheet, EdiCue, "edicue")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(pdftotext, EdiCue, "edicue")->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
