// rz48panel: the RZ-48 control panel.
#include "app/MainWindow.h"
#include "app/MessageBoxAlerts.h"
#include "app/RZ48AppDelegate.h"
#include "app/SingleInstance.h"
#include "common/Diagnostics.h"
#include "common/Program.h"
#include "session/UnitSession.h"
#include "cuewindow/CueDocument.h"
#include "emulator/PtyHost.h"
#include "output/UnitOutputWindow.h"
#include "panel/OutputController.h"
#include "panel/UpdateController.h"
#include "panel/rz48View.h"
#include "windows/WindowClose.h"

#include <QApplication>
#include <QGuiApplication>
#include <QCommandLineParser>
#include <QFileInfo>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QSocketNotifier>
#include <QTimer>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#include <cstring>
#include <cstdio>
#include <memory>

namespace {

volatile std::sig_atomic_t g_interrupted = 0; // SIGINT and SIGTERM received
int g_signalPipe[2] = {-1, -1};                // a byte a signal: wakes the event loop

void onSignal(int)
{
    g_interrupted = g_interrupted + 1;
    if (g_signalPipe[1] >= 0) {
        const char byte = 1;
        [[maybe_unused]] const ssize_t n = ::write(g_signalPipe[1], &byte, 1);
    }
}

} // namespace

int usageError(const QString& message)
{
    std::fprintf(stderr, "rz48panel: %s (rz48panel --help lists the options)\n", qPrintable(message));
    return 2;
}

int main(int argc, char** argv)
{
    rz48::nameProgram("rz48panel");

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Control panel for the RZ-48 video overlay unit.\n"
        "Finds the unit on a USB serial port (entries of /dev whose names contain\n"
        "tty.usbserial, ttyUSB or ttyACM), reads all of its settings, shows them as controls\n"
        "and writes every change back to the unit at once.\n"
        "Exit status: 0 done, 1 no display, or the emulated unit or a screenshot failed, 2 wrong usage,\n"
        "3 (--list-ports) no unit answered."));
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
                                        QStringLiteral("Write a PNG of the window (and FILE-cues.png of the cue list window, FILE-output.png of the unit output window) once the start-up reports are in, then quit."),
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
    parser.addPositionalArgument(QStringLiteral("files"), QStringLiteral("Cue lists (.rz48cues) or cue sheets to open; with a panel "
                                                                         "already running, they open in that panel."),
                                 QStringLiteral("[FILE...]"));
    // The command line is read before any window system is asked for, so
    // that help, version, the port listing and usage errors need no display.
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    if (!parser.parse(arguments))
        return usageError(parser.errorText());
    // Cue lists to open: each must be there.
    const QStringList files = parser.positionalArguments();
    for (const QString& file : files)
        if (!QFileInfo(file).isFile())
            return usageError(QStringLiteral("no such cue list: %1").arg(file));
    bool tabOk = true;
    const int tabIndex = parser.isSet(tab) ? parser.value(tab).toInt(&tabOk) : 0;
    if (!tabOk || tabIndex < 0 || tabIndex > 4)
        return usageError(QStringLiteral("--tab takes 0 to 4"));
    const bool help = parser.isSet(QStringLiteral("help")) || parser.isSet(QStringLiteral("help-all"));
    const bool windowless = help || parser.isSet(QStringLiteral("version")) || parser.isSet(list);
    // A panel already running takes the files, or comes to the front: the
    // unit's port stays its own. (A panel on its own emulated unit, or one
    // that only makes screenshots, runs beside it.)
    const bool beside = parser.isSet(screenshot) || (parser.isSet(simulate) && files.isEmpty());
    if (!windowless && !beside && rz48::app::sendToRunningPanel(files)) {
        if (files.isEmpty())
            std::printf("rz48panel: a panel is already running; it was brought to the front\n");
        else
            std::printf("rz48panel: %s opened in the panel already running\n", qPrintable(files.join(QStringLiteral(", "))));
        return 0;
    }
