#include "codecs/ProtocolLetters.h"

#include "common/FieldScanner.h"

namespace rz48::protocol {

namespace {

QString commandOf(char letter, const int64_t* begin, const int64_t* end)
{
    const Letter* l = letterOf(letter);
    const bool hex = l && l->commandHex;
    QString line {QChar(QLatin1Char(letter))};
    for (const int64_t* v = begin; v != end; ++v)
        line += hex ? QString::asprintf(" %x", unsigned(uint32_t(*v))) : QString::asprintf(" %d", int(int32_t(*v)));
    return line;
}

} // namespace

QString commandLine(char letter, std::initializer_list<int64_t> fields)
{
    return commandOf(letter, fields.begin(), fields.end());
}

QString commandLine(char letter, const std::vector<int64_t>& fields)
{
    return commandOf(letter, fields.data(), fields.data() + fields.size());
}

std::vector<int64_t> reportNumbers(const QString& line, int count, bool hex)
{
    std::vector<int64_t> numbers;
    FieldScanner scan(line);
    while (int(numbers.size()) < count && !scan.atEnd()) {
        if (hex) {
            uint32_t v = 0;
            if (!scan.scanHex(v))
                break;
            numbers.push_back(v);
        } else {
            int32_t v = 0;
            if (!scan.scanInt(v))
                break;
            numbers.push_back(v);
        }
    }
    return numbers;
}

std::vector<int64_t> reportNumbers(const QString& line)
{
    const char16_t c = line.isEmpty() ? 0 : line.at(0).unicode();
    const Letter* l = c < 0x80 ? letterOf(char(c)) : nullptr;
    return l ? reportNumbers(line, l->fields, l->reportHex) : std::vector<int64_t> {};
}

} // namespace rz48::protocol
