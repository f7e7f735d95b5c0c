#include "cues/PunchView.h"

#include "common/Diagnostics.h"
#include "common/TextValue.h"
#include "cues/DrawThread.h"
#include "cues/PageControls.h"
#include "cues/Picture.h"
#include "link/ComThread.h"
#include "widgets/ColorWell.h"
#include "widgets/Stepper.h"
#include "widgets/WindowClose.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>

using namespace rz48::pages;

PunchView::PunchView(QWidget* parent)
    : PreviewView(parent)
{
    setObjectName(QStringLiteral("punchView"));
    buildControls();
}

PunchView::~PunchView()
{
    if (thread_)
        thread_->stopThread();
}

void PunchView::buildControls()
{
    controls_ = new QWidget;
    controls_->setObjectName(QStringLiteral("punchControls"));
    auto* form = new QFormLayout(controls_);

    // The radius stays at least 1, so that 8640 / radius is defined.
    sliderPunchSize = slider("sliderPunchSize", 1, 540, 64, controls_);
    form->addRow(tr("Size"), sliderPunchSize);

    auto* colours = new QGridLayout;
    for (int i = 0; i < 4; ++i) {
        colorWellPunch[size_t(i)] = new ColorWell(QStringLiteral("colorWellPunch%1").arg(i), controls_);
        checkBoxRev[size_t(i)] = new QCheckBox(tr("Reverse"), controls_);
        checkBoxRev[size_t(i)]->setObjectName(QStringLiteral("checkBoxRev%1").arg(i));
        auto* button = new QPushButton(tr("Punch %1").arg(i), controls_);
        button->setObjectName(QStringLiteral("buttonPunch%1").arg(i));
        colours->addWidget(colorWellPunch[size_t(i)], i, 0);
        colours->addWidget(checkBoxRev[size_t(i)], i, 1);
        colours->addWidget(button, i, 2);
        connect(button, &QPushButton::clicked, this, [this, i] { trigger(0x78 + i); });
    }
    form->addRow(tr("Colours"), colours);

    auto numberRow = [&](const char* textName, QLineEdit*& text, const char* stepperName, Stepper*& stepper, int max,
                         const QString& unit) {
        text = textField(textName, controls_);
        stepper = new Stepper(QLatin1String(stepperName), 0, max);
        auto* row = new QHBoxLayout;
        row->addWidget(text);
        row->addWidget(stepper);
        row->addWidget(new QLabel(unit, controls_));
        row->addStretch(1);
        return row;
    };
    form->addRow(tr("Duration"), numberRow("textDurationFrames", textDurationFrames, "durationFrames", durationFrames, 255, tr("frames")));
    form->addRow(tr("Repeat every"), numberRow("textRepeatSeconds", textRepeatSeconds, "repeatSeconds", repeatSeconds, 6000, tr("s")));
    form->addRow(tr("Repeats"), numberRow("textRepeatCount", textRepeatCount, "repeatCount", repeatCount, 255, QString()));

    auto box = [&](const char* name, const QString& title) {
        auto* b = new QCheckBox(title, controls_);
        b->setObjectName(QLatin1String(name));
        form->addRow(QString(), b);
        return b;
    };
    checkBoxPunchEnable = box("checkBoxPunchEnable", tr("Punch enabled"));
    checkBoxBeepsEnable = box("checkBoxBeepsEnable", tr("Beeps"));
    checkBoxBlackCueBlack = box("checkBoxBlackCueBlack", tr("Black, cue, black"));
    checkBoxPictureWhenStopped = box("checkBoxPictureWhenStopped", tr("Picture when stopped"));

    connect(sliderPunchSize, &QSlider::valueChanged, this, &PunchView::onSliderPunchSizeChanged);
    connect(colorWellPunch[0], &ColorWell::colorChosen, this, &PunchView::onColorPunch0Changed);
    connect(colorWellPunch[1], &ColorWell::colorChosen, this, &PunchView::onColorPunch1Changed);
    connect(colorWellPunch[2], &ColorWell::colorChosen, this, &PunchView::onColorPunch2Changed);
    connect(colorWellPunch[3], &ColorWell::colorChosen, this, &PunchView::onColorPunch3Changed);
    connect(checkBoxRev[0], &QCheckBox::toggled, this, &PunchView::onCheckBoxRev0);
    connect(checkBoxRev[1], &QCheckBox::toggled, this, &PunchView::onCheckBoxRev1);
    connect(checkBoxRev[2], &QCheckBox::toggled, this, &PunchView::onCheckBoxRev2);
    connect(checkBoxRev[3], &QCheckBox::toggled, this, &PunchView::onCheckBoxRev3);
    connect(durationFrames, &Stepper::valueChanged, this, &PunchView::onStepperDurationFramesChanged);
    connect(repeatCount, &Stepper::valueChanged, this, &PunchView::onStepperRepeatCountChanged);
    connect(repeatSeconds, &Stepper::valueChanged, this, &PunchView::onStepperRepeatSecondsChanged);
    connect(textDurationFrames, &QLineEdit::editingFinished, this, &PunchView::onTextDurationFramesChanged);
    connect(textRepeatCount, &QLineEdit::editingFinished, this, &PunchView::onTextRepeatCountChanged);
    connect(textRepeatSeconds, &QLineEdit::editingFinished, this, &PunchView::onTextRepeatSecondsChanged);
    connect(checkBoxPunchEnable, &QCheckBox::toggled, this, &PunchView::onCheckBoxPunchEnable);
    connect(checkBoxBeepsEnable, &QCheckBox::toggled, this, &PunchView::onCheckBoxBeepsEnable);
    connect(checkBoxBlackCueBlack, &QCheckBox::toggled, this, &PunchView::onCheckBoxBlackCueBlack);
    connect(checkBoxPictureWhenStopped, &QCheckBox::toggled, this, &PunchView::onCheckBoxPictureWhenStopped);
}

