#pragma once
// The controller of the panel window: creates the long-lived objects, finds
// the unit, sends the start-up queries, turns every received chunk into
// report lines, applies each report to the controls (a report never sends
// anything back) and holds the main tab's controls and their senders.
#include "link/MsgClass.h"
#include "update/Progress.h"

#include <QElapsedTimer>
#include <QWidget>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>

class AnnunciatorView;
class ComThread;
class CueDocument;
class FirmwareUpdateThread;
class MicroUpdateThread;
class MonitorView;
class PunchView;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QProgressBar;
class QTabWidget;
class QTimer;
class RadioMatrix;
class Stepper;

// Where the link looks for the unit.
struct LinkOptions {
    QString searchDirectory;   // empty: the default ("/dev")
    QString explicitPort;      // set: only this port is probed
    std::function<bool()> driverCheck; // set: replaces the platform's USB serial driver check
    // The microcontroller loader image: read from this file when set, else
    // from the default places; a built-in emulated unit hands its own.
    QString loaderPath;
    QByteArray simulatedLoader;
    bool simulated = false;
};

class rz48View : public QWidget {
    Q_OBJECT
public:
    explicit rz48View(QWidget* parent = nullptr);
    ~rz48View() override;

    // The start-up sequence, run once the window exists.
    void awakeFromNib(const LinkOptions& options = {});
    void initColorPanel();

    // The link's thread hands every chunk it reads to this, on the main thread.
    Q_INVOKABLE void threadHasMsg(MsgClass chunk);
    void processRxString(const QString& line);
    void timer_service();
    void checkMicroVersion(const QString& current, const QString& minimum);
    // The panel's own window is closing: stop the link.
    void windowClosing();
    // The cue sheet of the File menu.
    void menuFileSave();
    void menuFileOpen();
    // Whether the panel may close: unsaved cue list edits are offered for saving.
    bool mayClose();
    // The two updates of the File menu, and their workers' reports.
    void menuFileUpdateMicro();
    void menuFileUpdateFirmware();
    Q_INVOKABLE void threadHasProgress(Progress progress);
    Q_INVOKABLE void threadUpdateComplete(Progress progress);
    MicroUpdateThread* microUpdateThread() const { return microUpdateThread_.get(); }
    FirmwareUpdateThread* firmwareUpdateThread() const { return firmwareUpdateThread_.get(); }

    // --- main tab senders and handlers ---
    void sendRate();
    void onRadioButtonRefFlat();
    void onRadioButtonRefPulldown();
    void onRadioButtonRefAuto();
    void onRadioButtonHdmi();
    void onRadioButtonSdi();
    void onCheckBoxStreamerEndPunch();
    void sendBarsAndGray();
    void onCheckBoxBars();
    void onCheckBoxGrayScale();
    void sendMasking();
    void onTextBoxMaskingTop() { onTextBoxMasking(0); }
    void onTextBoxMaskingBottom() { onTextBoxMasking(1); }
    void onTextBoxMaskingLeft() { onTextBoxMasking(2); }
    void onTextBoxMaskingRight() { onTextBoxMasking(3); }
    void onTextBoxMaskingTransparency() { onTextBoxMasking(4); }
    void onStepperMaskingTop() { onStepperMasking(0); }
    void onStepperMaskingBottom() { onStepperMasking(1); }
    void onStepperMaskingLeft() { onStepperMasking(2); }
    void onStepperMaskingRight() { onStepperMasking(3); }
    void onStepperMaskingTransparency() { onStepperMasking(4); }
    void sendPopEnables();
    void onCheckBoxPopStreamerAccum();
    void onCheckBoxPopStreamer();
    void onCheckBoxPopPunch();
    void onRadioPopEnable();
    void onRadioLtcEnable();
    void onComboBoxSdiGenerator();
    void onCheckBoxBypass();
    void sendTrim();
    void onStepperDelayTrim();
    void onTextDelayTrim();
    void oncomboBoxInputColorSpace();
    void onButtonGetHdmiTiming();
    void onButtonStreamerFields();
    void onTextDebugTx();
    void onButtonClearDebugRx();
    void onButtonTest();

