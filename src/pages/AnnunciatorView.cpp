#include "pages/AnnunciatorView.h"

#include "codecs/ReportRouter.h"
#include "codecs/OverlayCodec.h"
#include "common/Picture.h"
#include "widgets/FieldStepper.h"
#include "widgets/RadioMatrix.h"
#include "widgets/WidgetFactory.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>

using namespace rz48::widgets;
namespace overlay = rz48::overlay;

bool AnnunciatorView::skipEcho = false;
int AnnunciatorView::dragItem = 0;

namespace {

enum DragItem { None = 0, Annunciator = 1, Timecode = 2, Text = 3 };
enum Request { MoveAnnunciator = 1, RedrawOnly = 2, MoveTimecode = 3, MoveText = 4 };

// A colour list keeps the number a report gave it (as a property) until
// the operator chooses: a number the list does not have selects nothing,
// and is still what the page sends back.
constexpr const char* kReported = "reportedNumber";
constexpr const char* kReportedPair = "reportedPair"; // on the text colour's list: the whole pair field

void selectQuietly(QComboBox* combo, int64_t index)
{
    setQuietly(combo, [&](QComboBox* c) { c->setCurrentIndex(index >= 0 && index < c->count() ? int(index) : -1); });
    combo->setProperty(kReported, qlonglong(index));
    combo->setProperty(kReportedPair, QVariant());
}

void selectPairQuietly(QComboBox* text, QComboBox* box, uint32_t pair)
{
    selectQuietly(box, overlay::pairBox(pair));
    selectQuietly(text, overlay::pairText(pair));
    text->setProperty(kReportedPair, qlonglong(pair));
}

// A colour list whose reported number gives way to any change not made by a
// report (reports change it with its signals blocked), before any handler
// of the operator's choice runs.
QComboBox* colourList(const char* name, QWidget* parent)
{
    QComboBox* combo = rz48::widgets::colorCombo(name, parent);
    const auto chosen = [combo] {
        combo->setProperty(kReported, QVariant());
        combo->setProperty(kReportedPair, QVariant());
    };
    QObject::connect(combo, &QComboBox::currentIndexChanged, combo, chosen);
    QObject::connect(combo, &QComboBox::activated, combo, chosen);
    return combo;
}

int selected(const QComboBox* combo)
{
    const QVariant reported = combo->property(kReported);
    return reported.isValid() ? int(reported.toLongLong()) : std::max(combo->currentIndex(), 0);
}

// The pair field as reported while neither list was changed since, else text + 16 x box.
int pairOf(const QComboBox* text, const QComboBox* box)
{
    const QVariant pair = text->property(kReportedPair);
    if (pair.isValid() && text->property(kReported).isValid() && box->property(kReported).isValid())
        return int(pair.toLongLong());
    return overlay::colorPair(selected(text), selected(box));
}

} // namespace

AnnunciatorView::AnnunciatorView(QWidget* parent)
    : CuePage(QStringLiteral("annunciatorView"), QStringLiteral("overlayControls"),
              "PunchView thread is nil!\n", // the punch page's words, kept
              []() -> std::unique_ptr<PreviewWorker> { return std::make_unique<DrawAnnunciatorThread>(); }, parent)
{
    buildControls();
}

FieldStepper* AnnunciatorView::sizeField(const char* textName, const char* stepperName, int max,
                                         void (DrawAnnunciatorThread::*apply)(int), void (AnnunciatorView::*sendIt)())
{
    FieldStepper::Rule rule;
    rule.rewriteAboveMaximum = true;
    auto* field = new FieldStepper(QLatin1String(textName), QLatin1String(stepperName), 0, max, rule, {}, controls_);
    connect(field, &FieldStepper::edited, this, [this, field, apply, sendIt] {
        if (thread())
            (thread()->*apply)(field->entered());
        (this->*sendIt)();
    });
    return field;
}

