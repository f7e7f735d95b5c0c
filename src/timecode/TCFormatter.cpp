#include "timecode/TCFormatter.h"

namespace {

QString lastEightDigits(const QString& text)
{
    QString digits;
    for (QChar c : text)
        if (c.isDigit() && c.unicode() < 128)
            digits.append(c);
    return (QStringLiteral("00000000") + digits).right(8);
}

} // namespace

QString TCFormatter::stringForObjectValue(const QString& value)
{
    const QString d = lastEightDigits(value);
    if (d == QLatin1String("00000000"))
        return QStringLiteral("---");
    return QStringLiteral("%1:%2:%3:%4").arg(d.mid(0, 2), d.mid(2, 2), d.mid(4, 2), d.mid(6, 2));
}

QString TCFormatter::getObjectValue(const QString& typed)
{
    return lastEightDigits(typed);
}
