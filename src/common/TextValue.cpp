#include "common/TextValue.h"

#include <climits>
#include <charconv>
#include <cstdlib>

namespace rz48 {

int intValue(const QString& text)
{
    const QByteArray s = text.toLatin1();
    const char* p = s.constData();
    while (*p == ' ' || *p == '\t' || *p == '\n' || *p == '\r')
        ++p;
    bool negative = false;
    if (*p == '+' || *p == '-')
        negative = *p++ == '-';
    long long v = 0;
    while (*p >= '0' && *p <= '9') {
        v = v * 10 + (*p++ - '0');
        if (v > 1LL + INT_MAX)
            v = 1LL + INT_MAX;
    }
    if (negative)
        v = -v;
    if (v > INT_MAX)
        return INT_MAX;
    if (v < INT_MIN)
        return INT_MIN;
    return int(v);
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
