// Test entry: sets up a display-less Qt application before GoogleTest runs,
// and serves as the helper process that tests start to act as another user.
#include "common/Diagnostics.h"
#include "emulator/PtyHost.h"
#include "link/ComThread.h"

#ifdef RZ48_TEST_WIDGETS
#include <QApplication>
using TestApplication = QApplication;
#else
#include <QGuiApplication>
using TestApplication = QGuiApplication; // the unit's pictures need fonts, never widgets
#endif
#include <QDir>

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool becomeNobody()
{
    if (::getuid() != 0)
        return true;
    const gid_t nogroup = 65534;
    return ::setgroups(1, &nogroup) == 0 && ::setgid(65534) == 0 && ::setuid(65534) == 0;
}

// RZ48_TEST_OPEN_AS_NOBODY=<path>: drop to the unprivileged user, then let the
// link try the port at <path>. Exit 0 when the open was refused.
int openAsNobody(const char* path)
{
    if (!becomeNobody())
        return 3;
    ComThread link;
    link.setExplicitPort(QString::fromLocal8Bit(path));
    link.setDriverCheck([] { return true; });
    return link.openUsbSerial() == -1 ? 0 : 1;
}

// RZ48_TEST_REOPEN_AS_NOBODY=1: as the unprivileged user, with the emulated
// unit on a pseudo-terminal of that user's (whose far side stays open, as
// rz48-emu keeps it): a second link is refused while the first holds the
// port, and finds the unit once the first has closed it. Exit 0 when both hold.
int reopenAsNobody()
{
    if (!becomeNobody())
        return 3;
    char dir[] = "/tmp/rz48-reopen-XXXXXX";
    if (!::mkdtemp(dir))
        return 4;
    rz48::emu::PtyHost host;
    std::string error;
    if (!host.start(dir, "tty.usbserial-EMU", &error))
        return 5;
    auto link = [&] {
        auto l = std::make_unique<ComThread>();
        l->setSearchDirectory(QString::fromLocal8Bit(dir));
        l->setDriverCheck([] { return true; });
        return l;
    };
    int result = 0;
    {
        const auto first = link();
        if (first->openUsbSerial() != 0)
            result = 6;
        else if (link()->openUsbSerial() != -1)
            result = 1; // the port was not exclusive while held
    }
    if (result == 0 && link()->openUsbSerial() != 0)
        result = 2; // the port stayed exclusive after it was closed
    host.stop();
    QDir(QString::fromLocal8Bit(dir)).removeRecursively();
    return result;
}

} // namespace

int main(int argc, char** argv)
{
    if (const char* path = std::getenv("RZ48_TEST_OPEN_AS_NOBODY"))
        return openAsNobody(path);
    if (std::getenv("RZ48_TEST_REOPEN_AS_NOBODY"))
        return reopenAsNobody();

    // No test plays a sound on the machine's sound card.
    ::setenv("RZ48_SOUND_OUTPUT", "null", 0);
    if (!std::getenv("QT_QPA_PLATFORM"))
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    const QByteArray runtime = QDir::tempPath().toLocal8Bit() + "/rz48-test-runtime-" + QByteArray::number(::getuid());
    ::mkdir(runtime.constData(), 0700);
    ::chmod(runtime.constData(), 0700);
    ::setenv("XDG_RUNTIME_DIR", runtime.constData(), 1);
    // What the panel keeps in the user's data and settings directories
    // (setups saved before updates, recent files) goes to a directory of the test run's, never the user's.
    // A test's helper process (this program again) shares its parent's.
    if (!std::getenv("RZ48_TEST_DATA_HOME_SET")) {
        const QByteArray data = runtime + "/data-" + QByteArray::number(::getpid());
        ::mkdir(data.constData(), 0700);
        ::setenv("XDG_DATA_HOME", data.constData(), 1);
        ::setenv("XDG_CONFIG_HOME", data.constData(), 1); // settings (recent files) too
        ::setenv("RZ48_TEST_DATA_HOME_SET", "1", 1);
    }

    TestApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
