#pragma once
// The unit's side of the serial protocol, written on its own (it shares no
// code with the panel's codecs). It keeps the unit's settings, answers every
// query and setting with its report followed by CR LF and the prompt ">",
// records MIDI note triggers, runs the cue transfer handshake, and can be told
// to misbehave. Thread-safe: the host's thread feeds it while tests look on.
#include "emulator/OutputModel.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace rz48::emu {

using Clock = std::chrono::steady_clock;

class EmulatedUnit {
public:
    // What the unit is doing with the bytes it receives.
    enum class Mode { Normal, Preload, Erasing, Records, Download };

    // Faults of the update procedures, each off by default.
    struct UpdateFaults {
        bool loaderSilent = false;      // "L" gets no answer at all
        bool loaderShortAnswer = false; // "L" gets one byte
        int dropEchoAt = -1;            // this loader byte is not echoed
        bool noEraseAck = false;        // no acknowledge after the loader
        int nakRecord = -1;             // this record (0 = first) is not acknowledged
        bool noReady = false;           // the FPGA erase ends in an error, not "ready"
        int corruptEchoBatch = -1;      // this FPGA batch (0 = first) is echoed wrong
        int eraseMs = 200;              // how long the FPGA flash erase takes
        int silentSettingsAt = -1;      // "j" for this address gets no answer
    };

    static constexpr uint16_t kSettingsAddress = 0xFC00;
    static constexpr size_t kSettingsSize = 64; // reported as size 3f, the highest offset
    static constexpr int kDownloadSpeed = 230400; // bit/s, in FPGA download mode

    EmulatedUnit();

    // Bytes from the panel; returns the bytes the unit answers at once.
    std::string receive(std::string_view bytes, Clock::time_point now);
    // The speed the port is set to, in bit/s (0: unknown, taken as right).
    // In FPGA download mode the unit listens at 230400 bit/s: bytes sent at
    // another speed arrive as noise, neither kept nor echoed.
    void setLineSpeed(int bitsPerSecond);
    // Timed behaviour (the end of a cue transfer); returns bytes to send.
    std::string tick(Clock::time_point now);
    // Whether tick() has something to do in time: an update or a cue transfer under way.
    bool awaitsTime() const;

    // --- misbehaviour ---
    void setSilent(bool silent);            // reads everything, answers nothing
    void setProbeAnswerOn(int n);           // answer "B" only from the Nth probe on (1 = always)
    void setProbeAnswer(const std::string& answer); // what "B" is answered with, another device's words
    void setGarbage(bool garbage);          // answers are replaced by garbage bytes
    void setSysExPrefix(bool sysex);        // every answer starts with a system-exclusive message
    void setBadPairs(int count);            // the cue transfer ends with "h <count>"
    void setVersion(const std::string& version);
    void setUpdateFaults(const UpdateFaults& faults);
    // Switching the unit off and on: back to its normal protocol.
    void powerCycle();

    // The loader image the emulated unit accepts: "RZ48 TEST LOADER", then
    // byte i = (i x 37 + 11) mod 256, 772 bytes in all.
    static std::vector<uint8_t> testLoader();
    Mode mode() const;
    // The microcontroller's program flash (64 KiB) as the last update left it.
    std::vector<uint8_t> flash() const;
    // Everything received in FPGA download mode, batches without their CR.
    std::string downloadText() const;
    int downloadBatches() const;

    // --- what the unit saw and holds ---
    std::vector<std::string> commands() const;      // text lines received, without CR LF
    std::vector<uint8_t> triggers() const;          // notes of MIDI note-on triggers
    int probeCount() const;
    std::vector<int64_t> fields(char letter) const; // current fields of a setting
    void setFields(char letter, const std::vector<int64_t>& values);
    void setSettingsArea(const std::array<uint8_t, kSettingsSize>& area);

    // What shows on the picture: the settings, the text, the recent
    // triggers with the moment they came, the last cue transfer's In times.
    OutputState outputState() const;
    // Counts what the unit received: unchanged, so is the output state.
    uint64_t outputRevision() const;

    // Waits until at least n commands (or triggers) were received.
    bool waitForCommands(size_t n, std::chrono::milliseconds timeout) const;
    bool waitForTriggers(size_t n, std::chrono::milliseconds timeout) const;

private:
    // A copy of a member, taken under the unit's lock.
    template <class T>
    T locked(const T& member) const
    {
        std::lock_guard lock(mutex_);
        return member;
    }
    std::string receiveUpdateByte(unsigned char byte, Clock::time_point now);
    std::string handleRecord(const std::string& line);
    void addCue(const std::string& fields);

    struct Setting {
        int count;      // number of fields
        bool hexIn;     // base of the fields the panel sends
        bool hexOut;    // base of the fields the unit reports
        std::vector<int64_t> values;
    };

    std::string handleLine(const std::string& line, Clock::time_point now);
    std::string report(char letter) const;
    std::string answer(const std::string& body);
    std::string garbage();

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::string input_;
    std::map<char, Setting> settings_;
    std::array<uint8_t, kSettingsSize> area_ {};
    std::string version_ = "3.32.6";
    std::vector<std::string> commands_;
    std::vector<uint8_t> triggers_;
    std::vector<OutputState::Trigger> recentTriggers_;
    std::vector<OutputState::CueIn> cueIns_;
    bool cueListStarted_ = false; // an "h" began a cue list
    uint64_t outputRevision_ = 0;
    std::string text_;
    int probes_ = 0;
    int probeAnswerOn_ = 1;
    std::string probeAnswer_ = "B RZ-48 C190 emulated unit";
    bool silent_ = false;
    bool garbage_ = false;
    bool sysex_ = false;
    int badPairs_ = 0;
    uint32_t noise_ = 0x2545F491u;

    Mode mode_ = Mode::Normal;
    UpdateFaults faults_;
    int preloadIndex_ = 0;
    int recordIndex_ = 0;
    std::string updateLine_;
    std::vector<uint8_t> flash_ = std::vector<uint8_t>(65536, 0xFF);
    Clock::time_point eraseDue_ {};
    Clock::time_point readyDue_ {};
    bool readySent_ = false;
    Clock::time_point lastDownload_ {};
    int lineSpeed_ = 0;
    std::string batch_;
    std::string downloadText_;
    int downloadBatches_ = 0;

    bool transferOpen_ = false;
    Clock::time_point transferLast_ {};
};

} // namespace rz48::emu
