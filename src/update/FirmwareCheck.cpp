#include "update/FirmwareCheck.h"

#include "common/FieldScanner.h"

#include <QFileInfo>

#include <map>
#include <optional>
#include <vector>

namespace rz48::update {

namespace {

constexpr int kLongestFpgaLine = 1021;
constexpr uint32_t kSentLow = 0x8000;
constexpr uint32_t kSentHigh = 0xFFFF;

int hexDigit(char c)
{
    return rz48::hexDigitValue(QLatin1Char(c));
}

// The 8-bit sum of a record's bytes, its checksum included.
unsigned byteSum(const std::vector<uint8_t>& bytes)
{
    unsigned sum = 0;
    for (uint8_t b : bytes)
        sum += b;
    return sum & 0xFF;
}

QString hex(uint64_t value, int digits)
{
    return QStringLiteral("0x") + QStringLiteral("%1").arg(value, digits, 16, QLatin1Char('0')).toUpper();
}

// The text after `skip` characters as bytes, two hex digits each; the
// column (from 1) of the first character that is not one in `badColumn`.
std::optional<std::vector<uint8_t>> hexPairs(const QByteArray& line, int skip, QString& why)
{
    std::vector<uint8_t> bytes;
    for (qsizetype i = skip; i < line.size(); i += 2) {
        const int high = hexDigit(line[i]);
        const int low = i + 1 < line.size() ? hexDigit(line[i + 1]) : 0;
        const qsizetype bad = high < 0 ? i : (low < 0 ? i + 1 : -1);
        if (bad >= 0) {
            const char c = line[bad];
            why = c == '\r' ? QStringLiteral("a CR inside the line at column %1 (lines must end with LF)").arg(bad + 1)
                : (c >= 0x20 && c < 0x7F) ? QStringLiteral("'%1' at column %2 is not a hexadecimal digit").arg(QLatin1Char(c)).arg(bad + 1)
                                          : QStringLiteral("byte %1 at column %2 is not a hexadecimal digit").arg(hex(uint8_t(c), 2)).arg(bad + 1);
            return std::nullopt;
        }
        if (i + 1 >= line.size()) {
            why = QStringLiteral("an odd number of hexadecimal digits");
            return std::nullopt;
        }
        bytes.push_back(uint8_t(high * 16 + low));
    }
    return bytes;
}

// The file's lines, split at LF, each with what followed it trimmed off
// (the CR of CR LF) and white space around it.
QList<QByteArray> fileLines(const QByteArray& bytes)
{
    QList<QByteArray> lines = bytes.split('\n');
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast(); // the LF that ends the last line
    return lines;
}

// Address ranges written so far, to find a second write of one address.
class Written {
public:
    // The line that wrote into [first, last] before, or 0.
    int overlap(uint64_t first, uint64_t last) const
    {
        auto it = ranges_.upper_bound(last);
        if (it == ranges_.begin())
            return 0;
        --it;
        return it->second.last >= first ? it->second.line : 0;
    }
    void add(uint64_t first, uint64_t last, int line) { ranges_[first] = {last, line}; }

private:
    struct Range {
        uint64_t last;
        int line;
    };
    std::map<uint64_t, Range> ranges_;
};

FirmwareCheck refuse(FirmwareCheck check, int line, const QString& why)
{
    check.ok = false;
    check.line = line;
    check.why = why;
    return check;
}

// The end of the file: refused after its last line when it lacks what it must have.
FirmwareCheck atEnd(FirmwareCheck check, bool complete, int lines, const char* empty, const char* incomplete)
{
    if (!complete)
        return refuse(check, lines + 1, QString::fromLatin1(check.records == 0 ? empty : incomplete));
    check.ok = true;
    return check;
}

void widen(FirmwareCheck& check, uint64_t first, uint64_t last, bool& any)
{
    check.low = any ? std::min(check.low, first) : first;
    check.high = any ? std::max(check.high, last) : last;
    any = true;
}

} // namespace

FirmwareKind firmwareKindOf(const QString& path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == QLatin1String("s19"))
        return FirmwareKind::Micro;
    if (suffix == QLatin1String("mcs"))
        return FirmwareKind::Fpga;
    return FirmwareKind::Unknown;
}

