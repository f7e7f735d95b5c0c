#include "codecs/StreamerCodec.h"

#include "common/FieldScanner.h"

namespace rz48::codecs {

QString streamerCommand(const StreamerSettings& s)
{
    return QString::asprintf("C %x %x %x %x %x %x %x %x", packColors(s.colors), unsigned(s.width), 0u,
                             unsigned(s.duration), unsigned(s.delay), unsigned(s.top), unsigned(255 - s.bottom),
                             unsigned(s.transparency));
}

void readStreamerReport(const QString& line, uint32_t& v, StreamerSettings& s)
{
    FieldScanner scan(line);
    auto next = [&] {
        if (!scan.atEnd())
            scan.scanHex(v);
        return v;
    };
    const uint32_t code = next();
    s.width = int(next());
    next(); // reserved
    s.duration = next();
    s.delay = next();
    s.top = int(next());
    s.bottom = int(255u - next());
    s.transparency = int(next());
    s.colors = unpackColors<5>(code);
}

} // namespace rz48::codecs
