#include "cues/AnnunciatorView.h"

#include "common/Diagnostics.h"
#include "common/TextValue.h"
#include "cues/DrawAnnunciatorThread.h"
#include "cues/OverlayCodecs.h"
#include "cues/PageControls.h"
#include "cues/Picture.h"
#include "link/ComThread.h"
#include "panel/PanelTables.h"
#include "widgets/RadioMatrix.h"
#include "widgets/Stepper.h"
#include "widgets/WindowClose.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPixmap>
#include <QPushButton>

using namespace rz48::pages;
namespace overlay = rz48::overlay;

bool AnnunciatorView::skipEcho = false;
int AnnunciatorView::dragItem = 0;

namespace {

enum DragItem { None = 0, Annunciator = 1, Timecode = 2, Text = 3 };
enum Request { MoveAnnunciator = 1, RedrawOnly = 2, MoveTimecode = 3, MoveText = 4 };

QComboBox* colorCombo(const char* name, QWidget* parent)
{
    auto* combo = new QComboBox(parent);
    combo->setObjectName(QLatin1String(name));
    for (const auto& c : rz48::kNamedColors) {
        QPixmap swatch(12, 12);
        swatch.fill(QColor::fromRgbF(float(c.red), float(c.green), float(c.blue)));
        combo->addItem(QIcon(swatch), QString::fromLatin1(c.key));
    }
    return combo;
}

// Selects the item of a report's index; an index the list does not have selects nothing.
void selectQuietly(QComboBox* combo, int64_t index)
{
    setQuietly(combo, [&](QComboBox* c) { c->setCurrentIndex(index >= 0 && index < c->count() ? int(index) : -1); });
}

int selected(const QComboBox* combo)
{
    return std::max(combo->currentIndex(), 0);
}

} // namespace

AnnunciatorView::AnnunciatorView(QWidget* parent)
    : PreviewView(parent)
{
    setObjectName(QStringLiteral("annunciatorView"));
    buildControls();
}

AnnunciatorView::~AnnunciatorView()
{
    if (thread_)
        thread_->stopThread();
}

