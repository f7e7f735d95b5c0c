#pragma once
// Markers of Standard MIDI Files as cues: every track's marker (FF 06) and
// cue point (FF 07) events, or its lyrics (FF 05) in a file that has
// neither, at the time of their tick: through the tempo map (FF 51, every
// track's, 500000 microseconds a quarter note until the first) or the SMPTE
// division, counted from the SMPTE offset (FF 54), whose rate bits give
// the type. Texts are UTF-8, else Latin-1; "ANNA: text" gives the character.
//
// The panel's own cue track (track name "Cue track", instrument "RZ-48")
// reads back as the cues it was written from: the start from its lyric
// event, an In from every note-on at its type's ticks per frame (whatever
// the tempo, so pull-down too), the text from the unit's text command in
// the system-exclusive message after it.
//
// A problem's line is the track chunk's number (0: the file's header).
#include "cuelist/CueFormats.h"

namespace rz48::formats {

Imported readMidiMarkers(const QByteArray& bytes, const ImportOptions& options);

} // namespace rz48::formats
