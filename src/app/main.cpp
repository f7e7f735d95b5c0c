// rz48panel: the RZ-48 control panel. This build runs the link on the
// console: it finds the unit, sends the start-up queries and prints every
// report line that comes back.
#include "app/LinkConsole.h"
#include "common/Diagnostics.h"
#include "emulator/PtyHost.h"
#include "link/ComThread.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTemporaryDir>
#include <QTimer>

#include <csignal>
#include <memory>

namespace {

volatile std::sig_atomic_t g_interrupted = 0;

void onSignal(int)
{
    g_interrupted = 1;
}

const char* const kStartupQueries[] = {"A", "B", "C", "E", "G", "H", "J", "M 15", "Q",
                                       "U", "X", "Y", "k", "m", "n", "r", "t"};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("rz48panel"));
    QCoreApplication::setApplicationVersion(QStringLiteral(RZ48_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Control panel for the RZ-48 video overlay unit.\n"
        "Finds the unit on a USB serial port (names containing tty.usbserial or ttyUSB\n"
        "in /dev), asks it for all of its settings and prints every report it sends."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption simulate(QStringLiteral("simulate"),
                                      QStringLiteral("Run against the built-in emulated unit."));
    const QCommandLineOption port(QStringLiteral("port"),
                                  QStringLiteral("Use this serial port; skips the search."),
                                  QStringLiteral("path"));
    const QCommandLineOption dir(QStringLiteral("dir"),
                                 QStringLiteral("Search this directory instead of /dev."),
                                 QStringLiteral("directory"));
    const QCommandLineOption seconds(QStringLiteral("seconds"),
                                     QStringLiteral("Quit after this many seconds (0: run until interrupted)."),
                                     QStringLiteral("n"), QStringLiteral("0"));
    parser.addOptions({simulate, port, dir, seconds});
    parser.process(app);

    ComThread link;
    std::unique_ptr<emu::PtyHost> host;
    QTemporaryDir simulationDir;
    if (parser.isSet(simulate)) {
        host = std::make_unique<emu::PtyHost>();
        std::string error;
        if (!simulationDir.isValid() || !host->start(simulationDir.path().toStdString(), "tty.usbserial-EMU", &error)) {
            rz48::diag("cannot start the emulated unit: %s\n", error.c_str());
            return 1;
        }
        host->setPacing(38400);
        link.setSearchDirectory(simulationDir.path());
    }
    if (parser.isSet(dir))
        link.setSearchDirectory(parser.value(dir));
    if (parser.isSet(port))
        link.setExplicitPort(parser.value(port));

    LinkConsole console;
    if (link.openUsbSerial() == 0) {
        link.startThread(&console);
        for (const char* query : kStartupQueries)
            link.sendString(QString::fromLatin1(query));
    }
    rz48::diag("RZ48 version %s-%s\n", RZ48_VERSION, link.com().toUtf8().constData());

    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    QTimer interruptCheck;
    QObject::connect(&interruptCheck, &QTimer::timeout, &app, [] {
        if (g_interrupted)
            QCoreApplication::quit();
    });
    interruptCheck.start(100);
    if (const int n = parser.value(seconds).toInt(); n > 0)
        QTimer::singleShot(n * 1000, &app, &QCoreApplication::quit);

    const int result = app.exec();
    link.stopThread();
    return result;
}
