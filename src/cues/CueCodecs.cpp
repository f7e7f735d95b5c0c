#include "cues/CueCodecs.h"

#include "common/FieldScanner.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace rz48::cues {

uint32_t colorBits(const Rgb& c)
{
    return (c.green < 0.5 ? 4u : 0u) + (c.red < 0.5 ? 2u : 0u) + (c.blue < 0.5 ? 1u : 0u);
}

Rgb colorFromBits(uint32_t bits)
{
    return {(bits & 2u) ? 0.0 : 1.0, (bits & 4u) ? 0.0 : 1.0, (bits & 1u) ? 0.0 : 1.0};
}

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
    s.duration = int(next());
    s.delay = int(next());
    s.top = int(next());
    s.bottom = int(255u - next());
    s.transparency = int(next());
    s.colors = unpackColors<5>(code);
}

int wholePart(double v)
{
    if (std::isnan(v))
        return 0;
    if (v >= double(INT_MAX))
        return INT_MAX;
    if (v <= double(INT_MIN))
        return INT_MIN;
    return int(std::trunc(v));
}

QString punchCommand(const PunchSettings& p)
{
    uint32_t code = packColors(p.colors);
    for (size_t i = 0; i < 4; ++i)
        if (p.reverse[i])
            code += 0x1000u << i;
    const long long s = p.radius;
    // Signed divisions, truncated toward zero.
    const long long x = (wholePart(p.x) - s) / 8;
    const long long y = (wholePart(1080.0 - p.y) - s) / 4;
    const int size = s > 0 ? int(std::min<long long>(8640 / s, 255)) : 255; // the radius is at least 1
    return QString::asprintf("E %x %x %x %x %x %x %x %x", code, unsigned(uint32_t(x)), unsigned(uint32_t(y)), unsigned(size),
                             unsigned(p.durationFrames), unsigned(p.repeatSeconds), unsigned(p.repeatCount),
                             unsigned(p.enables));
}

PunchReport readPunchReport(const QString& line)
{
    PunchReport report;
    FieldScanner scan(line);
    for (auto& field : report.fields) {
        uint32_t v = 0;
        if (scan.atEnd() || !scan.scanHex(v))
            break;
        field = v;
    }
    return report;
}

} // namespace rz48::cues
