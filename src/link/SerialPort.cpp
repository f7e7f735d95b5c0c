#include "link/SerialPort.h"

#include "common/FileIo.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
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

int bytesWaiting(int fd)
{
    int count = 0;
    if (fd < 0 || ::ioctl(fd, FIONREAD, &count) != 0 || count < 0)
        return 0;
    return count;
}

bool writeAll(int fd, const char* data, size_t size, int maxTries, unsigned pauseUs, const std::atomic<bool>* abort)
{
    for (int tries = 0; size > 0 && (maxTries <= 0 || tries < maxTries) && !(abort && *abort); ++tries) {
        const ssize_t n = ::write(fd, data, size);
        if (n > 0) {
            data += n;
            size -= size_t(n);
        } else if (n < 0 && errno != EAGAIN && errno != EINTR) {
            return false;
        } else {
            ::usleep(pauseUs);
        }
    }
    return size == 0;
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
        return busyReason(path, QString());
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
    return {QStringLiteral("tty.usbserial"), QStringLiteral("ttyUSB"), QStringLiteral("ttyACM")};
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

namespace {

QString processName(long pid)
{
    QByteArray comm;
    const QString name = rz48::readFileBounded(QStringLiteral("/proc/%1/comm").arg(pid), 4096, comm)
        ? QString::fromLocal8Bit(comm).trimmed() : QString();
    return name.isEmpty() ? QStringLiteral("process %1").arg(pid) : QStringLiteral("process %1 (%2)").arg(pid).arg(name);
}

bool running(long pid)
{
    return pid > 0 && (::kill(pid_t(pid), 0) == 0 || errno == EPERM);
}

QString readTrimmed(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(f.read(4096)).trimmed() : QString();
}

} // namespace

QString lockFileHolder(const QString& path, const QString& lockDir)
{
    // The lock is named after the device: the entry itself and, for a link,
    // the device it points to.
    QStringList names {QFileInfo(path).fileName()};
    const QString target = QFileInfo(path).canonicalFilePath();
    if (!target.isEmpty() && QFileInfo(target).fileName() != names.first())
        names << QFileInfo(target).fileName();
    for (const QString& name : names) {
        QFile lock(QDir(lockDir).filePath(QStringLiteral("LCK..") + name));
        if (!lock.open(QIODevice::ReadOnly))
            continue;
        const QByteArray content = lock.read(64);
        long pid = 0;
        if (content.size() == 4 && !QChar::fromLatin1(content.at(0)).isDigit()) // the old binary form
            std::memcpy(&pid, content.constData(), 4);
        else
            pid = content.trimmed().toLong();
        if (running(pid))
            return processName(pid);
    }
    return {};
}

QString flockHolder(int fd)
{
    struct stat st {};
    if (::fstat(fd, &st) != 0)
        return {};
    QByteArray locks;
    if (!rz48::readFileBounded(QStringLiteral("/proc/locks"), 16 * 1024 * 1024, locks))
        return {};
    // "1: FLOCK  ADVISORY  WRITE 1234 00:05:123 0 EOF": the PID and major:minor:inode.
    const QString inode = QStringLiteral(":%1").arg(qulonglong(st.st_ino));
    for (const QByteArray& raw : locks.split('\n')) {
        const QStringList fields = QString::fromLatin1(raw).simplified().split(u' ');
        if (fields.size() >= 6 && fields[5].endsWith(inode)) {
            const long pid = fields[4].toLong();
            if (pid != ::getpid() && running(pid))
                return processName(pid);
        }
    }
    return {};
}

QString busyReason(const QString& path, const QString& holder)
{
    return QStringLiteral("%1: the port is busy: %2 is using it; close that program (or unplug and replug the adapter) and start the panel again")
        .arg(path, holder.isEmpty() ? QStringLiteral("another program") : holder);
}

QStringList claimedAdapters(const QString& sysfsDevices)
{
    QStringList lines;
    const QDir root(sysfsDevices);
    for (const QString& device : root.entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::System)) {
        if (device.contains(u':') || readTrimmed(root.filePath(device + QStringLiteral("/idVendor"))) != QLatin1String("0403"))
            continue;
        bool hasPort = false;
        QString driver;
        for (const QString& iface : root.entryList({device + QStringLiteral(":*")}, QDir::Dirs | QDir::System)) {
            if (!QDir(root.filePath(iface)).entryList({QStringLiteral("ttyUSB*")}, QDir::Dirs | QDir::System).isEmpty())
                hasPort = true;
            const QString link = QFileInfo(root.filePath(iface + QStringLiteral("/driver"))).symLinkTarget();
            if (driver.isEmpty() && !link.isEmpty())
                driver = QFileInfo(link).fileName();
        }
        if (hasPort)
            continue;
        QString product = readTrimmed(root.filePath(device + QStringLiteral("/product")));
        if (product.isEmpty())
            product = QStringLiteral("0403:%1").arg(readTrimmed(root.filePath(device + QStringLiteral("/idProduct"))));
        lines << QStringLiteral("USB device %1: an FTDI serial adapter (%2) is plugged in but has no serial port: %3; "
                                "a braille display service often does this (sudo apt remove brltty frees it)")
                     .arg(device, product,
                          driver.isEmpty() ? QStringLiteral("no driver is bound to it")
                                           : QStringLiteral("the %1 driver holds it").arg(driver));
    }
    return lines;
}

