// What the link says when it cannot use a port: held by another program,
// no adapter at all, an adapter that another driver holds; and the support
// listing of every candidate port.
#include "common/Diagnostics.h"
#include "emulator/PtyHost.h"
#include "link/ComThread.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

class PortMessages : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dev.isValid() && locks.isValid() && usb.isValid());
        link.setSearchDirectory(dev.path());
        link.setLockDirectory(locks.path());
        link.setUsbDevices(usb.path());
        link.setDriverCheck([] { return true; });
    }
    std::string port() const { return (dev.path() + QStringLiteral("/tty.usbserial-EMU")).toStdString(); }

    QTemporaryDir dev, locks, usb;
    ComThread link;
};

TEST_F(PortMessages, LockFileOfARunningProgramMeansBusy)
{
    emu::PtyHost host;
    ASSERT_TRUE(host.start(dev.path().toStdString()));
    QFile lock(locks.filePath(QStringLiteral("LCK..tty.usbserial-EMU")));
    ASSERT_TRUE(lock.open(QIODevice::WriteOnly));
    lock.write(QByteArray::number(qint64(::getpid())).rightJustified(10, ' ') + '\n');
    lock.close();
    rz48::DiagCapture out;
    EXPECT_EQ(link.openUsbSerial(), -1);
    EXPECT_NE(out.text().find("failed to open " + port() + "\n" + port() + ": the port is busy: process "
                              + std::to_string(::getpid())),
              std::string::npos)
        << out.text();
    EXPECT_EQ(host.unit().probeCount(), 0); // nothing was sent to a port that is in use

    // A lock left behind by a program that is gone does not count.
    ASSERT_TRUE(lock.open(QIODevice::WriteOnly | QIODevice::Truncate));
    lock.write("999999999\n");
    lock.close();
    EXPECT_EQ(link.openUsbSerial(), 0);
}

TEST_F(PortMessages, PortLockedByAnotherProgramMeansBusy)
{
    emu::PtyHost host;
    ASSERT_TRUE(host.start(dev.path().toStdString()));
    QProcess holder; // flock(1) from util-linux holds the port while it sleeps
    holder.start(QStringLiteral("flock"), {QStringLiteral("-x"), QString::fromStdString(port()), QStringLiteral("sleep"), QStringLiteral("5")});
    ASSERT_TRUE(holder.waitForStarted());
    QThread::msleep(300);
    rz48::DiagCapture out;
    EXPECT_EQ(link.openUsbSerial(), -1);
    EXPECT_NE(out.text().find(port() + ": the port is busy: "), std::string::npos) << out.text();
    EXPECT_NE(out.text().find("is using it"), std::string::npos);
    holder.kill();
    holder.waitForFinished();
}

TEST_F(PortMessages, NoAdapterAtAll)
{
    rz48::DiagCapture out;
    EXPECT_EQ(link.openUsbSerial(), -1);
    EXPECT_NE(out.text().find("no USB serial adapter found: nothing in " + dev.path().toStdString()
                              + " is named like tty.usbserial or ttyUSB; is the unit's USB adapter plugged in?\n"),
              std::string::npos)
        << out.text();
    EXPECT_EQ(link.com(), QStringLiteral("RZ48 not found"));
}

TEST_F(PortMessages, AdapterHeldByAnotherDriver)
{
    const QDir root(usb.path());
    auto write = [&](const QString& path, const QByteArray& text) {
        QFile f(root.filePath(path));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(text);
    };
    // An FTDI adapter whose interface a braille daemon took (usbfs), and one that works.
    ASSERT_TRUE(root.mkpath(QStringLiteral("1-1")) && root.mkpath(QStringLiteral("1-1:1.0")));
    write(QStringLiteral("1-1/idVendor"), "0403\n");
    write(QStringLiteral("1-1/idProduct"), "6001\n");
    write(QStringLiteral("1-1/product"), "FT232R USB UART\n");
    ASSERT_EQ(::symlink("../../../bus/usb/drivers/usbfs", root.filePath(QStringLiteral("1-1:1.0/driver")).toLocal8Bit().constData()), 0);
    ASSERT_TRUE(root.mkpath(QStringLiteral("1-2")) && root.mkpath(QStringLiteral("1-2:1.0/ttyUSB0")));
    write(QStringLiteral("1-2/idVendor"), "0403\n");
    ASSERT_TRUE(root.mkpath(QStringLiteral("2-1")));
    write(QStringLiteral("2-1/idVendor"), "046d\n"); // not an FTDI device

    rz48::DiagCapture out;
    EXPECT_EQ(link.openUsbSerial(), -1);
    EXPECT_NE(out.text().find("USB device 1-1: an FTDI serial adapter (FT232R USB UART) is plugged in but has no serial "
                              "port: the usbfs driver holds it; a braille display service often does this (sudo apt "
                              "remove brltty frees it)\n"),
              std::string::npos)
        << out.text();
    EXPECT_EQ(out.text().find("1-2"), std::string::npos);
    EXPECT_EQ(out.text().find("2-1"), std::string::npos);
}

TEST_F(PortMessages, ListingForSupport)
{
    emu::PtyHost unit, silent;
    ASSERT_TRUE(unit.start(dev.path().toStdString()));
    ASSERT_TRUE(silent.start(dev.path().toStdString(), "ttyUSB7"));
    silent.unit().setSilent(true);
    ASSERT_EQ(::symlink("/nonexistent", dev.filePath(QStringLiteral("ttyUSB9")).toLocal8Bit().constData()), 0);
    QStringList lines = link.listPorts();
    lines.sort();
    ASSERT_EQ(lines.size(), 3);
    EXPECT_EQ(lines[0], QString::fromStdString(port()) + QStringLiteral(": opened; answered the probe: an RZ-48"));
    EXPECT_EQ(lines[1], dev.filePath(QStringLiteral("ttyUSB7")) + QStringLiteral(": opened; no answer to the probe (another device, or the unit is off)"));
    EXPECT_TRUE(lines[2].startsWith(dev.filePath(QStringLiteral("ttyUSB9")) + QStringLiteral(": cannot be opened: ")));
    EXPECT_EQ(link.fd(), -1); // the listing keeps no port open
    EXPECT_EQ(link.openUsbSerial(), 0); // and the unit is found afterwards
}

} // namespace
