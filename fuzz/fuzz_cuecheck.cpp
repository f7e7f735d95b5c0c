// The pre-flight check over a random sheet: no crash, and findings name only
// rows the list has (0 for the whole list).
#include "FuzzSupport.h"
#include "cuelist/CueCheck.h"
#include "cuelist/CueSheet.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    rz48::cuesheet::Options options;
    QList<CueItem> cues;
    rz48::cuesheet::cueTableFromString(QString::fromUtf8(reinterpret_cast<const char*>(data + 2), qsizetype(size - 2)), options, cues);
    options.duplicate = data[0] & 1;
    options.midnight = data[0] & 2;
    options.text = data[0] & 4;
    const double streamer = data[1] / 10.0;
    for (const rz48::cuecheck::Finding& f : rz48::cuecheck::checkCueList(cues, options, streamer))
        if (f.row < 0 || f.row > cues.size() || f.message.isEmpty())
            std::abort();
    return 0;
}
