#include "link/ComThread.h"

#include "common/Alerts.h"
#include "common/Diagnostics.h"
#include "link/SerialPort.h"

#include <QFileInfo>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr useconds_t kTick = 10000; // 10 ms between every read and loop pass
constexpr int kAnswerWaitTicks = 30; // up to 300 ms for an answer to begin
constexpr int kChunkSize = 255;
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

ComThread::ComThread()
    : namePatterns_(rz48::serial::defaultNamePatterns())
{
}

ComThread::~ComThread()
{
    stopThread();
}

ComThread::Port::~Port()
{
    if (fd >= 0) {
        ::ioctl(fd, TIOCNXCL); // the next program may open the port again
        ::close(fd);
    }
}

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

void ComThread::adoptPort(int fd)
{
    port_ = std::make_shared<Port>(fd);
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
    return QStringLiteral("%1: cannot be opened: %2").arg(path, reason);
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

QStringList ComThread::listPorts(QStringList* answering)
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

QString ComThread::sendStringPolling(const QString& text)
{
    const int fd = port_->fd;
    if (fd < 1) // a descriptor of 0 counts as closed
        return QString();
    ::tcflush(fd, TCIFLUSH);
    const QByteArray bytes = text.toUtf8();
    if (::write(fd, bytes.constData(), size_t(bytes.size())) < 0)
        return QString();

    char buffer[256];
    int collected = 0;
    buffer[0] = 0;
    for (int pass = 0; pass < 10 && collected < 255; ++pass) {
        ::usleep(kTick);
        const ssize_t n = ::read(fd, buffer + collected, size_t(255 - collected));
        if (n <= 0) // nothing arrived yet counts as a failed read
            break;
        collected += int(n);
        buffer[collected] = 0;
        if (std::strstr(buffer, "\r\n>"))
            break;
    }
    return QString::fromUtf8(buffer, collected);
}

void ComThread::startThread(QObject* parent)
{
    stopThread();
    {
        std::lock_guard lock(port_->ioLock);
        port_->txArray.clear();
        port_->txCount = 0;
    }
    worker_.start(parent, [port = port_](rz48::WorkerContext& context) { run(*port, context); });
}

void ComThread::stopThread()
{
    if (!worker_.isRunning())
        return;
    // A thread left to finish on its own has seen the abort flag set: it
    // takes nothing more from the queue.
    worker_.stop();
    std::lock_guard lock(port_->ioLock);
    port_->txArray.clear();
    port_->txCount = 0;
}

void ComThread::enqueue(MsgClass message)
{
    if (port_->fd == -1 || !worker_.isRunning())
        return; // not connected: dropped silently
    const QByteArray bytes = message.buffer();
    {
        std::lock_guard lock(port_->ioLock);
        if (port_->txArray.size() >= size_t(kMaxQueued)) {
            rz48::diag("transmit queue full (%d messages): a command was refused\n", kMaxQueued);
            return;
        }
        port_->txArray.push_back(std::move(message));
        port_->txCount = int(port_->txArray.size());
    }
    if (sendTap_)
        sendTap_(bytes); // what was queued, and only that
}

void ComThread::sendString(const QString& text)
{
    if (port_->fd == -1 || !worker_.isRunning())
        return;
    MsgClass message;
    message.txString(text);
    enqueue(std::move(message));
}

void ComThread::sendBytes(const void* bytes, uint32_t length)
{
    if (port_->fd == -1 || !worker_.isRunning())
        return;
    MsgClass message;
    message.txBytes(bytes, length);
    enqueue(std::move(message));
}

void ComThread::sendMidiTrigger(int32_t note)
{
    const unsigned char bytes[3] = {0x90, static_cast<unsigned char>(note & 0xFF), 0x40};
    sendBytes(bytes, 3);
}

void ComThread::setBaud(int32_t speed)
{
    const speed_t s = rz48::serial::speedFromBaud(speed);
    if (s == 0)
        return;
    cfsetispeed(&sp_, s);
    cfsetospeed(&sp_, s);
    if (port_->fd >= 0)
        ::tcsetattr(port_->fd, TCSANOW, &sp_);
}

int32_t ComThread::getBaud() const
{
    return rz48::serial::baudFromSpeed(cfgetospeed(&sp_));
}

int32_t ComThread::bytesAvailable() const
{
    return rz48::serial::bytesWaiting(port_->fd);
}

// Runs on the link thread: it touches nothing but `port` and `context`.
namespace {

// Whether the port has gone away: the far end hung up, or the device is gone.
bool hungUp(int fd)
{
    pollfd p {fd, POLLIN, 0};
    if (::poll(&p, 1, 0) < 0)
        return errno != EINTR;
    return (p.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

bool goneError(int error)
{
    return error == EIO || error == ENXIO || error == ENODEV || error == EBADF;
}

} // namespace

void ComThread::run(Port& port, rz48::WorkerContext& context)
{
    const int fd = port.fd;
    const auto bytesAvailable = [fd] { return rz48::serial::bytesWaiting(fd); };
    int chunkNumber = 0;
    char buffer[kChunkSize];
    bool gone = false;
    while (!context.aborting() && !gone) {
        MsgClass next;
        bool haveNext = false;
        {
            std::lock_guard lock(port.ioLock);
            if (!port.txArray.empty()) {
                next = std::move(port.txArray.front());
                port.txArray.pop_front();
                port.txCount = int(port.txArray.size());
                haveNext = true;
            }
        }
        if (haveNext) {
            // One write normally takes the whole message; a full output
            // buffer gets a bounded number of retries, never a freeze.
            errno = 0;
            if (!rz48::serial::writeAll(fd, next.buffer().constData(), size_t(next.buffer().size()), 50, 2000,
                                        &context.abort)
                && goneError(errno))
                gone = true;
            bool answered = false;
            for (int i = 0; i < kAnswerWaitTicks && !context.aborting() && !gone; ++i) {
                if (bytesAvailable() != 0) {
                    answered = true;
                    break;
                }
                gone = hungUp(fd);
                ::usleep(kTick);
            }
            port.unanswered = answered ? 0 : port.unanswered + 1;
        }

        if (!gone && bytesAvailable() > 0) {
            port.unanswered = 0;
            do {
                const ssize_t n = ::read(fd, buffer, sizeof buffer);
                if (n <= 0) { // a read error ends the burst
                    gone = n < 0 && goneError(errno);
                    break;
                }
                MsgClass chunk;
                chunk.txBytes(buffer, uint32_t(n));
                chunk.setText(QString::asprintf("%d", ++chunkNumber));
                context.callParent("threadHasMsg", std::move(chunk));
                ::usleep(kTick);
            } while (!context.aborting() && bytesAvailable() > 0);
        }
        gone = gone || hungUp(fd);
        if (!gone)
            ::usleep(kTick);
    }
    if (gone) {
        // What was still queued goes nowhere: dropped, and counted.
        {
            std::lock_guard lock(port.ioLock);
            port.dropped = int(port.txArray.size());
            port.txArray.clear();
            port.txCount = 0;
        }
        port.lost = true;
        rz48::diag("the unit's port went away (%d queued commands dropped)\n", port.dropped.load());
        context.callParent("threadLinkLost");
    }
    rz48::diag("run() complete\n");
}