void AnnunciatorView::buildControls()
{
    auto* layout = new QVBoxLayout(controls_);

    auto* annunciator = new QGroupBox(tr("Annunciator"), controls_);
    auto* aForm = new QGridLayout(annunciator);
    matrixAnnunciator = new RadioMatrix(QStringLiteral("matrixAnnunciator"),
                                        {tr("Off"), tr("Rehearse"), tr("Record"), tr("Playback")}, Qt::Horizontal);
    aForm->addWidget(matrixAnnunciator, 0, 0, 1, 3);
    comboBoxAnnunciatorForeground = colourList("comboBoxAnnunciatorForeground", controls_);
    comboBoxAnnunciatorBackground = colourList("comboBoxAnnunciatorBackground", controls_);
    comboBoxAnnunciatorForegroundRecord = colourList("comboBoxAnnunciatorForegroundRecord", controls_);
    comboBoxAnnunciatorBackgroundRecord = colourList("comboBoxAnnunciatorBackgroundRecord", controls_);
    comboBoxAnnunciatorForegroundPlayback = colourList("comboBoxAnnunciatorForegroundPlayback", controls_);
    comboBoxAnnunciatorBackgroundPlayback = colourList("comboBoxAnnunciatorBackgroundPlayback", controls_);
    const QStringList modes {tr("Rehearse"), tr("Record"), tr("Playback")};
    QComboBox* pairs[3][2] = {{comboBoxAnnunciatorForeground, comboBoxAnnunciatorBackground},
                              {comboBoxAnnunciatorForegroundRecord, comboBoxAnnunciatorBackgroundRecord},
                              {comboBoxAnnunciatorForegroundPlayback, comboBoxAnnunciatorBackgroundPlayback}};
    for (int i = 0; i < 3; ++i) {
        aForm->addWidget(new QLabel(modes[i], controls_), i + 1, 0);
        aForm->addWidget(pairs[i][0], i + 1, 1);
        aForm->addWidget(pairs[i][1], i + 1, 2);
        for (QComboBox* combo : pairs[i])
            connect(combo, &QComboBox::activated, this, &AnnunciatorView::sendAnnunciatorColors);
    }
    aForm->addWidget(new QLabel(tr("Size"), controls_), 4, 0);
    annunciatorSize_ = sizeField("textAnnunciatorSize", "stepperAnnunciatorSize", 2, &DrawAnnunciatorThread::setAnnunciatorSize,
                                 &AnnunciatorView::sendAnnunciator);
    aForm->addWidget(annunciatorSize_, 4, 1, 1, 2);
    layout->addWidget(annunciator);

    auto* timecode = new QGroupBox(tr("Timecode window"), controls_);
    auto* tForm = new QGridLayout(timecode);
    checkBoxTcVisible = checkBox(QStringLiteral("checkBoxTcVisible"), tr("Visible"), controls_);
    comboBoxTcForeground = colourList("comboBoxTcForeground", controls_);
    comboBoxTcBackground = colourList("comboBoxTcBackground", controls_);
    tForm->addWidget(checkBoxTcVisible, 0, 0);
    tForm->addWidget(comboBoxTcForeground, 0, 1);
    tForm->addWidget(comboBoxTcBackground, 0, 2);
    tForm->addWidget(new QLabel(tr("Size"), controls_), 1, 0);
    tcSize_ = sizeField("textTcSize", "stepperTcSize", 4, &DrawAnnunciatorThread::setTcSize, &AnnunciatorView::sendTc);
    tForm->addWidget(tcSize_, 1, 1, 1, 2);
    layout->addWidget(timecode);

    auto* text = new QGroupBox(tr("Text lines"), controls_);
    auto* xForm = new QGridLayout(text);
    comboBoxTextForeground = colourList("comboBoxTextForeground", controls_);
    comboBoxTextBackground = colourList("comboBoxTextBackground", controls_);
    showSampleText = button(QStringLiteral("showSampleText"), tr("Show sample"), controls_);
    clearSampleText = button(QStringLiteral("clearSampleText"), tr("Clear"), controls_);
    xForm->addWidget(new QLabel(tr("Colours"), controls_), 0, 0);
    xForm->addWidget(comboBoxTextForeground, 0, 1);
    xForm->addWidget(comboBoxTextBackground, 0, 2);
    xForm->addWidget(new QLabel(tr("Size"), controls_), 1, 0);
    textSize_ = sizeField("textTextSize", "stepperTextSize", 3, &DrawAnnunciatorThread::setTextSize, &AnnunciatorView::sendTextParams);
    xForm->addWidget(textSize_, 1, 1, 1, 2);
    xForm->addWidget(showSampleText, 2, 1);
    xForm->addWidget(clearSampleText, 2, 2);
    layout->addWidget(text);

    auto* protocol = new QGroupBox(tr("Control protocol"), controls_);
    auto* pLayout = new QHBoxLayout(protocol);
    matrixCom = new RadioMatrix(QStringLiteral("matrixCom"), {tr("MIDI"), tr("Sony")}, Qt::Horizontal);
    pLayout->addWidget(matrixCom);
    layout->addWidget(protocol);
    layout->addStretch(1);

    connect(matrixAnnunciator, &RadioMatrix::cellClicked, this, &AnnunciatorView::annunciatorMode);
    connect(matrixCom, &RadioMatrix::cellClicked, this, [this](int cell) {
        if (cell == 0) onradioButtonMidi();
        else onradioButtonSony();
    });
    connect(comboBoxTcForeground, &QComboBox::activated, this, &AnnunciatorView::sendTc);
    connect(comboBoxTcBackground, &QComboBox::activated, this, &AnnunciatorView::sendTc);
    connect(checkBoxTcVisible, &QCheckBox::toggled, this, &AnnunciatorView::sendTc);
    connect(comboBoxTextForeground, &QComboBox::activated, this, &AnnunciatorView::sendTextParams);
    connect(comboBoxTextBackground, &QComboBox::activated, this, &AnnunciatorView::sendTextParams);
    connect(showSampleText, &QPushButton::clicked, this, &AnnunciatorView::onShowSampleText);
    connect(clearSampleText, &QPushButton::clicked, this, &AnnunciatorView::onClearSampleText);
}

