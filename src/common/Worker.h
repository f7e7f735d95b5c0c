#pragma once
// The one way this program runs a worker thread: start, stop with the abort
// flag, a bounded join, and the callbacks to the parent on the main thread.
//
// A worker's body runs with a `WorkerContext` that it shares with the owner:
// the abort flag and the road back to the parent. The body captures by
// shared ownership everything else it touches (never the owner itself), so
// that a worker which does not stop within the limit can be left to finish on
// its own: stop() then prints a line on standard error naming it, cuts its
// callbacks off (the parent may go away) and detaches the thread. A running
// worker's objects are never destroyed under it.
#include "common/WorkerCallback.h"

#include <QObject>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace rz48 {

class WorkerContext {
public:
    explicit WorkerContext(QObject* parent)
        : parent_(parent)
    {
    }

    std::atomic<bool> abort {false};
    bool aborting() const { return abort.load(); }

    // Queues the parent's callback on the main thread; nothing once the
    // worker has been cut off from its parent.
    bool callParent(const char* name)
    {
        std::lock_guard lock(parentLock_);
        return parent_ && rz48::callParent(parent_, name);
    }
    template <class T>
    bool callParent(const char* name, T value)
    {
        std::lock_guard lock(parentLock_);
        return parent_ && rz48::callParent(parent_, name, std::move(value));
    }

private:
    friend class Worker;
    void cutOff()
    {
        std::lock_guard lock(parentLock_);
        parent_ = nullptr;
    }

    std::mutex parentLock_;
    QObject* parent_;
};

class Worker {
public:
    using Body = std::function<void(WorkerContext&)>;
    static constexpr std::chrono::milliseconds kDefaultStopLimit {5000};

    // `name` names the worker in the line stop() prints when it gives up.
    explicit Worker(std::string name, std::chrono::milliseconds stopLimit = kDefaultStopLimit);
    ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    // Runs `body` on a new thread; false (and nothing started) while one runs.
    bool start(QObject* parent, Body body);
    // Sets the abort flag and waits for the thread, at most the stop limit.
    // True when it ended; false when it was left to finish on its own.
    bool stop();
    bool isRunning() const { return thread_.joinable(); }
    // The running body's abort flag (false when none runs).
    bool aborting() const { return context_ && context_->aborting(); }

private:
    struct Finish;
    std::string name_;
    std::chrono::milliseconds stopLimit_;
    std::shared_ptr<WorkerContext> context_;
    std::shared_ptr<Finish> finish_;
    std::thread thread_;
};

} // namespace rz48
