#pragma once
// Timecode HH:MM:SS:FF and frame counts for the four timecode types
// (0 = 24 fps, 1 = 25, 2 = 30 drop-frame, 3 = 30 non-drop), subtraction and
// comparison across midnight, and finding timecode in text.
#include <QString>

#include <cstdint>
#include <optional>

class TcCalculator {
public:
    // Valid timecode text, exactly 11 characters: hours 00-23, minutes and
    // seconds 00-59, frames 00-29 whatever the type.
    bool isTc(const QString& text) const;
    // The 11 characters where the first timecode in the text starts.
    std::optional<QString> findFirstTc(const QString& text) const;
    // The hours field of valid timecode text, else 0.
    int32_t hrsToBinary(const QString& text) const;
    int32_t tcToBinary(const QString& text, int32_t type) const;
    // A negative count wraps to the previous day; exactly one day prints
    // 24:00:00:00. Drop-frame counts go back through the unit's own
    // conversion, which is not the inverse of tcToBinary.
    QString binaryToTc(int32_t frames, int32_t type) const;
    // b - a, as timecode text of the type.
    QString subtractTc(const QString& a, const QString& b, int32_t type) const;
    // The sign of a - b, taken across midnight (within half a day).
    int32_t compareTc(const QString& a, const QString& b, int32_t type) const;

    static int32_t framesPerSecond(int32_t type);
    static int32_t framesPerDay(int32_t type);
};
