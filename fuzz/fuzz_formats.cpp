// Every cue interchange reader on any bytes: the registry's detection, then
// each reader forced in turn, with and without a column mapping.
#include "FuzzSupport.h"
#include "cuelist/CueFormats.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    rz48::formats::ImportOptions options;
    options.tctype = int(size % 5) - 1; // -1 to 3
    rz48::formats::importCues(bytes, options);
    options.fileName = QStringLiteral("list.csv");
    options.zeroAt = QStringLiteral("01:00:00:00");
    for (const QString& name : rz48::formats::readerNames()) {
        options.format = name;
        const rz48::formats::Imported imported = rz48::formats::importCues(bytes, options);
        for (const CueItem& cue : imported.cues)
            if (cue.cueIn.isEmpty())
                __builtin_trap(); // every cue read has an In time
    }
    options.format = QStringLiteral("csv");
    options.columns = QStringList{QStringLiteral("text"), QStringLiteral("in"), QStringLiteral("out"), QStringLiteral("status")};
    rz48::formats::importCues(bytes, options);
    return 0;
}
