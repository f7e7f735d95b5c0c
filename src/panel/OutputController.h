#pragma once
// The Unit output window's source. Under --simulate it is the built-in
// emulated unit itself. With a real unit it is a shadow: an emulated unit
// that receives a copy of every command and trigger the panel queues, and
// the command form of every setting the unit reports (so the start-up
// reports bring it to the unit's state).
#include "cuelist/NativeCueList.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <atomic>
#include <memory>

namespace rz48::link {
class UnitLink;
}
class UnitOutputWindow;
namespace rz48::emu {
class EmulatedUnit;
}

class OutputController : public QObject {
    Q_OBJECT
public:
    explicit OutputController(QObject* parent = nullptr);
    ~OutputController() override;

    // `builtIn`: the in-process emulated unit, or none for a real unit.
    void setUp(rz48::link::UnitLink* link, std::shared_ptr<rz48::emu::EmulatedUnit> builtIn);
    // While an update runs the shadow is left out: the update's bytes are
    // not settings. When it ends the shadow starts over.
    void setUpdating(bool updating);
    // A report line from the unit.
    void record(const QString& line);
    // A new connection: the shadow starts over, like a unit switched on.
    void connected();
    // Window > Unit output, at the cue list's timecode type when first made.
    void showWindow(int timecodeType);
    // The cue list's timecode type changed: the window follows it.
    void followTimecodeType(int timecodeType);
    // The cue list's video: the window shows it, now or when made.
    void followVideo(const rz48::native::ListVideo& video);
    UnitOutputWindow* window() const;
    bool isShadow() const { return shadow_ != nullptr; }

signals:
    // The operator chose a video for the cue list in the window.
    void videoChosen(const rz48::native::ListVideo& video);

private:
    rz48::native::ListVideo video_;
    std::shared_ptr<rz48::emu::EmulatedUnit> source_;
    std::shared_ptr<rz48::emu::EmulatedUnit> shadow_;
    std::shared_ptr<std::atomic<bool>> paused_ = std::make_shared<std::atomic<bool>>(false);
    QPointer<UnitOutputWindow> window_;
};
