#include "emulator/EmulatedUnit.h"

#include "emulator/UnitTimecode.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace rz48::emu {
namespace {

constexpr size_t kRecentTriggers = 64; // enough for every element still on the picture
constexpr size_t kMaxLine = 1024; // the unit's line buffer; longer input is dropped
constexpr auto kTransferIdle = std::chrono::milliseconds(500);
const std::string kEnd = "\r\n>";

std::string hexField(int64_t v)
{
    char buf[24];
    std::snprintf(buf, sizeof buf, "%x", unsigned(uint32_t(v)));
    return buf;
}

std::string decField(int64_t v)
{
    return std::to_string(v);
}

} // namespace

EmulatedUnit::EmulatedUnit()
{
    // letter: field count, base sent by the panel, base reported, power-on values
    settings_['A'] = {1, true, true, {0x2}};
    settings_['C'] = {8, true, true, {0x0, 0x28, 0x0, 0x64, 0x0, 0xff, 0xff, 0x0}};
    settings_['E'] = {8, true, true, {0x0, 0x70, 0x77, 0x87, 0x5, 0x64, 0x3, 0x1}};
    settings_['G'] = {1, false, true, {0}};
    settings_['H'] = {5, false, false, {0, 0, 0, 0, 0}};
    settings_['J'] = {1, false, false, {0}};
    settings_['M'] = {1, false, false, {15}};
    settings_['Q'] = {1, false, false, {0}};
    settings_['U'] = {6, false, false, {1, 0, 6, 104, 240, 1}};
    settings_['X'] = {1, false, false, {0}};
    settings_['Y'] = {1, false, true, {0}};
    settings_['m'] = {4, false, false, {129, 96, 8, 0x70}};
    settings_['n'] = {1, false, false, {0}};
    settings_['r'] = {4, false, false, {1, 60, 200, 0x70}};
    settings_['t'] = {3, true, true, {0x60, 0x52, 0x07}};
    for (size_t i = 0; i < area_.size(); ++i)
        area_[i] = uint8_t((i * 37 + 11) & 0x7F);
}

std::string EmulatedUnit::receive(std::string_view bytes, Clock::time_point now)
{
    std::string out;
    {
        std::lock_guard lock(mutex_);
        input_.append(bytes);
        size_t pos = 0;
        while (pos < input_.size()) {
            if (mode_ != Mode::Normal) {
                out += receiveUpdateByte(static_cast<unsigned char>(input_[pos++]), now);
                continue;
            }
            const unsigned char first = static_cast<unsigned char>(input_[pos]);
            if (first == 'L' && input_.size() - pos == 2 && input_[pos + 1] == '\r') {
                // The loader: "L" and CR, raw. It answers, then takes the
                // loader image byte by byte.
                pos += 2;
                commands_.push_back("L");
                mode_ = Mode::Preload;
                preloadIndex_ = 0;
                if (!faults_.loaderSilent && !silent_)
                    out += faults_.loaderShortAnswer ? std::string("L") : std::string("RIM>");
                continue;
            }
            if (first == 0x90) { // MIDI note-on trigger: 0x90, note, velocity
                if (input_.size() - pos < 3)
                    break;
                triggers_.push_back(static_cast<uint8_t>(input_[pos + 1]));
                if (recentTriggers_.size() >= kRecentTriggers)
                    recentTriggers_.erase(recentTriggers_.begin());
                recentTriggers_.push_back({static_cast<uint8_t>(input_[pos + 1]), ticksOfClock(now)});
                pos += 3;
                continue;
            }
            const size_t lf = input_.find('\n', pos);
            if (lf == std::string::npos) {
                if (input_.size() - pos > kMaxLine)
                    pos = input_.size(); // overflow: the unit drops the line
                break;
            }
            std::string line = input_.substr(pos, lf - pos);
            pos = lf + 1;
            while (!line.empty() && line.back() == '\r')
                line.pop_back();
            commands_.push_back(line);
            out += handleLine(line, now);
        }
        if (pos > 0)
            ++outputRevision_;
        input_.erase(0, pos);
    }
    changed_.notify_all();
    return out;
}