#ifndef Q_OS_MACOS
    // Without a display the window system would abort the program: say so
    // and how to run it instead. A screenshot needs no display.
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    const bool needsDisplay = platform.isEmpty() || platform.startsWith("xcb") || platform.startsWith("wayland");
    if (!windowless && needsDisplay && qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        if (!parser.isSet(screenshot)) {
            std::fprintf(stderr, "rz48panel: no display (DISPLAY and WAYLAND_DISPLAY are not set): run it on a desktop, "
                                 "or without one as rz48panel --simulate --screenshot FILE.png, or with QT_QPA_PLATFORM=offscreen\n");
            return 1;
        }
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
#endif
    const std::unique_ptr<QCoreApplication> application = windowless
        ? std::make_unique<QCoreApplication>(argc, argv)
        : std::make_unique<QApplication>(argc, argv);
    QCoreApplication& app = *application;
    if (!windowless) // the desktop entry's name, so that docks show the program's icon
        QGuiApplication::setDesktopFileName(QStringLiteral("org.rz48.Panel"));
    if (help)
        parser.showHelp(0);
    if (parser.isSet(QStringLiteral("version")))
        parser.showVersion();
    if (parser.isSet(list))
        return rz48::session::printPortListing(parser.value(devDir), parser.value(port)); // 3 when no unit answered

    RZ48AppDelegate delegate;
    QApplication::setQuitOnLastWindowClosed(delegate.applicationShouldTerminateAfterLastWindowClosed());

    std::unique_ptr<rz48::emu::PtyHost> host;
    QTemporaryDir simulationDir;
    LinkOptions options;
    if (parser.isSet(simulate)) {
        host = std::make_unique<rz48::emu::PtyHost>();
        std::string error;
        if (!simulationDir.isValid()
            || !host->start(simulationDir.path().toStdString(), "tty.usbserial-EMU", &error)) {
            std::fprintf(stderr, "rz48panel: cannot start the emulated unit: %s\n", error.c_str());
            return 1;
        }
        host->setPacing(rz48::emu::PtyHost::kPortSpeed);
        options.searchDirectory = simulationDir.path();
        options.simulated = true;
        options.simulatedUnit = host->sharedUnit();
        const std::vector<uint8_t> test = rz48::emu::EmulatedUnit::testLoader();
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
        window.view()->tabView()->setCurrentIndex(tabIndex);
    // The files of the command line, and those another panel passes on.
    auto openFiles = [&window](const QStringList& paths) {
        if (CueDocument* cues = window.view()->cueDocument())
            for (const QString& path : paths)
                cues->openFile(path);
        window.raise();
        window.activateWindow();
    };
    rz48::app::InstanceServer instances(openFiles);
    instances.listen();
    if (!files.isEmpty())
        openFiles(files);
    delegate.applicationDidFinishLaunching();

    // A signal wakes the event loop through a pipe: nothing polls for one.
    if (::pipe(g_signalPipe) == 0)
        for (int fd : g_signalPipe) {
            ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
            ::fcntl(fd, F_SETFD, FD_CLOEXEC);
        }
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    std::sig_atomic_t heldSignals = 0;
    const auto onInterrupt = [&] {
        if (!g_interrupted)
            return;
        // An update is not cut short by a signal: the first one is held
        // until the update ends; a second one quits at once.
        UpdateController* updates = window.view()->updates();
        if (updates->isUpdating() && g_interrupted > 1 && g_interrupted > heldSignals) {
            std::fprintf(stderr, "rz48panel: quitting now; the update is stopped\n");
            updates->stop();
        } else if (updates->isUpdating()) {
            if (heldSignals == 0)
                std::fprintf(stderr, "rz48panel: an update is running; quitting when it ends "
                                     "(a second signal quits now and leaves the unit without a working program)\n");
            heldSignals = g_interrupted;
            return;
        }
        window.close();
    };
    QSocketNotifier signalNotifier(g_signalPipe[0], QSocketNotifier::Read);
    signalNotifier.setEnabled(g_signalPipe[0] >= 0);
    QObject::connect(&signalNotifier, &QSocketNotifier::activated, &app, [&] {
        char drain[16];
        while (::read(g_signalPipe[0], drain, sizeof drain) > 0) {
        }
        onInterrupt();
    });
    // A signal held during an update takes effect once it has ended.
    QObject::connect(window.view()->updates(), &UpdateController::updatingChanged, &app, [&](bool updating) {
        if (!updating && g_interrupted)
            QTimer::singleShot(0, &app, onInterrupt);
    });

    // --screenshot: the windows are written once the unit's state has come in.
    QTimer poll;
    const QString shotFile = parser.value(screenshot);
    QObject::connect(&poll, &QTimer::timeout, &app, [&] {
        if (!shotFile.isEmpty() && window.view()->startupSettled()) {
            // The unit output window beside them, once it shows a frame.
            OutputController* outputs = window.view()->outputs();
            if (!outputs->window()) {
                outputs->showWindow(1);
                return;
            }
            if (outputs->window()->framesReceived() == 0)
                return;
            poll.stop();
            // FILE, then FILE-cues.png and FILE-output.png beside it.
            auto beside = [&shotFile](const char* suffix) {
                QString file = shotFile;
                file.insert(shotFile.endsWith(QLatin1String(".png"), Qt::CaseInsensitive) ? shotFile.size() - 4 : shotFile.size(),
                            QLatin1String(suffix));
                return file;
            };
            bool saved = window.grab().save(shotFile, "PNG");
            if (CueDocument* cues = window.view()->cueDocument(); saved && cues && cues->window())
                saved = cues->window()->grab().save(beside("-cues"), "PNG");
            saved = saved && outputs->window()->grab().save(beside("-output"), "PNG");
            if (!saved)
                std::fprintf(stderr, "rz48panel: cannot write %s\n", qPrintable(shotFile));
            window.close();
            if (!saved)
                QCoreApplication::exit(1);
        }
    });
    if (!shotFile.isEmpty())
        poll.start(100);

    const int result = app.exec();
    rz48::setAlertSink(nullptr);
    rz48::setFilePanel(nullptr);
    return result;
}
