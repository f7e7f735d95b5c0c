#pragma once
// Which timecode labels exist: one validator for the cue list's check and
// the emulated unit's output, so that both call the same labels invalid.
namespace rz48 {

// Whether a timecode type (0: 24, 1: 25, 2: 29.97 drop-frame, 3: 30 frames
// a second) has the label HH:MM:SS:FF with these fields: hours 0 to 23,
// minutes and seconds 0 to 59, frames below the rate, and at drop-frame not
// frames 0 and 1 of second 0 of a minute that is not a multiple of ten
// (those labels are skipped). A type outside 0 to 3 has no labels.
bool labelExists(int hours, int minutes, int seconds, int frames, int type);

} // namespace rz48
