#include "pages/PunchView.h"

#include "codecs/ProtocolTables.h"
#include "codecs/ReportRouter.h"
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
              []() -> std::unique_ptr<PreviewWorker> { return std::make_unique<DrawThread>(); }, parent)
{
    buildControls();
}

void PunchView::buildControls()
{
    auto* form = new QFormLayout(controls_);

    // The radius stays at least 1, so that 8640 / radius is defined.
    sliderPunchSize = new ValueSlider(QStringLiteral("sliderPunchSize"), 1, 540, 64, tr("px"), controls_);
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
        connect(colorWellPunch[size_t(i)], &ColorWell::colorChosen, this, [this, i] { onColorPunchChanged(i); });
        connect(checkBoxRev[size_t(i)], &QCheckBox::toggled, this, [this, i] { onCheckBoxRev(i); });
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
    for (FieldStepper* f : {durationFrames, repeatSeconds, repeatCount})
        connect(f, &FieldStepper::edited, this, &PunchView::punchTx);

    const char* names[4] = {"checkBoxPunchEnable", "checkBoxBeepsEnable", "checkBoxBlackCueBlack", "checkBoxPictureWhenStopped"};
    const QString titles[4] = {tr("Punch enabled"), tr("Beeps"), tr("Black, cue, black"), tr("Picture when stopped")};
    for (size_t i = 0; i < 4; ++i) {
        enables_[i] = checkBox(QLatin1String(names[i]), titles[i], controls_);
        form->addRow(QString(), enables_[i]);
        connect(enables_[i], &QCheckBox::toggled, this, &PunchView::punchTx);
    }
    connect(sliderPunchSize, &QSlider::valueChanged, this, [this] { setDraw(1); });
}

void PunchView::registerReports(ReportRouter& router)
{
    router.on({'E'}, [this](const QString& line, ReportRouter::Fields&) { fromString(line); });
}

void PunchView::reset()
{
    setQuietly(sliderPunchSize, [](QSlider* s) { s->setValue(64); });
    punchPoint_ = {960.0, 540.0};
    backColor = Qt::black;
    for (FieldStepper* f : {repeatCount, durationFrames, repeatSeconds})
        f->showStepperQuietly();
}

void PunchView::threadNeedsTx()
{
    punchTx();
    trigger(0x78);
}

rz48::codecs::PunchSettings PunchView::settingsFromControls() const
{
    rz48::codecs::PunchSettings p;
    for (size_t i = 0; i < 4; ++i) {
        p.colors[i] = rgbOf(colorWellPunch[i]->color());
        p.reverse[i] = checkBoxRev[i]->checkState() == Qt::Checked;
        if (enables_[i]->checkState() == Qt::Checked)
            p.enables += 1 << i;
    }
    p.x = punchPoint_.x();
    p.y = punchPoint_.y();
    p.radius = sliderPunchSize->value();
    p.durationFrames = uint32_t(durationFrames->value());
    p.repeatSeconds = uint32_t(repeatSeconds->value());
    p.repeatCount = uint32_t(repeatCount->value());
    return p;
}

void PunchView::punchTx()
{
    rz48::diag("punchTx\n");
    send(rz48::codecs::punchCommand(settingsFromControls()));
}

void PunchView::fromString(const QString& line)
{
    const rz48::codecs::PunchReport report = rz48::codecs::readPunchReport(line);
    const auto& f = report.fields;
    // Missing fields leave their controls as they are.
    if (f[4])
        durationFrames->setQuietly(*f[4]);
    if (f[5])
        repeatSeconds->setQuietly(*f[5]);
    if (f[6])
        repeatCount->setQuietly(*f[6]);
    if (f[7]) {
        for (size_t i = 0; i < 4; ++i)
            setQuietly(enables_[i], [&](QCheckBox* b) { b->setChecked(*f[7] & (1u << i)); });
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
    if (f[0]) {
        const uint32_t code = *f[0];
        for (size_t i = 0; i < 4; ++i)
            setQuietly(checkBoxRev[i], [&](QCheckBox* b) { b->setChecked(code & (0x1000u << i)); });
        const auto colors = rz48::codecs::unpackColors<4>(code & 0xFFFu);
        for (size_t i = 0; i < 4; ++i)
            colorWellPunch[i]->setColor(colorOf(colors[i]));
    }
    setDraw(2);
}

void PunchView::updatePicture()
{
    // The centre stays inside the picture by the radius.
    const double r = sliderPunchSize->value();
    punchPoint_ = {std::clamp(punchPoint_.x(), r, rz48::kPictureWidth - r), std::clamp(punchPoint_.y(), r, rz48::kPictureHeight - r)};
    PunchPicture picture;
    picture.punchPoint = punchPoint_;
    picture.radius = int(r);
    picture.backColor = backColor;
    picture.foreColor = colorWellPunch[0]->color();
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
        rz48::diag("onCheckBoxRev0: %d\n", checkBoxRev[0]->checkState() == Qt::Checked ? 1 : 0);
    punchTx();
}
