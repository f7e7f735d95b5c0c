#pragma once
// Dotted firmware versions ("3.32.6") in the unit's "k" report.
#include <QString>

#include <optional>

namespace rz48 {

// The first dotted version (three groups of one or two digits) in the text.
std::optional<QString> firstDottedVersion(const QString& text);
// (a x 100 + b) x 100 + c from the first three integers of the text, with
// its dots read as spaces; missing integers count as 0.
long long versionValue(const QString& text);

struct VersionVerdict {
    QString current;     // the version found in the report
    bool tooOld = false; // older than the minimum
};
// None when either text holds no dotted version.
std::optional<VersionVerdict> compareVersions(const QString& currentText, const QString& minimum);

// What the unit's "k" report says of its firmware.
struct UnitVersion {
    QString version;     // the dotted version ("3.32.6"); empty when the report has none
    QString description; // the report's words after its numbers ("RZ-48 micro 3.32.6")
};
// The version a "k" report names.
UnitVersion versionOfReport(const QString& kReport);

} // namespace rz48