void PunchView::awakeFromNib()
{
    setQuietly(sliderPunchSize, [](QSlider* s) { s->setValue(64); });
    punchPoint_ = {960.0, 540.0};
    backColor = Qt::black;
    textRepeatCount->setText(QString::number(repeatCount->value()));
    textDurationFrames->setText(QString::number(durationFrames->value()));
    textRepeatSeconds->setText(QString::number(repeatSeconds->value() / 100.0));
    onWindowClose(this, [this] { windowClosing(); });
    thread_ = std::make_unique<DrawThread>();
    thread_->startThread(this);
}

void PunchView::windowClosing()
{
    if (thread_)
        thread_->stopThread();
}

void PunchView::threadNeedsTx()
{
    punchTx();
    trigger(0x78);
}

void PunchView::trigger(int note)
{
    if (comThread_)
        comThread_->sendMidiTrigger(note);
}

rz48::cues::PunchSettings PunchView::settingsFromControls() const
{
    rz48::cues::PunchSettings p;
    for (size_t i = 0; i < 4; ++i) {
        p.colors[i] = rgbOf(colorWellPunch[i]->color());
        p.reverse[i] = checkBoxRev[i]->checkState() == Qt::Checked;
    }
    p.x = punchPoint_.x();
    p.y = punchPoint_.y();
    p.radius = sliderPunchSize->value();
    p.durationFrames = durationFrames->value();
    p.repeatSeconds = repeatSeconds->value();
    p.repeatCount = repeatCount->value();
    p.enables = (checkBoxPunchEnable->checkState() == Qt::Checked ? 1 : 0)
        + (checkBoxBeepsEnable->checkState() == Qt::Checked ? 2 : 0)
        + (checkBoxBlackCueBlack->checkState() == Qt::Checked ? 4 : 0)
        + (checkBoxPictureWhenStopped->checkState() == Qt::Checked ? 8 : 0);
    return p;
}

void PunchView::punchTx()
{
    rz48::diag("punchTx\n");
    if (!comThread_)
        return;
    comThread_->sendString(rz48::cues::punchCommand(settingsFromControls()));
}

void PunchView::fromString(const QString& line)
{
    const rz48::cues::PunchReport report = rz48::cues::readPunchReport(line);
    const auto& f = report.fields;
    // Missing fields leave their controls as they are.
    if (f[4]) {
        setQuietly(textDurationFrames, [&](QLineEdit* t) { t->setText(QString::number(*f[4])); });
        setQuietly(durationFrames, [&](Stepper* s) { s->setValue(int(*f[4])); });
    }
    if (f[5])
        setQuietly(repeatSeconds, [&](Stepper* s) { s->setValue(int(*f[5])); });
    if (f[6]) {
        setQuietly(textRepeatCount, [&](QLineEdit* t) { t->setText(QString::number(*f[6])); });
        setQuietly(repeatCount, [&](Stepper* s) { s->setValue(int(*f[6])); });
    }
    if (f[7]) {
        const uint32_t enables = *f[7];
        setQuietly(checkBoxPunchEnable, [&](QCheckBox* b) { b->setChecked(enables & 1u); });
        setQuietly(checkBoxBeepsEnable, [&](QCheckBox* b) { b->setChecked(enables & 2u); });
        setQuietly(checkBoxBlackCueBlack, [&](QCheckBox* b) { b->setChecked(enables & 4u); });
        setQuietly(checkBoxPictureWhenStopped, [&](QCheckBox* b) { b->setChecked(enables & 8u); });
    }
    // The unit keeps the reciprocal of the radius; a size of 0 keeps the current radius.
    uint32_t r = uint32_t(sliderPunchSize->value());
    if (f[3] && *f[3] != 0) {
        r = 8640u / *f[3];
        setQuietly(sliderPunchSize, [&](QSlider* s) { s->setValue(int(std::min<uint32_t>(r, 540))); });
    }
    // Unsigned 32-bit arithmetic, as the unit's fields are: a Y below the
    // picture comes out huge and the centre clamp brings it back.
    if (f[1])
        punchPoint_.setX(double(uint32_t(r + 8u * *f[1])));
    if (f[2])
        punchPoint_.setY(double(uint32_t(1080u - (r + 4u * *f[2]))));
    if (f[5])
        setQuietly(textRepeatSeconds, [&](QLineEdit* t) { t->setText(QString::number(*f[5] / 100.0)); });
    if (f[0]) {
        const uint32_t code = *f[0];
        for (size_t i = 0; i < 4; ++i)
            setQuietly(checkBoxRev[i], [&](QCheckBox* b) { b->setChecked(code & (0x1000u << i)); });
        const auto colors = rz48::cues::unpackColors<4>(code & 0xFFFu);
        for (size_t i = 0; i < 4; ++i)
            colorWellPunch[i]->setColor(colorOf(colors[i]));
    }
    setDraw(2);
}

