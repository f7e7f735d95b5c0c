#pragma once
// The two firmware updates of the File menu and the Update tab that shows
// their progress (and the cue transfer's). Owns both update workers, reads
// the unit's version and settings block ("k" and "j" reports) that a
// microcontroller update keeps, and the cue transfer's "f" and "h" reports.
//
// An update file is checked before anything goes to the unit; one update
// runs at a time; its end is an alert as well as the Update tab's line.
#include "panel/LinkOptions.h"
#include "update/Progress.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>

class ComThread;
class FirmwareUpdateThread;
class MicroUpdateThread;
class QLabel;
class QTimer;
class QProgressBar;
class QWidget;
class ReportRouter;

class UpdateController : public QObject {
    Q_OBJECT
public:
    explicit UpdateController(QObject* parent = nullptr);
    ~UpdateController() override;

    // The Update tab: a message and a progress bar, hidden until used.
    QWidget* makeTab();
    void registerReports(ReportRouter& router);
    // `showTab` brings the Update tab forward; `makeRoom` moves other windows aside.
    void setUp(ComThread* link, const LinkOptions& options, std::function<void()> showTab, std::function<void()> makeRoom);
    // Runs once a checked file is accepted, before the update's first
    // command; the update goes on when it calls back (with where the unit's
    // setup was saved, or why it could not be).
    using BeforeUpdate = std::function<void(std::function<void(const QString& path, const QString& error)>)>;
    void setBeforeUpdate(BeforeUpdate before) { beforeUpdate_ = std::move(before); }
    // The window is closing: a running update ends first ("operation aborted, ...").
    void stop();
    // From the moment a checked file is accepted until the update's end.
    bool isUpdating() const { return updating_; }
    // Asked before the window closes: true when no update runs, or the
    // operator chose to stop it.
    bool mayClose();

    void menuFileUpdateMicro();
    void menuFileUpdateFirmware();
    Q_INVOKABLE void threadHasProgress(Progress progress);
    Q_INVOKABLE void threadUpdateComplete(Progress progress);
    // Every 100 ms: hides the progress some time after the last report.
    void timer_service();
    void checkMicroVersion(const QString& current, const QString& minimum);
    // The cue transfer under way stopped early: its result line says so.
    void transferStoppedEarly(const QString& note) { transferNote_ = note; }

signals:
    void updatingChanged(bool updating);
    // Every message of the Update tab, with its percentage.
    void progressShown(const QString& message, int percent);
    // An update succeeded and the link runs again: the unit's state is read anew.
    void linkBack();
    // A "k" report said which firmware the unit runs.
    void firmwareReported();

public:
    MicroUpdateThread* microUpdateThread() const { return micro_.get(); }
    FirmwareUpdateThread* firmwareUpdateThread() const { return firmware_.get(); }
    uint32_t progressDowncount() const { return progress_downcount; }
    const std::array<uint8_t, 256>& stateBuffer() const { return stateBuffer_; }
    uint32_t stateAddress() const { return stateAddress_; }
    uint32_t stateSize() const { return stateSize_; }
    // The firmware version of the unit's last "k" report; empty before one.
    const QString& firmwareVersion() const { return firmwareVersion_; }

private:
    enum class Kind { Micro, Fpga };
    // The loader image for a microcontroller update, or empty after an alert.
    QByteArray loaderForUpdate();
    // Refuses (with an alert) while an update runs or without a unit.
    bool mayStart();
    // Brings the Update tab forward and asks for the file: its bytes once
    // its check passed; empty when cancelled or after an alert.
    QByteArray askForFile(Kind kind);
    QByteArray checkedFile(const QString& path, Kind kind);
    void setUpdating(bool updating);
    // Waits for the "k" and "j" answers, then goes on with the update.
    void settingsWaitTick();
    void startMicroWorker(bool restoreSettings);
    // Saves the unit's setup (when a saver is set), then runs `next` unless the update was stopped meanwhile.
    void saveSetupThen(std::function<void()> next);
    void askForSettings();
    void startFpga(const QByteArray& bytes);
    // Runs `then` once the link has sent what is queued (or after `turnsLeft` short waits), unless stopped.
    void whenSent(int turnsLeft, std::function<void()> then);
    // The update's end, in an alert: what happened, what to do, the settings.
    void endAlert(const QString& message, bool versionReported = false);
    void showProgress(const Progress& progress);
    void onTransferQueued();
    void onTransferResult(uint32_t result);
    void onSettingsRecord(const QString& line);

    std::unique_ptr<MicroUpdateThread> micro_;
    std::unique_ptr<FirmwareUpdateThread> firmware_;
    ComThread* comThread_ = nullptr;
    LinkOptions options_;
    std::function<void()> showTab_;
    std::function<void()> makeRoom_;
    uint32_t progress_downcount = 0;
    int32_t fMax = 0; // never assigned: a transfer result of 0 is success
    QString transferNote_;
    std::array<uint8_t, 256> stateBuffer_ {};
    uint32_t stateAddress_ = 0;
    uint32_t stateSize_ = 0;
    QString firmwareVersion_;

    bool updating_ = false;
    Kind kind_ = Kind::Micro;
    QTimer* settingsWait_ = nullptr;
    int settingsWaitTicks_ = 0;
    bool versionAnswered_ = false;
    unsigned settingsAnswered_ = 0; // bit n: the "j" report of 0xFC00 + 16 n
    QString program_;               // the microcontroller program's text, checked
    QByteArray loader_;
    QString settingsNote_;
    QStringList fileWarnings_;      // what the checked file has that is not sent
    BeforeUpdate beforeUpdate_;
    QString setupNote_;             // for the end alert: where the unit's setup was saved          // for the end alert: what became of the settings
    bool awaitingVersion_ = false;  // a good update's alert waits for the unit's "k" report
    QProgressBar* progressBarUpdate = nullptr;
    QLabel* labelUpdate = nullptr;
};
