#include "panel/SetupController.h"

#include "codecs/SetupWords.h"

#include "common/FileIo.h"
#include "common/Alerts.h"
#include "common/FilePanels.h"
#include "session/SetupTransfer.h"
#include "link/ReportScanner.h"
#include "link/UnitLink.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTime>
#include <QStandardPaths>
#include <QTimer>

namespace {

constexpr int kTickMs = 50;
constexpr int kQuietTicks = 300 / kTickMs; // after the last query went out: time for a bare "M" to be answered
constexpr int kGiveUpTicks = 15000 / kTickMs;
constexpr int kShownDifferences = 20;

QString now()
{
    return QDateTime::currentDateTime().toString(Qt::ISODate);
}

} // namespace

SetupController::SetupController(QObject* parent)
    : QObject(parent)
    , timer_(new QTimer(this))
{
    timer_->setInterval(kTickMs);
    connect(timer_, &QTimer::timeout, this, &SetupController::tick);
}

void SetupController::setUp(rz48::link::UnitLink* link)
{
    link_ = link;
    if (!link_) {
        // The link is going: a capture under way ends without an answer.
        timer_->stop();
        pending_.reset();
    }
}

QString SetupController::updateSetupDirectory()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/rz48/setups");
}

void SetupController::record(const QString& line)
{
    const std::optional<QString> report = rz48::acceptReport(line);
    if (!report)
        return;
    ++sequence_;
    if (report->at(0) != u'k')
        latest_[report->at(0)] = {*report, sequence_};
}

void SetupController::connected()
{
    // The start-up queries ask; what comes back from now on is the connection's setup.
    pending_ = std::make_unique<Done>([this](const rz48::setup::Setup& setup, const QStringList&) {
        connectionSetup_ = setup;
        connectedAt_ = QTime::currentTime().toString(QStringLiteral("HH:mm:ss"));
    });
    askedAt_ = sequence_;
    ticks_ = quietTicks_ = 0;
    timer_->start();
}

void SetupController::capture(Done done)
{
    if (!link_) {
        done({}, QString::fromLatin1(rz48::setup::kLetters).split(QString(), Qt::SkipEmptyParts));
        return;
    }
    pending_ = std::make_unique<Done>(std::move(done));
    askedAt_ = sequence_;
    link_->sendString(QStringLiteral("k"));
    for (const char* l = rz48::setup::kLetters; *l; ++l)
        link_->sendString(QString(QLatin1Char(*l)));
    ticks_ = quietTicks_ = 0;
    timer_->start();
}

void SetupController::tick()
{
    ++ticks_;
    const bool drained = link_ && link_->txCount() == 0;
    quietTicks_ = drained ? quietTicks_ + 1 : 0;
    if (quietTicks_ > kQuietTicks || ticks_ > kGiveUpTicks)
        finish();
}

void SetupController::finish()
{
    timer_->stop();
    QMap<QChar, QString> reports;
    for (auto it = latest_.cbegin(); it != latest_.cend(); ++it)
        if (it.value().second > askedAt_)
            reports.insert(it.key(), it.value().first);
    const rz48::session::CapturedSetup captured =
        rz48::session::setupFromReports(reports, now(), link_ ? link_->portPath() : QString(),
                                       firmware_ ? firmware_() : QString());
    const std::unique_ptr<Done> done = std::move(pending_);
    if (done)
        (*done)(captured.setup, captured.missing);
}

bool SetupController::refusedDuringUpdate() const
{
    if (!updating_ || !updating_())
        return false;
    rz48::showAlert(tr("An update is running: the unit's setup can be saved, loaded or compared once it has ended."));
    return true;
}

bool SetupController::chooseSetup(const QString& title, rz48::setup::Setup& setup, QString* name)
{
    const QString path = rz48::askOpenPath(title, {QLatin1String(rz48::setup::kExtension)});
    if (path.isEmpty())
        return false;
    *name = QFileInfo(path).fileName();
    int line = 0;
    QString why;
    if (rz48::setup::readSetupFile(path, setup, &line, &why))
        return true;
    if (line < 0)
        rz48::showAlert(tr("%1 cannot be read.").arg(*name), why);
    else
        rz48::showAlert(tr("%1 is not a setup file: nothing was sent.").arg(*name),
                        line == 0 ? tr("It has no setting.") : tr("Line %1: %2").arg(line).arg(why));
    return false;
}

