#include "pages/MonitorView.h"

#include "codecs/ProtocolTables.h"
#include "link/ReportRouter.h"
#include "common/Diagnostics.h"
#include "common/TextValue.h"
#include "widgets/ColorWell.h"
#include "widgets/FieldStepper.h"
#include "widgets/ValueSlider.h"
#include "widgets/WidgetFactory.h"

#include <QFormLayout>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

using namespace rz48::pages;
using namespace rz48::widgets;

namespace {

// Duration and delay in fiftieths of a second, shown in seconds; typed
// seconds round up from a quarter of a fiftieth.
FieldStepper::Rule fiftieths()
{
    FieldStepper::Rule rule;
    rule.show = [](qint64 v) { return QString::number(v / 50.0); };
    rule.read = [](const QString& text) { return qint64(rz48::codecs::wholeCount(rz48::doubleValue(text) * 50.0 + 0.25)); };
    return rule;
}

} // namespace

MonitorView::MonitorView(QWidget* parent)
    : CuePage(QStringLiteral("monitorView"), QStringLiteral("streamerControls"), "MonitorView thread is nil",
              &make<DrawStreamerThread>, parent)
{
    auto* form = new QFormLayout(controls_);

    // Top and bottom in 255ths of the picture height from its bottom edge;
    // transparency from 0 (opaque) to 255 (clear).
    using rz48::codecs::kMaxStreamerLevel;
    const rz48::codecs::StreamerSettings& s = settings_;
    sliderStreamerWidth = new ValueSlider(QStringLiteral("sliderStreamerWidth"), 0, rz48::codecs::kMaxStreamerWidth, s.width, tr("px"), controls_);
    sliderStreamerTop = new ValueSlider(QStringLiteral("sliderStreamerTop"), 0, kMaxStreamerLevel, s.top, tr("/255"), controls_);
    sliderStreamerBottom = new ValueSlider(QStringLiteral("sliderStreamerBottom"), 0, kMaxStreamerLevel, s.bottom, tr("/255"), controls_);
    sliderStreamerTransparency = new ValueSlider(QStringLiteral("sliderStreamerTransparency"), 0, kMaxStreamerLevel, s.transparency, tr("/255"),
                                                 controls_);
    form->addRow(tr("Width"), sliderStreamerWidth->row());
    form->addRow(tr("Top"), sliderStreamerTop->row());
    form->addRow(tr("Bottom"), sliderStreamerBottom->row());
    form->addRow(tr("Transparency"), sliderStreamerTransparency->row());

    duration_ = new FieldStepper(QStringLiteral("textStreamerDuration"), QStringLiteral("stepperStreamerDuration"), 0, rz48::kHexFieldMax,
                                 fiftieths(), tr("s"), controls_);
    duration_->setQuietly(settings_.duration);
    delay_ = new FieldStepper(QStringLiteral("textStreamerDelay"), QStringLiteral("stepperStreamerDelay"), 0, rz48::kHexFieldMax,
                              fiftieths(), tr("s"), controls_);
    form->addRow(tr("Duration"), duration_);
    form->addRow(tr("Delay"), delay_);

    auto* coloursBox = new QWidget(controls_); // a widget, so that the form gives the grid all it needs
    auto* colours = new QGridLayout(coloursBox);
    colours->setContentsMargins(0, 0, 0, 0);
    for (int i = 0; i < 4; ++i) {
        colorWellStreamer[size_t(i)] = new ColorWell(QStringLiteral("colorWellStreamer%1").arg(i), controls_);
        QPushButton* trigger = button(QStringLiteral("buttonStreamer%1").arg(i), tr("Streamer %1").arg(i), controls_);
        colours->addWidget(colorWellStreamer[size_t(i)], i, 0);
        colours->addWidget(trigger, i, 1);
        connect(trigger, &QPushButton::clicked, this, [this, i] { onButtonStreamer(i); });
        connect(colorWellStreamer[size_t(i)], &ColorWell::colorChosen, this, [this, i] { onColorStreamerChanged(i); });
    }
    colorWellEndBar = new ColorWell(QStringLiteral("colorWellEndBar"), controls_);
    QPushButton* accum = button(QStringLiteral("buttonAccum"), tr("Accumulate"), controls_);
    colours->addWidget(colorWellEndBar, 4, 0);
    colours->addWidget(new QLabel(tr("End bar"), controls_), 4, 1);
    colours->addWidget(accum, 5, 1);
    form->addRow(tr("Colours"), coloursBox);

    using S = rz48::codecs::StreamerSettings;
    const std::pair<QSlider*, int S::*> sliders[] = {{sliderStreamerWidth, &S::width}, {sliderStreamerTop, &S::top},
                                                     {sliderStreamerBottom, &S::bottom},
                                                     {sliderStreamerTransparency, &S::transparency}};
    for (const auto& [slider, setting] : sliders)
        connect(slider, &QSlider::valueChanged, this, [this, setting](int value) {
            settings_.*setting = value;
            setDraw(1);
        });
    for (const auto& [field, setting] : {std::pair {duration_, &S::duration}, std::pair {delay_, &S::delay}})
        connect(field, &FieldStepper::edited, this, [this, field, setting] {
            settings_.*setting = uint32_t(field->value());
            setDraw(1);
        });
    connect(colorWellEndBar, &ColorWell::colorChosen, this, &MonitorView::onColorEndBarChanged);
    connect(accum, &QPushButton::clicked, this, &MonitorView::onButtonAccum);
}

