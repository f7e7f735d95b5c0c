#pragma once
// The formatter of the cue table's In and Out columns: a time is stored as
// eight digits HHMMSSFF and shown as HH:MM:SS:FF, or "---" when empty.
#include <QString>

class TCFormatter {
public:
    // The display form of a stored (or typed, or imported) time.
    static QString stringForObjectValue(const QString& value);
    // The eight digits stored for typed text; never fails.
    static QString getObjectValue(const QString& typed);
};
