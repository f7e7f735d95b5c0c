#include "common/TextValue.h"

#include <climits>
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
    const QByteArray s = text.trimmed().toLatin1();
    // strtod reads the longest valid prefix; the C locale keeps the decimal point a '.'.
    return std::strtod(s.constData(), nullptr);
}

} // namespace rz48