void MonitorView::registerReports(ReportRouter& router)
{
    router.on({'C'}, [this](const QString& line, ReportRouter::Fields&) { fromString(line); });
}

void MonitorView::reset()
{
    backColor = Qt::black;
    duration_->showStepperQuietly();
    delay_->showStepperQuietly();
}

QLineEdit* MonitorView::textStreamerDuration() const
{
    return duration_->text();
}

void MonitorView::threadNeedsTx()
{
    streamerTx();
}

void MonitorView::takeWellColors()
{
    for (size_t i = 0; i < 4; ++i)
        settings_.colors[i] = rgbOf(colorWellStreamer[i]->color());
    settings_.colors[4] = rgbOf(colorWellEndBar->color());
}

void MonitorView::streamerTx()
{
    rz48::diag("streamerTx\n");
    takeWellColors();
    send(rz48::codecs::streamerCommand(settings_));
}

void MonitorView::fromString(const QString& line)
{
    rz48::codecs::readStreamerReport(line, reportScratch_, settings_); // every field comes from the report
    showSettings();
    setDraw(2);
    emit durationReported(offset());
}

void MonitorView::showSettings()
{
    const rz48::codecs::StreamerSettings& s = settings_;
    setQuietly(sliderStreamerWidth, [&](QSlider* w) { w->setValue(s.width); });
    setQuietly(sliderStreamerTop, [&](QSlider* w) { w->setValue(s.top); });
    setQuietly(sliderStreamerBottom, [&](QSlider* w) { w->setValue(s.bottom); });
    setQuietly(sliderStreamerTransparency, [&](QSlider* w) { w->setValue(s.transparency); });
    // The fields show what the steppers took.
    duration_->setQuietly(s.duration);
    duration_->showStepperQuietly();
    delay_->setQuietly(s.delay);
    delay_->showStepperQuietly();
    for (size_t i = 0; i < 4; ++i)
        colorWellStreamer[i]->setColor(colorOf(s.colors[i]));
    colorWellEndBar->setColor(colorOf(s.colors[4]));
}

double MonitorView::offset() const
{
    return rz48::doubleValue(duration_->text()->text());
}

void MonitorView::updatePicture()
{
    takeWellColors();
    const rz48::codecs::StreamerSettings& s = settings_;
    StreamerPicture picture;
    picture.top = s.top * 1080 / 255;
    picture.bottom = s.bottom * 1080 / 255;
    picture.width = s.width;
    picture.backColor = backColor;
    const auto alpha = float((255 - s.transparency) / 255.0);
    picture.foreColor = colorOf(s.colors[0]);
    picture.foreColor.setAlphaF(alpha);
    picture.endBarColor = colorOf(s.colors[4]);
    picture.endBarColor.setAlphaF(alpha);
    thread()->setPicture(picture);
}

void MonitorView::onColorStreamerChanged(int streamer)
{
    if (streamer == 0)
        setDraw(2);
    streamerTx();
    trigger(0x7C + streamer);
}

void MonitorView::onColorEndBarChanged()
{
    setDraw(2);
    streamerTx();
}
