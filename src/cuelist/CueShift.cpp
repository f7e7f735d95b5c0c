#include "cuelist/CueShift.h"

#include "common/TimecodeLabel.h"
#include "cuelist/CueFormats.h"

namespace rz48::cueshift {

std::optional<int64_t> parseShift(const QString& text, int type)
{
    QString t = text.trimmed();
    const bool back = t.startsWith(u'-');
    if (back || t.startsWith(u'+'))
        t.remove(0, 1);
    if (t.size() != 11)
        return std::nullopt;
    const std::optional<int64_t> frames = rz48::frameOfLabelText(t, type);
    if (!frames)
        return std::nullopt;
    return back ? -*frames : *frames;
}

void shiftCues(QList<CueItem>& cues, int64_t frames, int type)
{
    if (frames == 0)
        return;
    auto move = [&](QString& stored) {
        if (const std::optional<int64_t> at = rz48::formats::frameOfStoredTime(stored, type))
            stored = rz48::labelOfFrame(*at + frames, type);
    };
    for (CueItem& cue : cues) {
        move(cue.cueIn);
        move(cue.cueOut);
    }
}

} // namespace rz48::cueshift
