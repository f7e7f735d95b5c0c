#include "update/FirmwareUpdateThread.h"

#include "common/Diagnostics.h"
#include "common/WorkerCallback.h"
#include "link/SerialPort.h"
#include "update/Progress.h"
#include "update/UpdateImages.h"

#include <termios.h>
#include <unistd.h>

FirmwareUpdateThread::~FirmwareUpdateThread()
{
    stopThread();
}

void FirmwareUpdateThread::setArray(const QStringList& lines)
{
    std::lock_guard lock(ioLock_);
    array_ = lines;
    haveArray_ = true;
}

int FirmwareUpdateThread::startThread(QObject* parent)
{
    if (fd_ == -1 || thread_.joinable() || !haveArray_)
        return -1;
    abort_ = false;
    thread_ = std::thread([this, parent] { run(parent); });
    return 0;
}

void FirmwareUpdateThread::stopThread()
{
    if (!thread_.joinable())
        return;
    abort_ = true;
    thread_.join();
}

int FirmwareUpdateThread::bytesAvailable() const
{
    return rz48::serial::bytesWaiting(fd_);
}

void FirmwareUpdateThread::run(QObject* parent)
{
    auto finish = [&](const char* message) {
        rz48::callParent(parent, "threadUpdateComplete", Progress {QString::fromLatin1(message), 0});
        std::lock_guard lock(ioLock_);
        array_.clear(); // the lines are released once the update is over
        haveArray_ = false;
    };
    auto readInto = [this](QByteArray& buffer) {
        const qsizetype room = rz48::update::kEchoBufferMax - buffer.size();
        const int waiting = bytesAvailable();
        if (room <= 0 || waiting <= 0)
            return;
        QByteArray chunk(std::min<qsizetype>(room, waiting), 0);
        const ssize_t n = ::read(fd_, chunk.data(), size_t(chunk.size()));
        if (n > 0)
            rz48::update::appendReceived(buffer, chunk.left(n));
    };

    ::tcflush(fd_, TCIFLUSH);
    for (int pass = 0; pass < 100; ++pass) {
        if (bytesAvailable() > 0)
            break;
        if (abort_) {
            finish("operation aborted, cycle power and try again");
            return;
        }
        rz48::callParent(parent, "threadHasProgress", Progress {QStringLiteral("erasing flash"), pass});
        ::usleep(200000);
    }
    QByteArray received;
    do {
        readInto(received);
        ::usleep(10000);
    } while (bytesAvailable() > 0 && received.size() < rz48::update::kEchoBufferMax);
    if (!received.contains("ready")) {
        finish("flash erase failed, try again");
        return;
    }

    QStringList lines;
    {
        std::lock_guard lock(ioLock_);
        lines = array_;
    }
    qsizetype next = 0;
    for (;;) {
        if (next >= lines.size()) {
            finish("success!");
            return;
        }
        if (abort_) {
            finish("operation aborted, cycle power and try again");
            return;
        }
        const QByteArray tx = rz48::update::nextFpgaBatch(lines, next) + '\r';
        rz48::serial::writeAll(fd_, tx.constData(), size_t(tx.size()), 0, 1000, &abort_);
        QByteArray rx;
        for (int pass = 0; pass < 200; ++pass) {
            ::usleep(1000);
            readInto(rx);
            if (!rx.isEmpty() && rx.endsWith('\n'))
                break;
        }
        if (!rz48::update::echoMatches(tx, rx)) {
            rz48::diag("tx len: %d rx len: %d\n", int(tx.size()), int(rx.size()));
            rz48::diag("\ntxd:\n%s\n", tx.constData());
            rz48::diag("\nrxd:\n%s\n", rx.constData());
            finish("echo failed, try again");
            return;
        }
        qsizetype total;
        {
            std::lock_guard lock(ioLock_);
            total = array_.size();
        }
        const double percent = total > 0 ? double(next) / double(total) * 100.0 : 100.0;
        rz48::callParent(parent, "threadHasProgress",
                         Progress {QString::asprintf("firmware update: %.1f percent", percent), int(percent)});
    }
}
