#include "common/Worker.h"

#include <condition_variable>
#include <cstdio>

namespace rz48 {

struct Worker::Finish {
    std::mutex lock;
    std::condition_variable ended;
    bool done = false;
};

Worker::Worker(std::string name, std::chrono::milliseconds stopLimit)
    : name_(std::move(name))
    , stopLimit_(stopLimit)
{
}

Worker::~Worker()
{
    stop();
}

bool Worker::start(QObject* parent, Body body)
{
    if (thread_.joinable())
        return false;
    context_ = std::make_shared<WorkerContext>(parent);
    finish_ = std::make_shared<Finish>();
    thread_ = std::thread([context = context_, finish = finish_, body = std::move(body)]() mutable {
        body(*context);
        body = nullptr; // what the body captured goes before the owner hears of the end
        std::lock_guard lock(finish->lock);
        finish->done = true;
        finish->ended.notify_all();
    });
    return true;
}

bool Worker::stop()
{
    if (!thread_.joinable())
        return true;
    context_->abort = true;
    bool ended;
    {
        std::unique_lock lock(finish_->lock);
        ended = finish_->ended.wait_for(lock, stopLimit_, [this] { return finish_->done; });
    }
    if (ended) {
        thread_.join();
        return true;
    }
    std::fprintf(stderr, "%s did not stop within %lld ms: left to finish on its own\n", name_.c_str(),
                 static_cast<long long>(stopLimit_.count()));
    context_->cutOff();
    thread_.detach();
    return false;
}

} // namespace rz48
