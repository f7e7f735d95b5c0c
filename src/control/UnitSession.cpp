#include "control/UnitSession.h"

#include "link/ReceiveDrain.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

#include <cstdio>

namespace rz48::control {

namespace {

void configure(ComThread& link, const QString& directory, const QString& port)
{
    link.setDriverCheck([] { return true; }); // no window to explain a driver in
    if (!directory.isEmpty())
        link.setSearchDirectory(directory);
    if (!port.isEmpty())
        link.setExplicitPort(port);
}

} // namespace

UnitSession::UnitSession() = default;

UnitSession::~UnitSession()
{
    link_.stopThread();
}

bool UnitSession::open(const QString& directory, const QString& port, QStringList* reasons)
{
    configure(link_, directory, port);
    if (link_.openUsbSerial() != 0) {
        if (reasons)
            *reasons = link_.searchReport();
        return false;
    }
    link_.startThread(this);
    return true;
}

void UnitSession::threadHasMsg(MsgClass chunk)
{
    bytesReceived_ += quint64(chunk.buffer().size() + chunk.midiBuffer().size());
    received_.append(chunk);
    rz48::drainReceiveBuffer(received_, [this](const QString& line) { lines_ << line; });
}

void UnitSession::threadLinkLost()
{
    lost_ = true;
}

bool UnitSession::waitUntil(const std::function<bool()>& done, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (lost_ || timer.elapsed() >= timeoutMs)
            return done();
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::msleep(2);
    }
    return true;
}

std::optional<QString> UnitSession::waitFor(QChar letter, int timeoutMs)
{
    std::optional<QString> found;
    waitUntil(
        [&] {
            while (!lines_.isEmpty()) {
                const QString line = lines_.takeFirst();
                if (!line.isEmpty() && line.at(0) == letter && (line.size() == 1 || line.at(1) == u' ')) {
                    found = line;
                    return true;
                }
            }
            return false;
        },
        timeoutMs);
    return found;
}

std::optional<QString> UnitSession::ask(const QString& command, QChar letter, int timeoutMs)
{
    lines_.clear();
    link_.sendString(command);
    return waitFor(letter, timeoutMs);
}

std::optional<QStringList> UnitSession::exchange(const QString& command, int quietMs, int timeoutMs)
{
    lines_.clear();
    const quint64 before = bytesReceived_;
    link_.sendString(command);
    if (!waitUntil([&] { return bytesReceived_ != before; }, timeoutMs))
        return std::nullopt;
    qsizetype seen = -1;
    while (seen != lines_.size()) { // until nothing more came for quietMs
        seen = lines_.size();
        waitUntil([&] { return lines_.size() != seen; }, quietMs);
    }
    QStringList answer = lines_;
    lines_.clear();
    return answer;
}

bool UnitSession::drain(int timeoutMs)
{
    return waitUntil([&] { return link_.txCount() == 0; }, timeoutMs);
}

int printPortListing(const QString& directory, const QString& port)
{
    ComThread link;
    configure(link, directory, port);
    QStringList answering;
    for (const QString& line : link.listPorts(&answering))
        std::printf("%s\n", qPrintable(line));
    return answering.isEmpty() ? 3 : 0;
}

} // namespace rz48::control
