#pragma once
// The numeric value of a text field as the controls read it: leading white
// space skipped, an optional sign, then as many digits as there are; 0 when
// there are none.
#include <QString>

namespace rz48 {

int intValue(const QString& text);       // saturates at the 32-bit limits
qint64 longValue(const QString& text);   // saturates at the 64-bit limits
double doubleValue(const QString& text); // "." as the decimal point in any locale, optional exponent

} // namespace rz48
