#include "codecs/PunchCodec.h"

#include "codecs/ProtocolLetters.h"
#include "common/Picture.h"

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
    return protocol::commandLine('E', {code, x, y, size, p.durationFrames, p.repeatSeconds, p.repeatCount, p.enables});
}

PunchReport readPunchReport(const QString& line)
{
    PunchReport report;
    const std::vector<int64_t> f = protocol::reportNumbers(line);
    for (size_t i = 0; i < f.size() && i < report.fields.size(); ++i)
        report.fields[i] = uint32_t(f[i]);
    return report;
}

void readPunchReport(const QString& line, PunchSettings& s)
{
    const auto& f = readPunchReport(line).fields;
    if (f[4])
        s.durationFrames = *f[4];
    if (f[5])
        s.repeatSeconds = *f[5];
    if (f[6])
        s.repeatCount = *f[6];
    if (f[7])
        s.enables = int(*f[7] & 0xFu);
    uint32_t r = uint32_t(s.radius);
    if (f[3] && *f[3] != 0) {
        r = 8640u / *f[3];
        s.radius = int(std::clamp<uint32_t>(r, 1, kMaxPunchRadius));
    }
    if (f[1])
        s.x = double(uint32_t(r + 8u * *f[1]));
    if (f[2])
        s.y = double(uint32_t(1080u - (r + 4u * *f[2])));
    if (f[0]) {
        for (size_t i = 0; i < 4; ++i)
            s.reverse[i] = (*f[0] & (0x1000u << i)) != 0;
        s.colors = unpackColors<4>(*f[0] & 0xFFFu);
    }
    keepCentreInside(s);
}

void keepCentreInside(PunchSettings& s)
{
    const double r = s.radius;
    s.x = std::clamp(s.x, r, kPictureWidth - r);
    s.y = std::clamp(s.y, r, kPictureHeight - r);
}

} // namespace rz48::codecs
