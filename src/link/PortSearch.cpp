// The link's search for the unit: the candidate ports, the probe, and the
// listing of every port with what was found on it.
#include "link/ComThread.h"

#include "common/Alerts.h"
#include "common/Diagnostics.h"
#include "codecs/VersionCheck.h"
#include "link/SerialPort.h"

#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr char kDriverPage[] = "https://ftdichip.com/drivers/vcp-drivers/";

void prepareSettings(termios& sp)
{
    std::memset(&sp, 0, sizeof sp);
    sp.c_cflag = CS8 | CREAD | CLOCAL | CRTSCTS;
    sp.c_iflag = 0;
    sp.c_oflag = 0;
    sp.c_lflag = 0;
    sp.c_cc[VEOF] = 4;
    sp.c_cc[VMIN] = 0;
    sp.c_cc[VTIME] = 0;
    cfsetispeed(&sp, B38400);
    cfsetospeed(&sp, B38400);
}

} // namespace

bool ComThread::driverMissing() const
{
    if (driverCheck_)
        return !driverCheck_();
#ifdef __linux__
    // Only an FTDI adapter that is there with no driver bound asks for one.
    return rz48::serial::unboundFtdiAdapter(usbDevices_);
#else
    return !rz48::serial::ftdiDriverPresent();
#endif
}


QStringList ComThread::candidatePorts(bool* directoryRead)
{
    QStringList paths;
    skipped_.clear();
    *directoryRead = true;
    if (!explicitPort_.isEmpty())
        return {explicitPort_};
    const QByteArray dirName = searchDirectory_.toLocal8Bit();
    DIR* dir = ::opendir(dirName.constData());
    if (!dir) {
        *directoryRead = false;
        return paths;
    }
    while (const dirent* entry = ::readdir(dir)) {
        const QString name = QString::fromLocal8Bit(entry->d_name);
        for (const QString& pattern : namePatterns_) {
            if (!name.contains(pattern))
                continue;
            const QString path = searchDirectory_ + u'/' + name;
            // Other serial gear on the machine (deck control, say) is never written to.
            const rz48::serial::UsbIdentity id = rz48::serial::usbIdentity(path, sysClassTty_);
            if (id.usb && id.vendor != QLatin1String(rz48::serial::kFtdiVendor))
                skipped_ << QStringLiteral("%1: skipped: a USB serial adapter of vendor %2 (product %3), not the unit's FTDI adapter; nothing was written to it")
                                .arg(path, id.vendor, id.product);
            else
                paths << path;
            break;
        }
    }
    ::closedir(dir);
    paths.sort();
    return paths;
}

int32_t ComThread::openUsbSerial()
{
    bool directoryRead = false;
    const QStringList paths = candidatePorts(&directoryRead);
    searchReport_.clear();
    silentPorts_.clear();
    if (!directoryRead) {
        searchReport_ << QStringLiteral("%1: cannot be read").arg(searchDirectory_);
        return -1;
    }

    for (const QString& path : paths) {
        QString reason;
        const ProbeResult result = tryPort(path, reason);
        searchReport_ << portLine(path, result, reason);
        if (result == ProbeResult::Found) {
            rz48::diag("found RZ-48 on port %s\n", path.toLocal8Bit().constData());
            return 0;
        }
        if (result == ProbeResult::CannotOpen) {
            rz48::diag("failed to open %s\n", path.toLocal8Bit().constData());
            rz48::diag("%s\n", reason.toLocal8Bit().constData());
        } else {
            silentPorts_ << path;
        }
    }

    if (paths.isEmpty()) {
        const QString none = rz48::serial::noAdapterLine(searchDirectory_, namePatterns_);
        rz48::diag("%s\n", none.toLocal8Bit().constData());
        searchReport_ << none;
    }
    for (const QString& line : skipped_ + rz48::serial::claimedAdapters(usbDevices_)) {
        rz48::diag("%s\n", line.toLocal8Bit().constData());
        searchReport_ << line;
    }
    if (driverMissing())
        rz48::showAlert(QStringLiteral("install USB driver found at ") + QLatin1String(kDriverPage));
    com_ = QStringLiteral("RZ48 not found");
    portPath_.clear();
    usbSerial_.clear();
    adoptPort(-1);
    return -1;
}

