#include "codecs/PunchCodec.h"

#include "common/FieldScanner.h"

#include <algorithm>

namespace rz48::codecs {

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

} // namespace rz48::codecs
