// The receive drain runs on the main thread for every chunk the link reads:
// how long it takes to cut report lines off the receive buffer.
#include "common/Diagnostics.h"
#include "link/ReceiveDrain.h"

#include <benchmark/benchmark.h>

static void BM_DrainReportLines(benchmark::State& state)
{
    const QByteArray chunk = QByteArrayLiteral("C 0 28 0 64 0 ff ff 0\r\n>H 0 0 0 0 0\r\n>U 1 0 6 104 240 1\r\n>");
    const int lines = int(state.range(0));
    QByteArray input;
    for (int i = 0; i < lines / 3; ++i)
        input += chunk;
    for (auto _ : state) {
        MsgClass msg;
        msg.txBytes(input.constData(), uint32_t(input.size()));
        int seen = 0;
        rz48::drainReceiveBuffer(msg, [&](const QString&) { ++seen; });
        benchmark::DoNotOptimize(seen);
    }
    state.SetItemsProcessed(state.iterations() * (lines / 3) * 3);
}
BENCHMARK(BM_DrainReportLines)->Arg(3)->Arg(90)->Arg(900);

static void BM_CommandLine(benchmark::State& state)
{
    const QString text = QStringLiteral("C 0 28 0 64 0 ff ff 0");
    for (auto _ : state) {
        MsgClass msg;
        msg.txString(text);
        benchmark::DoNotOptimize(msg.buffer().data());
    }
}
BENCHMARK(BM_CommandLine);

BENCHMARK_MAIN();