void EmulatedUnit::setLineSpeed(int bitsPerSecond)
{
    std::lock_guard lock(mutex_);
    lineSpeed_ = bitsPerSecond;
}

bool EmulatedUnit::awaitsTime() const
{
    std::lock_guard lock(mutex_);
    return mode_ != Mode::Normal || transferOpen_;
}

std::string EmulatedUnit::tick(Clock::time_point now)
{
    std::lock_guard lock(mutex_);
    if (mode_ == Mode::Erasing && now >= eraseDue_) {
        std::fill(flash_.begin(), flash_.end(), 0xFF);
        mode_ = Mode::Records;
        recordIndex_ = 0;
        updateLine_.clear();
        return faults_.noEraseAck ? std::string() : std::string("\x06");
    }
    if (mode_ == Mode::Download) {
        if (!readySent_ && now >= readyDue_) {
            readySent_ = true;
            lastDownload_ = now;
            return faults_.noReady ? "erase error\r\n" : "ready\r\n";
        }
        if (readySent_ && now - lastDownload_ > std::chrono::seconds(1))
            mode_ = Mode::Normal; // the download is over
        return {};
    }
    if (!transferOpen_ || now - transferLast_ < kTransferIdle)
        return {};
    transferOpen_ = false;
    const int bad = badPairs_ > 0 ? badPairs_ : 0;
    return answer("h " + hexField(bad));
}

std::string EmulatedUnit::handleLine(const std::string& line, Clock::time_point now)
{
    if (line.empty())
        return answer("");
    const char letter = line[0];
    const bool query = line.size() == 1;
    const bool hasFields = line.size() > 1 && line[1] == ' ';
    const std::string rest = hasFields ? line.substr(2) : std::string();

    if (letter == 'B') {
        ++probes_;
        if (probes_ < probeAnswerOn_)
            return {};
        return answer(probeAnswer_);
    }
    if (letter == 'k' && query) {
        char buf[64];
        std::snprintf(buf, sizeof buf, "k %x %x ", unsigned(kSettingsAddress),
                      unsigned(kSettingsSize - 1));
        return answer(buf + std::string("RZ-48 micro ") + version_);
    }
    if (letter == 'j' && hasFields) {
        const unsigned long address = std::strtoul(rest.c_str(), nullptr, 16);
        if (long(address) == faults_.silentSettingsAt)
            return {};
        char buf[16];
        std::snprintf(buf, sizeof buf, "j %lx", address);
        std::string body = buf;
        for (unsigned long a = address; a < address + 16; ++a) {
            uint8_t v = 0xFF;
            if (a >= kSettingsAddress && a < kSettingsAddress + kSettingsSize)
                v = area_[a - kSettingsAddress];
            std::snprintf(buf, sizeof buf, " %x", unsigned(v));
            body += buf;
        }
        return answer(body);
    }
    if (letter == 'h') {
        cueIns_.clear(); // a transfer replaces the cue list
        cueListStarted_ = true;
        transferOpen_ = true;
        transferLast_ = now;
        return answer("");
    }
    if (letter == 'f') {
        addCue(rest);
        if (transferOpen_)
            transferLast_ = now;
        return answer("f");
    }
    if (letter == 'd' && rest == "1") {
        // FPGA download mode: the flash is erased, then "ready". No prompt,
        // so that nothing stands before the "ready".
        mode_ = Mode::Download;
        readyDue_ = now + std::chrono::milliseconds(faults_.eraseMs);
        readySent_ = false;
        batch_.clear();
        return {};
    }
    if (letter == 's' || letter == 'V') {
        text_ = rest;
        return answer(std::string(1, letter));
    }
    if (letter == 'N')
        return answer("# HDMI timing 1920x1080 148.5 MHz" + std::string(rest == "1" ? " extended" : ""));

    auto it = settings_.find(letter);
    if (it == settings_.end() || (!query && !hasFields))
        return answer("");
    if (hasFields) {
        Setting& s = it->second;
        std::istringstream in(rest);
        for (int i = 0; i < s.count; ++i) {
            std::string token;
            if (!(in >> token))
                break;
            char* end = nullptr;
            const long long v = std::strtoll(token.c_str(), &end, s.hexIn ? 16 : 10);
            if (end == token.c_str())
                break;
            s.values[size_t(i)] = v;
        }
    }
    return answer(report(letter));
}

