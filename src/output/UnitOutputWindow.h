#pragma once
// Window > Unit output: what the unit puts on the picture, at 16:9 in a
// resizable window or full screen (F11 on the screen the window is on, or
// any screen from the picture's context menu; Esc leaves it), with the transport's controls and the running timecode. It
// shows an emulated unit: the built-in one under --simulate, or a shadow
// that follows every command the panel sends to a real unit, labelled
// "simulated output". Frames are drawn only while the window is shown. A
// video (Open video..., or dropped on the window) runs under the output,
// frame for frame with the transport.
#include "cuelist/NativeCueList.h"
#include "output/OutputPlayer.h"

#include <QImage>
#include <QWidget>

#include <functional>
#include <memory>

class TimecodeInput;
class VideoSound;
class QCheckBox;
class QComboBox;
class QLabel;
class QDragEnterEvent;
class QDropEvent;
class QLineEdit;

class UnitOutputWindow : public QWidget {
    Q_OBJECT
public:
    UnitOutputWindow(std::shared_ptr<rz48::emu::EmulatedUnit> unit, bool shadow, QWidget* parent = nullptr);
    ~UnitOutputWindow() override;

    OutputPlayer& player() { return player_; }
    // The latest frame shown, and how many have come.
    // Drawn with OpenGL, the image holds the shapes alone and the video is in
    // the picture (see picture()).
    const QImage& lastFrame() const { return frame_.image; }
    QWidget* picture() const { return picture_; }
    bool drawsWithOpenGl() const { return openGl_; }
    int framesReceived() const { return framesReceived_; }
    // The timecode type the transport runs at (0 24, 1 25, 2 29.97 drop-frame, 3 30).
    void setTimecodeType(int type);

    Q_INVOKABLE void threadNeedsDisplay(OutputShown frame);
    Q_INVOKABLE void threadVideoStatus(QString text) { say(text); }

    // Shows a video under the output (an empty path: none), from the start
    // and offset the window's fields hold; the operator's choice is signalled.
    void openVideo(const QString& path);
    // The cue list's video, shown without a signal.
    void showVideo(const rz48::native::ListVideo& video);
    const QString& videoPath() const { return videoPath_; }
    const VideoSound& sound() const { return *sound_; }

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    // A video file dropped on the window is shown under the output.
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

signals:
    // The operator chose a video (or none), its start or its offset.
    void videoChosen(const rz48::native::ListVideo& video);

private:
    bool readTimecode(QLineEdit* field, int64_t* frame);
    void applyLoop();
    void toggleFullScreen();
    void fullScreenOn(class QScreen* target);
    void chaseChanged(bool on);
    void chaseLtcChanged(bool on);
    void sendLtcChanged(bool on);
    // A source or sink switched on (opened, or unticked again with why) or off.
    void switchSource(QCheckBox* box, bool on, const std::function<bool(QString*)>& open, const std::function<void()>& close,
                      const QString& started);
    void say(const QString& text);
    void applyVideo();
    // The video, start and offset the window shows.
    rz48::native::ListVideo chosenVideo() const;

    OutputPlayer player_;
    OutputShown frame_;
    bool openGl_ = false;
    int framesReceived_ = 0;
    QWidget* picture_ = nullptr;
    QWidget* controls_ = nullptr;
    QWidget* footer_ = nullptr;
    QLabel* timecode_ = nullptr;
    QLabel* status_ = nullptr;
    QComboBox* type_ = nullptr;
    QLineEdit* locate_ = nullptr;
    QLineEdit* loopFirst_ = nullptr;
    QLineEdit* loopEnd_ = nullptr;
    QLineEdit* videoStart_ = nullptr;
    QLineEdit* videoOffset_ = nullptr;
    QLabel* videoName_ = nullptr;
    QString videoPath_;
    std::unique_ptr<VideoSound> sound_;
    class QTimer* soundTurn_ = nullptr;
    QCheckBox* mute_ = nullptr;
    QCheckBox* loop_ = nullptr;
    QCheckBox* chase_ = nullptr;
    QCheckBox* chaseLtc_ = nullptr;
    QCheckBox* sendLtc_ = nullptr;
    std::unique_ptr<class LtcOutput> ltcOut_;
    TimecodeInput* mtc_ = nullptr;
    TimecodeInput* ltc_ = nullptr;
};
