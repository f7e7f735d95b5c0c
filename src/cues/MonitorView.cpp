#include "cues/MonitorView.h"

#include "common/Diagnostics.h"
#include "common/TextValue.h"
#include "cues/DrawStreamerThread.h"
#include "cues/PageControls.h"
#include "link/ComThread.h"
#include "widgets/ColorWell.h"
#include "widgets/Stepper.h"
#include "widgets/WindowClose.h"

#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

using namespace rz48::pages;

MonitorView::MonitorView(QWidget* parent)
    : PreviewView(parent)
{
    setObjectName(QStringLiteral("monitorView"));
    buildControls();
}

MonitorView::~MonitorView()
{
    if (thread_)
        thread_->stopThread();
}

void MonitorView::buildControls()
{
    controls_ = new QWidget;
    controls_->setObjectName(QStringLiteral("streamerControls"));
    auto* form = new QFormLayout(controls_);

    sliderStreamerWidth = slider("sliderStreamerWidth", 0, 1920, 40, controls_);
    sliderStreamerTop = slider("sliderStreamerTop", 0, 255, 255, controls_);
    sliderStreamerBottom = slider("sliderStreamerBottom", 0, 255, 0, controls_);
    sliderStreamerTransparency = slider("sliderStreamerTransparency", 0, 255, 0, controls_);
    form->addRow(tr("Width"), sliderStreamerWidth);
    form->addRow(tr("Top"), sliderStreamerTop);
    form->addRow(tr("Bottom"), sliderStreamerBottom);
    form->addRow(tr("Transparency"), sliderStreamerTransparency);

    // Duration and delay in fiftieths of a second, shown in seconds.
    stepperStreamerDuration = new Stepper(QStringLiteral("stepperStreamerDuration"), 0, 3000);
    stepperStreamerDuration->setValue(100);
    stepperStreamerDelay = new Stepper(QStringLiteral("stepperStreamerDelay"), 0, 3000);
    textStreamerDuration_ = textField("textStreamerDuration", controls_);
    textStreamerDelay = textField("textStreamerDelay", controls_);
    auto timeRow = [&](QLineEdit* text, Stepper* stepper) {
        auto* row = new QHBoxLayout;
        row->addWidget(text);
        row->addWidget(stepper);
        row->addWidget(new QLabel(tr("s"), controls_));
        row->addStretch(1);
        return row;
    };
    form->addRow(tr("Duration"), timeRow(textStreamerDuration_, stepperStreamerDuration));
    form->addRow(tr("Delay"), timeRow(textStreamerDelay, stepperStreamerDelay));

    auto* colours = new QGridLayout;
    for (int i = 0; i < 4; ++i) {
        colorWellStreamer[size_t(i)] = new ColorWell(QStringLiteral("colorWellStreamer%1").arg(i), controls_);
        auto* button = new QPushButton(tr("Streamer %1").arg(i), controls_);
        button->setObjectName(QStringLiteral("buttonStreamer%1").arg(i));
        colours->addWidget(colorWellStreamer[size_t(i)], i, 0);
        colours->addWidget(button, i, 1);
        connect(button, &QPushButton::clicked, this, [this, i] { trigger(0x7C + i); });
    }
    colorWellEndBar = new ColorWell(QStringLiteral("colorWellEndBar"), controls_);
    auto* accum = new QPushButton(tr("Accumulate"), controls_);
    accum->setObjectName(QStringLiteral("buttonAccum"));
    colours->addWidget(colorWellEndBar, 4, 0);
    colours->addWidget(new QLabel(tr("End bar"), controls_), 4, 1);
    colours->addWidget(accum, 5, 1);
    form->addRow(tr("Colours"), colours);

    connect(sliderStreamerWidth, &QSlider::valueChanged, this, &MonitorView::onsliderStreamerWidthChanged);
    connect(sliderStreamerTop, &QSlider::valueChanged, this, &MonitorView::onsliderStreamerTopChanged);
    connect(sliderStreamerBottom, &QSlider::valueChanged, this, &MonitorView::onsliderStreamerBottomChanged);
    connect(sliderStreamerTransparency, &QSlider::valueChanged, this, &MonitorView::onsliderStreamerTransparencyChanged);
    connect(textStreamerDuration_, &QLineEdit::editingFinished, this, &MonitorView::onTextStreamerDurationChanged);
    connect(textStreamerDelay, &QLineEdit::editingFinished, this, &MonitorView::onTextStreamerDelayChanged);
    connect(stepperStreamerDuration, &Stepper::valueChanged, this, &MonitorView::onStepperStreamerDurationChanged);
    connect(stepperStreamerDelay, &Stepper::valueChanged, this, &MonitorView::onStepperStreamerDelayChanged);
    connect(colorWellStreamer[0], &ColorWell::colorChosen, this, &MonitorView::onColorStreamer0Changed);
    connect(colorWellStreamer[1], &ColorWell::colorChosen, this, &MonitorView::onColorStreamer1Changed);
    connect(colorWellStreamer[2], &ColorWell::colorChosen, this, &MonitorView::onColorStreamer2Changed);
    connect(colorWellStreamer[3], &ColorWell::colorChosen, this, &MonitorView::onColorStreamer3Changed);
    connect(colorWellEndBar, &ColorWell::colorChosen, this, &MonitorView::onColorEndBarChanged);
    connect(accum, &QPushButton::clicked, this, &MonitorView::onButtonAccum);
}

