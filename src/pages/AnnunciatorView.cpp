#include "pages/AnnunciatorView.h"

#include "link/ReportRouter.h"
#include "common/Picture.h"
#include "widgets/FieldStepper.h"
#include "widgets/RadioMatrix.h"
#include "widgets/WidgetFactory.h"

#include <QCheckBox>
#include <QComboBox>
#include <QMouseEvent>

using namespace rz48::widgets;
namespace overlay = rz48::overlay;
using rz48::pages::OverlayBox;

bool AnnunciatorView::skipEcho = false;
int AnnunciatorView::dragItem = 0;

namespace {

enum DragItem { None = 0, Annunciator = 1, Timecode = 2, Text = 3 };
enum Request { MoveAnnunciator = 1, RedrawOnly = 2, MoveTimecode = 3, MoveText = 4 };

// A list shows a reported number it has; one it lacks selects nothing.
void showNumber(QComboBox* combo, int64_t number)
{
    setQuietly(combo, [&](QComboBox* c) { c->setCurrentIndex(number >= 0 && number < c->count() ? int(number) : -1); });
}

} // namespace

AnnunciatorView::AnnunciatorView(QWidget* parent)
    : CuePage(QStringLiteral("annunciatorView"), QStringLiteral("overlayControls"),
              "PunchView thread is nil!\n", // the punch page's words, kept
              &make<DrawAnnunciatorThread>, parent)
{
    buildControls();
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

OverlayPicture AnnunciatorView::picture() const
{
    OverlayPicture picture;
    picture.annunciatorPoint = annunciatorPoint;
    picture.tcPoint = tcPoint;
    picture.textPoint = textPoint;
    picture.fonts = fonts_;
    return picture;
}

void AnnunciatorView::updatePicture()
{
    const OverlayPicture p = picture();
    rz48::pages::takePositions(rz48::pages::placeBoxes(p), settings_);
    thread()->setPicture(p);
}

// ---------------------------------------------------------------- sending

void AnnunciatorView::sendAnnunciator()
{
    send(overlay::annunciatorCommand(settings_));
    skipEcho = true;
}

void AnnunciatorView::sendTc()
{
    send(overlay::timecodeCommand(settings_));
    skipEcho = true;
}

void AnnunciatorView::sendTextParams()
{
    send(overlay::textParamsCommand(settings_));
    skipEcho = true;
}

void AnnunciatorView::sendAnnunciatorColors()
{
    send(overlay::annunciatorColorsCommand(settings_));
}

void AnnunciatorView::sendCom()
{
    send(overlay::comCommand(settings_));
}

// ---------------------------------------------------------------- reports

bool AnnunciatorView::passesEchoTest()
{
    if (!skipEcho)
        return true;
    skipEcho = false;
    return false;
}

void AnnunciatorView::showPair(const overlay::ColorPair& pair, QComboBox* text, QComboBox* box)
{
    showNumber(text, pair.text);
    showNumber(box, pair.box);
}

void AnnunciatorView::showAnnunciator()
{
    matrixAnnunciator->selectOnly(settings_.mode);
    showPair(settings_.annunciatorColors[0], comboBoxAnnunciatorForeground, comboBoxAnnunciatorBackground);
}

void AnnunciatorView::fromString(const QString& line)
{
    if (!passesEchoTest())
        return;
    const size_t n = overlay::readAnnunciatorReport(line, settings_);
    const overlay::BoxSettings& box = settings_.annunciator;
    if (n >= 6) { // the size first: the position is measured in its font
        annunciatorSize_->setQuietly(box.size);
        fonts_.annunciator = rz48::pages::fontForSize(Box::Annunciator, box.size, fonts_.annunciator);
    }
    const QPointF point = rz48::pages::reportedPoint(Box::Annunciator, box.x, box.y, fonts_);
    if (n >= 5)
        annunciatorPoint.setY(point.y());
    if (n >= 4)
        annunciatorPoint.setX(point.x());
    showAnnunciator();
    setDraw(RedrawOnly);
}

void AnnunciatorView::showBox(Box which, size_t n, QPointF& point, FieldStepper* size)
{
    const overlay::BoxSettings& box = which == Box::Timecode ? settings_.timecode : settings_.text;
    const QPointF reported = rz48::pages::reportedPoint(which, box.x, box.y, fonts_);
    if (n >= 3)
        point.setY(reported.y());
    if (n >= 2)
        point.setX(reported.x());
    if (n >= 1) { // the size last: the position was measured in the font before it
        size->setQuietly(box.size);
        fontOf(which) = rz48::pages::fontForSize(which, box.size, fontOf(which));
    }
}

void AnnunciatorView::tcFromString(const QString& line)
{
    if (passesEchoTest())
        boxReport(Box::Timecode, overlay::readTimecodeReport(line, settings_));
}

void AnnunciatorView::textParamsFromString(const QString& line)
{
    if (passesEchoTest())
        boxReport(Box::Text, overlay::readTextReport(line, settings_));
}

void AnnunciatorView::boxReport(Box which, size_t fields)
{
    const bool tc = which == Box::Timecode;
    showBox(which, fields, tc ? tcPoint : textPoint, tc ? tcSize_ : textSize_);
    if (tc) {
        showPair(settings_.timecodeColors, comboBoxTcForeground, comboBoxTcBackground);
        setQuietly(checkBoxTcVisible, [&](QCheckBox* b) { b->setChecked(settings_.timecodeVisible); });
    } else {
        showPair(settings_.textColors, comboBoxTextForeground, comboBoxTextBackground);
    }
    setDraw(RedrawOnly);
}

void AnnunciatorView::annunciatorColorsFromString(const QString& line)
{
    overlay::readAnnunciatorColorsReport(line, settings_);
    showPair(settings_.annunciatorColors[0], comboBoxAnnunciatorForeground, comboBoxAnnunciatorBackground);
    showPair(settings_.annunciatorColors[1], comboBoxAnnunciatorForegroundRecord, comboBoxAnnunciatorBackgroundRecord);
    showPair(settings_.annunciatorColors[2], comboBoxAnnunciatorForegroundPlayback, comboBoxAnnunciatorBackgroundPlayback);
}

void AnnunciatorView::comFromString(const QString& line)
{
    overlay::readProtocolReport(line, settings_);
    matrixCom->selectOnly(settings_.protocol);
}

// ---------------------------------------------------------------- handlers

void AnnunciatorView::annunciatorMode(int cell)
{
    settings_.mode = cell;
    matrixAnnunciator->selectOnly(cell);
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
    settings_.protocol = 0;
    matrixCom->selectOnly(0);
    sendCom();
}

void AnnunciatorView::onradioButtonSony()
{
    settings_.protocol = 1;
    matrixCom->selectOnly(1);
    sendCom();
}

// ---------------------------------------------------------------- layout editing

void AnnunciatorView::placeBox(int item, const QPointF& mouse)
{
    switch (item) {
    case Annunciator:
        annunciatorPoint = centredUnder(mouse, boxSize(Box::Annunciator, fonts_));
        setDraw(MoveAnnunciator);
        break;
    case Timecode:
        tcPoint = centredUnder(mouse, boxSize(Box::Timecode, fonts_));
        setDraw(MoveTimecode);
        break;
    case Text:
        textPoint = centredUnder(mouse, boxSize(Box::Text, fonts_));
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
    const rz48::pages::OverlayBoxes placed = boxes();
    if (closeToRect(mouse, placed.annunciator))
        dragItem = Annunciator;
    else if (closeToRect(mouse, placed.text))
        dragItem = Text;
    else if (closeToRect(mouse, placed.tc))
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