    // What a drag of file names over the panel is offered (the drop itself
    // is always refused).
    static Qt::DropAction dragOperationFor(const class QMimeData* data, Qt::DropActions allowed);

    // --- state ---
    ComThread* comThread() const { return comThread_.get(); }
    MsgClass* msg() const { return msg_.get(); }
    int tag() const { return tag_; }
    uint32_t progressDowncount() const { return progress_downcount; }
    const std::array<uint8_t, 256>& stateBuffer() const { return stateBuffer_; }
    uint32_t stateAddress() const { return stateAddress_; }
    uint32_t stateSize() const { return stateSize_; }
    QTimer* timer() const { return aTimer; }
    QTabWidget* tabView() const { return tabViewRz48; }
    CueDocument* cueDocument() const { return cueDocument_.get(); }
    MonitorView* monitorView() const { return monitorView_; }
    PunchView* punchView() const { return punchView_; }
    AnnunciatorView* annunciatorView() const { return annunciatorView_; }
    // True once the start-up reports have come in and the link is quiet.
    bool startupSettled() const;
    int linesProcessed() const { return linesProcessed_; }

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void buildWindow();
    QWidget* buildMainTab();
    void onTextBoxMasking(int edge);
    void onStepperMasking(int edge);
    void send(const QString& command);
    void showPopEnables(int32_t bits);
    // The loader image for a microcontroller update, or empty after an alert.
    QByteArray loaderForUpdate();
    void showProgress(const Progress& progress);

    // Long-lived objects.
    std::unique_ptr<MsgClass> msg_;
    std::unique_ptr<ComThread> comThread_;
    std::unique_ptr<FirmwareUpdateThread> firmwareUpdateThread_;
    std::unique_ptr<MicroUpdateThread> microUpdateThread_;
    std::unique_ptr<CueDocument> cueDocument_;
    LinkOptions options_;
    QTimer* aTimer = nullptr;
    int tag_ = 0;
    uint32_t progress_downcount = 0;
    int32_t fMax = 0; // never assigned: a transfer result of 0 is success
    [[maybe_unused]] int32_t fCtr = 0; // unused
    std::array<uint8_t, 256> stateBuffer_ {};
    uint32_t stateAddress_ = 0;
    uint32_t stateSize_ = 0;
    // The two scratch values of the report fields: a missing field keeps
    // the last value read into the same one.
    uint32_t hexScratch_ = 0;
    int32_t decScratch_ = 0;
    QElapsedTimer lastRx_;
    QElapsedTimer sinceStart_;
    int linesProcessed_ = 0;
    bool started_ = false;
    QList<QPair<QString, QColor>> colorList_;

    // Controls.
    QTabWidget* tabViewRz48 = nullptr;
    MonitorView* monitorView_ = nullptr;
    PunchView* punchView_ = nullptr;
    AnnunciatorView* annunciatorView_ = nullptr;
    RadioMatrix* rateMatrix = nullptr;
    RadioMatrix* priorityMatrix = nullptr;
    RadioMatrix* popMatrix = nullptr;
    QCheckBox* checkBoxStreamerEndPunch = nullptr;
    QCheckBox* checkBoxBars = nullptr;
    QCheckBox* checkBoxGrayScale = nullptr;
    QCheckBox* checkBoxBypass = nullptr;
    QCheckBox* checkBoxExtendedTiming = nullptr;
    QCheckBox* checkBoxPopStreamerAccum = nullptr;
    QCheckBox* checkBoxPopPunch = nullptr;
    QCheckBox* checkBoxPopStreamer = nullptr;
    QCheckBox* checkBoxTimer = nullptr;
    std::array<QLineEdit*, 5> textBoxMasking {};
    std::array<Stepper*, 5> stepperMasking {};
    QComboBox* comboBoxSdiGenerator = nullptr;
    QComboBox* myColorSpaceComboBox = nullptr;
    Stepper* stepperDelayTrim = nullptr;
    QLineEdit* textDelayTrim = nullptr;
    QLineEdit* textDebugTx = nullptr;
    QPlainTextEdit* textViewDebugRx = nullptr;
    QProgressBar* progressBarUpdate = nullptr;
    QLabel* labelUpdate = nullptr;
};
