#include "common/TextValue.h"

#include <algorithm>
#include <limits>

#include <climits>
#include <charconv>
#include <cstdlib>

namespace rz48 {

qint64 longValue(const QString& text)
{
    const QByteArray s = text.toLatin1();
    const char* p = s.constData();
    while (*p == ' ' || *p == '\t' || *p == '\n' || *p == '\r')
        ++p;
    bool negative = false;
    if (*p == '+' || *p == '-')
        negative = *p++ == '-';
    // Accumulated toward the sign's side, so that the lowest value is reached too.
    qint64 v = 0;
    constexpr qint64 kMax = std::numeric_limits<qint64>::max(), kMin = std::numeric_limits<qint64>::min();
    while (*p >= '0' && *p <= '9') {
        const int digit = *p++ - '0';
        if (negative)
            v = v < (kMin + digit) / 10 ? kMin : v * 10 - digit;
        else
            v = v > (kMax - digit) / 10 ? kMax : v * 10 + digit;
    }
    return v;
}

int intValue(const QString& text)
{
    return int(std::clamp<qint64>(longValue(text), INT_MIN, INT_MAX));
}

double doubleValue(const QString& text)
{
    // The longest valid prefix, with '.' as the decimal point whatever the
    // locale (strtod would follow the environment's, which Qt applies).
    const QByteArray s = text.trimmed().toLatin1();
    const char* first = s.constData();
    const char* last = first + s.size();
    const bool negative = first != last && *first == '-';
    if (first != last && (*first == '+' || *first == '-'))
        ++first;
    double value = 0;
    if (first == last || *first == '-' || *first == '+' || std::from_chars(first, last, value).ec != std::errc())
        return 0;
    return negative ? -value : value;
}

} // namespace rz48