void SetupController::menuSaveSetup()
{
    if (refusedDuringUpdate() || busy())
        return;
    const QString path = rz48::askSavePathWithExtension(tr("Save the unit's setup"), QLatin1String(rz48::setup::kExtension));
    if (path.isEmpty())
        return;
    capture([path](const rz48::setup::Setup& setup, const QStringList& missing) {
        QString error;
        if (setup.lines.isEmpty())
            rz48::showAlert(tr("The unit reported no setting: nothing was saved."), tr("Is the unit connected and answering?"));
        else if (!rz48::writeFileAtomically(path, rz48::setup::formatSetup(setup), &error))
            rz48::showError(tr("The setup could not be saved to %1.").arg(path), error);
        else if (!missing.isEmpty())
            rz48::showAlert(tr("The setup was saved without %1: the unit did not report them.").arg(missing.join(QStringLiteral(", "))),
                            path);
    });
}

void SetupController::menuLoadSetup()
{
    rz48::setup::Setup setup;
    QString name;
    if (!refusedDuringUpdate() && !busy() && chooseSetup(tr("Load a setup into the unit"), setup, &name))
        apply(setup, name);
}

void SetupController::menuCompareSetup()
{
    rz48::setup::Setup setup;
    QString name;
    if (refusedDuringUpdate() || busy() || !chooseSetup(tr("Compare a setup with the unit"), setup, &name))
        return;
    capture([this, setup, name](const rz48::setup::Setup& unit, const QStringList&) {
        showDifferences(setup, unit, tr("%1 and the unit have the same settings.").arg(name), [name](qsizetype n) {
            return n == 1 ? tr("1 setting differs between %1 and the unit.").arg(name)
                          : tr("%1 settings differ between %2 and the unit.").arg(n).arg(name);
        });
    });
}

void SetupController::menuRevertSetup()
{
    if (refusedDuringUpdate() || busy())
        return;
    if (connectionSetup_.lines.isEmpty()) {
        rz48::showAlert(tr("There is no setup from the connection to go back to."),
                        tr("It is read once the unit has answered the start-up queries."));
        return;
    }
    // It replaces every change of the session: asked first, Cancel the default.
    if (rz48::askButtons(tr("Revert the unit to the setup it had when the panel connected?"),
                         tr("Every setting changed since then goes back to what the unit reported at %1.").arg(connectedAt_),
                         {tr("Revert"), tr("Cancel")}, 1, 1)
        != 0)
        return;
    apply(connectionSetup_, tr("the setup read at connection"));
}

void SetupController::apply(const rz48::setup::Setup& setup, const QString& name)
{
    if (!link_)
        return;
    for (const QString& line : setup.lines)
        link_->sendString(line);
    capture([this, setup, name](const rz48::setup::Setup& unit, const QStringList&) {
        emit applied();
        showDifferences(setup, unit, tr("The unit now has every setting of %1.").arg(name), [name](qsizetype n) {
            return n == 1 ? tr("1 setting of %1 differs on the unit after it was sent.").arg(name)
                          : tr("%1 settings of %2 differ on the unit after it was sent.").arg(n).arg(name);
        });
    });
}

void SetupController::showDifferences(const rz48::setup::Setup& wanted, const rz48::setup::Setup& unit, const QString& same,
                                      const std::function<QString(qsizetype)>& differ)
{
    const QList<rz48::session::Difference> differences = rz48::session::compareSetup(wanted, unit);
    if (differences.isEmpty()) {
        rz48::showInformation(same, tr("Every setting of the file is the unit's."));
        return;
    }
    // In words, with the lines themselves as the detail.
    QStringList lines;
    for (const rz48::session::Difference& d : differences.mid(0, kShownDifferences))
        lines << tr("%1 (%2)").arg(rz48::setup::differenceInWords(d.letter, d.file, d.unit), rz48::session::describe(d));
    if (differences.size() > kShownDifferences)
        lines << tr("... and %1 more").arg(differences.size() - kShownDifferences);
    rz48::showInformation(differ(differences.size()), lines.join(u'\n'));
}

void SetupController::saveBeforeUpdate(std::function<void(const QString& path, const QString& error)> done)
{
    capture([done = std::move(done)](const rz48::setup::Setup& setup, const QStringList&) {
        const QString directory = updateSetupDirectory();
        const QString path = QDir(directory).filePath(
            QStringLiteral("before-update-%1.%2").arg(QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss")),
                                                      QLatin1String(rz48::setup::kExtension)));
        QString error;
        if (setup.lines.isEmpty())
            error = tr("the unit reported no setting");
        else if (!QDir().mkpath(directory))
            error = tr("%1 cannot be made").arg(directory);
        else if (!rz48::writeFileAtomically(path, rz48::setup::formatSetup(setup), &error))
            error = tr("%1: %2").arg(path, error);
        done(error.isEmpty() ? path : QString(), error);
    });
}
