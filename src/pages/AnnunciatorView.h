#pragma once
// The overlay page: the annunciator (off, rehearse, record, playback) with a
// colour pair per mode and a size, the burnt-in timecode window, the text
// lines, and the unit's control protocol (MIDI or Sony). Kept in step with the
// unit through "U", "m", "r", "t", "n" and "V". The view shows the preview its
// worker draws, and the boxes are placed by dragging them in it; its y axis
// points up, as the picture's does.
#include "codecs/OverlayCodec.h"
#include "pages/CuePage.h"
#include "pages/DrawAnnunciatorThread.h"
#include "pages/OverlayBoxes.h"

#include <QPointF>
#include <QRectF>

class FieldStepper;
class QCheckBox;
class QComboBox;
class QPushButton;
class RadioMatrix;

class AnnunciatorView : public CuePage {
    Q_OBJECT
public:
    explicit AnnunciatorView(QWidget* parent = nullptr);

    void registerReports(ReportRouter& router) override;
    DrawAnnunciatorThread* thread() const { return static_cast<DrawAnnunciatorThread*>(worker()); }

    // Reports.
    void fromString(const QString& line);
    void tcFromString(const QString& line);
    void textParamsFromString(const QString& line);
    void annunciatorColorsFromString(const QString& line);
    void comFromString(const QString& line);

    // Senders.
    void sendAnnunciator();
    void sendTc();
    void sendTextParams();
    void sendAnnunciatorColors();
    void sendCom();

    // The worker's debounced position sends.
    Q_INVOKABLE void threadNeedsTx() { sendAnnunciator(); }
    Q_INVOKABLE void threadNeedsTxTc() { sendTc(); }
    Q_INVOKABLE void threadNeedsTxText() { sendTextParams(); }

    // Handlers.
    void onShowSampleText();
    void onClearSampleText();
    void onradioButtonMidi();
    void onradioButtonSony();

    // Layout editing (see OverlayBoxes).
    static bool closeToRect(const QPointF& point, const QRectF& rect) { return rz48::pages::closeToRect(point, rect); }
    static QPointF toPicture(const QPointF& areaPoint, const QSizeF& area) { return rz48::pages::toPicture(areaPoint, area); }
    static QPointF centredUnder(const QPointF& mouse, const QSizeF& box) { return rz48::pages::centredUnder(mouse, box); }

    // The settings as reported or chosen, the boxes' positions those the
    // preview last placed.
    const rz48::overlay::OverlaySettings& settings() const { return settings_; }

    // Where the preview shows each box (top-left corners, picture pixels, y up).
    QPointF annunciatorPoint;
    QPointF tcPoint;
    QPointF textPoint;

    // One for the whole program: set by each "U", "m" or "r" sent, cleared by
    // (and dropping) the next "U", "m" or "r" report.
    static bool skipEcho;
    // The box being dragged: 0 none, 1 annunciator, 2 timecode, 3 text.
    static int dragItem;

protected:
    void reset() override;
    void updatePicture() override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    using Box = rz48::pages::OverlayBox;
    using SendFn = void (AnnunciatorView::*)();

    void buildControls();
    void annunciatorMode(int cell);
    // A size field: typed sizes are clamped from above only; a typed or
    // stepped size sets the box's size and font, then its command goes out.
    FieldStepper* sizeField(const char* textName, const char* stepperName, int max, Box box, SendFn sendIt);
    // A colour list for one side of `pair`: the operator's choice writes it.
    QComboBox* colourList(const char* name, rz48::overlay::ColorPair& pair, bool text, SendFn sendIt);
    // Drops an echo of what the page just sent; true when the line is to be read.
    bool passesEchoTest();
    // An "m" or "r" report's box: its point from the fields it had (x the
    // second, y the third), then its size and font.
    void showBox(Box box, size_t fields, QPointF& point, FieldStepper* size);
    // Shows what an "m" or "r" report left of its box.
    void boxReport(Box which, size_t fields);
    void showPair(const rz48::overlay::ColorPair& pair, QComboBox* text, QComboBox* box);
    void showAnnunciator();
    void placeBox(int item, const QPointF& mouse);
    int& fontOf(Box box);
    OverlayPicture picture() const;
    rz48::pages::OverlayBoxes boxes() const { return rz48::pages::placeBoxes(picture()); }

    rz48::overlay::OverlaySettings settings_;
    rz48::pages::OverlayFonts fonts_;

    QComboBox* comboBoxAnnunciatorForeground = nullptr;
    QComboBox* comboBoxAnnunciatorBackground = nullptr;
    QComboBox* comboBoxAnnunciatorForegroundRecord = nullptr;
    QComboBox* comboBoxAnnunciatorBackgroundRecord = nullptr;
    QComboBox* comboBoxAnnunciatorForegroundPlayback = nullptr;
    QComboBox* comboBoxAnnunciatorBackgroundPlayback = nullptr;
    FieldStepper* annunciatorSize_ = nullptr;
    RadioMatrix* matrixAnnunciator = nullptr;
    QComboBox* comboBoxTcForeground = nullptr;
    QComboBox* comboBoxTcBackground = nullptr;
    FieldStepper* tcSize_ = nullptr;
    QCheckBox* checkBoxTcVisible = nullptr;
    RadioMatrix* matrixCom = nullptr;
    QComboBox* comboBoxTextForeground = nullptr;
    QComboBox* comboBoxTextBackground = nullptr;
    FieldStepper* textSize_ = nullptr;
    QPushButton* showSampleText = nullptr;
    QPushButton* clearSampleText = nullptr;
};
