#include "output/UnitOutputWindow.h"

#include "common/FilePanels.h"
#include "emulator/UnitTimecode.h"
#include "output/LtcOutput.h"
#include "output/OutputPicture.h"
#include "output/TimecodeInput.h"
#include "output/VideoSound.h"
#include "widgets/WidgetFactory.h"

#include <QCheckBox>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QMimeData>
#include <QIntValidator>
#include <QUrl>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QMenu>
#include <QScreen>
#include <QWindow>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QShortcut>
#include <QTimer>
#include <QVBoxLayout>

namespace {

QLineEdit* timecodeField(const char* name, const QString& text, QWidget* parent)
{
    auto* field = new QLineEdit(text, parent);
    field->setObjectName(QLatin1String(name));
    field->setMaxLength(11);
    field->setFixedWidth(field->fontMetrics().horizontalAdvance(QStringLiteral("00:00:00:000")) + 12);
    return field;
}

} // namespace

UnitOutputWindow::UnitOutputWindow(std::shared_ptr<rz48::emu::EmulatedUnit> unit, bool shadow, QWidget* parent)
    : QWidget(parent, Qt::Window)
    , player_(std::move(unit))
{
    setObjectName(QStringLiteral("unitOutputWindow"));
    setWindowTitle(shadow ? tr("Unit output (simulated output)") : tr("Unit output"));
    resize(960, 620);
    // Drawn with OpenGL, the player draws the video once the picture has its context.
    picture_ = makeOutputPicture(frame_, [this](QOpenGLContext* context, QOffscreenSurface* surface) {
        const bool stopped = player_.stop();
        frame_.texture = 0;
        player_.frameTaken();
        player_.drawWithOpenGl(context, surface);
        if (context && isVisible())
            player_.start(this);
        return stopped;
    }, this, &openGl_);

    // Two rows, so that the window fits a small screen at twice the scale:
    // the transport and its timecode, then the loop, the rate and the chase.
    controls_ = new QWidget(this);
    controls_->setObjectName(QStringLiteral("outputControls"));
    auto* rows = new QVBoxLayout(controls_);
    auto* row = new QHBoxLayout;
    auto* second = new QHBoxLayout;
    rows->addLayout(row);
    rows->addLayout(second);
    auto button = [&](const char* name, const QString& text, auto slot) {
        QPushButton* b = rz48::widgets::button(QLatin1String(name), text, controls_);
        connect(b, &QPushButton::clicked, this, slot);
        row->addWidget(b);
        return b;
    };
    button("buttonOutputPlay", tr("Play"), [this] { player_.play(); });
    button("buttonOutputStop", tr("Stop"), [this] { player_.halt(); });
    locate_ = timecodeField("textOutputLocate", QStringLiteral("01:00:00:00"), controls_);
    row->addWidget(locate_);
    auto locate = [this] {
        int64_t frame = 0;
        if (readTimecode(locate_, &frame))
            player_.locate(frame);
    };
    button("buttonOutputLocate", tr("Locate"), locate);
    connect(locate_, &QLineEdit::returnPressed, this, locate);
    row->addStretch(1);
    timecode_ = new QLabel(QStringLiteral("--:--:--:--"), controls_);
    timecode_->setObjectName(QStringLiteral("labelOutputTimecode"));
    QFont mono = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    mono.setPointSizeF(mono.pointSizeF() * 1.6);
    timecode_->setFont(mono);
    row->addWidget(timecode_);

    row = second;
    loop_ = rz48::widgets::checkBox(QStringLiteral("checkBoxOutputLoop"), tr("Loop"), controls_);
    row->addWidget(loop_);
    loopFirst_ = timecodeField("textOutputLoopFirst", QStringLiteral("01:00:00:00"), controls_);
    loopEnd_ = timecodeField("textOutputLoopEnd", QStringLiteral("01:00:30:00"), controls_);
    row->addWidget(loopFirst_);
    row->addWidget(new QLabel(tr("to"), controls_));
    row->addWidget(loopEnd_);
    connect(loop_, &QCheckBox::toggled, this, &UnitOutputWindow::applyLoop);
    connect(loopFirst_, &QLineEdit::editingFinished, this, &UnitOutputWindow::applyLoop);
    connect(loopEnd_, &QLineEdit::editingFinished, this, &UnitOutputWindow::applyLoop);
    type_ = new QComboBox(controls_);
    type_->setObjectName(QStringLiteral("comboBoxOutputTcType"));
    type_->addItems({tr("24 fps"), tr("25 fps"), tr("29.97 drop"), tr("30 fps")});
    type_->setCurrentIndex(1);
    connect(type_, &QComboBox::activated, this, [this](int index) { player_.setType(index); applyLoop(); });
    row->addWidget(type_);
    chase_ = new QCheckBox(tr("Chase MTC"), controls_);
    // The video under the output: the file, where its first frame stands, an offset.
    auto* third = new QHBoxLayout;
    rows->addLayout(third);
    QPushButton* open = rz48::widgets::button(QStringLiteral("buttonOutputOpenVideo"), tr("Open video..."), controls_);
    connect(open, &QPushButton::clicked, this, [this] {
        const QString path = rz48::askOpenPath(tr("Open a video to show under the output"),
                                               {QStringLiteral("mp4"), QStringLiteral("mov"), QStringLiteral("mkv"), QStringLiteral("mxf"),
                                                QStringLiteral("avi"), QStringLiteral("m4v"), QStringLiteral("webm")});
        if (!path.isEmpty())
            openVideo(path);
    });
    third->addWidget(open);
    videoName_ = new QLabel(tr("no video"), controls_);
    videoName_->setObjectName(QStringLiteral("labelOutputVideo"));
    third->addWidget(videoName_, 1);
    third->addWidget(new QLabel(tr("starts at"), controls_));
    videoStart_ = timecodeField("textOutputVideoStart", QString(), controls_);
    videoStart_->setPlaceholderText(tr("its own"));
    connect(videoStart_, &QLineEdit::editingFinished, this, [this] {
        applyVideo();
        emit videoChosen(chosenVideo());
    });
    third->addWidget(videoStart_);
    third->addWidget(new QLabel(tr("offset"), controls_));
    videoOffset_ = new QLineEdit(QStringLiteral("0"), controls_);
    videoOffset_->setObjectName(QStringLiteral("textOutputVideoOffset"));
    videoOffset_->setValidator(new QIntValidator(-rz48::native::kMaxVideoOffset, rz48::native::kMaxVideoOffset, videoOffset_));
    videoOffset_->setFixedWidth(videoOffset_->fontMetrics().horizontalAdvance(QStringLiteral("-99999999")) + 12);
    connect(videoOffset_, &QLineEdit::editingFinished, this, [this] {
        applyVideo();
        emit videoChosen(chosenVideo());
    });
    third->addWidget(videoOffset_);
    third->addWidget(new QLabel(tr("frames"), controls_));
    mute_ = rz48::widgets::checkBox(QStringLiteral("checkBoxOutputMute"), tr("Mute"), controls_);
    connect(mute_, &QCheckBox::toggled, this, [this](bool on) { sound_->setMuted(on); });
    third->addWidget(mute_);
    QPushButton* close = rz48::widgets::button(QStringLiteral("buttonOutputCloseVideo"), tr("No video"), controls_);
    connect(close, &QPushButton::clicked, this, [this] { openVideo(QString()); });
    third->addWidget(close);
    setAcceptDrops(true);
    // The video's sound follows the transport, ten times a second while a
    // video is shown in a shown window.
    sound_ = std::make_unique<VideoSound>(qEnvironmentVariable("RZ48_SOUND_OUTPUT"));
    soundTurn_ = new QTimer(this);
    soundTurn_->setInterval(100);
    connect(soundTurn_, &QTimer::timeout, this, [this] {
        const std::optional<double> at = player_.videoSeconds();
        sound_->follow(player_.playing() && at, at.value_or(-1));
    });
    chase_->setObjectName(QStringLiteral("checkBoxOutputChaseMtc"));
    connect(chase_, &QCheckBox::toggled, this, &UnitOutputWindow::chaseChanged);
    row->addWidget(chase_);
    chaseLtc_ = new QCheckBox(tr("Chase LTC"), controls_);
    chaseLtc_->setObjectName(QStringLiteral("checkBoxOutputChaseLtc"));
    connect(chaseLtc_, &QCheckBox::toggled, this, &UnitOutputWindow::chaseLtcChanged);
    row->addWidget(chaseLtc_);
    sendLtc_ = new QCheckBox(tr("Send LTC"), controls_);
    sendLtc_->setObjectName(QStringLiteral("checkBoxOutputSendLtc"));
    connect(sendLtc_, &QCheckBox::toggled, this, &UnitOutputWindow::sendLtcChanged);
    row->addWidget(sendLtc_);
    ltcOut_ = std::make_unique<LtcOutput>([this] {
        const OutputPlayer::Standing at = player_.standing();
        return LtcOutput::Position {at.playing, at.frame, at.type};
    });
    row->addStretch(1);

    footer_ = new QWidget(this);
    auto* below = new QHBoxLayout(footer_);
    below->setContentsMargins(9, 0, 9, 4);
    status_ = new QLabel(footer_);
    status_->setObjectName(QStringLiteral("labelOutputStatus"));
    status_->setWordWrap(true);
    below->addWidget(status_, 1);
    if (shadow) {
        auto* label = new QLabel(tr("simulated output"), footer_);
        label->setObjectName(QStringLiteral("labelOutputSimulated"));
        below->addWidget(label);
    }
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(picture_, 1);
    column->addWidget(controls_);
    column->addWidget(footer_);

    auto* full = new QShortcut(QKeySequence(Qt::Key_F11), this);
    connect(full, &QShortcut::activated, this, &UnitOutputWindow::toggleFullScreen);
    auto* leave = new QShortcut(QKeySequence(Qt::Key_Escape), this);
    connect(leave, &QShortcut::activated, this, [this] {
        if (isFullScreen())
            toggleFullScreen();
    });
    player_.locate(rz48::emu::frameOfLabel(1, 0, 0, 0, player_.type())); // sessions start at an hour
    mtc_ = new TimecodeInput(TimecodeInput::Source::Mtc, this);
    ltc_ = new TimecodeInput(TimecodeInput::Source::Ltc, this);
    auto chase = [this](const rz48::emu::MtcDecoder::Position& p) {
        player_.chase(p);
        if (type_->currentIndex() != p.type) {
            type_->setCurrentIndex(p.type);
            applyLoop(); // the loop's frames at the new rate
        }
    };
    mtc_->onPosition(chase);
    ltc_->onPosition(chase);
}