void PunchView::setDraw(int request)
{
    if (!thread_) {
        rz48::diag("PunchView thread is nil!\n");
        return;
    }
    const double r = sliderPunchSize->value();
    double x = punchPoint_.x();
    double y = punchPoint_.y();
    if (x < r)
        x = r;
    if (x > rz48::kPictureWidth - r)
        x = rz48::kPictureWidth - r;
    if (y < r)
        y = r;
    if (y > rz48::kPictureHeight - r)
        y = rz48::kPictureHeight - r;
    punchPoint_ = {x, y};
    {
        std::lock_guard lock(thread_->ioLock());
        thread_->punchPoint = punchPoint_;
        thread_->radius = int(r);
        thread_->backColor = backColor;
        thread_->foreColor = colorWellPunch[0]->color();
    }
    thread_->setDraw(request);
}

QPointF PunchView::toPicture(const QPointF& p) const
{
    // Qt's y grows downward; the picture's points up.
    return {p.x() * rz48::kPictureWidth / width(), (height() - p.y()) * rz48::kPictureHeight / height()};
}

void PunchView::mousePressEvent(QMouseEvent* event)
{
    punchPoint_ = toPicture(event->position());
    setDraw(1);
    PreviewView::mousePressEvent(event);
}

void PunchView::mouseMoveEvent(QMouseEvent* event)
{
    if (!(event->buttons() & Qt::LeftButton) || !rect().contains(event->position().toPoint()))
        return; // a drag outside the view is ignored
    punchPoint_ = toPicture(event->position());
    setDraw(1);
    PreviewView::mouseMoveEvent(event);
}

void PunchView::onColorPunch0Changed()
{
    setDraw(2);
    punchTx();
    trigger(0x78);
}

void PunchView::onCheckBoxRev0()
{
    rz48::diag("onCheckBoxRev0: %d\n", checkBoxRev[0]->checkState() == Qt::Checked ? 1 : 0);
    punchTx();
}

void PunchView::onStepperDurationFramesChanged()
{
    setQuietly(textDurationFrames, [&](QLineEdit* t) { t->setText(QString::number(durationFrames->value())); });
    punchTx();
}

void PunchView::onStepperRepeatCountChanged()
{
    setQuietly(textRepeatCount, [&](QLineEdit* t) { t->setText(QString::number(repeatCount->value())); });
    punchTx();
}

void PunchView::onStepperRepeatSecondsChanged()
{
    setQuietly(textRepeatSeconds, [&](QLineEdit* t) { t->setText(QString::number(repeatSeconds->value() / 100.0)); });
    punchTx();
}

void PunchView::onTextDurationFramesChanged()
{
    setQuietly(durationFrames, [&](Stepper* s) { s->setValue(rz48::intValue(textDurationFrames->text())); });
    punchTx();
}

void PunchView::onTextRepeatCountChanged()
{
    setQuietly(repeatCount, [&](Stepper* s) { s->setValue(rz48::intValue(textRepeatCount->text())); });
    punchTx();
}

void PunchView::onTextRepeatSecondsChanged()
{
    // Truncated with no rounding term, unlike the streamer page's times.
    setQuietly(repeatSeconds, [&](Stepper* s) {
        s->setValue(rz48::cues::wholePart(rz48::doubleValue(textRepeatSeconds->text()) * 100.0));
    });
    punchTx();
}