void AnnunciatorView::registerReports(ReportRouter& router)
{
    using Fields = ReportRouter::Fields;
    router.on({'U'}, [this](const QString& line, Fields&) { fromString(line); });
    router.on({'m'}, [this](const QString& line, Fields&) { tcFromString(line); });
    router.on({'n'}, [this](const QString& line, Fields&) { comFromString(line); });
    router.on({'r'}, [this](const QString& line, Fields&) { textParamsFromString(line); });
    router.on({'t'}, [this](const QString& line, Fields&) { annunciatorColorsFromString(line); });
}

void AnnunciatorView::reset()
{
    skipEcho = false;
    dragItem = None;
}

void AnnunciatorView::updatePicture()
{
    thread()->setPicture({annunciatorPoint, tcPoint, textPoint});
}

QRectF AnnunciatorView::annunciatorRect() const { return thread() ? thread()->annunciatorRect() : QRectF(); }
QRectF AnnunciatorView::tcRect() const { return thread() ? thread()->tcRect() : QRectF(); }
QRectF AnnunciatorView::textRect() const { return thread() ? thread()->textRect() : QRectF(); }
QSizeF AnnunciatorView::annunciatorRectSize() const { return thread() ? thread()->annunciatorRectSize() : QSizeF(); }
QSizeF AnnunciatorView::tcRectSize() const { return thread() ? thread()->tcRectSize() : QSizeF(); }

// ---------------------------------------------------------------- sending

void AnnunciatorView::sendAnnunciator()
{
    const int mode = std::max(matrixAnnunciator->selectedCell(), 0);
    const QRectF r = annunciatorRect();
    send(overlay::annunciatorCommand(mode, selected(comboBoxAnnunciatorForeground), selected(comboBoxAnnunciatorBackground),
                                     overlay::positionX(r.x()), overlay::positionY(r.y(), r.height()),
                                     int(annunciatorSize_->value())));
    skipEcho = true;
}

void AnnunciatorView::sendTc()
{
    const QRectF r = tcRect();
    send(overlay::timecodeCommand(int(tcSize_->value()), checkBoxTcVisible->isChecked(), overlay::positionX(r.x()),
                                  overlay::positionY(r.y(), r.height()), pairOf(comboBoxTcForeground, comboBoxTcBackground)));
    skipEcho = true;
}

