// The emulated unit's side of the two updates: the microcontroller's loader
// protocol (its test loader, the "j" records and the flash they write) and
// the FPGA download, with the faults a test can ask for.
#include "emulator/EmulatedUnit.h"

#include <cstdlib>

namespace rz48::emu {

std::string EmulatedUnit::receiveUpdateByte(unsigned char byte, Clock::time_point now)
{
    static const std::vector<uint8_t> loader = testLoader();
    switch (mode_) {
    case Mode::Preload: {
        const int i = preloadIndex_++;
        if (byte != loader[size_t(i)] || i == faults_.dropEchoAt) {
            mode_ = Mode::Normal; // not the loader it knows: the unit stays as it was
            return {};
        }
        if (preloadIndex_ == int(loader.size())) {
            mode_ = Mode::Erasing;
            eraseDue_ = now + std::chrono::milliseconds(30);
        }
        return std::string(1, char(byte));
    }
    case Mode::Erasing:
        return {};
    case Mode::Records:
        if (byte == '\n') {
            std::string line = updateLine_;
            updateLine_.clear();
            while (!line.empty() && line.back() == '\r')
                line.pop_back();
            return handleRecord(line);
        }
        if (updateLine_.size() < 600)
            updateLine_.push_back(char(byte));
        return {};
    case Mode::Download: {
        if (lineSpeed_ != 0 && lineSpeed_ != kDownloadSpeed)
            return {}; // noise at the wrong speed
        // Each character is echoed as it comes in; the CR that ends a batch
        // comes back as CR LF.
        lastDownload_ = now;
        if (byte == '\r') {
            downloadText_ += batch_;
            ++downloadBatches_;
            batch_.clear();
            return "\r\n";
        }
        char echo = char(byte);
        if (downloadBatches_ == faults_.corruptEchoBatch && batch_.empty())
            echo = echo == 'X' ? 'Y' : 'X';
        if (batch_.size() < 4096)
            batch_.push_back(char(byte));
        return std::string(1, echo);
    }
    case Mode::Normal:
        break;
    }
    return {};
}

// An S-record line of the microcontroller download: S1 (data) or S9 (end),
// checked on its own terms. A well-formed record is acknowledged with 0x06.
std::string EmulatedUnit::handleRecord(const std::string& line)
{
    auto hexByte = [&](size_t at, int& value) {
        if (at + 2 > line.size())
            return false;
        char* end = nullptr;
        const std::string pair = line.substr(at, 2);
        value = int(std::strtol(pair.c_str(), &end, 16));
        return end == pair.c_str() + 2;
    };
    int count = 0;
    if (line.size() < 4 || line[0] != 'S' || (line[1] != '1' && line[1] != '9') || !hexByte(2, count)
        || line.size() != size_t(4 + 2 * count) || count < 3)
        return {};
    std::vector<int> bytes(static_cast<size_t>(count));
    int sum = count;
    for (int i = 0; i < count; ++i) {
        if (!hexByte(size_t(4 + 2 * i), bytes[size_t(i)]))
            return {};
        sum += bytes[size_t(i)];
    }
    if ((sum & 0xFF) != 0xFF)
        return {};
    const int index = recordIndex_++;
    if (line[1] == '9') {
        mode_ = Mode::Normal; // the new program runs
    } else {
        const int address = (bytes[0] << 8) | bytes[1];
        for (int i = 2; i < count - 1; ++i)
            flash_[size_t((address + i - 2) & 0xFFFF)] = uint8_t(bytes[size_t(i)]);
    }
    if (index == faults_.nakRecord)
        return {};
    return "\x06";
}

std::vector<uint8_t> EmulatedUnit::testLoader()
{
    std::vector<uint8_t> image(772);
    const std::string signature = "RZ48 TEST LOADER";
    for (size_t i = 0; i < image.size(); ++i)
        image[i] = i < signature.size() ? uint8_t(signature[i]) : uint8_t((i * 37 + 11) & 0xFF);
    return image;
}

void EmulatedUnit::setUpdateFaults(const UpdateFaults& faults) { std::lock_guard l(mutex_); faults_ = faults; }

void EmulatedUnit::powerCycle()
{
    std::lock_guard lock(mutex_);
    mode_ = Mode::Normal;
    input_.clear();
    updateLine_.clear();
    batch_.clear();
}

EmulatedUnit::Mode EmulatedUnit::mode() const { return locked(mode_); }

std::vector<uint8_t> EmulatedUnit::flash() const { return locked(flash_); }

std::string EmulatedUnit::downloadText() const { return locked(downloadText_); }

int EmulatedUnit::downloadBatches() const { return locked(downloadBatches_); }

} // namespace rz48::emu