void AnnunciatorView::buildControls()
{
    controls_ = new QWidget;
    controls_->setObjectName(QStringLiteral("overlayControls"));
    auto* layout = new QVBoxLayout(controls_);

    auto sizeRow = [&](const char* textName, QLineEdit*& text, const char* stepperName, Stepper*& stepper, int max) {
        text = textField(textName, controls_);
        text->setText(QStringLiteral("0"));
        stepper = new Stepper(QLatin1String(stepperName), 0, max);
        auto* row = new QHBoxLayout;
        row->addWidget(text);
        row->addWidget(stepper);
        row->addStretch(1);
        return row;
    };

    auto* annunciator = new QGroupBox(tr("Annunciator"), controls_);
    auto* aForm = new QGridLayout(annunciator);
    matrixAnnunciator = new RadioMatrix(QStringLiteral("matrixAnnunciator"),
                                        {tr("Off"), tr("Rehearse"), tr("Record"), tr("Playback")}, Qt::Horizontal);
    aForm->addWidget(matrixAnnunciator, 0, 0, 1, 3);
    comboBoxAnnunciatorForeground = colorCombo("comboBoxAnnunciatorForeground", controls_);
    comboBoxAnnunciatorBackground = colorCombo("comboBoxAnnunciatorBackground", controls_);
    comboBoxAnnunciatorForegroundRecord = colorCombo("comboBoxAnnunciatorForegroundRecord", controls_);
    comboBoxAnnunciatorBackgroundRecord = colorCombo("comboBoxAnnunciatorBackgroundRecord", controls_);
    comboBoxAnnunciatorForegroundPlayback = colorCombo("comboBoxAnnunciatorForegroundPlayback", controls_);
    comboBoxAnnunciatorBackgroundPlayback = colorCombo("comboBoxAnnunciatorBackgroundPlayback", controls_);
    const QStringList modes {tr("Rehearse"), tr("Record"), tr("Playback")};
    QComboBox* pairs[3][2] = {{comboBoxAnnunciatorForeground, comboBoxAnnunciatorBackground},
                              {comboBoxAnnunciatorForegroundRecord, comboBoxAnnunciatorBackgroundRecord},
                              {comboBoxAnnunciatorForegroundPlayback, comboBoxAnnunciatorBackgroundPlayback}};
    for (int i = 0; i < 3; ++i) {
        aForm->addWidget(new QLabel(modes[i], controls_), i + 1, 0);
        aForm->addWidget(pairs[i][0], i + 1, 1);
        aForm->addWidget(pairs[i][1], i + 1, 2);
        for (QComboBox* combo : pairs[i])
            connect(combo, &QComboBox::activated, this, &AnnunciatorView::onComboBoxAnnunciatorIndexChanged);
    }
    aForm->addWidget(new QLabel(tr("Size"), controls_), 4, 0);
    aForm->addLayout(sizeRow("textAnnunciatorSize", textAnnunciatorSize, "stepperAnnunciatorSize", stepperAnnunciatorSize, 2), 4, 1, 1, 2);
    layout->addWidget(annunciator);

    auto* timecode = new QGroupBox(tr("Timecode window"), controls_);
    auto* tForm = new QGridLayout(timecode);
    checkBoxTcVisible = new QCheckBox(tr("Visible"), controls_);
    checkBoxTcVisible->setObjectName(QStringLiteral("checkBoxTcVisible"));
    comboBoxTcForeground = colorCombo("comboBoxTcForeground", controls_);
    comboBoxTcBackground = colorCombo("comboBoxTcBackground", controls_);
    tForm->addWidget(checkBoxTcVisible, 0, 0);
    tForm->addWidget(comboBoxTcForeground, 0, 1);
    tForm->addWidget(comboBoxTcBackground, 0, 2);
    tForm->addWidget(new QLabel(tr("Size"), controls_), 1, 0);
    tForm->addLayout(sizeRow("textTcSize", textTcSize, "stepperTcSize", stepperTcSize, 4), 1, 1, 1, 2);
    layout->addWidget(timecode);

    auto* text = new QGroupBox(tr("Text lines"), controls_);
    auto* xForm = new QGridLayout(text);
    comboBoxTextForeground = colorCombo("comboBoxTextForeground", controls_);
    comboBoxTextBackground = colorCombo("comboBoxTextBackground", controls_);
    showSampleText = new QPushButton(tr("Show sample"), controls_);
    showSampleText->setObjectName(QStringLiteral("showSampleText"));
    clearSampleText = new QPushButton(tr("Clear"), controls_);
    clearSampleText->setObjectName(QStringLiteral("clearSampleText"));
    xForm->addWidget(new QLabel(tr("Colours"), controls_), 0, 0);
    xForm->addWidget(comboBoxTextForeground, 0, 1);
    xForm->addWidget(comboBoxTextBackground, 0, 2);
    xForm->addWidget(new QLabel(tr("Size"), controls_), 1, 0);
    xForm->addLayout(sizeRow("textTextSize", textTextSize, "stepperTextSize", stepperTextSize, 3), 1, 1, 1, 2);
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
    connect(textAnnunciatorSize, &QLineEdit::editingFinished, this, &AnnunciatorView::onTextAnnunciatorSize);
    connect(stepperAnnunciatorSize, &Stepper::valueChanged, this, &AnnunciatorView::onStepperAnnuniatorSize);
    connect(comboBoxTcForeground, &QComboBox::activated, this, &AnnunciatorView::onComboBoxTcForeground);
    connect(comboBoxTcBackground, &QComboBox::activated, this, &AnnunciatorView::onComboBoxTcBackground);
    connect(checkBoxTcVisible, &QCheckBox::toggled, this, &AnnunciatorView::onCheckBoxTcVisible);
    connect(textTcSize, &QLineEdit::editingFinished, this, &AnnunciatorView::onTextTcSize);
    connect(stepperTcSize, &Stepper::valueChanged, this, &AnnunciatorView::onStepperTcSize);
    connect(comboBoxTextForeground, &QComboBox::activated, this, &AnnunciatorView::onComboBoxTextForeground);
    connect(comboBoxTextBackground, &QComboBox::activated, this, &AnnunciatorView::onComboBoxTextBackground);
    connect(textTextSize, &QLineEdit::editingFinished, this, &AnnunciatorView::onTextTextSize);
    connect(stepperTextSize, &Stepper::valueChanged, this, &AnnunciatorView::onStepperTextSize);
    connect(showSampleText, &QPushButton::clicked, this, &AnnunciatorView::onShowSampleText);
    connect(clearSampleText, &QPushButton::clicked, this, &AnnunciatorView::onClearSampleText);
}

void AnnunciatorView::awakeFromNib()
{
    skipEcho = false;
    dragItem = None;
    onWindowClose(this, [this] { windowClosing(); });
    backColor = Qt::black;
    foreColor = Qt::white;
    frameColor = QColor::fromRgbF(0.5f, 0.5f, 0.5f);
    thread_ = std::make_unique<DrawAnnunciatorThread>();
    thread_->startThread(this);
}

void AnnunciatorView::windowClosing()
{
    if (thread_)
        thread_->stopThread();
}