UnitOutputWindow::~UnitOutputWindow()
{
    ltcOut_->stop(); // it asks the player where the transport stands
    player_.stop();
    delete picture_; // it tells the player of its context as it goes
}

void UnitOutputWindow::setTimecodeType(int type)
{
    if (type < 0 || type > 3)
        return;
    type_->setCurrentIndex(type);
    player_.setType(type);
    applyLoop();
}

void UnitOutputWindow::threadNeedsDisplay(OutputShown frame)
{
    if (frame.run != player_.currentRun())
        return;
    frame_ = std::move(frame);
    ++framesReceived_;
    player_.frameTaken();
    timecode_->setText(frame_.image.text(QStringLiteral("timecode")));
    picture_->update();
}

void UnitOutputWindow::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    player_.start(this);
    if (sound_->isOpen())
        soundTurn_->start();
}

void UnitOutputWindow::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    player_.stop();
    frame_.texture = 0; // gone with the player's context
    player_.frameTaken();
    soundTurn_->stop();
    sound_->follow(false, -1); // silent while hidden
}

bool UnitOutputWindow::readTimecode(QLineEdit* field, int64_t* frame)
{
    const int type = type_->currentIndex();
    if (rz48::emu::parseLabel(field->text().trimmed().toStdString(), type, frame)) {
        say({});
        return true;
    }
    say(tr("\"%1\" is not a timecode at %2 (HH:MM:SS:FF).").arg(field->text(), type_->currentText()));
    return false;
}

