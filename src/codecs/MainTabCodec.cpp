#include "codecs/MainTabCodec.h"

#include "codecs/ProtocolLetters.h"

#include <cmath>
#include <climits>

namespace rz48::maintab {

QString rateCommand(const Rate& rate)
{
    const unsigned reference = rate.reference == Auto ? 2 : rate.reference == Pulldown ? 1 : 0;
    const unsigned bits = reference + (rate.endPunch ? 4u : 0u) + (rate.hdmiPriority ? 8u : 0u);
    return protocol::commandLine('A', {bits});
}

Rate rateFromReport(uint32_t bits)
{
    Rate rate;
    const uint32_t reference = bits & 3u;
    rate.reference = reference == 0 ? Flat : reference == 1 ? Pulldown : Auto;
    rate.endPunch = (bits & 4u) != 0;
    rate.hdmiPriority = (bits & 8u) != 0;
    return rate;
}

QString barsCommand(const BarsGray& value)
{
    return protocol::commandLine('G', {(value.bars ? 1 : 0) + (value.gray ? 2 : 0)});
}

BarsGray barsFromReport(uint32_t bits)
{
    return {(bits & 1u) != 0, (bits & 2u) != 0};
}

QString maskingCommand(const Masking& m)
{
    return protocol::commandLine('H', {m[0], m[1], m[2], m[3], m[4]});
}

QString popCommand(const PopEnables& pop)
{
    return protocol::commandLine('X', {(pop.streamerAccum ? 1 : 0) + (pop.punch ? 2 : 0) + (pop.streamer ? 4 : 0) + (pop.ltc ? 8 : 0)});
}

PopEnables popFromReport(int32_t bits)
{
    return {(bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0, (bits & 8) != 0};
}

QString generatorCommand(int index)
{
    return protocol::commandLine('M', {index});
}

QString bypassCommand(bool on)
{
    return protocol::commandLine('Q', {on ? 1 : 0});
}

QString trimCommand(int trim)
{
    return protocol::commandLine('J', {trim});
}

QString colorSpaceCommand(int index)
{
    return protocol::commandLine('Y', {index});
}

QString hdmiTimingCommand(bool extended)
{
    return extended ? QStringLiteral("N 1") : QStringLiteral("N 0");
}

double trimDisplayValue(int trim)
{
    return trim / 50.0;
}

int trimFromDisplayValue(double shown)
{
    // Truncated toward zero, as the field's decimal digits say: 0.58 is 29
    // fiftieths, though 0.58 x 50 comes out a hair below 29 in binary.
    constexpr double kTolerance = 1e-6; // far below a fiftieth
    const double product = shown * 50.0;
    const double scaled = std::trunc(product + (product < 0 ? -kTolerance : kTolerance));
    if (!(scaled > double(INT_MIN)))
        return std::isnan(scaled) ? 0 : INT_MIN;
    if (scaled >= double(INT_MAX))
        return INT_MAX;
    return int(scaled);
}

bool readReport(const QString& line, ReportFields& fields, Settings& s)
{
    const char letter = line.isEmpty() || line.at(0).unicode() > 0x7F ? '\0' : char(line.at(0).unicode());
    const protocol::Letter* known = protocol::letterOf(letter);
    if (!known || known->owner != protocol::Owner::MainTab)
        return false;
    // Each field in the base of the letter's reports.
    struct {
        ReportFields& fields;
        bool hex;
        int64_t next() { return hex ? int64_t(fields.hex()) : int64_t(fields.dec()); }
    } f {fields, known->reportHex};
    switch (letter) {
    case 'A':
        s.rate = rateFromReport(uint32_t(f.next()));
        return true;
    case 'G':
        s.bars = barsFromReport(uint32_t(f.next()));
        return true;
    case 'H':
        for (int& edge : s.masking)
            edge = int(f.next());
        return true;
    case 'J':
        s.trim = int32_t(f.next());
        return true;
    case 'M':
        s.generator = int32_t(f.next());
        return true;
    case 'Q':
        s.bypass = f.next() != 0;
        return true;
    case 'X':
        s.pop = popFromReport(int32_t(f.next()));
        return true;
    case 'Y':
        s.colorSpace = uint32_t(f.next());
        return true;
    default:
        return false;
    }
}

QString commandOf(char letter, const Settings& s)
{
    switch (letter) {
    case 'A':
        return rateCommand(s.rate);
    case 'G':
        return barsCommand(s.bars);
    case 'H':
        return maskingCommand(s.masking);
    case 'J':
        return trimCommand(s.trim);
    case 'M':
        return generatorCommand(s.generator);
    case 'Q':
        return bypassCommand(s.bypass);
    case 'X':
        return popCommand(s.pop);
    case 'Y':
        return colorSpaceCommand(int(s.colorSpace));
    default:
        return {};
    }
}

} // namespace rz48::maintab