QString noAdapterLine(const QString& directory, const QStringList& patterns)
{
    return QStringLiteral("no USB serial adapter found: nothing in %1 is named like %2; is the unit's USB adapter plugged in?")
        .arg(directory, patterns.join(QStringLiteral(" or ")));
}

PortHandle::PortHandle(int port)
    : fd(::fcntl(port, F_DUPFD_CLOEXEC, 0))
    , owned(fd >= 0)
{
    if (!owned)
        fd = port;
}

PortHandle::~PortHandle()
{
    if (owned)
        ::close(fd);
}

bool unboundFtdiAdapter(const QString& sysfsDevices)
{
    const QDir root(sysfsDevices);
    for (const QString& device : root.entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::System)) {
        if (device.contains(u':') || readTrimmed(root.filePath(device + QStringLiteral("/idVendor"))) != QLatin1String(kFtdiVendor))
            continue;
        bool bound = false;
        for (const QString& iface : root.entryList({device + QStringLiteral(":*")}, QDir::Dirs | QDir::System))
            bound = bound || QFileInfo(root.filePath(iface + QStringLiteral("/driver"))).isSymLink()
                || !QDir(root.filePath(iface)).entryList({QStringLiteral("ttyUSB*")}, QDir::Dirs | QDir::System).isEmpty();
        if (!bound)
            return true;
    }
    return false;
}

UsbIdentity usbIdentity(const QString& portPath, const QString& sysClassTty)
{
    UsbIdentity id;
#ifdef __linux__
    // The port's own name (a symbolic link counts as its target), then its
    // device in sysfs, then up to the USB device that has a vendor.
    const QString real = QFileInfo(portPath).canonicalFilePath();
    if (real.isEmpty())
        return id;
    QString dir = QFileInfo(sysClassTty + u'/' + QFileInfo(real).fileName() + QStringLiteral("/device")).canonicalFilePath();
    for (int depth = 0; !dir.isEmpty() && dir != QLatin1String("/") && depth < 8; ++depth) {
        const QString vendor = readTrimmed(dir + QStringLiteral("/idVendor"));
        if (!vendor.isEmpty()) {
            id.usb = true;
            id.vendor = vendor;
            id.product = readTrimmed(dir + QStringLiteral("/idProduct"));
            id.serial = readTrimmed(dir + QStringLiteral("/serial"));
            break;
        }
        dir = QFileInfo(dir).path();
    }
#else
    Q_UNUSED(portPath);
    Q_UNUSED(sysClassTty);
#endif
    return id;
}

} // namespace rz48::serial
