#pragma once
// The panel's main tab: the video path (reference, priority, bars, masking,
// pop and LTC, test generator, bypass, delay trim, colour space), one-shot
// requests, and the console of everything the unit reports. Owns the "A",
// "G", "H", "J", "M", "Q", "X" and "Y" reports; every user action sends its
// command at once.
#include "codecs/MainTabCodec.h"

#include <QWidget>

#include <array>
#include <map>
#include <cstdint>

namespace rz48::link {
class UnitLink;
}
class FieldStepper;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QPlainTextEdit;
class RadioMatrix;
class ReportRouter;

class MainTab : public QWidget {
    Q_OBJECT
public:
    explicit MainTab(QWidget* parent = nullptr);

    void setLink(rz48::link::UnitLink* link) { link_ = link; }
    void registerReports(ReportRouter& router);
    // The start-up values of the lists and the timer box.
    void awakeFromNib();
    // One report line, as the console shows it.
    void appendConsole(const QString& line);

    void sendRate();
    void onRadioButtonRef(int cell);
    void onRadioButtonPriority(int cell);
    void sendBarsAndGray();
    void sendMasking();
    void sendPopEnables();
    void onCheckBoxPopStreamerAccum();
    void onCheckBoxPopStreamer();
    void onRadioPop(int cell);
    void onComboBoxSdiGenerator();
    void onCheckBoxBypass();
    void sendTrim();
    void oncomboBoxInputColorSpace();
    void onButtonGetHdmiTiming();
    void onButtonStreamerFields();
    void onTextDebugTx();
    void onButtonClearDebugRx();
    // The framing self-test: frames lines and a system-exclusive message,
    // prints what comes back out and returns it; true in `passed` when it
    // is what the framing must give.
    QString onButtonTest(bool* passed = nullptr);

private:
    void send(const QString& command);
    // Shows what a report of the letter set, its controls quietly.
    void showReport(char letter);

    rz48::maintab::Settings reported_; // the last reports' values
    // The controls of each letter not reported yet: empty and disabled, so
    // that nothing is shown the unit did not say.
    std::map<char, QList<QWidget*>> awaiting_;

    rz48::link::UnitLink* link_ = nullptr;
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
    std::array<FieldStepper*, 5> masking_ {};
    FieldStepper* trim_ = nullptr;
    QComboBox* comboBoxSdiGenerator = nullptr;
    QComboBox* myColorSpaceComboBox = nullptr;
    QLineEdit* textDebugTx = nullptr;
    QPlainTextEdit* textViewDebugRx = nullptr;
};
