#include "codecs/VersionCheck.h"

#include "common/FieldScanner.h"
#include "common/PosixRegex.h"

#include <QStringList>


namespace rz48 {
std::optional<QString> firstDottedVersion(const QString& text)
{
    static const PosixRegex pattern(
        "(([0-9])|([0-9][0-9]))\\.(([0-9])|([0-9][0-9]))\\.(([0-9])|([0-9][0-9]))");
    const std::optional<PosixRegex::Match> match = pattern.firstMatch(text);
    if (!match)
        return std::nullopt;
    const QByteArray utf8 = text.toUtf8();
    return QString::fromUtf8(utf8.constData() + match->start, qsizetype(match->end - match->start));
}

long long versionValue(const QString& text)
{
    QString spaced = text;
    spaced.replace(u'.', u' ');
    FieldScanner scan(spaced, 0);
    int32_t a = 0, b = 0, c = 0;
    if (scan.scanInt(a) && scan.scanInt(b))
        scan.scanInt(c);
    return (a * 100LL + b) * 100LL + c;
}

std::optional<VersionVerdict> compareVersions(const QString& currentText, const QString& minimum)
{
    const std::optional<QString> current = firstDottedVersion(currentText);
    if (!current || !firstDottedVersion(minimum))
        return std::nullopt;
    return VersionVerdict {*current, versionValue(minimum) > versionValue(*current)};
}

UnitVersion versionOfReport(const QString& kReport)
{
    return {firstDottedVersion(kReport).value_or(QString()), kReport.split(u' ', Qt::SkipEmptyParts).mid(3).join(u' ')};
}

} // namespace rz48
