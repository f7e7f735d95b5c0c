#include "emulator/Wav.h"

#include <algorithm>
#include <cstring>

namespace rz48::emu {

namespace {

uint32_t le32(const char* p)
{
    const auto* u = reinterpret_cast<const unsigned char*>(p);
    return uint32_t(u[0]) | uint32_t(u[1]) << 8 | uint32_t(u[2]) << 16 | uint32_t(u[3]) << 24;
}
uint16_t le16(const char* p)
{
    const auto* u = reinterpret_cast<const unsigned char*>(p);
    return uint16_t(u[0] | u[1] << 8);
}
void put32(QByteArray& out, uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        out.append(char((v >> (8 * i)) & 0xFF));
}
void put16(QByteArray& out, uint16_t v)
{
    out.append(char(v & 0xFF));
    out.append(char(v >> 8));
}

constexpr uint16_t kPcm = 1, kFloat = 3, kExtensible = 0xFFFE;

} // namespace

bool parseWav(const QByteArray& bytes, Audio& audio, std::string* why)
{
    const char* data = bytes.constData();
    const size_t size = size_t(bytes.size());
    if (size < 12 || std::memcmp(data, "RIFF", 4) != 0 || std::memcmp(data + 8, "WAVE", 4) != 0) {
        *why = "not a WAV file (no RIFF/WAVE header)";
        return false;
    }
    uint16_t format = 0, channels = 0, bits = 0;
    uint32_t rate = 0;
    bool haveFormat = false;
    size_t at = 12;
    while (at + 8 <= size) {
        const char* id = data + at;
        const uint32_t length = le32(data + at + 4);
        const size_t body = at + 8;
        const size_t available = size - body;
        if (std::memcmp(id, "fmt ", 4) == 0) {
            if (length < 16 || length > available) {
                *why = "its format chunk is cut short";
                return false;
            }
            format = le16(data + body);
            channels = le16(data + body + 2);
            rate = le32(data + body + 4);
            bits = le16(data + body + 14);
            if (format == kExtensible && length >= 26)
                format = le16(data + body + 24); // the sub-format's first two bytes
            haveFormat = true;
        } else if (std::memcmp(id, "data", 4) == 0) {
            if (!haveFormat) {
                *why = "its samples come before their format";
                return false;
            }
            if ((format != kPcm && format != kFloat) || (format == kFloat && bits != 32)
                || (format == kPcm && bits != 8 && bits != 16 && bits != 24 && bits != 32)) {
                *why = "its samples are neither 8-, 16-, 24- or 32-bit PCM nor 32-bit float (format " + std::to_string(format)
                    + ", " + std::to_string(bits) + " bits)";
                return false;
            }
            if (channels == 0 || rate < 8000 || rate > 384000) {
                *why = "it says " + std::to_string(channels) + " channels at " + std::to_string(rate) + " Hz";
                return false;
            }
            const size_t frameBytes = size_t(channels) * (bits / 8);
            const size_t usable = std::min<size_t>(length, available); // a file cut short keeps what it has
            const size_t count = usable / frameBytes;
            audio.sampleRate = int(rate);
            audio.samples.clear();
            audio.samples.reserve(count);
            for (size_t i = 0; i < count; ++i) {
                const char* s = data + body + i * frameBytes;
                int16_t v = 0;
                if (format == kFloat) {
                    float f;
                    std::memcpy(&f, s, 4);
                    f = f != f ? 0.0f : std::max(-1.0f, std::min(1.0f, f));
                    v = int16_t(f * 32767.0f);
                } else if (bits == 8) {
                    v = int16_t((int(static_cast<unsigned char>(s[0])) - 128) * 256);
                } else {
                    v = int16_t(le16(s + bits / 8 - 2)); // the two most significant bytes
                }
                audio.samples.push_back(v);
            }
            return true;
        }
        at = body + length + (length & 1);
        if (at < body) // beyond any file
            break;
    }
    *why = haveFormat ? "it has no samples (no data chunk)" : "it has no format chunk";
    return false;
}

QByteArray wavOf(const std::vector<int16_t>& samples, int sampleRate)
{
    const uint32_t dataBytes = uint32_t(samples.size() * 2);
    QByteArray out;
    out.reserve(int(44 + dataBytes));
    out.append("RIFF", 4);
    put32(out, 36 + dataBytes);
    out.append("WAVEfmt ", 8);
    put32(out, 16);
    put16(out, kPcm);
    put16(out, 1);
    put32(out, uint32_t(sampleRate));
    put32(out, uint32_t(sampleRate) * 2);
    put16(out, 2);
    put16(out, 16);
    out.append("data", 4);
    put32(out, dataBytes);
    for (int16_t s : samples)
        put16(out, uint16_t(s));
    return out;
}

} // namespace rz48::emu
