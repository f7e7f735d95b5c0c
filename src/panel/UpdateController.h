#pragma once
// The File menu's two firmware updates and the Update tab that shows their
// progress (and the cue transfer's "f" and "h" reports). The window's side
// of an update: the menu commands, the file prompt and its check, the
// question before quitting; the procedure itself runs in the update layer.
#include "panel/LinkOptions.h"
#include "update/UpdateProcedure.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>

class QLabel;
class QProgressBar;
class QWidget;
class ReportRouter;

namespace rz48::link {
class UnitLink;
}

class UpdateController : public QObject {
    Q_OBJECT
public:
    explicit UpdateController(QObject* parent = nullptr);
    ~UpdateController() override;

    // The Update tab: a message and a progress bar, hidden until used.
    QWidget* makeTab();
    void registerReports(ReportRouter& router);
    // `showTab` brings the Update tab forward; `makeRoom` moves other windows aside.
    void setUp(rz48::link::UnitLink* link, const LinkOptions& options, std::function<void()> showTab, std::function<void()> makeRoom);
    void setBeforeUpdate(rz48::update::UpdateProcedure::BeforeUpdate before) { procedure_->setBeforeUpdate(std::move(before)); }
    // The window is closing: a running update ends first ("operation aborted, ...").
    void stop()
    {
        procedure_->stop();
        link_ = nullptr;
    }
    // From the moment a checked file is accepted until the update's end.
    bool isUpdating() const { return procedure_->isUpdating(); }
    // Asked before the window closes: true when no update runs, or the
    // operator chose to stop it.
    bool mayClose();

    void menuFileUpdateMicro();
    void menuFileUpdateFirmware();
    // Every 100 ms: hides the progress some time after the last report.
    void timer_service();
    void checkMicroVersion(const QString& current, const QString& minimum) { procedure_->checkMicroVersion(current, minimum); }
    // The cue transfer under way stopped early: its result line says so.
    void transferStoppedEarly(const QString& note) { transferNote_ = note; }

    MicroUpdateThread* microUpdateThread() const { return procedure_->microUpdateThread(); }
    FirmwareUpdateThread* firmwareUpdateThread() const { return procedure_->firmwareUpdateThread(); }
    uint32_t progressDowncount() const { return progress_downcount; }
    const std::array<uint8_t, 256>& stateBuffer() const { return procedure_->stateBuffer(); }
    uint32_t stateAddress() const { return procedure_->stateAddress(); }
    uint32_t stateSize() const { return procedure_->stateSize(); }
    // The firmware version of the unit's last "k" report; empty before one.
    const QString& firmwareVersion() const { return procedure_->unitVersion().version; }
    const rz48::UnitVersion& unitVersion() const { return procedure_->unitVersion(); }

signals:
    void updatingChanged(bool updating);
    // Every message of the Update tab, with its percentage.
    void progressShown(const QString& message, int percent);
    // An update succeeded and the link runs again: the unit's state is read anew.
    void linkBack();
    // A "k" report said which firmware the unit runs.
    void firmwareReported();
    // The transfer's progress hides after so many timer ticks from now.
    void countingDown();

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
    void showProgress(const Progress& progress);
    void onTransferQueued();
    void onTransferResult(uint32_t result);

    rz48::update::UpdateProcedure* procedure_;
    rz48::link::UnitLink* link_ = nullptr;
    LinkOptions options_;
    std::function<void()> showTab_;
    std::function<void()> makeRoom_;
    uint32_t progress_downcount = 0;
    int32_t fMax = 0; // never assigned: a transfer result of 0 is success
    QString transferNote_;
    QStringList fileWarnings_; // what the checked file has that is not sent
    QProgressBar* progressBarUpdate = nullptr;
    QLabel* labelUpdate = nullptr;
};