void UnitOutputWindow::applyLoop()
{
    int64_t first = 0, end = 0;
    if (!loop_->isChecked()) {
        player_.setLoop(0, 0, false);
        return;
    }
    // A loop that cannot be read plays no loop rather than the last one.
    if (!readTimecode(loopFirst_, &first) || !readTimecode(loopEnd_, &end)) {
        player_.setLoop(0, 0, false);
        return;
    }
    if (end <= first) {
        player_.setLoop(0, 0, false);
        say(tr("The loop's end must come after its start."));
        return;
    }
    player_.setLoop(first, end, true);
}

void UnitOutputWindow::toggleFullScreen()
{
    if (isFullScreen()) {
        controls_->show();
        footer_->show();
        showNormal();
    } else {
        fullScreenOn(screen());
    }
}

void UnitOutputWindow::fullScreenOn(QScreen* target)
{
    if (!target)
        return;
    if (isFullScreen())
        showNormal();
    // Onto the chosen screen first, then full screen there.
    move(target->availableGeometry().topLeft());
    if (QWindow* handle = windowHandle())
        handle->setScreen(target);
    controls_->hide();
    footer_->hide();
    showFullScreen();
}

void UnitOutputWindow::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu menu(this);
    for (QScreen* s : QGuiApplication::screens()) {
        QAction* action = menu.addAction(tr("Full screen on %1 (%2 x %3)").arg(s->name()).arg(s->size().width()).arg(s->size().height()));
        connect(action, &QAction::triggered, this, [this, s] { fullScreenOn(s); });
    }
    if (isFullScreen())
        menu.addAction(tr("Leave full screen (Esc)"), this, &UnitOutputWindow::toggleFullScreen);
    menu.exec(event->globalPos());
}