void AnnunciatorView::sendTextParams()
{
    const QRectF r = textRect();
    send(overlay::textParamsCommand(int(textSize_->value()), overlay::positionX(r.x()), overlay::positionY(r.y(), r.height()),
                                    pairOf(comboBoxTextForeground, comboBoxTextBackground)));
    skipEcho = true;
}

void AnnunciatorView::sendAnnunciatorColors()
{
    send(overlay::annunciatorColorsCommand(
        pairOf(comboBoxAnnunciatorForeground, comboBoxAnnunciatorBackground),
        pairOf(comboBoxAnnunciatorForegroundRecord, comboBoxAnnunciatorBackgroundRecord),
        pairOf(comboBoxAnnunciatorForegroundPlayback, comboBoxAnnunciatorBackgroundPlayback)));
}

void AnnunciatorView::sendCom()
{
    send(overlay::comCommand(matrixCom->isCellOn(1)));
}

// ---------------------------------------------------------------- reports

bool AnnunciatorView::passesEchoTest()
{
    if (!skipEcho)
        return true;
    skipEcho = false;
    return false;
}

void AnnunciatorView::fromString(const QString& line)
{
    if (!passesEchoTest())
        return;
    matrixAnnunciator->setAllOff();
    const std::vector<int64_t> f = overlay::reportNumbers(line, 6, false);
    const size_t n = f.size();
    if (n >= 6) {
        annunciatorSize_->setQuietly(f[5]);
        if (thread())
            thread()->setAnnunciatorSize(int(f[5]));
    }
    if (n >= 5)
        annunciatorPoint.setY(rz48::kPictureHeight - double(f[4]) * 4 - annunciatorRectSize().height());
    if (n >= 4)
        annunciatorPoint.setX(double(f[3]) * 8);
    if (n >= 3)
        selectQuietly(comboBoxAnnunciatorBackground, f[2]);
    if (n >= 2)
        selectQuietly(comboBoxAnnunciatorForeground, f[1]);
    if (n >= 1 && f[0] >= 0 && f[0] < matrixAnnunciator->cellCount())
        matrixAnnunciator->setCellOn(int(f[0]), true);
    setDraw(RedrawOnly);
}

std::optional<int64_t> AnnunciatorView::boxFromString(const QString& line, QPointF& point, QComboBox* fore, QComboBox* back,
                                                     FieldStepper* size, int sizeMask, void (DrawAnnunciatorThread::*apply)(int))
{
    const std::vector<int64_t> f = overlay::reportNumbers(line, 4, false);
    const size_t n = f.size();
    if (n >= 4)
        selectPairQuietly(fore, back, uint32_t(f[3]));
    if (n >= 3) // deliberately the timecode box's height for the text box too
        point.setY(rz48::kPictureHeight - double(f[2]) * 4 - tcRectSize().height());
    if (n >= 2)
        point.setX(double(f[1]) * 8);
    if (n == 0)
        return std::nullopt;
    const int number = int(f[0] & sizeMask);
    size->setQuietly(number);
    if (thread())
        (thread()->*apply)(number);
    return f[0];
}

void AnnunciatorView::tcFromString(const QString& line)
{
    if (!passesEchoTest())
        return;
    if (const std::optional<int64_t> first = boxFromString(line, tcPoint, comboBoxTcForeground, comboBoxTcBackground, tcSize_,
                                                           7, &DrawAnnunciatorThread::setTcSize))
        setQuietly(checkBoxTcVisible, [&](QCheckBox* b) { b->setChecked((*first & 0x80) != 0); });
    setDraw(RedrawOnly);
}

void AnnunciatorView::textParamsFromString(const QString& line)
{
    if (!passesEchoTest())
        return;
    boxFromString(line, textPoint, comboBoxTextForeground, comboBoxTextBackground, textSize_, 3, &DrawAnnunciatorThread::setTextSize);
    setDraw(RedrawOnly);
}

