#include "session/UnitSession.h"

#include "link/ReportScanner.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

#include <cstdio>

namespace rz48::session {

namespace {

rz48::link::Search searchOf(const QString& directory, const QString& port)
{
    return {directory, port, [] { return true; }}; // no window to explain a driver in
}

} // namespace

UnitSession::UnitSession()
{
    connect(&link_, &rz48::link::UnitLink::reportLine, this, [this](const QString& line) { lines_ << line; });
}

UnitSession::~UnitSession()
{
    link_.stop();
}

bool UnitSession::open(const QString& directory, const QString& port, QStringList* reasons)
{
    link_.setSearch(searchOf(directory, port));
    if (!link_.start()) {
        if (reasons)
            *reasons = link_.reasons();
        return false;
    }
    return true;
}

bool UnitSession::waitUntil(const std::function<bool()>& done, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (lost() || timer.elapsed() >= timeoutMs)
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
                const std::optional<QString> report = rz48::acceptReport(lines_.takeFirst());
                if (report && report->at(0) == letter) {
                    found = report;
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
    const quint64 before = link_.bytesReceived();
    link_.sendString(command);
    if (!waitUntil([&] { return link_.bytesReceived() != before; }, timeoutMs))
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
    QStringList answering;
    for (const QString& line : rz48::link::UnitLink::listPorts(searchOf(directory, port), &answering))
        std::printf("%s\n", qPrintable(line));
    return answering.isEmpty() ? 3 : 0;
}

} // namespace rz48::session
