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

void ComThread::adoptPort(int fd)
{
    port_ = std::make_shared<Port>(fd);
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

// What the port says now: POLLIN, and POLLHUP, POLLERR or POLLNVAL when it
// has gone away (the far end hung up, or the device is gone).
short portEvents(int fd)
{
    pollfd p {fd, POLLIN, 0};
    if (::poll(&p, 1, 0) < 0)
        return errno != EINTR ? POLLERR : 0;
    return p.revents;
}

constexpr short kGone = POLLHUP | POLLERR | POLLNVAL;

bool hungUp(int fd)
{
    return (portEvents(fd) & kGone) != 0;
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

        // One look at the port a turn: whether anything came, whether it is still there.
        const short events = gone ? 0 : portEvents(fd);
        if ((events & POLLIN) && bytesAvailable() > 0) {
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
        gone = gone || (events & kGone) != 0;
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
