#include "panel/OutputController.h"

#include "codecs/SetupFile.h"
#include "emulator/EmulatedUnit.h"
#include "link/UnitLink.h"
#include "output/UnitOutputWindow.h"
#include "panel/Tooltips.h"
#include "windows/WindowPlacement.h"

#include <QWidget>

OutputController::OutputController(QObject* parent)
    : QObject(parent)
{
}

OutputController::~OutputController()
{
    delete window_.data();
}

UnitOutputWindow* OutputController::window() const
{
    return window_.data();
}

void OutputController::setUp(rz48::link::UnitLink* link, std::shared_ptr<rz48::emu::EmulatedUnit> builtIn)
{
    if (builtIn) {
        source_ = std::move(builtIn);
        return;
    }
    shadow_ = std::make_shared<rz48::emu::EmulatedUnit>();
    source_ = shadow_;
    if (link) {
        std::weak_ptr<rz48::emu::EmulatedUnit> shadow = shadow_;
        link->setSendTap([shadow, paused = paused_](const QByteArray& bytes) {
            if (auto unit = shadow.lock(); unit && !*paused)
                unit->receive(std::string_view(bytes.constData(), size_t(bytes.size())), rz48::emu::Clock::now());
        });
    }
}

void OutputController::setUpdating(bool updating)
{
    *paused_ = updating;
    if (shadow_ && !updating)
        shadow_->powerCycle();
}

void OutputController::record(const QString& line)
{
    if (!shadow_ || *paused_)
        return;
    if (const std::optional<QString> command = rz48::setup::commandFromReport(line))
        shadow_->receive((command->toLatin1() + "\r\n").toStdString(), rz48::emu::Clock::now());
}

void OutputController::connected()
{
    if (shadow_)
        shadow_->powerCycle();
}

void OutputController::followVideo(const rz48::native::ListVideo& video)
{
    video_ = video;
    if (window_)
        window_->showVideo(video);
}

void OutputController::followTimecodeType(int timecodeType)
{
    if (window_)
        window_->setTimecodeType(timecodeType);
}

void OutputController::showWindow(int timecodeType)
{
    if (!source_)
        setUp(nullptr, nullptr);
    if (!window_) {
        window_ = new UnitOutputWindow(source_, isShadow());
        window_->setAttribute(Qt::WA_QuitOnClose, false);
        window_->setTimecodeType(timecodeType);
        if (!video_.file.isEmpty())
            window_->showVideo(video_);
        connect(window_, &UnitOutputWindow::videoChosen, this, [this](const rz48::native::ListVideo& video) {
            video_ = video;
            emit videoChosen(video);
        });
        rz48::applyTooltips(window_);
        // Beside the panel where it fits, or where the operator left it.
        auto* panel = qobject_cast<QWidget*>(parent());
        rz48::placeWindow(window_, panel ? panel->window() : nullptr);
    }
    window_->show();
    window_->raise();
    window_->activateWindow();
}
