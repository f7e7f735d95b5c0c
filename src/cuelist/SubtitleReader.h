#pragma once
// Subtitles as cues: SubRip (.srt) and WebVTT. A subtitle's start and end
// (milliseconds) become In and Out, rounded to the nearest frame of the
// list's rate (29.97 real frames a second at drop-frame) and counted from
// the zero point (00:00:00:00 unless the options name another); its lines,
// markup removed (<i>, <b>, <font ...>, VTT tags and {\...} overrides), are
// joined with the two characters "\n", the unit's line separator. A VTT
// voice (<v Name>) is the character, a cue identifier or SubRip index the
// cue's ID; NOTE, STYLE and REGION blocks and the settings or coordinates
// after a time are skipped.
#include "cuelist/CueFormats.h"

namespace rz48::formats {

bool looksLikeWebVtt(const QString& head); // "WEBVTT" first
bool looksLikeSubRip(const QString& head); // a "-->" line with comma milliseconds
// WebVTT when the file starts with WEBVTT or the options force "vtt", else SubRip.
Imported readSubtitles(const QByteArray& bytes, const ImportOptions& options);

} // namespace rz48::formats
