#pragma once
// The loop shared by the preview workers. Every period (33,000 us) it looks
// at the pending draw request: any request redraws at once (a new picture
// handed to the parent's threadNeedsDisplay), and a request whose kind has a
// transmit callback starts a countdown of 10, so that the parent is asked to
// transmit nine periods after the last such request, once its controls have
// settled. Kind 0 means no request; kind 2 redraws only.
#include <QImage>
#include <QObject>

#include <array>
#include <atomic>
#include <mutex>
#include <thread>

class PreviewWorker {
public:
    struct Traits {
        // The transmit callback of each request kind, none for redraw-only kinds.
        std::array<const char*, 5> transmitFor {nullptr, "threadNeedsTx", nullptr, nullptr, nullptr};
        // Every request becomes the last kind, so a redraw-only request during
        // the count cancels the pending transmit; otherwise only transmitting
        // requests do, and a redraw-only request leaves the count alone.
        bool everyKindCounts = false;
        // The loop tests abort at the top of each turn; otherwise once before
        // the loop and after each period.
        bool abortTestedAtTop = false;
        // Printed when the loop ends, or none.
        const char* completionLine = nullptr;
    };

    static constexpr unsigned kPeriodMicroseconds = 33000;
    static constexpr int kCountdown = 10;

    explicit PreviewWorker(Traits traits);
    virtual ~PreviewWorker();
    PreviewWorker(const PreviewWorker&) = delete;
    PreviewWorker& operator=(const PreviewWorker&) = delete;

    // Starts the loop with the parent that receives the callbacks; does
    // nothing while a loop runs. The first turn draws (request 2).
    void startThread(QObject* parent);
    // Sets abort and waits for the loop to end; returns at once when no loop runs.
    void stopThread();
    bool isRunning() const { return thread_.joinable(); }

    // Guards what the parent hands over for drawing.
    std::mutex& ioLock() { return ioLock_; }
    void setDraw(int request) { draw_ = request; }
    int draw() const { return draw_; }
    bool abort() const { return abort_; }
    // Draws one picture now, on the caller's thread (for measurements).
    QImage renderPicture() { return render(); }

protected:
    // Draws one picture from the worker's settings (copied under ioLock).
    // Derived destructors call stopThread() first, so that the loop never
    // renders with a half-destroyed object.
    virtual QImage render() = 0;
    // A new image of the picture's size.
    static QImage newPicture();

private:
    void run(QObject* parent);

    const Traits traits_;
    std::mutex ioLock_;
    std::atomic<int> draw_ {0};
    std::atomic<bool> abort_ {false};
    std::thread thread_;
};
