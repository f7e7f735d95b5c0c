#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QThread>

namespace rz48test {

bool waitUntil(const std::function<bool()>& done, int ms)
{
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > ms)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(2);
    }
    return true;
}

void ChunkRecorder::threadHasMsg(MsgClass chunk)
{
    if (QThread::currentThread() != QCoreApplication::instance()->thread())
        allOnMainThread = false;
    chunks.push_back(std::move(chunk));
}

QByteArray ChunkRecorder::allBytes() const
{
    QByteArray all;
    for (const MsgClass& c : chunks)
        all += c.buffer();
    return all;
}

} // namespace rz48test
