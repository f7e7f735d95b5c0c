#pragma once
// Runs an EmulatedUnit behind a real pseudo-terminal and publishes the
// terminal's slave side as a symbolic link (by default "tty.usbserial-EMU")
// in a directory of the caller's choice, where the panel's port search finds
// it like a USB serial adapter.
#include "emulator/EmulatedUnit.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace rz48::emu {

class PtyHost {
public:
    PtyHost();
    ~PtyHost();

    // Opens the pseudo-terminal, creates the link and starts serving.
    bool start(const std::string& directory, const std::string& name = "tty.usbserial-EMU",
               std::string* error = nullptr);
    void stop();

    EmulatedUnit& unit() { return *unit_; }
    // The unit, shared with whoever must keep it while it works (a player
    // drawing its output).
    std::shared_ptr<EmulatedUnit> sharedUnit() const { return unit_; }
    const std::string& linkPath() const { return linkPath_; }
    const std::string& slavePath() const { return slavePath_; }

    // Answers leave this long after the command came in.
    void setAnswerDelay(std::chrono::milliseconds delay) { delayMs_ = int(delay.count()); }
    // Paces output at this speed in bit/s (10 bits a byte); 0 sends at once;
    // kPortSpeed follows the speed the panel has set on the port.
    static constexpr int kPortSpeed = -1;
    void setPacing(int baud) { pacingBaud_ = baud; }
    // Sends bytes of the test's choosing, as if the unit had sent them.
    void inject(const std::string& bytes);
    // Closes the unit's side: the panel's reads then see the hang-up.
    void hangUp();
    bool hungUp() const { return hungUp_; }
    // The speed the panel has set on the port, in bit/s (0 when not a standard one).
    int portSpeed() const;
    // Called with a line of log text for everything received.
    void setLog(std::function<void(const std::string&)> log);

private:
    void serve();
    void queueOutput(std::string bytes, Clock::time_point due);
    // Ends the serving thread's wait at once.
    void wake();
    // How long the serving thread may wait for input, in ms.
    int waitLimit(bool busy);

    std::shared_ptr<EmulatedUnit> unit_ = std::make_shared<EmulatedUnit>();
    int master_ = -1;
    int slaveKeep_ = -1; // keeps the slave open so the panel's open/close cycles do not hang up
    int wake_[2] = {-1, -1}; // a pipe: a byte ends the serving thread's wait
    std::string linkPath_;
    std::string slavePath_;
    std::thread thread_;
    std::atomic<bool> stop_ {false};
    std::atomic<bool> hangUp_ {false};
    std::atomic<bool> hungUp_ {false};
    std::atomic<int> delayMs_ {0};
    std::atomic<int> pacingBaud_ {0};

    std::mutex outMutex_;
    struct Pending {
        Clock::time_point due;
        std::string bytes;
    };
    std::vector<Pending> pending_;
    std::function<void(const std::string&)> log_;
};

} // namespace rz48::emu
