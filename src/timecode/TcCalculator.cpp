#include "timecode/TcCalculator.h"

#include "common/PosixRegex.h"
#include "common/TextValue.h"

#include <QStringList>


namespace {

// Byte offset of the first timecode in the text's UTF-8 form, or -1.
long long firstMatch(const QString& text)
{
    static const rz48::PosixRegex pattern("(([2][0-3])|([0-1][0-9]))\\:[0-5][0-9]\\:[0-5][0-9]\\:[0-2][0-9]");
    const std::optional<rz48::PosixRegex::Match> match = pattern.firstMatch(text);
    return match ? match->start : -1;
}

} // namespace

int32_t TcCalculator::framesPerSecond(int32_t type)
{
    return type == 0 ? 24 : type == 1 ? 25 : 30;
}

int32_t TcCalculator::framesPerDay(int32_t type)
{
    switch (type) {
    case 0: return 2073600;
    case 1: return 2160000;
    case 2: return 2589408;
    default: return 2592000;
    }
}

bool TcCalculator::isTc(const QString& text) const
{
    return firstMatch(text) >= 0 && text.size() == 11;
}

std::optional<QString> TcCalculator::findFirstTc(const QString& text) const
{
    const long long at = firstMatch(text);
    if (at < 0)
        return std::nullopt;
    // The byte offset is used as a character index, as the cue line parser does.
    return text.mid(qsizetype(at), 11);
}

int32_t TcCalculator::hrsToBinary(const QString& text) const
{
    if (!isTc(text))
        return 0;
    const QStringList parts = text.split(u':');
    if (parts.size() != 4)
        return 0;
    return rz48::intValue(parts[0]);
}

int32_t TcCalculator::tcToBinary(const QString& text, int32_t type) const
{
    if (!isTc(text))
        return 0;
    const QStringList parts = text.split(u':');
    if (parts.size() != 4)
        return 0;
    const int32_t h = rz48::intValue(parts[0]), m = rz48::intValue(parts[1]);
    const int32_t s = rz48::intValue(parts[2]), f = rz48::intValue(parts[3]);
    int32_t n = (h * 3600 + m * 60 + s) * framesPerSecond(type) + f;
    if (type == 2)
        n -= 108 * h + 18 * (m / 10) + 2 * (m % 10);
    return n;
}

QString TcCalculator::binaryToTc(int32_t frames, int32_t type) const
{
    const int64_t fps = framesPerSecond(type);
    const int64_t day = framesPerDay(type);
    int64_t n = frames;
    while (n < 0)
        n += day;
    if (n >= day + 1)
        n = ((n - (day + 1)) % day) + 1;

    int64_t hours, minutes, seconds, rest;
    if (type == 2) {
        // The unit's drop-frame conversion, kept as it is.
        hours = n / 107892;
        const int64_t rem = n % 107892;
        const int64_t tens = rem / 17982;
        const int64_t r2 = rem - tens * 17982;
        minutes = (rem * 10) / 17982 + (r2 / 1798);
        const int64_t r3 = r2 - (r2 / 1798) * 1798;
        seconds = r3 / 30;
        rest = r3 % 30;
    } else {
        hours = n / (fps * 3600);
        const int64_t r = n % (fps * 3600);
        minutes = r / (fps * 60);
        const int64_t r2 = r % (fps * 60);
        seconds = r2 / fps;
        rest = r2 % fps;
    }
    return QString::asprintf("%02d:%02d:%02d:%02d", int(int16_t(hours)), int(int16_t(minutes)), int(int16_t(seconds)),
                             int(int16_t(rest)));
}

QString TcCalculator::subtractTc(const QString& a, const QString& b, int32_t type) const
{
    return binaryToTc(tcToBinary(b, type) - tcToBinary(a, type), type);
}

int32_t TcCalculator::compareTc(const QString& a, const QString& b, int32_t type) const
{
    int64_t d = int64_t(tcToBinary(a, type)) - tcToBinary(b, type);
    const int64_t half = framesPerDay(type) / 2;
    while (d > half)
        d -= 2 * half;
    while (d < -half)
        d += 2 * half;
    return d < 0 ? -1 : d > 0 ? 1 : 0;
}
