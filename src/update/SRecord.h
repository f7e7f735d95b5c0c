#pragma once
// One Motorola S-record line and its decoded contents: parse with the
// checksum test, encode from data, tell whether a record carries anything to
// program, and build an S1 record from a line of the unit's "j" report.
#include <QByteArray>
#include <QString>

#include <cstdint>
#include <vector>

class SRecord {
public:
    // Parses a line: 0 on success, -1 on any failure (then no line, no data).
    int32_t setSRec(const QString& line);
    // Builds the (upper-case) line of a record of `type` at `address`.
    void encode(const uint8_t* bytes, uint32_t type, uint32_t address, uint32_t count);
    // Builds an S1 record from a "j" report: address, then sixteen bytes.
    void fromJString(const QString& report);
    // True when the record has nothing to program.
    bool empty() const;

    const QString& sRec() const { return sRec_; }
    uint32_t count() const { return numBytes_; }
    // The data bytes, with 16 spare bytes beyond count(); null when there is no data block.
    const uint8_t* buffer() const { return buffer_.empty() ? nullptr : buffer_.data(); }
    uint32_t address() const { return address_; }
    uint32_t recType() const { return recordType_; }

    // Address bytes for a record type: 2, 3 or 4; 0 for 4, 6 and types above 9.
    static int addressBytes(uint32_t type);

private:
    QString sRec_;
    uint32_t recordType_ = 1;
    uint32_t numBytes_ = 0;
    uint32_t address_ = 0;
    std::vector<uint8_t> buffer_;
};