QString FirmwareCheck::verdict() const
{
    if (!ok)
        return QStringLiteral("%1: %2").arg(line).arg(why);
    return QStringLiteral("ok: %1 records, data from %2 to %3").arg(records).arg(hex(low, 4), hex(high, 4));
}

FirmwareCheck checkMicroProgram(const QByteArray& bytes)
{
    FirmwareCheck check;
    const QList<QByteArray> lines = fileLines(bytes);
    Written written;
    bool anyData = false;
    bool sendsSomething = false;
    int number = 0;
    for (const QByteArray& raw : lines) {
        ++number;
        const QByteArray line = raw.trimmed();
        if (line.isEmpty())
            continue;
        if (line[0] != 'S')
            return refuse(check, number, QStringLiteral("not an S-record (a record begins with \"S\")"));
        const char type = line.size() > 1 ? line[1] : '\0';
        const int addressBytes = type == '0' || type == '1' || type == '5' || type == '9' ? 2
            : type == '2' || type == '8'                                             ? 3
            : type == '3' || type == '7'                                             ? 4
                                                                                     : 0;
        if (addressBytes == 0)
            return refuse(check, number, QStringLiteral("S%1 is not a record type (S0 to S3, S5, S7 to S9)").arg(QLatin1Char(type ? type : ' ')));
        QString why;
        const std::optional<std::vector<uint8_t>> fields = hexPairs(line, 2, why);
        if (!fields)
            return refuse(check, number, why);
        if (fields->empty())
            return refuse(check, number, QStringLiteral("no count"));
        const int count = (*fields)[0];
        const int present = int(fields->size()) - 1;
        if (present < count)
            return refuse(check, number, QStringLiteral("shorter than its count says (%1 bytes after the count, %2 present)").arg(count).arg(present));
        if (present > count)
            return refuse(check, number, QStringLiteral("longer than its count says (%1 bytes after the count, %2 present)").arg(count).arg(present));
        if (count < addressBytes + 1)
            return refuse(check, number, QStringLiteral("a count of %1 leaves no room for the %2-byte address and the checksum").arg(count).arg(addressBytes));
        const unsigned sum = byteSum(*fields);
        if (sum != 0xFF) {
            const unsigned given = fields->back();
            const unsigned right = (0xFF - ((sum - given) & 0xFF)) & 0xFF;
            return refuse(check, number, QStringLiteral("bad checksum %1 (the record's bytes give %2)").arg(hex(given, 2), hex(right, 2)));
        }
        ++check.records;
        uint64_t address = 0;
        for (int i = 0; i < addressBytes; ++i)
            address = address * 256 + (*fields)[size_t(1 + i)];
        const int dataBytes = count - addressBytes - 1;
        if (type == '0' || type > '3' || dataBytes == 0)
            continue; // header (its bytes are text), count and start records write nothing
        const uint64_t last = address + uint64_t(dataBytes) - 1;
        if (last >= (uint64_t(1) << (8 * addressBytes)))
            return refuse(check, number, QStringLiteral("data at %1 runs past the end of the %2-bit address space").arg(hex(address, 2 * addressBytes)).arg(8 * addressBytes));
        if (const int earlier = written.overlap(address, last))
            return refuse(check, number, QStringLiteral("writes %1 to %2 again (line %3 wrote there)").arg(hex(address, 4), hex(last, 4)).arg(earlier));
        written.add(address, last, number);
        widen(check, address, last, anyData);
        if (type != '1') {
            check.warnings << QStringLiteral("%1: S%2 data at %3 is not sent (the update sends S1 records)").arg(number).arg(QLatin1Char(type)).arg(hex(address, 2 * addressBytes));
            continue;
        }
        if (last >= kSentLow)
            sendsSomething = true;
        if (address < kSentLow)
            check.warnings << QStringLiteral("%1: S1 data at %2 to %3 lies below 0x8000 and is not sent").arg(number).arg(hex(address, 4), hex(std::min<uint64_t>(last, kSentLow - 1), 4));
    }
    return atEnd(check, sendsSomething, number, "no S-records: the file is empty or not a microcontroller program",
                 "no S1 record with data in 0x8000 to 0xFFFF, the part of the program that is sent");
}

