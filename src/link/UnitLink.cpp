#include "link/UnitLink.h"

#include "common/Alerts.h"
#include "common/Diagnostics.h"
#include "link/ComThread.h"
#include "link/ReceiveDrain.h"
#include "link/SerialPort.h"

#include <QFileInfo>
#include <QTimer>

namespace rz48::link {

namespace {

// A port and a symbolic link to it count as one.
QString canonical(const QString& path)
{
    const QString real = QFileInfo(path).canonicalFilePath();
    return real.isEmpty() ? path : real;
}

void configure(ComThread& link, const Search& search)
{
    if (!search.directory.isEmpty())
        link.setSearchDirectory(search.directory);
    if (!search.explicitPort.isEmpty())
        link.setExplicitPort(search.explicitPort);
    if (search.driverCheck)
        link.setDriverCheck(search.driverCheck);
}

} // namespace

UnitLink::UnitLink(const Search& search, QObject* parent)
    : QObject(parent)
    , search_(search)
    , thread_(std::make_unique<ComThread>())
    , timer_(new QTimer(this))
{
    configure(*thread_, search_);
    timer_->setInterval(1000);
    connect(timer_, &QTimer::timeout, this, &UnitLink::tick);
}

UnitLink::~UnitLink()
{
    thread_->stopThread();
}

void UnitLink::setSearch(const Search& search)
{
    search_ = search;
    configure(*thread_, search_);
}

QString UnitLink::searchDirectory() const
{
    return search_.directory.isEmpty() ? QStringLiteral("/dev") : search_.directory;
}

QStringList UnitLink::listPorts(const Search& search, QStringList* answering, QStringList* versions)
{
    ComThread scout;
    configure(scout, search);
    return scout.listPorts(answering, versions);
}

// ---------------------------------------------------------------- the connection

bool UnitLink::start()
{
    setState(State::Searching);
    const bool answered = thread_->openUsbSerial() == 0;
    reasons_ = answered ? QStringList {} : thread_->searchReport();
    for (const QString& line : reasons_)
        printed_.insert(line); // the search printed them
    for (const QString& path : thread_->silentPorts())
        silent_.insert(canonical(path));
    timer_->start();
    if (answered)
        found(thread_->portPath());
    else
        setState(State::NotFound);
    return answered;
}

void UnitLink::found(const QString& path)
{
    Q_UNUSED(path);
    lostSince_ = QDateTime();
    reasons_.clear();
    // Nothing half-received from an earlier connection is read as this one's.
    received_ = MsgClass();
    thread_->startThread(this);
    setState(State::Connected);
    emit connected();
}

void UnitLink::reconnect()
{
    if (!timer_->isActive() || reconnecting_)
        return;
    silent_.clear();
    // A connected unit is let go and probed again like every other port.
    closedPort_ = isConnected() ? thread_->portPath() : QString();
    if (!closedPort_.isEmpty()) {
        thread_->closePort();
        rz48::diag("reconnecting: closed %s; looking for the unit on every port\n", closedPort_.toLocal8Bit().constData());
    }
    reconnecting_ = true;
    setState(State::Searching);
    emit stateChanged();
    // The status bar says so before the probes take their time.
    QTimer::singleShot(kReconnectPaintMs, this, [this] {
        reconnecting_ = false;
        if (!timer_->isActive() || state_ != State::Searching)
            return;
        if (!retry(true))
            setState(lostSince_.isValid() ? State::Lost : State::NotFound);
    });
}

void UnitLink::choosePort(const QString& firmware)
{
    if (!timer_->isActive())
        return;
    // A second link looks at every port but the one in use (which it finds busy).
    Search scout = search_;
    scout.directory = searchDirectory();
    scout.driverCheck = [] { return true; };
    QStringList units, versions;
    if (isConnected()) {
        units << thread_->portPath();
        versions << firmware;
    }
    listPorts(scout, &units, &versions);
    const int inUse = isConnected() ? 0 : -1;
    auto describe = [&](qsizetype i) {
        QString line = units[i];
        line += versions.value(i).isEmpty() ? tr(", firmware not reported") : tr(", firmware %1").arg(versions[i]);
        if (i == inUse)
            line += tr(" (in use)");
        return line;
    };
    if (units.size() < 2) {
        if (units.isEmpty())
            rz48::showAlert(tr("No RZ-48 answers on any port."), reasons_.join(u'\n'));
        else
            rz48::showInformation(tr("Only one RZ-48 answers: %1").arg(describe(0)));
        return;
    }
    QStringList lines, buttons;
    for (qsizetype i = 0; i < units.size(); ++i) {
        lines << describe(i);
        buttons << (i == inUse ? tr("Keep %1").arg(QFileInfo(units[i]).fileName()) : tr("Use %1").arg(QFileInfo(units[i]).fileName()));
    }
    buttons << tr("Cancel");
    const int cancel = int(units.size());
    const int chosen = rz48::askButtons(tr("More than one RZ-48 answers. Which one should the panel use?"), lines.join(u'\n'),
                                        buttons, inUse >= 0 ? inUse : cancel, cancel);
    if (chosen < 0 || chosen >= cancel || chosen == inUse)
        return;
    thread_->stopThread(); // the link moves to another port
    QString why;
    if (thread_->tryPort(units[chosen], why) == ComThread::ProbeResult::Found) {
        rz48::diag("found RZ-48 on port %s\n", units[chosen].toLocal8Bit().constData());
        state_ = State::Searching;
        found(units[chosen]);
    } else {
        reasons_ = {tr("%1: %2").arg(units[chosen], why.isEmpty() ? tr("no answer to the probe") : why)};
        setState(State::NotFound);
    }
}

void UnitLink::threadLinkLost()
{
    thread_->stopThread();
    if (!timer_->isActive() || state_ == State::Lost)
        return;
    lostPort_ = thread_->portPath();
    lostCanonical_ = canonical(lostPort_);
    lostSerial_ = thread_->usbSerial();
    lostSince_ = QDateTime::currentDateTime();
    rz48::diag("lost the unit on %s: %d queued commands dropped; looking for it again every second\n",
               lostPort_.toLocal8Bit().constData(), thread_->droppedCommands());
    reasons_.clear();
    setState(State::Lost);
}

void UnitLink::stop()
{
    timer_->stop();
    thread_->stopThread();
}

void UnitLink::tick()
{
    switch (state_) {
    case State::Connected:
    case State::NotAnswering:
        setState(thread_->unanswered() >= kUnansweredLimit ? State::NotAnswering : State::Connected);
        break;
    case State::Lost:
    case State::NotFound:
        retry(state_ == State::NotFound);
        break;
    case State::Searching:
        break;
    }
}

bool UnitLink::sameUnit(const QString& path) const
{
    if (canonical(path) == lostCanonical_ || path == lostPort_)
        return true;
    return !lostSerial_.isEmpty()
        && rz48::serial::usbIdentity(path, QStringLiteral("/sys/class/tty")).serial == lostSerial_;
}

bool UnitLink::retry(bool everyCandidate)
{
    bool directoryRead = false;
    const QStringList candidates = thread_->candidatePorts(&directoryRead);
    // A silent port that has gone may be tried again when it comes back.
    QSet<QString> present;
    for (const QString& path : candidates)
        present.insert(canonical(path));
    silent_.intersect(present);

    QStringList reasons;
    if (!directoryRead)
        reasons << tr("%1 cannot be read").arg(search_.directory);
    for (const QString& path : candidates) {
        if (!everyCandidate && !sameUnit(path))
            continue;
        if (silent_.contains(canonical(path))) {
            reasons << ComThread::portLine(path, ComThread::ProbeResult::NoAnswer, {});
            continue;
        }
        QString why;
        const ComThread::ProbeResult result = thread_->tryPort(path, why);
        if (result != ComThread::ProbeResult::Found)
            reasons << ComThread::portLine(path, result, why);
        switch (result) {
        case ComThread::ProbeResult::Found:
            rz48::diag("found RZ-48 on port %s\n", path.toLocal8Bit().constData());
            found(path);
            return true;
        case ComThread::ProbeResult::NoAnswer:
            silent_.insert(canonical(path));
            break;
        case ComThread::ProbeResult::CannotOpen:
            break;
        }
    }
    if (candidates.isEmpty() && state_ != State::Lost)
        reasons << rz48::serial::noAdapterLine(searchDirectory(), rz48::serial::defaultNamePatterns());
    for (const QString& line : reasons)
        printOnce(line);
    if (reasons != reasons_) {
        reasons_ = reasons;
        emit stateChanged();
    }
    return false;
}

void UnitLink::printOnce(const QString& line)
{
    if (!printed_.contains(line)) {
        printed_.insert(line);
        rz48::diag("%s\n", line.toLocal8Bit().constData());
    }
}

void UnitLink::setState(State state)
{
    if (state == state_)
        return;
    state_ = state;
    emit stateChanged();
}

QString UnitLink::statusText(const QString& firmware) const
{
    switch (state_) {
    case State::Searching:
        if (reconnecting_)
            return closedPort_.isEmpty() ? tr("Reconnecting: probing every port...")
                                         : tr("Reconnecting: closed %1, probing every port...").arg(closedPort_);
        return tr("Searching for the RZ-48...");
    case State::Connected:
        return firmware.isEmpty() ? tr("Connected: RZ-48 on %1").arg(thread_->portPath())
                                  : tr("Connected: RZ-48 on %1, firmware %2").arg(thread_->portPath(), firmware);
    case State::NotAnswering:
        return tr("Not answering: the last %1 commands to %2 got no answer (the port is still there)")
            .arg(thread_->unanswered())
            .arg(thread_->portPath());
    case State::NotFound:
        return tr("RZ-48 not found: looking every second (Unit > Reconnect searches now)");
    case State::Lost:
        return tr("Lost: %1 went away at %2; looking for the unit every second")
            .arg(lostPort_, lostSince_.toString(QStringLiteral("HH:mm:ss")));
    }
    return {};
}

// ---------------------------------------------------------------- sending

void UnitLink::sendString(const QString& command)
{
    thread_->sendString(command);
}

void UnitLink::sendMidiTrigger(int note)
{
    thread_->sendMidiTrigger(note);
}

void UnitLink::setSendTap(std::function<void(const QByteArray&)> tap)
{
    thread_->setSendTap(std::move(tap));
}

int UnitLink::txCount() const { return thread_->txCount(); }
int UnitLink::droppedCommands() const { return thread_->droppedCommands(); }
int UnitLink::unanswered() const { return thread_->unanswered(); }
bool UnitLink::isRunning() const { return thread_->isRunning(); }
int UnitLink::getBaud() const { return thread_->getBaud(); }
int UnitLink::bytesAvailable() const { return thread_->bytesAvailable(); }
const QString& UnitLink::portPath() const { return thread_->portPath(); }
const QString& UnitLink::portName() const { return thread_->com(); }

// ---------------------------------------------------------------- receiving

void UnitLink::threadHasMsg(MsgClass chunk)
{
    lastReceived_.start();
    bytesReceived_ += quint64(chunk.buffer().size() + chunk.midiBuffer().size());
    received_.append(chunk);
    rz48::drainReceiveBuffer(received_, [this](const QString& line) { emit reportLine(line); });
}

// ---------------------------------------------------------------- the port lent to an update

bool UnitLink::hasPort() const
{
    return thread_->fd() >= 0;
}

int UnitLink::lendPort(int baud)
{
    thread_->stopThread();
    if (baud > 0)
        thread_->setBaud(baud);
    return thread_->fd();
}

void UnitLink::takePortBack()
{
    if (!hasPort())
        return;
    thread_->setBaud(38400);
    thread_->startThread(this);
}

} // namespace rz48::link
