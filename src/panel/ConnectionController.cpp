#include "panel/ConnectionController.h"

#include "common/Alerts.h"
#include "common/Diagnostics.h"
#include "link/ComThread.h"
#include "link/SerialPort.h"

#include <QFileInfo>
#include <QTimer>

namespace {

// A port and a symbolic link to it count as one.
QString canonical(const QString& path)
{
    const QString real = QFileInfo(path).canonicalFilePath();
    return real.isEmpty() ? path : real;
}

} // namespace

ConnectionController::ConnectionController(QObject* parent)
    : QObject(parent)
    , timer_(new QTimer(this))
{
    timer_->setInterval(1000);
    connect(timer_, &QTimer::timeout, this, &ConnectionController::tick);
}

void ConnectionController::setUp(ComThread* link, const LinkOptions& options, std::function<QString()> firmware)
{
    link_ = link;
    options_ = options;
    firmware_ = std::move(firmware);
}

bool ConnectionController::start()
{
    setState(State::Searching);
    const bool found = link_->openUsbSerial() == 0;
    reasons_ = found ? QStringList {} : link_->searchReport();
    for (const QString& line : reasons_)
        printed_.insert(line); // the search printed them
    for (const QString& path : link_->silentPorts())
        silent_.insert(canonical(path));
    timer_->start();
    if (found) {
        setState(State::Connected);
        emit connected();
    } else {
        setState(State::NotFound);
    }
    return found;
}

void ConnectionController::reconnect()
{
    if (!link_)
        return;
    silent_.clear();
    if (isConnected())
        return;
    setState(State::Searching);
    if (!retry(true))
        setState(lostSince_.isValid() ? State::Lost : State::NotFound);
}

void ConnectionController::choosePort()
{
    if (!link_)
        return;
    // A second link looks at every port but the one in use (which it finds busy).
    ComThread scout;
    scout.setSearchDirectory(options_.searchDirectory.isEmpty() ? QStringLiteral("/dev") : options_.searchDirectory);
    scout.setExplicitPort(options_.explicitPort);
    scout.setDriverCheck([] { return true; });
    QStringList units;
    if (isConnected())
        units << link_->portPath();
    scout.listPorts(&units);
    if (units.size() < 2) {
        rz48::showAlert(units.isEmpty() ? tr("No RZ-48 answers on any port.") : tr("Only one RZ-48 answers: %1").arg(units.first()));
        return;
    }
    const int chosen = rz48::askChoice(tr("More than one RZ-48 answers. Which one should the panel use?"), units);
    if (chosen < 0 || (isConnected() && units[chosen] == link_->portPath()))
        return;
    emit leaving();
    QString why;
    if (link_->tryPort(units[chosen], why) == ComThread::ProbeResult::Found) {
        rz48::diag("found RZ-48 on port %s\n", units[chosen].toLocal8Bit().constData());
        lostSince_ = QDateTime();
        reasons_.clear();
        state_ = State::Searching;
        setState(State::Connected);
        emit connected();
    } else {
        reasons_ = {tr("%1: %2").arg(units[chosen], why.isEmpty() ? tr("no answer to the probe") : why)};
        setState(State::NotFound);
    }
}

void ConnectionController::linkLost()
{
    if (!link_ || state_ == State::Lost)
        return;
    lostPort_ = link_->portPath();
    lostCanonical_ = canonical(lostPort_);
    lostSerial_ = link_->usbSerial();
    lostSince_ = QDateTime::currentDateTime();
    rz48::diag("lost the unit on %s: %d queued commands dropped; looking for it again every second\n",
               lostPort_.toLocal8Bit().constData(), link_->droppedCommands());
    reasons_.clear();
    setState(State::Lost);
}

void ConnectionController::stop()
{
    timer_->stop();
    link_ = nullptr;
}

void ConnectionController::tick()
{
    if (!link_)
        return;
    switch (state_) {
    case State::Connected:
    case State::NotAnswering:
        setState(link_->unanswered() >= kUnansweredLimit ? State::NotAnswering : State::Connected);
        break;
    case State::Lost:
    case State::NotFound:
        retry(state_ == State::NotFound);
        break;
    case State::Searching:
        break;
    }
}

bool ConnectionController::sameUnit(const QString& path) const
{
    if (canonical(path) == lostCanonical_ || path == lostPort_)
        return true;
    return !lostSerial_.isEmpty()
        && rz48::serial::usbIdentity(path, QStringLiteral("/sys/class/tty")).serial == lostSerial_;
}

bool ConnectionController::retry(bool everyCandidate)
{
    bool directoryRead = false;
    const QStringList candidates = link_->candidatePorts(&directoryRead);
    // A silent port that has gone may be tried again when it comes back.
    QSet<QString> present;
    for (const QString& path : candidates)
        present.insert(canonical(path));
    silent_.intersect(present);

    QStringList reasons;
    if (!directoryRead)
        reasons << tr("%1 cannot be read").arg(options_.searchDirectory);
    for (const QString& path : candidates) {
        if (!everyCandidate && !sameUnit(path))
            continue;
        if (silent_.contains(canonical(path))) {
            reasons << ComThread::portLine(path, ComThread::ProbeResult::NoAnswer, {});
            continue;
        }
        QString why;
        const ComThread::ProbeResult result = link_->tryPort(path, why);
        if (result != ComThread::ProbeResult::Found)
            reasons << ComThread::portLine(path, result, why);
        switch (result) {
        case ComThread::ProbeResult::Found:
            rz48::diag("found RZ-48 on port %s\n", path.toLocal8Bit().constData());
            lostSince_ = QDateTime();
            reasons_.clear();
            setState(State::Connected);
            emit connected();
            return true;
        case ComThread::ProbeResult::NoAnswer:
            silent_.insert(canonical(path));
            break;
        case ComThread::ProbeResult::CannotOpen:
            break;
        }
    }
    if (candidates.isEmpty() && state_ != State::Lost)
        reasons << rz48::serial::noAdapterLine(options_.searchDirectory.isEmpty() ? QStringLiteral("/dev") : options_.searchDirectory,
                                               rz48::serial::defaultNamePatterns());
    for (const QString& line : reasons)
        printOnce(line);
    if (reasons != reasons_) {
        reasons_ = reasons;
        emit stateChanged();
    }
    return false;
}

void ConnectionController::printOnce(const QString& line)
{
    if (!printed_.contains(line)) {
        printed_.insert(line);
        rz48::diag("%s\n", line.toLocal8Bit().constData());
    }
}

void ConnectionController::setState(State state)
{
    if (state == state_)
        return;
    state_ = state;
    emit stateChanged();
}

QString ConnectionController::statusText() const
{
    switch (state_) {
    case State::Searching:
        return tr("Searching for the RZ-48...");
    case State::Connected: {
        const QString firmware = firmware_ ? firmware_() : QString();
        return firmware.isEmpty() ? tr("Connected: RZ-48 on %1").arg(link_ ? link_->portPath() : QString())
                                  : tr("Connected: RZ-48 on %1, firmware %2").arg(link_ ? link_->portPath() : QString(), firmware);
    }
    case State::NotAnswering:
        return tr("Not answering: the last %1 commands to %2 got no answer (the port is still there)")
            .arg(link_ ? link_->unanswered() : 0)
            .arg(link_ ? link_->portPath() : QString());
    case State::NotFound:
        return tr("RZ-48 not found: looking every second (Unit > Reconnect searches now)");
    case State::Lost:
        return tr("Lost: %1 went away at %2; looking for the unit every second")
            .arg(lostPort_, lostSince_.toString(QStringLiteral("HH:mm:ss")));
    }
    return {};
}