QString ComThread::portLine(const QString& path, ProbeResult result, const QString& reason)
{
    switch (result) {
    case ProbeResult::Found:
        return QStringLiteral("%1: opened; answered the probe: an RZ-48").arg(path);
    case ProbeResult::NoAnswer:
        return QStringLiteral("%1: opened; no answer to the probe (another device, or the unit is off)").arg(path);
    case ProbeResult::CannotOpen:
        break;
    }
    // The reason names the port itself; the line names it once.
    const QString prefix = path + QStringLiteral(": ");
    return QStringLiteral("%1: cannot be opened: %2").arg(path, reason.startsWith(prefix) ? reason.mid(prefix.size()) : reason);
}

void ComThread::closePort()
{
    stopThread();
    adoptPort(-1);
}

ComThread::ProbeResult ComThread::tryPort(const QString& path, QString& reason)
{
    prepareSettings(sp_);
    const ProbeResult result = probe(path, reason);
    if (result == ProbeResult::Found) {
        com_ = QFileInfo(path).fileName();
        portPath_ = path;
        usbSerial_ = rz48::serial::usbIdentity(path, sysClassTty_).serial;
    }
    return result;
}

QStringList ComThread::listPorts(QStringList* answering, QStringList* versions)
{
    QStringList lines;
    bool directoryRead = false;
    const QStringList paths = candidatePorts(&directoryRead);
    if (!directoryRead)
        return {QStringLiteral("%1: cannot be read").arg(searchDirectory_)};
    if (paths.isEmpty())
        lines << rz48::serial::noAdapterLine(searchDirectory_, namePatterns_);
    prepareSettings(sp_);
    for (const QString& path : paths) {
        QString reason;
        const ProbeResult result = probe(path, reason);
        lines << portLine(path, result, reason);
        if (result == ProbeResult::Found) {
            if (versions)
                *versions << rz48::versionOfReport(sendStringPolling(QStringLiteral("k\r\n"))).version;
            adoptPort(-1); // closes it
            if (answering)
                *answering << path;
        }
    }
    lines << skipped_ << rz48::serial::claimedAdapters(usbDevices_);
    return lines;
}

ComThread::ProbeResult ComThread::probe(const QString& path, QString& reason)
{
    const QString holder = rz48::serial::lockFileHolder(path, lockDirectory_);
    if (!holder.isEmpty()) {
        reason = rz48::serial::busyReason(path, holder);
        return ProbeResult::CannotOpen;
    }
    const QByteArray local = path.toLocal8Bit();
    const int fd = ::open(local.constData(), O_RDWR | O_NONBLOCK | O_NOCTTY);
    if (fd < 0) {
        reason = rz48::serial::openFailureReason(path, errno);
        return ProbeResult::CannotOpen;
    }
    if (::tcgetattr(fd, &old_sp_) != 0) {
        // Not a terminal at all: never write a probe into an ordinary file.
        reason = rz48::serial::openFailureReason(path, errno);
        ::close(fd);
        return ProbeResult::CannotOpen;
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        reason = rz48::serial::busyReason(path, rz48::serial::flockHolder(fd));
        ::close(fd);
        return ProbeResult::CannotOpen;
    }
    sp_.c_oflag = 0;
    int rts = TIOCM_RTS;
    ::ioctl(fd, TIOCMBIS, &rts); // pseudo-terminals refuse this (ENOTTY); harmless
    ::tcflush(fd, TCIFLUSH);
    ::tcsetattr(fd, TCSANOW, &sp_);
    adoptPort(fd);

    sendString(QString()); // the thread is not running yet: queues nothing

    for (int attempt = 0; attempt < 3; ++attempt) {
        if (sendStringPolling(QStringLiteral("B\r\n")).contains(QLatin1String("C190"))) {
            ::ioctl(fd, TIOCEXCL); // nobody else opens the unit's port while the panel has it
            return ProbeResult::Found;
        }
    }
    adoptPort(-1); // closes it
    return ProbeResult::NoAnswer;
}
