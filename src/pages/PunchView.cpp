#include "pages/PunchView.h"

#include "codecs/ProtocolTables.h"
#include "link/ReportRouter.h"
#include "common/Diagnostics.h"
#include "common/Picture.h"
#include "common/TextValue.h"
#include "widgets/ColorWell.h"
#include "widgets/FieldStepper.h"
#include "widgets/ValueSlider.h"
#include "widgets/WidgetFactory.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QMouseEvent>
#include <QPushButton>

using namespace rz48::pages;
using namespace rz48::widgets;

PunchView::PunchView(QWidget* parent)
    : CuePage(QStringLiteral("punchView"), QStringLiteral("punchControls"), "PunchView thread is nil!\n",
              &make<DrawThread>, parent)
{
    auto* form = new QFormLayout(controls_);

    // The radius stays at least 1, so that 8640 / radius is defined.
    sliderPunchSize = new ValueSlider(QStringLiteral("sliderPunchSize"), 1, rz48::codecs::kMaxPunchRadius, 64, tr("px"), controls_);
    form->addRow(tr("Radius"), sliderPunchSize->row());

    auto* coloursBox = new QWidget(controls_); // a widget, so that the form gives the grid all it needs
    auto* colours = new QGridLayout(coloursBox);
    colours->setContentsMargins(0, 0, 0, 0);
    for (int i = 0; i < 4; ++i) {
        colorWellPunch[size_t(i)] = new ColorWell(QStringLiteral("colorWellPunch%1").arg(i), controls_);
        checkBoxRev[size_t(i)] = checkBox(QStringLiteral("checkBoxRev%1").arg(i), tr("Reverse"), controls_);
        QPushButton* trigger = button(QStringLiteral("buttonPunch%1").arg(i), tr("Punch %1").arg(i), controls_);
        colours->addWidget(colorWellPunch[size_t(i)], i, 0);
        colours->addWidget(checkBoxRev[size_t(i)], i, 1);
        colours->addWidget(trigger, i, 2);
        connect(trigger, &QPushButton::clicked, this, [this, i] { onButtonPunch(i); });
        connect(colorWellPunch[size_t(i)], &ColorWell::colorChosen, this, [this, i](const QColor& c) {
            settings_.colors[size_t(i)] = rgbOf(c);
            onColorPunchChanged(i);
        });
        connect(checkBoxRev[size_t(i)], &QCheckBox::toggled, this, [this, i](bool on) {
            settings_.reverse[size_t(i)] = on;
            onCheckBoxRev(i);
        });
    }
    form->addRow(tr("Colours"), coloursBox);

    // Repeats every so many hundredths of a second, shown in seconds; typed
    // seconds are truncated with no rounding term, unlike the streamer page's times.
    FieldStepper::Rule hundredths;
    hundredths.show = [](qint64 v) { return QString::number(v / 100.0); };
    hundredths.read = [](const QString& text) { return qint64(rz48::codecs::wholeCount(rz48::doubleValue(text) * 100.0)); };
    durationFrames = new FieldStepper(QStringLiteral("textDurationFrames"), QStringLiteral("durationFrames"), 0, rz48::kHexFieldMax,
                                      {}, tr("frames"), controls_);
    repeatSeconds = new FieldStepper(QStringLiteral("textRepeatSeconds"), QStringLiteral("repeatSeconds"), 0, rz48::kHexFieldMax,
                                     hundredths, tr("s"), controls_);
    repeatCount = new FieldStepper(QStringLiteral("textRepeatCount"), QStringLiteral("repeatCount"), 0, rz48::kHexFieldMax, {}, {},
                                   controls_);
    form->addRow(tr("Duration"), durationFrames);
    form->addRow(tr("Repeat every"), repeatSeconds);
    form->addRow(tr("Repeats"), repeatCount);
    const std::pair<FieldStepper*, uint32_t rz48::codecs::PunchSettings::*> fields[] = {
        {durationFrames, &rz48::codecs::PunchSettings::durationFrames},
        {repeatSeconds, &rz48::codecs::PunchSettings::repeatSeconds},
        {repeatCount, &rz48::codecs::PunchSettings::repeatCount}};
    for (const auto& [field, setting] : fields) {
        connect(field, &FieldStepper::edited, this, [this, field, setting] {
            settings_.*setting = uint32_t(field->value());
            punchTx();
        });
    }

    const char* names[4] = {"checkBoxPunchEnable", "checkBoxBeepsEnable", "checkBoxBlackCueBlack", "checkBoxPictureWhenStopped"};
    const QString titles[4] = {tr("Punch enabled"), tr("Beeps"), tr("Black, cue, black"), tr("Picture when stopped")};
    for (size_t i = 0; i < 4; ++i) {
        enables_[i] = checkBox(QLatin1String(names[i]), titles[i], controls_);
        form->addRow(QString(), enables_[i]);
        connect(enables_[i], &QCheckBox::toggled, this, [this, i](bool on) {
            settings_.enables = (settings_.enables & ~(1 << i)) | (on ? 1 << i : 0);
            punchTx();
        });
    }
    connect(sliderPunchSize, &QSlider::valueChanged, this, [this](int radius) {
        settings_.radius = radius;
        setDraw(1);
    });
}

