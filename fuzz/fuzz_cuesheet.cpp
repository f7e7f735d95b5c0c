// Cue sheets and any text: read, written back, read again, and sorted.
#include "FuzzSupport.h"
#include "cuelist/CueSheet.h"
#include "timecode/TcCalculator.h"

#include <QStringDecoder>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder.decode(QByteArrayView(reinterpret_cast<const char*>(data), qsizetype(size)));
    rz48::cuesheet::Options options;
    QList<CueItem> cues;
    rz48::cuesheet::cueTableFromString(text, options, cues);
    const QString sheet = rz48::cuesheet::stringFromCueTable(options, cues);
    rz48::cuesheet::Options again;
    QList<CueItem> back;
    rz48::cuesheet::cueTableFromString(sheet, again, back);
    const TcCalculator tcc;
    rz48::cuesheet::sortCues(back, true, true, tcc);
    rz48::cuesheet::txInOutsCommands(back, tcc);
    for (const CueItem& cue : back)
        rz48::cuesheet::cueItemText(cue, true, true);
    return 0;
}