void AnnunciatorView::setDraw(int request)
{
    if (!thread_) {
        rz48::diag("PunchView thread is nil!\n"); // the punch page's words, kept
        return;
    }
    {
        std::lock_guard lock(thread_->ioLock());
        thread_->backColor = backColor;
        thread_->foreColor = foreColor;
        thread_->frameColor = frameColor;
        thread_->annunciatorPoint = annunciatorPoint;
        thread_->tcPoint = tcPoint;
        thread_->textPoint = textPoint;
    }
    thread_->setDraw(request);
}

QRectF AnnunciatorView::annunciatorRect() const { return thread_ ? thread_->annunciatorRect() : QRectF(); }
QRectF AnnunciatorView::tcRect() const { return thread_ ? thread_->tcRect() : QRectF(); }
QRectF AnnunciatorView::textRect() const { return thread_ ? thread_->textRect() : QRectF(); }
QSizeF AnnunciatorView::annunciatorRectSize() const { return thread_ ? thread_->annunciatorRectSize() : QSizeF(); }
QSizeF AnnunciatorView::tcRectSize() const { return thread_ ? thread_->tcRectSize() : QSizeF(); }

// ---------------------------------------------------------------- sending

void AnnunciatorView::send(const QString& command)
{
    if (comThread_)
        comThread_->sendString(command);
}

void AnnunciatorView::sendAnnunciator()
{
    const int mode = std::max(matrixAnnunciator->selectedCell(), 0);
    const QRectF r = annunciatorRect();
    send(overlay::annunciatorCommand(mode, selected(comboBoxAnnunciatorForeground), selected(comboBoxAnnunciatorBackground),
                                     overlay::positionX(r.x()), overlay::positionY(r.y(), r.height()),
                                     stepperAnnunciatorSize->value()));
    skipEcho = true;
}

void AnnunciatorView::sendTc()
{
    const QRectF r = tcRect();
    send(overlay::timecodeCommand(stepperTcSize->value(), checkBoxTcVisible->isChecked(), overlay::positionX(r.x()),
                                  overlay::positionY(r.y(), r.height()),
                                  overlay::colorPair(selected(comboBoxTcForeground), selected(comboBoxTcBackground))));
    skipEcho = true;
}

void AnnunciatorView::sendTextParams()
{
    const QRectF r = textRect();
    send(overlay::textParamsCommand(stepperTextSize->value(), overlay::positionX(r.x()), overlay::positionY(r.y(), r.height()),
                                    overlay::colorPair(selected(comboBoxTextForeground), selected(comboBoxTextBackground))));
    skipEcho = true;
}

