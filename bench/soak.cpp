// A soak of the panel against its emulated unit: for the time given, the unit
// hangs up and comes back, answers with garbage, or sends bursts of random
// bytes, at random, while the operator keeps changing a setting. The panel
// must stay alive and end with the unit's state shown. Prints the panel's
// resident memory every minute and at the end, on standard error (standard
// output carries the diagnostics of the panel).
//
//   soak_panel [SECONDS] [SEED]      (default 60 s)
#include "emulator/PtyHost.h"
#include "link/UnitLink.h"
#include "panel/rz48View.h"

#include <QApplication>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QMainWindow>
#include <QTemporaryDir>
#include <QThread>

#include <cstdio>
#include <random>
#include <unistd.h>

namespace {

double residentMiB()
{
    long pages = 0, resident = 0;
    if (FILE* f = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2)
            resident = 0;
        std::fclose(f);
    }
    return double(resident) * double(::sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

bool waitFor(const std::function<bool()>& done, int ms)
{
    QElapsedTimer t;
    t.start();
    while (!done()) {
        if (t.elapsed() > ms)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(5);
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int seconds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 60;
    std::mt19937 rng(argc > 2 ? unsigned(std::atoi(argv[2])) : 48u);

    QTemporaryDir dir;
    const std::string name = "tty.usbserial-SOAK";
    rz48::emu::PtyHost host;
    std::string error;
    if (!dir.isValid() || !host.start(dir.path().toStdString(), name, &error)) {
        std::fprintf(stderr, "soak: cannot start the emulated unit: %s\n", error.c_str());
        return 1;
    }
    QMainWindow window;
    auto* view = new rz48View;
    window.setCentralWidget(view);
    LinkOptions options;
    options.searchDirectory = dir.path();
    options.driverCheck = [] { return true; };
    view->awakeFromNib(options);
    auto* bypass = view->findChild<QCheckBox*>(QStringLiteral("checkBoxBypass"));

    int hangUps = 0, garbles = 0, bursts = 0, clicks = 0;
    QElapsedTimer clock;
    clock.start();
    int minute = 0;
    std::fprintf(stderr, "soak: %d s, resident %.1f MiB at the start\n", seconds, residentMiB());
    while (clock.elapsed() < qint64(seconds) * 1000) {
        waitFor([] { return false; }, 300 + int(rng() % 1500));
        switch (rng() % 4) {
        case 0: // pulled and plugged back
            ++hangUps;
            host.hangUp();
            waitFor([&] { return host.hungUp(); }, 2000);
            host.stop();
            waitFor([] { return false; }, 200 + int(rng() % 2000));
            if (!host.start(dir.path().toStdString(), name, &error)) {
                std::fprintf(stderr, "soak: the emulated unit did not come back: %s\n", error.c_str());
                return 1;
            }
            break;
        case 1: // garbled for a moment
            ++garbles;
            host.unit().setGarbage(true);
            waitFor([] { return false; }, 200 + int(rng() % 800));
            host.unit().setGarbage(false);
            break;
        case 2: { // a burst of random bytes
            ++bursts;
            std::string burst(1 + rng() % 4096, '\0');
            for (char& c : burst)
                c = char(rng());
            host.inject(burst);
            break;
        }
        default: // the operator
            ++clicks;
            bypass->click();
            break;
        }
        if (clock.elapsed() / 60000 > minute) {
            minute = int(clock.elapsed() / 60000);
            std::fprintf(stderr, "soak: minute %d, resident %.1f MiB\n", minute, residentMiB());
            std::fflush(stderr);
        }
    }

    // The end: the unit is power-cycled, well, with bypass on; once it is
    // found again the panel must show it.
    host.unit().setGarbage(false);
    host.hangUp();
    waitFor([&] { return host.hungUp(); }, 2000);
    host.stop();
    const bool wasChecked = bypass->isChecked();
    host.unit().setFields('Q', {wasChecked ? 0 : 1});
    if (!host.start(dir.path().toStdString(), name, &error)) {
        std::fprintf(stderr, "soak: the emulated unit did not come back: %s\n", error.c_str());
        return 1;
    }
    const bool connected = waitFor([&] { return view->link()->isConnected(); }, 15000);
    const bool shown = connected && waitFor([&] { return bypass->isChecked() != wasChecked; }, 15000);
    std::fprintf(stderr, "soak: %d hang-ups, %d garbled spells, %d bursts, %d operator changes; resident %.1f MiB at the end\n",
                hangUps, garbles, bursts, clicks, residentMiB());
    if (!shown) {
        std::fprintf(stderr, "soak: FAILED: the panel %s\n", connected ? "does not show the unit's state" : "did not find the unit again");
        return 1;
    }
    std::fprintf(stderr, "soak: the panel is connected and shows the unit's state\n");
    window.close();
    return 0;
}
