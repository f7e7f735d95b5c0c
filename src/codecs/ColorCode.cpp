#include "codecs/ColorCode.h"

#include <climits>
#include <cmath>

namespace rz48::codecs {

uint32_t colorBits(const Rgb& c)
{
    return (c.green < 0.5 ? 4u : 0u) + (c.red < 0.5 ? 2u : 0u) + (c.blue < 0.5 ? 1u : 0u);
}

Rgb colorFromBits(uint32_t bits)
{
    return {(bits & 2u) ? 0.0 : 1.0, (bits & 4u) ? 0.0 : 1.0, (bits & 1u) ? 0.0 : 1.0};
}

long long wholeCount(double v)
{
    if (std::isnan(v))
        return 0;
    if (v >= 9.2e18)
        return LLONG_MAX;
    if (v <= -9.2e18)
        return LLONG_MIN;
    return (long long)std::trunc(v);
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

} // namespace rz48::codecs
