#include "emulator/PtyHost.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace rz48::emu {
namespace {

std::string describe(const std::string& what)
{
    return what + ": " + std::strerror(errno);
}

std::string printable(const std::string& bytes)
{
    std::string out;
    char buf[8];
    for (unsigned char c : bytes) {
        if (c == '\r')
            out += "\\r";
        else if (c == '\n')
            out += "\\n";
        else if (c >= 0x20 && c < 0x7F)
            out.push_back(char(c));
        else {
            std::snprintf(buf, sizeof buf, "\\x%02x", c);
            out += buf;
        }
    }
    return out;
}

} // namespace

PtyHost::PtyHost() = default;

PtyHost::~PtyHost()
{
    stop();
}

bool PtyHost::start(const std::string& directory, const std::string& name, std::string* error)
{
    auto fail = [&](const std::string& why) {
        if (error)
            *error = why;
        stop();
        return false;
    };
    master_ = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (master_ < 0)
        return fail(describe("posix_openpt"));
    if (::grantpt(master_) != 0 || ::unlockpt(master_) != 0)
        return fail(describe("grantpt/unlockpt"));
    const char* slave = ::ptsname(master_);
    if (!slave)
        return fail(describe("ptsname"));
    slavePath_ = slave;
    ::fcntl(master_, F_SETFL, ::fcntl(master_, F_GETFL) | O_NONBLOCK);

    slaveKeep_ = ::open(slavePath_.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (slaveKeep_ < 0)
        return fail(describe("open " + slavePath_));
    termios raw {};
    if (::tcgetattr(slaveKeep_, &raw) == 0) {
        ::cfmakeraw(&raw);
        ::tcsetattr(slaveKeep_, TCSANOW, &raw);
    }

    linkPath_ = directory + "/" + name;
    ::unlink(linkPath_.c_str()); // a stale link from an earlier run
    if (::symlink(slavePath_.c_str(), linkPath_.c_str()) != 0) {
        const std::string why = describe("symlink " + linkPath_);
        linkPath_.clear();
        return fail(why);
    }

    if (::pipe(wake_) != 0)
        return fail(describe("pipe"));
    for (int fd : wake_)
        ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
    stop_ = false;
    hangUp_ = false;
    hungUp_ = false;
    thread_ = std::thread([this] { serve(); });
    return true;
}

void PtyHost::stop()
{
    stop_ = true;
    wake();
    if (thread_.joinable())
        thread_.join();
    for (int& fd : wake_) {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }
    if (!linkPath_.empty()) {
        ::unlink(linkPath_.c_str());
        linkPath_.clear();
    }
    if (master_ >= 0)
        ::close(master_);
    if (slaveKeep_ >= 0)
        ::close(slaveKeep_);
    master_ = slaveKeep_ = -1;
}

void PtyHost::inject(const std::string& bytes)
{
    queueOutput(bytes, Clock::now());
    wake();
}

void PtyHost::hangUp()
{
    hangUp_ = true;
    wake();
}

void PtyHost::wake()
{
    if (wake_[1] >= 0) {
        const char byte = 1;
        [[maybe_unused]] const ssize_t n = ::write(wake_[1], &byte, 1); // a full pipe wakes it already
    }
}

int PtyHost::waitLimit(bool busy)
{
    if (busy)
        return 1;
    // Idle, the thread sleeps until input, a wake-up or the next due answer.
    int limit = unit_->awaitsTime() ? 20 : 1000;
    const auto now = Clock::now();
    std::lock_guard lock(outMutex_);
    for (const Pending& p : pending_) {
        const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(p.due - now).count();
        limit = int(std::clamp<long long>(ms + 1, 0, limit));
    }
    return limit;
}

void PtyHost::setLog(std::function<void(const std::string&)> log)
{
    std::lock_guard lock(outMutex_);
    log_ = std::move(log);
}

void PtyHost::queueOutput(std::string bytes, Clock::time_point due)
{
    if (bytes.empty())
        return;
    std::lock_guard lock(outMutex_);
    pending_.push_back({due, std::move(bytes)});
}

int PtyHost::portSpeed() const
{
    termios t {};
    if (slaveKeep_ < 0 || ::tcgetattr(slaveKeep_, &t) != 0)
        return 0;
    switch (cfgetospeed(&t)) {
    case B9600: return 9600;
    case B19200: return 19200;
    case B38400: return 38400;
    case B57600: return 57600;
    case B115200: return 115200;
    case B230400: return 230400;
    default: return 0;
    }
}

void PtyHost::serve()
{
    std::string outgoing;        // due bytes not yet written
    Clock::time_point paceStart = Clock::now();
    uint64_t pacedBytes = 0;
    double inCredit = 0;         // bytes the line could have carried in so far
    Clock::time_point lastTurn = Clock::now();
    char buf[512];

    while (!stop_) {
        if (hangUp_) {
            // The far end goes away: both of our descriptors close, so the
            // panel's reads see end of file and its writes fail.
            ::close(master_);
            ::close(slaveKeep_);
            master_ = slaveKeep_ = -1;
            hungUp_ = true;
            return;
        }

        int baud = pacingBaud_.load();
        if (baud == kPortSpeed)
            baud = portSpeed();
        {
            const auto t = Clock::now();
            if (baud > 0) // input is taken at the line's speed too, a small buffer's worth at most
                inCredit = std::min(inCredit + std::chrono::duration<double>(t - lastTurn).count() * baud / 10.0, 64.0);
            lastTurn = t;
        }
        const bool mayRead = baud <= 0 || inCredit >= 1;
        pollfd fds[2] = {{master_, short(mayRead ? POLLIN : 0), 0}, {wake_[0], POLLIN, 0}};
        ::poll(fds, 2, waitLimit(!outgoing.empty() || !mayRead));
        const auto now = Clock::now();
        if (fds[1].revents & POLLIN) {
            char drain[64];
            while (::read(wake_[0], drain, sizeof drain) > 0) {
            }
        }

        if (fds[0].revents & POLLIN) {
            const size_t room = baud > 0 ? std::min(sizeof buf, size_t(inCredit)) : sizeof buf;
            const ssize_t n = ::read(master_, buf, room);
            if (n > 0) {
                inCredit -= double(n);
                const std::string in(buf, size_t(n));
                {
                    std::lock_guard lock(outMutex_);
                    if (log_)
                        log_("rx: " + printable(in));
                }
                const auto delay = std::chrono::milliseconds(delayMs_.load());
                unit_->setLineSpeed(portSpeed());
                queueOutput(unit_->receive(in, now), now + delay);
            }
        }
        queueOutput(unit_->tick(now), now);

        {
            std::lock_guard lock(outMutex_);
            for (auto it = pending_.begin(); it != pending_.end();) {
                if (it->due <= now) {
                    outgoing += it->bytes;
                    it = pending_.erase(it);
                } else {
                    ++it;
                }
            }
        }
        if (outgoing.empty()) {
            paceStart = now;
            pacedBytes = 0;
            continue;
        }

        size_t allowed = outgoing.size();
        if (baud > 0) {
            const auto us = std::chrono::duration_cast<std::chrono::microseconds>(now - paceStart).count();
            const uint64_t budget = uint64_t(us) * uint64_t(baud) / 10u / 1000000u + 1;
            allowed = budget > pacedBytes ? size_t(std::min<uint64_t>(budget - pacedBytes, outgoing.size())) : 0;
        }
        if (allowed == 0)
            continue;
        const ssize_t written = ::write(master_, outgoing.data(), allowed);
        if (written > 0) {
            outgoing.erase(0, size_t(written));
            pacedBytes += uint64_t(written);
        }
    }
}

} // namespace rz48::emu
