// rz48panel: the RZ-48 control panel.
#include "app/MainWindow.h"
#include "app/MessageBoxAlerts.h"
#include "app/RZ48AppDelegate.h"
#include "common/Diagnostics.h"
#include "emulator/PtyHost.h"
#include "link/ComThread.h"
#include "panel/rz48View.h"
#include "widgets/WindowClose.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTimer>

#include <csignal>
#include <cstring>
#include <cstdio>
#include <memory>

namespace {

volatile std::sig_atomic_t g_interrupted = 0;

void onSignal(int)
{
    g_interrupted = 1;
}

} // namespace

// --list-ports: every candidate port and what was found on it, for support
// calls. Needs no display.
int listPorts(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption list(QStringLiteral("list-ports"));
    const QCommandLineOption port(QStringLiteral("port"), QString(), QStringLiteral("path"));
    const QCommandLineOption devDir(QStringLiteral("dev-dir"), QString(), QStringLiteral("directory"));
    parser.addOptions({list, port, devDir});
    parser.parse(app.arguments());
    ComThread link;
    link.setDriverCheck([] { return true; });
    if (parser.isSet(devDir))
        link.setSearchDirectory(parser.value(devDir));
    if (parser.isSet(port))
        link.setExplicitPort(parser.value(port));
    for (const QString& line : link.listPorts())
        std::printf("%s\n", qPrintable(line));
    return 0;
}

int main(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i)
        if (std::strcmp(argv[i], "--list-ports") == 0)
            return listPorts(argc, argv);

    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("rz48panel"));
    QApplication::setApplicationVersion(QStringLiteral(RZ48_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Control panel for the RZ-48 video overlay unit.\n"
        "Finds the unit on a USB serial port (entries of /dev whose names contain\n"
        "tty.usbserial or ttyUSB), reads all of its settings, shows them as controls\n"
        "and writes every change back to the unit at once."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption simulate(QStringLiteral("simulate"),
                                      QStringLiteral("Run against the built-in emulated unit on its own pseudo-terminal."));
    const QCommandLineOption port(QStringLiteral("port"),
                                  QStringLiteral("Use this serial port and skip the search."), QStringLiteral("path"));
    const QCommandLineOption devDir(QStringLiteral("dev-dir"),
                                    QStringLiteral("Search this directory for the unit instead of /dev."),
                                    QStringLiteral("directory"));
    const QCommandLineOption screenshot(QStringLiteral("screenshot"),
                                        QStringLiteral("Write a PNG of the window once the start-up reports are in, then quit."),
                                        QStringLiteral("file"));
    const QCommandLineOption tab(QStringLiteral("tab"),
                                 QStringLiteral("Show this tab at start: 0 video, 1 streamer, 2 update, 3 punch, 4 overlay."),
                                 QStringLiteral("index"));
    const QCommandLineOption loader(QStringLiteral("loader"),
                                    QStringLiteral("The unit's 772-byte microcontroller loader image, needed to update the "
                                                   "microcontroller (default: rz48/rz48-loader.bin in the data directories, "
                                                   "e.g. ~/.local/share/rz48/rz48-loader.bin or /usr/share/rz48/rz48-loader.bin)."),
                                    QStringLiteral("file"));
    const QCommandLineOption list(QStringLiteral("list-ports"),
                                  QStringLiteral("List the candidate serial ports and what was found on each (opened or why "
                                                 "not, answered the probe or not), then quit. Needs no display."));
    parser.addOptions({simulate, port, devDir, screenshot, tab, loader, list});
    parser.process(app);

    RZ48AppDelegate delegate;
    QApplication::setQuitOnLastWindowClosed(delegate.applicationShouldTerminateAfterLastWindowClosed());

    std::unique_ptr<emu::PtyHost> host;
    QTemporaryDir simulationDir;
    LinkOptions options;
    if (parser.isSet(simulate)) {
        host = std::make_unique<emu::PtyHost>();
        std::string error;
        if (!simulationDir.isValid()
            || !host->start(simulationDir.path().toStdString(), "tty.usbserial-EMU", &error)) {
            std::fprintf(stderr, "rz48panel: cannot start the emulated unit: %s\n", error.c_str());
            return 1;
        }
        host->setPacing(emu::PtyHost::kPortSpeed);
        options.searchDirectory = simulationDir.path();
        options.simulated = true;
        const std::vector<uint8_t> test = emu::EmulatedUnit::testLoader();
        options.simulatedLoader = QByteArray(reinterpret_cast<const char*>(test.data()), qsizetype(test.size()));
    }
    if (parser.isSet(devDir))
        options.searchDirectory = parser.value(devDir);
    if (parser.isSet(port))
        options.explicitPort = parser.value(port);
    if (parser.isSet(loader))
        options.loaderPath = parser.value(loader);

    MainWindow window;
    delegate.setWindow(&window);
    MessageBoxAlerts alerts(&window);
    rz48::setAlertSink(&alerts);
    FileDialogPanel panels(&window);
    rz48::setFilePanel(&panels);
    window.show();
    window.view()->awakeFromNib(options);
    window.addPanelMenus();
    // Asked before anything else sees the close: unsaved cue list edits.
    guardWindowClose(&window, [&window] { return window.view()->mayClose(); });
    if (parser.isSet(tab))
        window.view()->tabView()->setCurrentIndex(parser.value(tab).toInt());
    delegate.applicationDidFinishLaunching();

    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    QTimer poll;
    const QString shotFile = parser.value(screenshot);
    QObject::connect(&poll, &QTimer::timeout, &app, [&] {
        if (g_interrupted) {
            window.close();
            return;
        }
        if (!shotFile.isEmpty() && window.view()->startupSettled()) {
            poll.stop();
            const bool saved = window.grab().save(shotFile, "PNG");
            if (!saved)
                std::fprintf(stderr, "rz48panel: cannot write %s\n", qPrintable(shotFile));
            window.close();
            if (!saved)
                QCoreApplication::exit(1);
        }
    });
    poll.start(100);

    const int result = app.exec();
    rz48::setAlertSink(nullptr);
    rz48::setFilePanel(nullptr);
    return result;
}
