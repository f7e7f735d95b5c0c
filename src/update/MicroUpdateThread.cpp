#include "update/MicroUpdateThread.h"

#include "common/Diagnostics.h"
#include "link/SerialPort.h"
#include "update/Progress.h"
#include "update/UpdateImages.h"

#include <fcntl.h>
#include <memory>
#include <termios.h>
#include <unistd.h>

namespace {

bool writeAll(int fd, const char* data, size_t size)
{
    return rz48::serial::writeAll(fd, data, size, 200, 1000);
}

// Waits up to `steps` x `stepUs` for input; true when some is waiting.
bool waitForInput(int fd, int steps, unsigned stepUs)
{
    for (int i = 0; i < steps; ++i) {
        if (rz48::serial::bytesWaiting(fd) > 0)
            return true;
        ::usleep(stepUs);
    }
    return rz48::serial::bytesWaiting(fd) > 0;
}

void report(rz48::WorkerContext& context, const QString& message, int percent)
{
    context.callParent("threadHasProgress", Progress {message, percent});
}

// Runs on the worker: it touches nothing but its arguments.
void run(int fd, const QStringList& sRecArray, const QByteArray& loader, rz48::WorkerContext& context)
{
    const auto bytesAvailable = [fd] { return rz48::serial::bytesWaiting(fd); };
    const auto aborting = [&context] { return context.aborting(); };
    auto finish = [&](const char* message) {
        context.callParent("threadUpdateComplete", Progress {QString::fromLatin1(message), 0});
    };
    if (sRecArray.isEmpty()) {
        finish("sRec array nil or empty");
        return;
    }
    report(context, QStringLiteral("initializing update, stand by..."), 0);
    rz48::diag("preload\n");

    ::tcflush(fd, TCIFLUSH);
    writeAll(fd, "L\r", 2);
    rz48::diag("sent 'L' command\n");
    // At least ten steps, then until the loader has answered with more than
    // one byte. No upper bound while it is silent, as the loader takes its
    // time (a stop ends the wait); once it has begun to answer, half a second
    // for the rest, so that a one-byte answer is reported, not waited on.
    int answeringSteps = 0;
    for (int step = 0; step < 10 || bytesAvailable() <= 1; ++step) {
        if (aborting()) {
            finish("operation aborted, cycle power and try again");
            return;
        }
        if (bytesAvailable() > 0 && ++answeringSteps > 25)
            break;
        ::usleep(20000);
    }
    QByteArray answer(bytesAvailable(), 0);
    const ssize_t got = ::read(fd, answer.data(), size_t(answer.size()));
    answer.resize(got > 0 ? got : 0);
    rz48::diag("L response bytes: %d chars: \n%s\n", int(answer.size()), answer.constData());
    if (answer.size() < 2) {
        finish("preload failed to start");
        return;
    }

    rz48::diag("sending RIM record\n");
    const int loaderSize = rz48::update::kLoaderSize;
    for (int i = 0; i < loaderSize; ++i) {
        if (aborting()) {
            finish("operation aborted, cycle power and try again");
            return;
        }
        const char byte = i < loader.size() ? loader.at(i) : char(0xFF);
        writeAll(fd, &byte, 1);
        waitForInput(fd, 100, 1000);
        char echo = 0;
        const ssize_t n = bytesAvailable() > 0 ? ::read(fd, &echo, 1) : 0;
        if (n != 1 || echo != byte) {
            rz48::diag("preload failed at addr %d of %d, res = %d\n", i, loaderSize, int(n));
            finish("preload failed");
            return;
        }
        report(context, QString::asprintf("micro preload %d percent", i * 100 / loaderSize), i * 100 / loaderSize);
    }

    waitForInput(fd, 500, 1000);
    char ack = 0;
    if (!(bytesAvailable() > 0 && ::read(fd, &ack, 1) == 1 && ack == 0x06)) {
        finish("FLASH erase failed, FLASH corrupted!");
        return;
    }

    const int n = int(sRecArray.size());
    for (int i = 0; i < n; ++i) {
        const QByteArray line = sRecArray[i].toLatin1() + "\r\n";
        writeAll(fd, line.constData(), size_t(line.size()));
        report(context, QString::asprintf("micro download %d percent", i * 100 / n), i * 100 / n);
        waitForInput(fd, 500, 1000);
        char reply = 0;
        const bool acked = bytesAvailable() > 0 && ::read(fd, &reply, 1) == 1 && reply == 0x06;
        if (!acked || aborting()) {
            finish("update failed, FLASH corrupted!");
            return;
        }
    }
    finish("success!");
}

} // namespace

MicroUpdateThread::~MicroUpdateThread()
{
    stopThread();
}

int MicroUpdateThread::startThread(QObject* parent)
{
    if (fd_ == -1 || worker_.isRunning() || sRecArray_.isEmpty())
        return -1;
    worker_.start(parent, [port = std::make_shared<rz48::serial::PortHandle>(fd_), records = sRecArray_,
                           loader = loader_](rz48::WorkerContext& context) {
        run(port->fd, records, loader, context);
    });
    return 0;
}

void MicroUpdateThread::stopThread()
{
    worker_.stop();
}
