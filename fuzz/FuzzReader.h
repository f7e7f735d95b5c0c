#pragma once
// Shared by the fuzz targets of the cue interchange readers: one reader on
// any bytes, at every timecode type; every cue it reads has an In time, and
// every line it cannot read is named with a line the file has (a MIDI
// file's problems name a chunk, at most one per eight bytes).
#include "FuzzSupport.h"
#include "cuelist/CueFormats.h"

#include <cstdlib>

using CueReader = rz48::formats::Imported (*)(const QByteArray&, const rz48::formats::ImportOptions&);

inline int fuzzCueReader(const uint8_t* data, size_t size, CueReader read)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    rz48::formats::ImportOptions options;
    options.tctype = int(size % 5) - 1; // -1 to 3
    options.zeroAt = QStringLiteral("01:00:00:00");
    const rz48::formats::Imported imported = read(bytes, options);
    for (const CueItem& cue : imported.cues)
        if (cue.cueIn.isEmpty())
            std::abort();
    for (const rz48::formats::Problem& problem : imported.problems)
        if (problem.line < 0 || problem.line > bytes.count('\n') + bytes.count('\r') + 1 + int(size / 8))
            std::abort();
    return 0;
}
