#include "panel/VersionCheck.h"

#include "common/FieldScanner.h"

#include <regex.h>

namespace rz48 {
namespace {

// Compiled once, on first use.
const regex_t* versionPattern()
{
    static regex_t* pattern = [] {
        static regex_t compiled;
        const int rc = regcomp(&compiled,
                               "(([0-9])|([0-9][0-9]))\\.(([0-9])|([0-9][0-9]))\\.(([0-9])|([0-9][0-9]))",
                               REG_EXTENDED);
        return rc == 0 ? &compiled : nullptr;
    }();
    return pattern;
}

} // namespace

std::optional<QString> firstDottedVersion(const QString& text)
{
    const regex_t* pattern = versionPattern();
    if (!pattern)
        return std::nullopt;
    const QByteArray utf8 = text.toUtf8();
    regmatch_t match[1];
    if (regexec(pattern, utf8.constData(), 1, match, 0) != 0)
        return std::nullopt;
    return QString::fromUtf8(utf8.constData() + match[0].rm_so, match[0].rm_eo - match[0].rm_so);
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

} // namespace rz48