void AnnunciatorView::annunciatorColorsFromString(const QString& line)
{
    const std::vector<int64_t> f = overlay::reportNumbers(line, 3, true);
    QComboBox* pairs[3][2] = {{comboBoxAnnunciatorForeground, comboBoxAnnunciatorBackground},
                              {comboBoxAnnunciatorForegroundRecord, comboBoxAnnunciatorBackgroundRecord},
                              {comboBoxAnnunciatorForegroundPlayback, comboBoxAnnunciatorBackgroundPlayback}};
    for (size_t i = f.size(); i-- > 0;)
        selectPairQuietly(pairs[i][0], pairs[i][1], uint32_t(f[i]));
}

void AnnunciatorView::comFromString(const QString& line)
{
    matrixCom->setAllOff();
    const std::vector<int64_t> f = overlay::reportNumbers(line, 1, false);
    if (!f.empty() && f[0] >= 0 && f[0] < matrixCom->cellCount())
        matrixCom->setCellOn(int(f[0]), true);
}

// ---------------------------------------------------------------- handlers

void AnnunciatorView::annunciatorMode(int cell)
{
    for (int i = 0; i < matrixAnnunciator->cellCount(); ++i)
        matrixAnnunciator->setCellOn(i, i == cell);
    sendAnnunciator();
}

void AnnunciatorView::onShowSampleText()
{
    send(overlay::sampleTextCommand());
}

void AnnunciatorView::onClearSampleText()
{
    send(QString::fromLatin1(overlay::kClearTextCommand));
}

void AnnunciatorView::onradioButtonMidi()
{
    matrixCom->setCellOn(0, true);
    matrixCom->setCellOn(1, false);
    sendCom();
}

void AnnunciatorView::onradioButtonSony()
{
    matrixCom->setCellOn(0, false);
    matrixCom->setCellOn(1, true);
    sendCom();
}

// ---------------------------------------------------------------- layout editing

bool AnnunciatorView::closeToRect(const QPointF& p, const QRectF& r)
{
    const double left = r.x() - 20, bottom = r.y() - 20;
    const double right = left + r.width() + 40, top = bottom + r.height() + 40;
    return left <= p.x() && p.x() < right && bottom <= p.y() && p.y() < top;
}

QPointF AnnunciatorView::toPicture(const QPointF& p, const QSizeF& area)
{
    return {p.x() * rz48::kPictureWidth / area.width(), p.y() * rz48::kPictureHeight / area.height()};
}

QPointF AnnunciatorView::centredUnder(const QPointF& mouse, const QSizeF& box)
{
    return {mouse.x() - box.width() * 0.5, mouse.y() + box.height() * 0.5};
}

void AnnunciatorView::placeBox(int item, const QPointF& mouse)
{
    switch (item) {
    case Annunciator:
        annunciatorPoint = centredUnder(mouse, annunciatorRect().size());
        setDraw(MoveAnnunciator);
        break;
    case Timecode:
        tcPoint = centredUnder(mouse, tcRect().size());
        setDraw(MoveTimecode);
        break;
    case Text:
        textPoint = centredUnder(mouse, textRect().size());
        setDraw(MoveText);
        break;
    default:
        break;
    }
}

void AnnunciatorView::mousePressEvent(QMouseEvent* event)
{
    const QPointF p = event->position();
    if (event->button() != Qt::LeftButton || !rect().contains(p.toPoint()) || width() <= 0 || height() <= 0) {
        PreviewView::mousePressEvent(event); // only the primary button picks up a box
        return;
    }
    // Qt's y grows downward; the page's points up.
    const QPointF mouse = toPicture({p.x(), height() - p.y()}, size());
    if (closeToRect(mouse, annunciatorRect()))
        dragItem = Annunciator;
    else if (closeToRect(mouse, textRect()))
        dragItem = Text;
    else if (closeToRect(mouse, tcRect()))
        dragItem = Timecode;
    else
        dragItem = None;
    placeBox(dragItem, mouse);
}

void AnnunciatorView::mouseMoveEvent(QMouseEvent* event)
{
    const QPointF p = event->position();
    if (!(event->buttons() & Qt::LeftButton) || !rect().contains(p.toPoint()) || width() <= 0 || height() <= 0) {
        PreviewView::mouseMoveEvent(event);
        return;
    }
    placeBox(dragItem, toPicture({p.x(), height() - p.y()}, size()));
}

void AnnunciatorView::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        dragItem = None;
    PreviewView::mouseReleaseEvent(event);
}
