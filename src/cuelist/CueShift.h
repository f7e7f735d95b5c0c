#pragma once
// A time added to (or taken from) every imported cue: an EDL of a reel that
// starts at 10:00:00:00 placed at 01:00:00:00, a subtitle file moved by a
// few frames.
#include "cuelist/CueItem.h"

#include <QList>
#include <QString>

#include <cstdint>
#include <optional>

namespace rz48::cueshift {

// "HH:MM:SS:FF" to add, "-HH:MM:SS:FF" to take away (":" or ";" before the
// frames); the frame count, negative to take away; none for other text.
std::optional<int64_t> parseShift(const QString& text, int type);
// Moves every cue's In and Out that are times of the type by `frames`
// (across midnight, within the day), written as "HH:MM:SS:FF" (";" at
// drop-frame); cues without a time keep theirs.
void shiftCues(QList<CueItem>& cues, int64_t frames, int type);

} // namespace rz48::cueshift
