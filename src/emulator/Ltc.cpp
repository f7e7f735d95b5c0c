#include "emulator/Ltc.h"

#include "emulator/UnitTimecode.h"

#include <ltc.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

namespace rz48::emu {

namespace {

// The type's frames a second as LTC counts them, and its television standard.
double fpsOf(int type)
{
    switch (type) {
    case 0: return 24.0;
    case 1: return 25.0;
    case 2: return 30000.0 / 1001.0;
    default: return 30.0;
    }
}

LTC_TV_STANDARD standardOf(int type)
{
    switch (type) {
    case 0: return LTC_TV_FILM_24;
    case 1: return LTC_TV_625_50;
    default: return LTC_TV_525_60;
    }
}

struct EncoderFree {
    void operator()(LTCEncoder* e) const { ltc_encoder_free(e); }
};
struct DecoderFree {
    void operator()(LTCDecoder* d) const { ltc_decoder_free(d); }
};

constexpr int kChunk = 1024;

} // namespace

std::vector<LtcReading> readLtc(const Audio& audio)
{
    std::vector<LtcReading> readings;
    if (audio.sampleRate <= 0)
        return readings;
    // Samples per frame as a first guess; the decoder follows the signal's own rate.
    std::unique_ptr<LTCDecoder, DecoderFree> decoder(ltc_decoder_create(audio.sampleRate / 25, 32));
    if (!decoder)
        return readings;
    std::vector<short> chunk(kChunk);
    for (size_t at = 0; at < audio.samples.size(); at += kChunk) {
        const size_t n = std::min<size_t>(kChunk, audio.samples.size() - at);
        std::copy(audio.samples.begin() + long(at), audio.samples.begin() + long(at + n), chunk.begin());
        ltc_decoder_write_s16(decoder.get(), chunk.data(), n, ltc_off_t(at));
        LTCFrameExt frame;
        while (ltc_decoder_read(decoder.get(), &frame)) {
            SMPTETimecode time;
            ltc_frame_to_time(&time, &frame.ltc, 0);
            // Digits that make no timecode (noise read as a frame) are no reading.
            if (time.hours > 23 || time.mins > 59 || time.secs > 59 || time.frame > 29)
                continue;
            LtcReading r;
            r.hours = time.hours;
            r.minutes = time.mins;
            r.seconds = time.secs;
            r.frames = time.frame;
            r.dropFrame = frame.ltc.dfbit != 0;
            r.reverse = frame.reverse != 0;
            // The decoder may place the first frame's start a few samples before the audio's.
            r.at = double(std::max<ltc_off_t>(0, r.reverse ? frame.off_end : frame.off_start)) / audio.sampleRate;
            readings.push_back(r);
        }
    }
    return readings;
}

struct LtcStream::Decoder {
    std::unique_ptr<LTCDecoder, DecoderFree> handle;
    std::vector<short> chunk; // the samples as the decoder takes them, kept between calls
};

LtcStream::LtcStream(int sampleRate)
    : decoder_(std::make_unique<Decoder>())
    , sampleRate_(sampleRate > 0 ? sampleRate : 48000)
{
    decoder_->handle.reset(ltc_decoder_create(sampleRate_ / 25, 32));
}

LtcStream::~LtcStream() = default;

bool LtcStream::feed(const int16_t* samples, size_t count, Clock::time_point now)
{
    if (!decoder_->handle)
        return false;
    bool changed = false;
    std::vector<short>& chunk = decoder_->chunk;
    chunk.assign(samples, samples + count);
    ltc_decoder_write_s16(decoder_->handle.get(), chunk.data(), chunk.size(), ltc_off_t(fed_));
    fed_ += int64_t(count);
    LTCFrameExt frame;
    while (ltc_decoder_read(decoder_->handle.get(), &frame)) {
        SMPTETimecode time;
        ltc_frame_to_time(&time, &frame.ltc, 0);
        // The rate from the length of the frame: 2000 samples at 48 kHz are 24 frames a second.
        const double length = double(std::max<ltc_off_t>(1, frame.off_end - frame.off_start + 1));
        const double fps = sampleRate_ / length;
        const int type = frame.ltc.dfbit ? 2 : fps < 24.5 ? 0 : fps < 27.5 ? 1 : 3;
        int64_t at = 0;
        if (!frameOfFields(time.hours, time.mins, time.secs, time.frame, type, &at))
            continue;
        const MtcDecoder::Position next {at, type, frame.reverse ? -1 : 1};
        lastFrame_ = now;
        if (!position_ || !(*position_ == next)) {
            position_ = next;
            changed = true;
        }
    }
    return changed;
}

bool LtcStream::checkDropout(Clock::time_point now)
{
    if (!position_ || position_->direction == 0 || now - lastFrame_ < kDropout)
        return false;
    position_->direction = 0;
    return true;
}

std::string ltcLine(const LtcReading& r)
{
    char line[64];
    std::snprintf(line, sizeof line, "%02d:%02d:%02d:%02d at %.3f s", r.hours, r.minutes, r.seconds, r.frames, r.at);
    return line;
}

namespace {

SMPTETimecode timeOfFrame(int64_t frame, int type)
{
    const std::string label = labelOfFrame(frame, type);
    SMPTETimecode time {};
    std::snprintf(time.timezone, sizeof time.timezone, "+0000");
    time.hours = static_cast<unsigned char>(std::stoi(label.substr(0, 2)));
    time.mins = static_cast<unsigned char>(std::stoi(label.substr(3, 2)));
    time.secs = static_cast<unsigned char>(std::stoi(label.substr(6, 2)));
    time.frame = static_cast<unsigned char>(std::stoi(label.substr(9, 2)));
    return time;
}

void appendFrame(LTCEncoder* encoder, std::vector<int16_t>& samples)
{
    ltc_encoder_encode_frame(encoder);
    ltcsnd_sample_t* buffer = nullptr;
    const int n = ltc_encoder_get_bufferptr(encoder, &buffer, 1);
    for (int k = 0; k < n; ++k)
        samples.push_back(int16_t((int(buffer[k]) - 128) * 256));
}

} // namespace

struct LtcWriter::Encoder {
    std::unique_ptr<LTCEncoder, EncoderFree> handle;
};

LtcWriter::LtcWriter(int sampleRate)
    : encoder_(std::make_unique<Encoder>())
    , sampleRate_(sampleRate)
{
}

LtcWriter::~LtcWriter() = default;

std::vector<int16_t> LtcWriter::frame(int64_t frame, int type)
{
    std::vector<int16_t> samples;
    if (type != type_ || !encoder_->handle) {
        encoder_->handle.reset(ltc_encoder_create(sampleRate_, fpsOf(type), standardOf(type), 0));
        type_ = type;
    }
    if (!encoder_->handle)
        return samples;
    SMPTETimecode time = timeOfFrame(frame, type);
    ltc_encoder_set_timecode(encoder_->handle.get(), &time);
    appendFrame(encoder_->handle.get(), samples);
    return samples;
}

std::vector<int16_t> writeLtc(int64_t firstFrame, double seconds, int type, int sampleRate)
{
    std::vector<int16_t> samples;
    const double fps = fpsOf(type);
    std::unique_ptr<LTCEncoder, EncoderFree> encoder(ltc_encoder_create(sampleRate, fps, standardOf(type), 0));
    if (!encoder || !(seconds > 0))
        return samples;
    SMPTETimecode time = timeOfFrame(firstFrame, type);
    ltc_encoder_set_timecode(encoder.get(), &time);
    const auto frames = int64_t(std::ceil(seconds * fps));
    samples.reserve(size_t(seconds * sampleRate) + size_t(sampleRate));
    for (int64_t i = 0; i < frames; ++i) {
        appendFrame(encoder.get(), samples);
        ltc_encoder_inc_timecode(encoder.get());
    }
    return samples;
}

} // namespace rz48::emu
