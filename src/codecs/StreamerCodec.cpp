#include "codecs/StreamerCodec.h"

#include "codecs/ProtocolLetters.h"
#include "common/FieldScanner.h"

#include <algorithm>

namespace rz48::codecs {

QString streamerCommand(const StreamerSettings& s)
{
    return protocol::commandLine('C', {packColors(s.colors), s.width, 0, s.duration, s.delay, s.top, 255 - s.bottom, s.transparency});
}

void readStreamerReport(const QString& line, uint32_t& v, StreamerSettings& s)
{
    static_assert(protocol::letter('C').reportHex && protocol::letter('C').fields == 8, "the fields read below");
    FieldScanner scan(line);
    auto next = [&] {
        if (!scan.atEnd())
            scan.scanHex(v);
        return v;
    };
    const auto level = [](int v) { return std::clamp(v, 0, kMaxStreamerLevel); };
    const uint32_t code = next();
    s.width = std::clamp(int(next()), 0, kMaxStreamerWidth);
    next(); // reserved
    s.duration = next();
    s.delay = next();
    s.top = level(int(next()));
    s.bottom = level(int(255u - next()));
    s.transparency = level(int(next()));
    s.colors = unpackColors<5>(code);
}

} // namespace rz48::codecs
