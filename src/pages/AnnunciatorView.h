#pragma once
// The overlay page: the annunciator (off, rehearse, record, playback) with a
// colour pair per mode and a size, the burnt-in timecode window, the text
// lines, and the unit's control protocol (MIDI or Sony). Kept in step with the
// unit through "U", "m", "r", "t", "n" and "V". The view shows the preview its
// worker draws, and the boxes are placed by dragging them in it; its y axis
// points up, as the picture's does.
#include "pages/CuePage.h"
#include "pages/DrawAnnunciatorThread.h"

#include <QPointF>
#include <QRectF>

#include <optional>

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
    void onRadioAnnunciatorOff() { annunciatorMode(0); }
    void onRadioAnnunciatorRehearse() { annunciatorMode(1); }
    void onRadioAnnunciatorRecord() { annunciatorMode(2); }
    void onRadioAnnunciatorPlayback() { annunciatorMode(3); }
    void onShowSampleText();
    void onClearSampleText();
    void onradioButtonMidi();
    void onradioButtonSony();

    // Layout editing: true when the point lies within 20 picture pixels of
    // the rectangle (left, bottom, width, height).
    static bool closeToRect(const QPointF& point, const QRectF& rect);
    // A point of a preview area of the given size (y up) in picture pixels.
    static QPointF toPicture(const QPointF& areaPoint, const QSizeF& area);
    // The point that puts a box of the given size centred under the mouse.
    static QPointF centredUnder(const QPointF& mouse, const QSizeF& box);

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
    void buildControls();
    void annunciatorMode(int cell);
    // A size field: typed sizes are clamped from above only; a typed or
    // stepped size goes to the worker, then the overlay's command goes out.
    FieldStepper* sizeField(const char* textName, const char* stepperName, int max,
                            void (DrawAnnunciatorThread::*apply)(int), void (AnnunciatorView::*sendIt)());
    // Drops an echo of what the page just sent; true when the line is to be read.
    bool passesEchoTest();
    // What an "m" or "r" report says of its box: the colour pair, y and x of
    // `point`, then the size number (the first field, masked); that first
    // field, when the report has one.
    std::optional<int64_t> boxFromString(const QString& line, QPointF& point, QComboBox* fore, QComboBox* back,
                                         FieldStepper* size, int sizeMask, void (DrawAnnunciatorThread::*apply)(int));
    void placeBox(int item, const QPointF& mouse);
    QRectF annunciatorRect() const;
    QRectF tcRect() const;
    QRectF textRect() const;
    QSizeF annunciatorRectSize() const;
    QSizeF tcRectSize() const;

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
