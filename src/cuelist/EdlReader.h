#pragma once
// CMX 3600 edit decision lists: every event is a cue from its record In to
// its record Out, named by its "* FROM CLIP NAME:" comment (or "*FROM CLIP
// NAME:", "* TO CLIP NAME:" of a transition, the file of "* FROM FILE:");
// "* COMMENT:" lines are its notes. Locators ("* LOC: time colour text") and
// the marker form (" |C:colour |M:name |D:duration") are cues of their own;
// an event without a clip name that carries one locator or marker at its
// record In is that cue alone, with the event's Out when it is longer than
// one frame. FCM: DROP FRAME makes the list drop-frame when its type is
// 30-based (or not given). Lines end in CR LF or LF; UTF-8, else Latin-1.
#include "cuelist/CueFormats.h"

namespace rz48::formats {

// A TITLE: or FCM: line, or an event line, among the first lines.
bool looksLikeEdl(const QString& head);
Imported readEdl(const QByteArray& bytes, const ImportOptions& options);

} // namespace rz48::formats
