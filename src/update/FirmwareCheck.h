#pragma once
// Checks an update file before anything goes to the unit: a microcontroller
// program (.s19, Motorola S-records) or an FPGA configuration (.mcs, Intel
// HEX). A file that fails names its first bad line (counted from 1) and why;
// a good one says how many records it has and where its data lies.
#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstdint>

namespace rz48::update {

enum class FirmwareKind { Unknown, Micro, Fpga };

// The kind from the file name's extension, in any case: .s19 or .mcs.
FirmwareKind firmwareKindOf(const QString& path);

struct FirmwareCheck {
    bool ok = false;
    int line = 0;     // the first bad line (1 = first); when the file lacks something, the line after its last
    QString why;      // why that line is refused
    int records = 0;  // records in the file
    uint64_t low = 0; // the lowest and highest address written by data records
    uint64_t high = 0;
    QStringList warnings; // "LINE: why" for what the update leaves out

    // "ok: 35 records, data from 0x8000 to 0xFFFF", or "LINE: why".
    QString verdict() const;
};

// The microcontroller program: every non-empty line an S-record (S0 to S3,
// S5, S7 to S9) with a good checksum and a count that fits its line and its
// address; at least one S1 record with data inside 0x8000 to 0xFFFF (the part
// that is sent, and a warning for S1 data outside it and for S2/S3 data); no
// two records writing the same address.
FirmwareCheck checkMicroProgram(const QByteArray& bytes);

// The FPGA configuration: every line, split at LF with its CR, at most 1021
// characters (the largest batch the unit takes); every non-empty line an
// Intel HEX record with a good checksum; an end-of-file record, and nothing
// after it.
FirmwareCheck checkFpgaConfiguration(const QByteArray& bytes);

// Either check, by the kind of `path`.
FirmwareCheck checkFirmwareFile(FirmwareKind kind, const QByteArray& bytes);

} // namespace rz48::update
