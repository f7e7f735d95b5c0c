#include "common/FieldScanner.h"

#include <algorithm>
#include <climits>

namespace rz48 {

int hexDigitValue(QChar c)
{
    const char16_t u = c.unicode();
    if (u >= '0' && u <= '9')
        return u - '0';
    if (u >= 'a' && u <= 'f')
        return u - 'a' + 10;
    if (u >= 'A' && u <= 'F')
        return u - 'A' + 10;
    return -1;
}

FieldScanner::FieldScanner(const QString& line)
    : FieldScanner(line, line.size() > 2 ? 2 : line.size())
{
}

FieldScanner::FieldScanner(const QString& line, qsizetype start)
    : line_(line)
    , pos_(qBound<qsizetype>(0, start, line.size()))
{
}

void FieldScanner::skipSpace()
{
    while (pos_ < line_.size() && line_.at(pos_).isSpace())
        ++pos_;
}

bool FieldScanner::atEnd() const
{
    qsizetype p = pos_;
    while (p < line_.size() && line_.at(p).isSpace())
        ++p;
    return p >= line_.size();
}

bool FieldScanner::scanInt(int32_t& value)
{
    const qsizetype start = pos_;
    skipSpace();
    qsizetype p = pos_;
    bool negative = false;
    if (p < line_.size() && (line_.at(p) == u'+' || line_.at(p) == u'-'))
        negative = line_.at(p++) == u'-';
    if (p >= line_.size() || !line_.at(p).isDigit() || line_.at(p).unicode() > '9') {
        pos_ = start;
        return false;
    }
    long long v = 0;
    while (p < line_.size() && line_.at(p).unicode() >= '0' && line_.at(p).unicode() <= '9') {
        v = v * 10 + (line_.at(p).unicode() - '0');
        if (v > 1LL + INT_MAX)
            v = 1LL + INT_MAX;
        ++p;
    }
    if (negative)
        v = -v;
    value = int32_t(std::clamp<long long>(v, INT_MIN, INT_MAX));
    pos_ = p;
    return true;
}

bool FieldScanner::scanHex(uint32_t& value)
{
    const qsizetype start = pos_;
    skipSpace();
    qsizetype p = pos_;
    if (p + 2 < line_.size() && line_.at(p) == u'0' && (line_.at(p + 1) == u'x' || line_.at(p + 1) == u'X')
        && hexDigitValue(line_.at(p + 2)) >= 0)
        p += 2;
    if (p >= line_.size() || hexDigitValue(line_.at(p)) < 0) {
        pos_ = start;
        return false;
    }
    unsigned long long v = 0;
    while (p < line_.size() && hexDigitValue(line_.at(p)) >= 0) {
        v = (v << 4) | unsigned(hexDigitValue(line_.at(p)));
        if (v > UINT32_MAX)
            v = UINT32_MAX;
        ++p;
    }
    value = uint32_t(v);
    pos_ = p;
    return true;
}

} // namespace rz48