std::string EmulatedUnit::report(char letter) const
{
    const Setting& s = settings_.at(letter);
    std::string body(1, letter);
    for (int64_t v : s.values)
        body += ' ' + (s.hexOut ? hexField(v) : decField(v));
    return body;
}

std::string EmulatedUnit::answer(const std::string& body)
{
    if (silent_)
        return {};
    std::string out;
    if (sysex_)
        out += std::string("\xF0\x7D\x52\x5A\xF7", 5);
    if (garbage_) {
        out += garbage();
        return out;
    }
    if (body.empty())
        return out + ">";
    return out + body + kEnd;
}

std::string EmulatedUnit::garbage()
{
    std::string out;
    for (int i = 0; i < 24; ++i) {
        noise_ ^= noise_ << 13;
        noise_ ^= noise_ >> 17;
        noise_ ^= noise_ << 5;
        out.push_back(static_cast<char>(noise_ & 0xFF));
    }
    return out + "\r\n";
}


void EmulatedUnit::setSilent(bool silent) { std::lock_guard l(mutex_); silent_ = silent; }
void EmulatedUnit::setProbeAnswerOn(int n) { std::lock_guard l(mutex_); probeAnswerOn_ = n; }
void EmulatedUnit::setProbeAnswer(const std::string& answer) { std::lock_guard l(mutex_); probeAnswer_ = answer; }
void EmulatedUnit::setGarbage(bool garbage) { std::lock_guard l(mutex_); garbage_ = garbage; }
void EmulatedUnit::setSysExPrefix(bool sysex) { std::lock_guard l(mutex_); sysex_ = sysex; }
void EmulatedUnit::setBadPairs(int count) { std::lock_guard l(mutex_); badPairs_ = count; }
void EmulatedUnit::setVersion(const std::string& version) { std::lock_guard l(mutex_); version_ = version; }

std::vector<std::string> EmulatedUnit::commands() const { return locked(commands_); }

std::vector<uint8_t> EmulatedUnit::triggers() const { return locked(triggers_); }

int EmulatedUnit::probeCount() const { return locked(probes_); }

std::vector<int64_t> EmulatedUnit::fields(char letter) const
{
    std::lock_guard lock(mutex_);
    auto it = settings_.find(letter);
    return it == settings_.end() ? std::vector<int64_t>() : it->second.values;
}

void EmulatedUnit::setFields(char letter, const std::vector<int64_t>& values)
{
    std::lock_guard lock(mutex_);
    auto it = settings_.find(letter);
    if (it == settings_.end())
        return;
    for (size_t i = 0; i < values.size() && i < it->second.values.size(); ++i)
        it->second.values[i] = values[i];
}

void EmulatedUnit::setSettingsArea(const std::array<uint8_t, kSettingsSize>& area)
{
    std::lock_guard lock(mutex_);
    area_ = area;
}

bool EmulatedUnit::waitForCommands(size_t n, std::chrono::milliseconds timeout) const
{
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, timeout, [&] { return commands_.size() >= n; });
}

bool EmulatedUnit::waitForTriggers(size_t n, std::chrono::milliseconds timeout) const
{
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, timeout, [&] { return triggers_.size() >= n; });
}

} // namespace rz48::emu
