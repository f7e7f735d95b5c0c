// The two updates against the emulated unit pacing its line at the port's
// speed in both directions: an FPGA relay of a 1 MiB .mcs file at 230400
// bit/s and a full 32 KiB microcontroller image at 38400, each against its
// wire time (10 bits a byte, the larger of the two directions).
#include "common/Diagnostics.h"
#include "emulator/PtyHost.h"
#include "link/ComThread.h"
#include "update/FirmwareUpdateThread.h"
#include "update/MicroUpdateThread.h"
#include "update/Progress.h"
#include "update/SRecord.h"
#include "update/UpdateImages.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <random>
#include <unistd.h>

namespace {

class Receiver : public QObject {
    Q_OBJECT
public:
    Q_INVOKABLE void threadHasProgress(Progress) {}
    Q_INVOKABLE void threadUpdateComplete(Progress p)
    {
        result = p.msg;
        loop.quit();
    }
    QString result;
    QEventLoop loop;
};

struct Unit {
    QTemporaryDir dir;
    rz48::emu::PtyHost host;
    ComThread link;
    bool open()
    {
        host.setPacing(rz48::emu::PtyHost::kPortSpeed);
        if (!host.start(dir.path().toStdString(), "tty.usbserial-EMU"))
            return false;
        link.setSearchDirectory(dir.path());
        link.setDriverCheck([] { return true; });
        rz48::DiagCapture quiet;
        return link.openUsbSerial() == 0;
    }
};

// Runs one update worker to its end and records its time against the wire's.
template <class Worker>
void timeUpdate(benchmark::State& state, Unit&, Worker& worker, double wire)
{
    Receiver receiver;
    QElapsedTimer timer;
    timer.start();
    rz48::DiagCapture quiet;
    worker.startThread(&receiver);
    receiver.loop.exec();
    const double seconds = timer.elapsed() / 1000.0;
    worker.stopThread();
    if (receiver.result != QLatin1String("success!")) {
        state.SkipWithError(qPrintable(receiver.result));
        return;
    }
    state.SetIterationTime(seconds);
    state.counters["wire_s"] = wire;
    state.counters["ratio"] = seconds / wire;
}

void BM_FpgaRelay1MiB(benchmark::State& state)
{
    QStringList lines;
    qint64 txBytes = 0;
    for (int i = 0; txBytes < 1024 * 1024; ++i) {
        const QString line = QStringLiteral(":10%1000102030405060708090A0B0C0D0E0F10").arg(i & 0xFFFF, 4, 16, QLatin1Char('0')).left(43);
        lines << line + u'\r';
        txBytes += line.size();
    }
    qsizetype next = 0;
    qint64 batches = 0;
    while (next < lines.size()) {
        rz48::update::nextFpgaBatch(lines, next);
        ++batches;
    }
    const double wire = double(txBytes + batches) * 10.0 / 230400.0;
    for (auto _ : state) {
        Unit unit;
        if (!unit.open()) {
            state.SkipWithError("the emulated unit was not found");
            return;
        }
        ::write(unit.link.fd(), "d 1\r\n", 5);
        unit.link.setBaud(230400);
        FirmwareUpdateThread worker;
        worker.setFd(unit.link.fd());
        worker.setArray(lines);
        timeUpdate(state, unit, worker, wire);
    }
}
BENCHMARK(BM_FpgaRelay1MiB)->UseManualTime()->Iterations(1)->Unit(benchmark::kSecond);

void BM_Microcontroller32KiB(benchmark::State& state)
{
    std::mt19937 rng(3);
    QString s19;
    for (uint32_t a = 0x8000; a < 0x10000; a += 16) {
        uint8_t data[16];
        for (uint8_t& b : data)
            b = uint8_t(rng() % 255); // never a blank record
        SRecord r;
        r.encode(data, 1, a, 16);
        s19 += r.sRec() + u'\n';
    }
    const QStringList records = rz48::update::microRecords(s19, {});
    qint64 txBytes = 2 + rz48::update::kLoaderSize;
    for (const QString& r : records)
        txBytes += r.size() + 2;
    const double wire = double(txBytes) * 10.0 / 38400.0;
    const std::vector<uint8_t> loader = rz48::emu::EmulatedUnit::testLoader();
    for (auto _ : state) {
        Unit unit;
        if (!unit.open()) {
            state.SkipWithError("the emulated unit was not found");
            return;
        }
        MicroUpdateThread worker;
        worker.setFd(unit.link.fd());
        worker.setSRecArray(records);
        worker.setLoader(QByteArray(reinterpret_cast<const char*>(loader.data()), qsizetype(loader.size())));
        timeUpdate(state, unit, worker, wire);
        state.counters["records"] = double(records.size());
    }
}
BENCHMARK(BM_Microcontroller32KiB)->UseManualTime()->Iterations(1)->Unit(benchmark::kSecond);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

#include "bench_update.moc"