void MonitorView::awakeFromNib()
{
    streamerColor = Qt::white;
    endBarColor = Qt::white;
    backColor = Qt::black;
    textStreamerDuration_->setText(QString::number(stepperStreamerDuration->value() / 50.0));
    textStreamerDelay->setText(QString::number(stepperStreamerDelay->value() / 50.0));
    onWindowClose(this, [this] { windowClosing(); });
    thread_ = std::make_unique<DrawStreamerThread>();
    thread_->startThread(this);
}

void MonitorView::windowClosing()
{
    if (thread_)
        thread_->stopThread();
}

void MonitorView::threadNeedsTx()
{
    streamerTx();
}

void MonitorView::trigger(int note)
{
    if (comThread_)
        comThread_->sendMidiTrigger(note);
}

rz48::cues::StreamerSettings MonitorView::settingsFromControls() const
{
    rz48::cues::StreamerSettings s;
    for (size_t i = 0; i < 4; ++i)
        s.colors[i] = rgbOf(colorWellStreamer[i]->color());
    s.colors[4] = rgbOf(colorWellEndBar->color());
    s.width = sliderStreamerWidth->value();
    s.duration = stepperStreamerDuration->value();
    s.delay = stepperStreamerDelay->value();
    s.top = sliderStreamerTop->value();
    s.bottom = sliderStreamerBottom->value();
    s.transparency = sliderStreamerTransparency->value();
    return s;
}

void MonitorView::streamerTx()
{
    rz48::diag("streamerTx\n");
    if (!comThread_)
        return;
    comThread_->sendString(rz48::cues::streamerCommand(settingsFromControls()));
}

void MonitorView::fromString(const QString& line)
{
    rz48::cues::StreamerSettings s; // every field comes from the report
    rz48::cues::readStreamerReport(line, reportScratch_, s);
    setQuietly(sliderStreamerWidth, [&](QSlider* w) { w->setValue(s.width); });
    setQuietly(stepperStreamerDuration, [&](Stepper* w) { w->setValue(s.duration); });
    setQuietly(stepperStreamerDelay, [&](Stepper* w) { w->setValue(s.delay); });
    setQuietly(sliderStreamerTop, [&](QSlider* w) { w->setValue(s.top); });
    setQuietly(sliderStreamerBottom, [&](QSlider* w) { w->setValue(s.bottom); });
    setQuietly(sliderStreamerTransparency, [&](QSlider* w) { w->setValue(s.transparency); });
    setQuietly(textStreamerDuration_, [&](QLineEdit* w) { w->setText(QString::number(stepperStreamerDuration->value() / 50.0)); });
    setQuietly(textStreamerDelay, [&](QLineEdit* w) { w->setText(QString::number(stepperStreamerDelay->value() / 50.0)); });
    for (size_t i = 0; i < 4; ++i)
        colorWellStreamer[i]->setColor(colorOf(s.colors[i]));
    colorWellEndBar->setColor(colorOf(s.colors[4]));
    setDraw(2);
}

double MonitorView::offset() const
{
    return rz48::doubleValue(textStreamerDuration_->text());
}

void MonitorView::setDraw(int request)
{
    if (!thread_) {
        rz48::diag("MonitorView thread is nil");
        return;
    }
    {
        std::lock_guard lock(thread_->ioLock());
        thread_->top = sliderStreamerTop->value() * 1080 / 255;
        thread_->bottom = sliderStreamerBottom->value() * 1080 / 255;
        thread_->width = sliderStreamerWidth->value();
        thread_->backColor = backColor;
        const double alpha = (255 - sliderStreamerTransparency->value()) / 255.0;
        QColor fore = colorWellStreamer[0]->color();
        fore.setAlphaF(float(alpha));
        QColor endBar = colorWellEndBar->color();
        endBar.setAlphaF(float(alpha));
        thread_->foreColor = fore;
        thread_->endBarColor = endBar;
    }
    thread_->setDraw(request);
}

void MonitorView::onTextStreamerDurationChanged()
{
    setQuietly(stepperStreamerDuration, [&](Stepper* w) {
        w->setValue(rz48::cues::wholePart(rz48::doubleValue(textStreamerDuration_->text()) * 50.0 + 0.25));
    });
    setDraw(1);
}

void MonitorView::onTextStreamerDelayChanged()
{
    setQuietly(stepperStreamerDelay, [&](Stepper* w) {
        w->setValue(rz48::cues::wholePart(rz48::doubleValue(textStreamerDelay->text()) * 50.0 + 0.25));
    });
    setDraw(1);
}

void MonitorView::onStepperStreamerDurationChanged()
{
    setQuietly(textStreamerDuration_, [&](QLineEdit* w) { w->setText(QString::number(stepperStreamerDuration->value() / 50.0)); });
    setDraw(1);
}

void MonitorView::onStepperStreamerDelayChanged()
{
    setQuietly(textStreamerDelay, [&](QLineEdit* w) { w->setText(QString::number(stepperStreamerDelay->value() / 50.0)); });
    setDraw(1);
}

void MonitorView::onColorStreamer0Changed()
{
    setDraw(2);
    streamerTx();
    trigger(0x7C);
}

void MonitorView::onColorStreamer1Changed()
{
    streamerTx();
    trigger(0x7D);
}

void MonitorView::onColorStreamer2Changed()
{
    streamerTx();
    trigger(0x7E);
}

void MonitorView::onColorStreamer3Changed()
{
    streamerTx();
    trigger(0x7F);
}

void MonitorView::onColorEndBarChanged()
{
    setDraw(2);
    streamerTx();
}
