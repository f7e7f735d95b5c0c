#include "update/MicroUpdateThread.h"

#include "common/Diagnostics.h"
#include "common/WorkerCallback.h"
#include "link/SerialPort.h"
#include "update/Progress.h"
#include "update/UpdateImages.h"

#include <termios.h>
#include <unistd.h>

namespace {

bool writeAll(int fd, const char* data, size_t size)
{
    return rz48::serial::writeAll(fd, data, size, 200, 1000);
}

} // namespace

MicroUpdateThread::~MicroUpdateThread()
{
    stopThread();
}

int MicroUpdateThread::startThread(QObject* parent)
{
    if (fd_ == -1 || thread_.joinable() || sRecArray_.isEmpty())
        return -1;
    thread_ = std::thread([this, parent] { run(parent); });
    return 0;
}

void MicroUpdateThread::stopThread()
{
    if (!thread_.joinable())
        return;
    abort_ = true;
    thread_.join();
}

int MicroUpdateThread::bytesAvailable() const
{
    return rz48::serial::bytesWaiting(fd_);
}

bool MicroUpdateThread::waitForInput(int steps, unsigned stepUs) const
{
    for (int i = 0; i < steps; ++i) {
        if (bytesAvailable() > 0)
            return true;
        ::usleep(stepUs);
    }
    return bytesAvailable() > 0;
}

void MicroUpdateThread::report(QObject* parent, const QString& message, int percent)
{
    rz48::callParent(parent, "threadHasProgress", Progress {message, percent});
}

void MicroUpdateThread::run(QObject* parent)
{
    auto finish = [&](const char* message) {
        rz48::callParent(parent, "threadUpdateComplete", Progress {QString::fromLatin1(message), 0});
    };
    abort_ = false;
    if (sRecArray_.isEmpty()) {
        finish("sRec array nil or empty");
        return;
    }
    report(parent, QStringLiteral("initializing update, stand by..."), 0);
    rz48::diag("preload\n");

    ::tcflush(fd_, TCIFLUSH);
    writeAll(fd_, "L\r", 2);
    rz48::diag("sent 'L' command\n");
    // At least ten steps, then until the loader has answered with more than
    // one byte. No upper bound while it is silent, as the loader takes its
    // time (a stop ends the wait); once it has begun to answer, half a second
    // for the rest, so that a one-byte answer is reported, not waited on.
    int answeringSteps = 0;
    for (int step = 0; step < 10 || bytesAvailable() <= 1; ++step) {
        if (abort_) {
            finish("operation aborted, cycle power and try again");
            return;
        }
        if (bytesAvailable() > 0 && ++answeringSteps > 25)
            break;
        ::usleep(20000);
    }
    QByteArray answer(bytesAvailable(), 0);
    const ssize_t got = ::read(fd_, answer.data(), size_t(answer.size()));
    answer.resize(got > 0 ? got : 0);
    rz48::diag("L response bytes: %d chars: \n%s\n", int(answer.size()), answer.constData());
    if (answer.size() < 2) {
        finish("preload failed to start");
        return;
    }

    rz48::diag("sending RIM record\n");
    const int loaderSize = rz48::update::kLoaderSize;
    for (int i = 0; i < loaderSize; ++i) {
        if (abort_) {
            finish("operation aborted, cycle power and try again");
            return;
        }
        const char byte = i < loader_.size() ? loader_.at(i) : char(0xFF);
        writeAll(fd_, &byte, 1);
        waitForInput(100, 1000);
        char echo = 0;
        const ssize_t n = bytesAvailable() > 0 ? ::read(fd_, &echo, 1) : 0;
        if (n != 1 || echo != byte) {
            rz48::diag("preload failed at addr %d of %d, res = %d\n", i, loaderSize, int(n));
            finish("preload failed");
            return;
        }
        report(parent, QString::asprintf("micro preload %d percent", i * 100 / loaderSize), i * 100 / loaderSize);
    }

    waitForInput(500, 1000);
    char ack = 0;
    if (!(bytesAvailable() > 0 && ::read(fd_, &ack, 1) == 1 && ack == 0x06)) {
        finish("FLASH erase failed, FLASH corrupted!");
        return;
    }

    const int n = int(sRecArray_.size());
    for (int i = 0; i < n; ++i) {
        const QByteArray line = sRecArray_[i].toLatin1() + "\r\n";
        writeAll(fd_, line.constData(), size_t(line.size()));
        report(parent, QString::asprintf("micro download %d percent", i * 100 / n), i * 100 / n);
        waitForInput(500, 1000);
        char reply = 0;
        const bool acked = bytesAvailable() > 0 && ::read(fd_, &reply, 1) == 1 && reply == 0x06;
        if (!acked || abort_) {
            finish("update failed, FLASH corrupted!");
            return;
        }
    }
    finish("success!");
}
