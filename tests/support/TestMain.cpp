// Test entry: sets up a display-less Qt application before GoogleTest runs,
// and serves as the helper process that tests start to act as another user.
#include "common/Diagnostics.h"
#include "link/ComThread.h"

#include <QApplication>
#include <QDir>

#include <gtest/gtest.h>

#include <cstdlib>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// RZ48_TEST_OPEN_AS_NOBODY=<path>: drop to the unprivileged user, then let the
// link try the port at <path>. Exit 0 when the open was refused.
int openAsNobody(const char* path)
{
    if (::getuid() == 0) {
        const gid_t nogroup = 65534;
        if (::setgroups(1, &nogroup) != 0 || ::setgid(65534) != 0 || ::setuid(65534) != 0)
            return 3;
    }
    ComThread link;
    link.setExplicitPort(QString::fromLocal8Bit(path));
    link.setDriverCheck([] { return true; });
    return link.openUsbSerial() == -1 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (const char* path = std::getenv("RZ48_TEST_OPEN_AS_NOBODY"))
        return openAsNobody(path);

    if (!std::getenv("QT_QPA_PLATFORM"))
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    const QByteArray runtime = QDir::tempPath().toLocal8Bit() + "/rz48-test-runtime-" + QByteArray::number(::getuid());
    ::mkdir(runtime.constData(), 0700);
    ::chmod(runtime.constData(), 0700);
    ::setenv("XDG_RUNTIME_DIR", runtime.constData(), 1);

    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
