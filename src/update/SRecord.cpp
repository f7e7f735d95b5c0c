#include "update/SRecord.h"

#include "common/FieldScanner.h"

namespace {

// Reads `digits` hex characters at `pos`; characters past the end or that are
// not hex digits stop the number there, as a hex scan of a short field would.
uint32_t readHex(const QString& s, qsizetype pos, int digits)
{
    uint32_t v = 0;
    for (int i = 0; i < digits; ++i) {
        if (pos + i >= s.size())
            break;
        const int d = rz48::hexDigitValue(s.at(pos + i));
        if (d < 0)
            break;
        v = (v << 4) | uint32_t(d);
    }
    return v;
}

} // namespace

int SRecord::addressBytes(uint32_t type)
{
    switch (type) {
    case 0: case 1: case 5: case 9: return 2;
    case 2: case 8: return 3;
    case 3: case 7: return 4;
    default: return 0;
    }
}

int32_t SRecord::setSRec(const QString& line)
{
    sRec_.clear();
    buffer_.clear();
    numBytes_ = 0;
    address_ = 0;

    if (line.size() < 6 || line.at(0) != u'S')
        return -1;
    const char16_t t = line.at(1).unicode();
    if (!(t == '0' || t == '1' || t == '2' || t == '3' || t == '5' || t == '7' || t == '8' || t == '9'))
        return -1;
    recordType_ = uint32_t(t - '0');
    const uint32_t count = readHex(line, 2, 2);
    // A line shorter than its count field says cannot be checked: it fails
    // here rather than being read past its end.
    if (count == 0 || line.size() < 4 + 2 * qsizetype(count))
        return -1;

    uint32_t sum = count;
    for (uint32_t i = 0; i < count; ++i)
        sum = (sum + readHex(line, 4 + 2 * qsizetype(i), 2)) & 0xFF;
    if (sum != 0xFF)
        return -1;

    const int addrBytes = addressBytes(recordType_);
    if (addrBytes == 0 || count < uint32_t(addrBytes) + 1)
        return -1;
    numBytes_ = count - uint32_t(addrBytes) - 1;
    buffer_.assign(numBytes_ + 16, 0);
    address_ = readHex(line, 4, addrBytes * 2);
    const qsizetype data = 4 + addrBytes * 2;
    for (uint32_t i = 0; i < numBytes_; ++i)
        buffer_[i] = uint8_t(readHex(line, data + 2 * qsizetype(i), 2));
    sRec_ = line;
    return 0;
}

void SRecord::encode(const uint8_t* bytes, uint32_t type, uint32_t address, uint32_t count)
{
    recordType_ = type;
    address_ = address;
    numBytes_ = count;
    buffer_.assign(count + 16, 0);
    if (bytes && count)
        std::copy(bytes, bytes + count, buffer_.begin());

    const int a = addressBytes(type); // 0 for types without an address field
    const uint32_t c = uint32_t(a) + count + 1;
    QString text = QString::asprintf("S%1x%02x", type, c);
    uint32_t sum = c;
    if (a == 2)
        text += QString::asprintf("%04x", address);
    else if (a == 3)
        text += QString::asprintf("%06x", address);
    else if (a == 4)
        text += QString::asprintf("%08x", address);
    for (int i = a - 1; i >= 0; --i)
        sum += (address >> (8 * i)) & 0xFF;
    for (uint32_t i = 0; i < count; ++i) {
        text += QString::asprintf("%02x", buffer_[i]);
        sum += buffer_[i];
    }
    text += QString::asprintf("%02x", 255 - (sum & 0xFF));
    sRec_ = text.toUpper();
}

void SRecord::fromJString(const QString& report)
{
    rz48::FieldScanner scan(report, 2);
    uint32_t address = 0;
    scan.scanHex(address);
    uint8_t bytes[16];
    uint32_t last = 0xFF; // nothing read at all: blank bytes
    for (uint8_t& b : bytes) {
        uint32_t v = 0;
        if (scan.scanHex(v))
            last = v;
        b = uint8_t(last & 0xFF);
    }
    encode(bytes, 1, address, 16);
}

bool SRecord::empty() const
{
    if (recordType_ == 9)
        return false;
    if (recordType_ == 0 || recordType_ > 3)
        return true;
    for (uint32_t i = 0; i < numBytes_; ++i)
        if (buffer_[i] != 0xFF)
            return false;
    return true;
}
