// What the link says when it cannot use a port: held by another program,
// no adapter at all, an adapter that another driver holds; and the support
// listing of every candidate port.
#include "common/Alerts.h"
#include "common/Diagnostics.h"
#include "emulator/PtyHost.h"
#include "link/ComThread.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

class RecordingAlerts : public rz48::AlertSink {
public:
    void showAlert(const QString& message, const QString&, rz48::AlertKind) override { messages << message; }
    QStringList messages;
};

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
    rz48::emu::PtyHost host;
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
    rz48::emu::PtyHost host;
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
                              + " is named like tty.usbserial or ttyUSB or ttyACM; is the unit's USB adapter plugged in?\n"),
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

    // The driver alert: not while every FTDI adapter has a driver (1-1 is
    // bound, if to another one), but when one has none at all.
    link.setDriverCheck(nullptr);
    RecordingAlerts alerts;
    rz48::setAlertSink(&alerts);
    link.openUsbSerial();
    EXPECT_TRUE(alerts.messages.isEmpty());
    ASSERT_TRUE(root.mkpath(QStringLiteral("1-3")) && root.mkpath(QStringLiteral("1-3:1.0")));
    write(QStringLiteral("1-3/idVendor"), "0403\n");
    link.openUsbSerial();
    ASSERT_EQ(alerts.messages.size(), 1);
    EXPECT_TRUE(alerts.messages[0].startsWith(QStringLiteral("install USB driver found at ")));
    rz48::setAlertSink(nullptr);
}

// A USB serial port of another vendor (deck control, say) is listed with
// why it was skipped and never written to; a pseudo-terminal is never filtered.
TEST_F(PortMessages, OtherVendorsAdaptersAreNeverWrittenTo)
{
    rz48::emu::PtyHost deck, unit;
    ASSERT_TRUE(deck.start(dev.path().toStdString(), "ttyUSB4"));
    ASSERT_TRUE(unit.start(dev.path().toStdString(), "ttyUSB5"));
    // sysfs: the deck's port (named after its pseudo-terminal) sits on a USB device of vendor 067b.
    const QDir sys(usb.path());
    const QString pts = QFileInfo(QString::fromStdString(deck.slavePath())).fileName();
    ASSERT_TRUE(sys.mkpath(QStringLiteral("devices/usb1/1-4/1-4:1.0/tty")) && sys.mkpath(QStringLiteral("class/tty/") + pts));
    QFile vendor(sys.filePath(QStringLiteral("devices/usb1/1-4/idVendor")));
    ASSERT_TRUE(vendor.open(QIODevice::WriteOnly));
    vendor.write("067b\n");
    vendor.close();
    ASSERT_EQ(::symlink(sys.filePath(QStringLiteral("devices/usb1/1-4/1-4:1.0")).toLocal8Bit().constData(),
                        sys.filePath(QStringLiteral("class/tty/") + pts + QStringLiteral("/device")).toLocal8Bit().constData()),
              0);
    link.setSysClassTty(sys.filePath(QStringLiteral("class/tty")));

    const QStringList lines = link.listPorts();
    EXPECT_TRUE(lines.contains(dev.filePath(QStringLiteral("ttyUSB4")) + QStringLiteral(
        ": skipped: a USB serial adapter of vendor 067b (product ), not the unit's FTDI adapter; nothing was written to it")))
        << lines.join(u'\n').toStdString();
    EXPECT_TRUE(lines.contains(dev.filePath(QStringLiteral("ttyUSB5")) + QStringLiteral(": opened; answered the probe: an RZ-48")));
    EXPECT_EQ(link.openUsbSerial(), 0);
    EXPECT_EQ(deck.unit().probeCount(), 0);
    EXPECT_TRUE(deck.unit().commands().empty());
}

TEST_F(PortMessages, ListingForSupport)
{
    rz48::emu::PtyHost unit, silent;
    ASSERT_TRUE(unit.start(dev.path().toStdString()));
    ASSERT_TRUE(silent.start(dev.path().toStdString(), "ttyUSB7"));
    silent.unit().setSilent(true);
    ASSERT_EQ(::symlink("/nonexistent", dev.filePath(QStringLiteral("ttyUSB9")).toLocal8Bit().constData()), 0);
    QStringList lines = link.listPorts();
    lines.sort();
    ASSERT_EQ(lines.size(), 3);
    EXPECT_EQ(lines[0], QString::fromStdString(port()) + QStringLiteral(": opened; answered the probe: an RZ-48"));
    EXPECT_EQ(lines[1], dev.filePath(QStringLiteral("ttyUSB7")) + QStringLiteral(": opened; no answer to the probe (another device, or the unit is off)"));
    EXPECT_EQ(lines[2], dev.filePath(QStringLiteral("ttyUSB9"))
                            + QStringLiteral(": cannot be opened: no such device (unplugged, or a link to a device that is gone)"));
    EXPECT_EQ(link.fd(), -1); // the listing keeps no port open
    EXPECT_EQ(link.openUsbSerial(), 0); // and the unit is found afterwards
}

} // namespace