void UnitOutputWindow::switchSource(QCheckBox* box, bool on, const std::function<bool(QString*)>& open,
                                    const std::function<void()>& close, const QString& started)
{
    if (!on) {
        close();
        say({});
        return;
    }
    QString why;
    if (!open(&why)) {
        say(why);
        const QSignalBlocker block(box);
        box->setChecked(false);
        return;
    }
    say(started);
}

void UnitOutputWindow::chaseChanged(bool on)
{
    switchSource(chase_, on, [this](QString* why) { return mtc_->open(why); }, [this] { mtc_->close(); },
                 tr("Chasing MIDI Time Code: connect a source to the sequencer port \"RZ48 MTC in\"."));
    if (chase_->isChecked() && chaseLtc_->isChecked()) // one source at a time
        chaseLtc_->setChecked(false);
}

void UnitOutputWindow::chaseLtcChanged(bool on)
{
    switchSource(chaseLtc_, on, [this](QString* why) { return ltc_->open(why); }, [this] { ltc_->close(); },
                 tr("Chasing LTC on the sound input (48 kHz, the first channel)."));
    if (chaseLtc_->isChecked() && chase_->isChecked())
        chase_->setChecked(false);
}

void UnitOutputWindow::sendLtcChanged(bool on)
{
    switchSource(sendLtc_, on, [this](QString* why) { return ltcOut_->start(why); }, [this] { ltcOut_->stop(); },
                 tr("Sending the timecode as LTC to the sound output (48 kHz)."));
}

void UnitOutputWindow::openVideo(const QString& path)
{
    rz48::native::ListVideo video = chosenVideo();
    video.file = path;
    showVideo(video);
    emit videoChosen(video);
}

rz48::native::ListVideo UnitOutputWindow::chosenVideo() const
{
    return {videoPath_, videoStart_->text().trimmed(), videoOffset_->text().toInt()};
}

void UnitOutputWindow::showVideo(const rz48::native::ListVideo& video)
{
    const QString& path = video.file;
    if (path != videoPath_) {
        QString why;
        if (!sound_->open(path, &why))
            say(tr("The video's sound cannot be played: %1.").arg(why));
        sound_->setMuted(mute_->isChecked());
    }
    if (sound_->isOpen() && isVisible())
        soundTurn_->start();
    else
        soundTurn_->stop();
    videoPath_ = path;
    videoName_->setText(path.isEmpty() ? tr("no video") : QFileInfo(path).fileName());
    videoName_->setToolTip(path);
    videoStart_->setText(video.start);
    videoOffset_->setText(QString::number(video.offset));
    applyVideo();
}

void UnitOutputWindow::applyVideo()
{
    // An empty start: the file's own timecode tag. A start that is not a
    // timecode at this rate is refused here, with why.
    const QString start = videoStart_->text().trimmed();
    int64_t frame = 0;
    if (!start.isEmpty() && !readTimecode(videoStart_, &frame))
        return;
    player_.setVideo(videoPath_.toStdString(), start.toStdString(), videoOffset_->text().toLongLong());
}

void UnitOutputWindow::dragEnterEvent(QDragEnterEvent* event)
{
    const QList<QUrl> urls = event->mimeData()->urls();
    if (urls.size() == 1 && urls.first().isLocalFile())
        event->acceptProposedAction();
}

void UnitOutputWindow::dropEvent(QDropEvent* event)
{
    const QList<QUrl> urls = event->mimeData()->urls();
    if (urls.size() == 1 && urls.first().isLocalFile()) {
        openVideo(urls.first().toLocalFile());
        event->acceptProposedAction();
    }
}

void UnitOutputWindow::say(const QString& text)
{
    status_->setText(text);
}