void PunchView::registerReports(ReportRouter& router)
{
    router.on({'E'}, [this](const QString& line, ReportRouter::Fields&) { fromString(line); });
}

void PunchView::reset()
{
    const rz48::codecs::PunchSettings start;
    settings_.radius = start.radius;
    settings_.x = start.x;
    settings_.y = start.y;
    setQuietly(sliderPunchSize, [&](QSlider* s) { s->setValue(settings_.radius); });
    backColor = Qt::black;
    for (FieldStepper* f : {repeatCount, durationFrames, repeatSeconds})
        f->showStepperQuietly();
}

void PunchView::threadNeedsTx()
{
    punchTx();
    trigger(0x78);
}

void PunchView::punchTx()
{
    rz48::diag("punchTx\n");
    send(rz48::codecs::punchCommand(settings_));
}

void PunchView::fromString(const QString& line)
{
    rz48::codecs::readPunchReport(line, settings_);
    showSettings();
    setDraw(2);
}

void PunchView::showSettings()
{
    const rz48::codecs::PunchSettings& s = settings_;
    durationFrames->setQuietly(s.durationFrames);
    repeatSeconds->setQuietly(s.repeatSeconds);
    repeatCount->setQuietly(s.repeatCount);
    setQuietly(sliderPunchSize, [&](QSlider* w) { w->setValue(s.radius); });
    for (size_t i = 0; i < 4; ++i) {
        setQuietly(enables_[i], [&](QCheckBox* b) { b->setChecked(s.enables & (1 << i)); });
        setQuietly(checkBoxRev[i], [&](QCheckBox* b) { b->setChecked(s.reverse[i]); });
        colorWellPunch[i]->setColor(colorOf(s.colors[i]));
    }
}

void PunchView::updatePicture()
{
    rz48::codecs::keepCentreInside(settings_);
    PunchPicture picture;
    picture.punchPoint = punchPoint();
    picture.radius = settings_.radius;
    picture.backColor = backColor;
    picture.foreColor = colorOf(settings_.colors[0]);
    thread()->setPicture(picture);
}

QPointF PunchView::toPicture(const QPointF& p) const
{
    // Qt's y grows downward; the picture's points up.
    return {p.x() * rz48::kPictureWidth / width(), (height() - p.y()) * rz48::kPictureHeight / height()};
}

void PunchView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        PreviewView::mousePressEvent(event);
        return; // only the primary button places the punch
    }
    setPunchPoint(toPicture(event->position()));
    setDraw(1);
    PreviewView::mousePressEvent(event);
}

void PunchView::mouseMoveEvent(QMouseEvent* event)
{
    if (!(event->buttons() & Qt::LeftButton) || !rect().contains(event->position().toPoint()))
        return; // a drag outside the view is ignored
    setPunchPoint(toPicture(event->position()));
    setDraw(1);
    PreviewView::mouseMoveEvent(event);
}

void PunchView::onColorPunchChanged(int punch)
{
    if (punch == 0)
        setDraw(2);
    punchTx();
    trigger(0x78 + punch);
}

void PunchView::onCheckBoxRev(int punch)
{
    if (punch == 0)
        rz48::diag("onCheckBoxRev0: %d\n", settings_.reverse[0] ? 1 : 0);
    punchTx();
}
