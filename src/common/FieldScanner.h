#pragma once
// A scanner for the numeric fields of a line of text: each scan skips white
// space first, reads one number, and leaves value and position alone when
// there is no number there. Out-of-range numbers saturate.
#include <QString>

#include <cstdint>

namespace rz48 {

// 0-15 for a hexadecimal digit, else -1.
int hexDigitValue(QChar c);

class FieldScanner {
public:
    // Fields start after a report's letter and its space (none for a bare letter).
    explicit FieldScanner(const QString& line);
    // Start scanning at a given character instead.
    FieldScanner(const QString& line, qsizetype start);

    // True when only white space is left.
    bool atEnd() const;
    bool scanInt(int32_t& value);
    bool scanHex(uint32_t& value); // an optional 0x prefix is accepted

    qsizetype position() const { return pos_; }

private:
    void skipSpace();
    QString line_;
    qsizetype pos_ = 0;
};

} // namespace rz48