void AnnunciatorView::sendAnnunciatorColors()
{
    send(overlay::annunciatorColorsCommand(
        overlay::colorPair(selected(comboBoxAnnunciatorForeground), selected(comboBoxAnnunciatorBackground)),
        overlay::colorPair(selected(comboBoxAnnunciatorForegroundRecord), selected(comboBoxAnnunciatorBackgroundRecord)),
        overlay::colorPair(selected(comboBoxAnnunciatorForegroundPlayback), selected(comboBoxAnnunciatorBackgroundPlayback))));
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
        setQuietly(stepperAnnunciatorSize, [&](Stepper* s) { s->setValue(int(f[5])); });
        setQuietly(textAnnunciatorSize, [&](QLineEdit* t) { t->setText(QString::number(f[5])); });
        if (thread_)
            thread_->setAnnunciatorSize(int(f[5]));
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

void AnnunciatorView::tcFromString(const QString& line)
{
    if (!passesEchoTest())
        return;
    const std::vector<int64_t> f = overlay::reportNumbers(line, 4, false);
    const size_t n = f.size();
    if (n >= 4) {
        selectQuietly(comboBoxTcForeground, overlay::pairText(uint32_t(f[3])));
        selectQuietly(comboBoxTcBackground, overlay::pairBox(uint32_t(f[3])));
    }
    if (n >= 3)
        tcPoint.setY(rz48::kPictureHeight - double(f[2]) * 4 - tcRectSize().height());
    if (n >= 2)
        tcPoint.setX(double(f[1]) * 8);
    if (n >= 1) {
        const int size = int(f[0] & 7);
        setQuietly(stepperTcSize, [&](Stepper* s) { s->setValue(size); });
        setQuietly(textTcSize, [&](QLineEdit* t) { t->setText(QString::number(size)); });
        if (thread_)
            thread_->setTcSize(size);
        setQuietly(checkBoxTcVisible, [&](QCheckBox* b) { b->setChecked((f[0] & 0x80) != 0); });
    }
    setDraw(RedrawOnly);
}

void AnnunciatorView::textParamsFromString(const QString& line)
{
    if (!passesEchoTest())
        return;
    const std::vector<int64_t> f = overlay::reportNumbers(line, 4, false);
    const size_t n = f.size();
    if (n >= 4) {
        selectQuietly(comboBoxTextForeground, overlay::pairText(uint32_t(f[3])));
        selectQuietly(comboBoxTextBackground, overlay::pairBox(uint32_t(f[3])));
    }
    if (n >= 3) // deliberately the timecode box's height, not the text box's
        textPoint.setY(rz48::kPictureHeight - double(f[2]) * 4 - tcRectSize().height());
    if (n >= 2)
        textPoint.setX(double(f[1]) * 8);
    if (n >= 1) {
        const int size = int(f[0] & 3);
        setQuietly(stepperTextSize, [&](Stepper* s) { s->setValue(size); });
        setQuietly(textTextSize, [&](QLineEdit* t) { t->setText(QString::number(size)); });
        if (thread_)
            thread_->setTextSize(size);
    }
    setDraw(RedrawOnly);
}

void AnnunciatorView::annunciatorColorsFromString(const QString& line)
{
    const std::vector<int64_t> f = overlay::reportNumbers(line, 3, true);
    QComboBox* pairs[3][2] = {{comboBoxAnnunciatorForeground, comboBoxAnnunciatorBackground},
                              {comboBoxAnnunciatorForegroundRecord, comboBoxAnnunciatorBackgroundRecord},
                              {comboBoxAnnunciatorForegroundPlayback, comboBoxAnnunciatorBackgroundPlayback}};
    for (size_t i = f.size(); i-- > 0;) {
        selectQuietly(pairs[i][1], overlay::pairBox(uint32_t(f[i])));
        selectQuietly(pairs[i][0], overlay::pairText(uint32_t(f[i])));
    }
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

namespace {

// A typed size is clamped from above only; the stepper keeps it in its range.
int typedSize(QLineEdit* text, int max)
{
    int v = rz48::intValue(text->text());
    if (v > max) {
        v = max;
        setQuietly(text, [&](QLineEdit* t) { t->setText(QString::number(v)); });
    }
    return v;
}

} // namespace

void AnnunciatorView::sizeTyped(QLineEdit* text, Stepper* stepper, int max, void (DrawAnnunciatorThread::*apply)(int),
                                void (AnnunciatorView::*sendIt)())
{
    const int size = typedSize(text, max);
    setQuietly(stepper, [&](Stepper* s) { s->setValue(size); });
    if (thread_)
        (thread_.get()->*apply)(size);
    (this->*sendIt)();
}

void AnnunciatorView::sizeStepped(QLineEdit* text, Stepper* stepper, void (DrawAnnunciatorThread::*apply)(int),
                                  void (AnnunciatorView::*sendIt)())
{
    setQuietly(text, [&](QLineEdit* t) { t->setText(QString::number(stepper->value())); });
    if (thread_)
        (thread_.get()->*apply)(stepper->value());
    (this->*sendIt)();
}

void AnnunciatorView::onTextAnnunciatorSize()
{
    sizeTyped(textAnnunciatorSize, stepperAnnunciatorSize, 2, &DrawAnnunciatorThread::setAnnunciatorSize,
              &AnnunciatorView::sendAnnunciator);
}

void AnnunciatorView::onStepperAnnuniatorSize()
{
    sizeStepped(textAnnunciatorSize, stepperAnnunciatorSize, &DrawAnnunciatorThread::setAnnunciatorSize,
                &AnnunciatorView::sendAnnunciator);
}

void AnnunciatorView::onTextTcSize()
{
    sizeTyped(textTcSize, stepperTcSize, 4, &DrawAnnunciatorThread::setTcSize, &AnnunciatorView::sendTc);
}

void AnnunciatorView::onStepperTcSize()
{
    sizeStepped(textTcSize, stepperTcSize, &DrawAnnunciatorThread::setTcSize, &AnnunciatorView::sendTc);
}

void AnnunciatorView::onTextTextSize()
{
    sizeTyped(textTextSize, stepperTextSize, 3, &DrawAnnunciatorThread::setTextSize, &AnnunciatorView::sendTextParams);
}

void AnnunciatorView::onStepperTextSize()
{
    sizeStepped(textTextSize, stepperTextSize, &DrawAnnunciatorThread::setTextSize, &AnnunciatorView::sendTextParams);
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
    if (!rect().contains(p.toPoint()) || width() <= 0 || height() <= 0) {
        PreviewView::mousePressEvent(event);
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
    if (!rect().contains(p.toPoint()) || width() <= 0 || height() <= 0) {
        PreviewView::mouseMoveEvent(event);
        return;
    }
    placeBox(dragItem, toPicture({p.x(), height() - p.y()}, size()));
}

void AnnunciatorView::mouseReleaseEvent(QMouseEvent* event)
{
    dragItem = None;
    PreviewView::mouseReleaseEvent(event);
}
