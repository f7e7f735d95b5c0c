#pragma once
// The numeric fields after a report's letter. A missing field repeats the
// last value read into the same scratch value; the two scratch values
// (hexadecimal and decimal) persist across lines and letters, kept by
// whoever reads the unit's reports.
#include "common/FieldScanner.h"

#include <QString>

#include <cstdint>

namespace rz48 {

struct FieldScratch {
    uint32_t hex = 0;
    int32_t dec = 0;
};

class ReportFields {
public:
    ReportFields(const QString& line, FieldScratch& scratch)
        : scan_(line)
        , scratch_(scratch)
    {
    }
    uint32_t hex()
    {
        if (!scan_.atEnd())
            scan_.scanHex(scratch_.hex);
        return scratch_.hex;
    }
    int32_t dec()
    {
        if (!scan_.atEnd())
            scan_.scanInt(scratch_.dec);
        return scratch_.dec;
    }

private:
    FieldScanner scan_;
    FieldScratch& scratch_;
};

} // namespace rz48
