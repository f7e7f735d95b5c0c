#pragma once
// The loop shared by the preview workers. Every period (33,000 us) it looks
// at the pending draw request: any request redraws at once (a new picture
// handed to the parent's threadNeedsDisplay), and a request whose kind has a
// transmit callback starts a countdown of 10, so that the parent is asked to
// transmit nine periods after the last such request, once its controls have
// settled. Kind 0 means no request; kind 2 redraws only.
//
// A page hands its worker the whole picture to draw (`PreviewOf::setPicture`),
// under the worker's lock; the loop draws from a copy.
#include "common/Worker.h"

#include <QImage>
#include <QObject>

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

class PreviewWorker {
public:
    struct Traits {
        // Names the worker in the line printed when it does not stop in time.
        const char* name = "preview worker";
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

    virtual ~PreviewWorker() = default;
    PreviewWorker(const PreviewWorker&) = delete;
    PreviewWorker& operator=(const PreviewWorker&) = delete;

    // Starts the loop with the parent that receives the callbacks; does
    // nothing while a loop runs. The first turn draws (request 2).
    void startThread(QObject* parent);
    // Sets abort and waits for the loop to end; returns at once when no loop runs.
    void stopThread() { worker_.stop(); }
    bool isRunning() const { return worker_.isRunning(); }

    void setDraw(int request) { loop_->draw = request; }
    int draw() const { return loop_->draw; }
    // Draws one picture now, on the caller's thread (for measurements).
    QImage renderPicture() const { return loop_->render(); }
    // A new image of the picture's size.
    static QImage newPicture();

protected:
    // `render` draws one picture; it may use only what it captured, never the
    // worker object, so that a loop left to finish on its own stays safe.
    PreviewWorker(Traits traits, std::function<QImage()> render);

private:
    struct Loop {
        Traits traits;
        std::atomic<int> draw {0};
        std::function<QImage()> render;
    };
    static void run(Loop& loop, rz48::WorkerContext& context);

    std::shared_ptr<Loop> loop_;
    // Last: a worker stops before the rest goes.
    rz48::Worker worker_;
};

// A preview worker of one kind of picture: `Picture` is everything the page's
// preview draws, handed over whole.
template <class Picture>
class PreviewOf : public PreviewWorker {
public:
    void setPicture(const Picture& picture)
    {
        std::lock_guard lock(state_->lock);
        state_->picture = picture;
    }
    Picture picture() const { return state_->get(); }

protected:
    struct State {
        mutable std::mutex lock;
        Picture picture;
        Picture get() const
        {
            std::lock_guard guard(lock);
            return picture;
        }
    };
    using Render = std::function<QImage(const Picture&)>;

    PreviewOf(Traits traits, Render render, std::shared_ptr<State> state = std::make_shared<State>())
        : PreviewWorker(traits, [state, render = std::move(render)] { return render(state->get()); })
        , state_(std::move(state))
    {
    }

private:
    std::shared_ptr<State> state_;
};
