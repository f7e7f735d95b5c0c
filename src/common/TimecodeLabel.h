#pragma once
// Which timecode labels exist: one validator for the cue list's check and
// the emulated unit's output, so that both call the same labels invalid.
// Beside it, labels and frame counts both ways for the cue interchange
// formats, drop-frame counted the standard way (labels skipped, frames not).
#include <QString>
#include <QStringView>

#include <cstdint>
#include <optional>

namespace rz48 {

// Whether a timecode type (0: 24, 1: 25, 2: 29.97 drop-frame, 3: 30 frames
// a second) has the label HH:MM:SS:FF with these fields: hours 0 to 23,
// minutes and seconds 0 to 59, frames below the rate, and at drop-frame not
// frames 0 and 1 of second 0 of a minute that is not a multiple of ten
// (those labels are skipped). A type outside 0 to 3 has no labels.
bool labelExists(int hours, int minutes, int seconds, int frames, int type);

// Frames a second in labels of a type (24, 25, 30, 30); 0 for another type.
int labelRate(int type);
// Frames in a day of labels: 2073600, 2160000, 2589408, 2592000; 0 for another type.
int64_t framesPerDay(int type);

// The frames since 00:00:00:00 of a label. At drop-frame the two labels
// skipped at the start of a minute are not counted (01:00:00;00 is frame
// 107892); a skipped label gives the frame of the first label of its minute
// (00:01:00;00 is frame 1800, as 00:01:00;02).
// -1 for a type outside 0 to 3.
int64_t frameOfLabel(int hours, int minutes, int seconds, int frames, int type);

// The label of a frame count: "HH:MM:SS:FF", ";" before the frames at
// drop-frame. Counts beyond a day, or below 0, wrap into the day. The
// inverse of frameOfLabel for every label that exists; "" for a type
// outside 0 to 3.
QString labelOfFrame(int64_t frame, int type);

// The frame count of label text: four fields of two digits (hours may have
// one), each separator ":", ";" or ".", white space around it ignored.
// None when a field is out of range for the type (hours 0 to 23, minutes
// and seconds 0 to 59, frames below the rate) or the text is anything else.
std::optional<int64_t> frameOfLabelText(QStringView text, int type);

} // namespace rz48
