#include "link/SerialPort.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <sys/utsname.h>

namespace rz48::serial {
namespace {

struct SpeedEntry {
    int baud;
    speed_t speed;
};

constexpr SpeedEntry kSpeeds[] = {
    {1200, B1200},     {2400, B2400},     {4800, B4800},     {9600, B9600},
    {19200, B19200},   {38400, B38400},   {57600, B57600},   {115200, B115200},
    {230400, B230400},
};

bool fileMentions(const QString& path, const QByteArray& needle)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    // Kernel module lists are a few hundred KiB at most.
    const QByteArray content = file.read(8 * 1024 * 1024);
    return content.contains(needle);
}

} // namespace

speed_t speedFromBaud(int baud)
{
    for (const auto& e : kSpeeds)
        if (e.baud == baud)
            return e.speed;
    return 0;
}

int baudFromSpeed(speed_t speed)
{
    for (const auto& e : kSpeeds)
        if (e.speed == speed)
            return e.baud;
    return 0;
}

QString openFailureReason(const QString& path, int error)
{
    switch (error) {
    case EACCES:
    case EPERM:
        return QStringLiteral("%1: permission denied; the user needs to be in the dialout group "
                              "(sudo usermod -aG dialout $USER, then log out and in again)")
            .arg(path);
    case EBUSY:
        return QStringLiteral("%1: the port is busy; another program is using it").arg(path);
    case ENOENT:
        return QStringLiteral("%1: no such device (unplugged, or a link to a device that is gone)")
            .arg(path);
    case ENXIO:
    case ENODEV:
        return QStringLiteral("%1: the device is not there (unplugged?)").arg(path);
    case ENOTTY:
        return QStringLiteral("%1: not a serial port").arg(path);
    default:
        return QStringLiteral("%1: %2").arg(path, QString::fromLocal8Bit(std::strerror(error)));
    }
}

QStringList defaultNamePatterns()
{
#ifdef __linux__
    return {QStringLiteral("tty.usbserial"), QStringLiteral("ttyUSB")};
#else
    return {QStringLiteral("tty.usbserial")};
#endif
}

bool ftdiDriverPresent()
{
#ifdef __linux__
    // The module is loaded only while an adapter is plugged in, so also look
    // for it among the running kernel's modules and built-ins.
    if (QFileInfo::exists(QStringLiteral("/sys/module/ftdi_sio")))
        return true;
    utsname un {};
    if (uname(&un) != 0)
        return false;
    const QString dir = QStringLiteral("/lib/modules/%1/").arg(QString::fromLocal8Bit(un.release));
    return fileMentions(dir + QStringLiteral("modules.builtin"), "/ftdi_sio.ko")
        || fileMentions(dir + QStringLiteral("modules.dep"), "/ftdi_sio.ko");
#else
    return QFileInfo::exists(QStringLiteral("/System/Library/Extensions/FTDIUSBSerialDriver.kext"));
#endif
}

} // namespace rz48::serial