FirmwareCheck checkFpgaConfiguration(const QByteArray& bytes)
{
    FirmwareCheck check;
    const QList<QByteArray> lines = fileLines(bytes);
    Written written;
    bool anyData = false;
    int endLine = 0;
    uint64_t base = 0; // from extended address records
    int number = 0;
    for (const QByteArray& raw : lines) {
        ++number;
        if (raw.size() > kLongestFpgaLine)
            return refuse(check, number, QStringLiteral("%1 characters; a line may have at most %2 (lines end with LF or CR LF)").arg(raw.size()).arg(kLongestFpgaLine));
        const QByteArray line = raw.trimmed();
        if (line.isEmpty())
            continue;
        if (endLine)
            return refuse(check, number, QStringLiteral("a record after the end-of-file record of line %1").arg(endLine));
        if (line[0] != ':')
            return refuse(check, number, QStringLiteral("not an Intel HEX record (a record begins with \":\")"));
        QString why;
        const std::optional<std::vector<uint8_t>> fields = hexPairs(line, 1, why);
        if (!fields)
            return refuse(check, number, why);
        if (fields->size() < 5)
            return refuse(check, number, QStringLiteral("too short for a record (count, address, type and checksum)"));
        const int count = (*fields)[0];
        const int present = int(fields->size()) - 5;
        if (present != count)
            return refuse(check, number, QStringLiteral("%1 than its count says (%2 data bytes, %3 present)")
                                             .arg(present < count ? QStringLiteral("shorter") : QStringLiteral("longer"))
                                             .arg(count)
                                             .arg(present));
        const unsigned sum = byteSum(*fields);
        if (sum != 0) {
            const unsigned given = fields->back();
            return refuse(check, number, QStringLiteral("bad checksum %1 (the record's bytes give %2)").arg(hex(given, 2), hex((given - sum) & 0xFF, 2)));
        }
        const uint64_t offset = uint64_t((*fields)[1]) * 256 + (*fields)[2];
        const int type = (*fields)[3];
        const auto word = [&] { return uint64_t((*fields)[4]) * 256 + (*fields)[5]; };
        switch (type) {
        case 0:
            if (count > 0) {
                const uint64_t first = base + offset;
                const uint64_t last = first + uint64_t(count) - 1;
                if (const int earlier = written.overlap(first, last))
                    return refuse(check, number, QStringLiteral("writes %1 to %2 again (line %3 wrote there)").arg(hex(first, 8), hex(last, 8)).arg(earlier));
                written.add(first, last, number);
                widen(check, first, last, anyData);
            }
            break;
        case 1:
            endLine = number;
            break;
        case 2:
        case 4:
            if (count != 2)
                return refuse(check, number, QStringLiteral("an extended address record carries 2 bytes, not %1").arg(count));
            base = type == 2 ? word() * 16 : word() << 16;
            break;
        case 3:
        case 5:
            break; // start addresses: nothing to write
        default:
            return refuse(check, number, QStringLiteral("record type %1 is not an Intel HEX type (00 to 05)").arg(hex(uint64_t(type), 2)));
        }
        ++check.records;
    }
    return atEnd(check, endLine != 0, number, "no records: the file is empty or not an FPGA configuration",
                 "no end-of-file record (:00000001FF): the file is cut short");
}

FirmwareCheck checkFirmwareFile(FirmwareKind kind, const QByteArray& bytes)
{
    switch (kind) {
    case FirmwareKind::Micro:
        return checkMicroProgram(bytes);
    case FirmwareKind::Fpga:
        return checkFpgaConfiguration(bytes);
    case FirmwareKind::Unknown:
        break;
    }
    return refuse({}, 1, QStringLiteral("not an update file: the name must end in .s19 or .mcs"));
}

} // namespace rz48::update
