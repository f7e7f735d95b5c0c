#include "update/FirmwareUpdateThread.h"

#include "common/Diagnostics.h"
#include "link/SerialPort.h"
#include "update/Progress.h"
#include "update/UpdateImages.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace {

} // namespace

FirmwareUpdateThread::~FirmwareUpdateThread()
{
    stopThread();
}

void FirmwareUpdateThread::setArray(const QStringList& lines)
{
    std::lock_guard lock(lines_->lock);
    lines_->array = lines;
    lines_->have = true;
}

int FirmwareUpdateThread::startThread(QObject* parent)
{
    bool haveArray;
    {
        std::lock_guard lock(lines_->lock);
        haveArray = lines_->have;
    }
    if (fd_ == -1 || worker_.isRunning() || !haveArray)
        return -1;
    worker_.start(parent, [port = std::make_shared<rz48::serial::PortHandle>(fd_), lines = lines_](rz48::WorkerContext& context) {
        run(port->fd, *lines, context);
    });
    return 0;
}

void FirmwareUpdateThread::stopThread()
{
    if (!worker_.stop()) {
        // The worker left to finish on its own keeps its lines and releases
        // them when it ends; this object takes fresh ones, none yet.
        lines_ = std::make_shared<Lines>();
    }
}

// Runs on the worker: it touches nothing but its arguments.
void FirmwareUpdateThread::run(int fd, Lines& shared, rz48::WorkerContext& context)
{
    const auto bytesAvailable = [fd] { return rz48::serial::bytesWaiting(fd); };
    auto finish = [&](const char* message) {
        context.callParent("threadUpdateComplete", Progress {QString::fromLatin1(message), 0});
        std::lock_guard lock(shared.lock);
        shared.array.clear(); // the lines are released once the update is over
        shared.have = false;
    };
    auto readInto = [fd, &bytesAvailable](QByteArray& buffer) {
        const qsizetype room = rz48::update::kEchoBufferMax - buffer.size();
        const int waiting = bytesAvailable();
        if (room <= 0 || waiting <= 0)
            return;
        QByteArray chunk(std::min<qsizetype>(room, waiting), 0);
        const ssize_t n = ::read(fd, chunk.data(), size_t(chunk.size()));
        if (n > 0)
            rz48::update::appendReceived(buffer, chunk.left(n));
    };

    ::tcflush(fd, TCIFLUSH);
    for (int pass = 0; pass < 100; ++pass) {
        if (bytesAvailable() > 0)
            break;
        if (context.aborting()) {
            finish("operation aborted, cycle power and try again");
            return;
        }
        context.callParent("threadHasProgress", Progress {QStringLiteral("erasing flash"), pass});
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
        std::lock_guard lock(shared.lock);
        lines = shared.array;
    }
    qsizetype next = 0;
    for (;;) {
        if (next >= lines.size()) {
            finish("success!");
            return;
        }
        if (context.aborting()) {
            finish("operation aborted, cycle power and try again");
            return;
        }
        const QByteArray tx = rz48::update::nextFpgaBatch(lines, next) + '\r';
        rz48::serial::writeAll(fd, tx.constData(), size_t(tx.size()), 0, 1000, &context.abort);
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
            std::lock_guard lock(shared.lock);
            total = shared.array.size();
        }
        const double percent = total > 0 ? double(next) / double(total) * 100.0 : 100.0;
        context.callParent("threadHasProgress",
                           Progress {QString::asprintf("firmware update: %.1f percent", percent), int(percent)});
    }
}
