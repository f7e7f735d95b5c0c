#include "codecs/SetupFile.h"

#include "codecs/ProtocolLetters.h"
#include "codecs/SetupWords.h"
#include "common/FieldScanner.h"
#include "common/FileIo.h"

namespace rz48::setup {

namespace {

using Format = protocol::Letter;

const Format* formatOf(QChar letter)
{
    const Format* f = letter.unicode() < 0x80 ? protocol::letterOf(char(letter.unicode())) : nullptr;
    return f && f->setup ? f : nullptr;
}

// The fields after the letter, `count` of them in the given base; none when
// fewer are there (or, with `exact`, when anything follows them).
std::optional<std::vector<uint32_t>> readFields(const QString& line, int count, bool hex, bool exact)
{
    if (line.size() < 2 || line.at(1) != u' ')
        return std::nullopt;
    FieldScanner scan(line);
    std::vector<uint32_t> values;
    for (int i = 0; i < count; ++i) {
        uint32_t v = 0;
        int32_t d = 0;
        if (scan.atEnd() || !(hex ? scan.scanHex(v) : scan.scanInt(d)))
            return std::nullopt;
        values.push_back(hex ? v : uint32_t(d));
    }
    if (exact && !scan.atEnd())
        return std::nullopt;
    return values;
}

QString formatCommand(const Format& f, const std::vector<uint32_t>& values)
{
    return protocol::commandLine(f.letter, std::vector<int64_t>(values.begin(), values.end()));
}

} // namespace

std::optional<QString> commandFromReport(const QString& report)
{
    const Format* f = report.isEmpty() ? nullptr : formatOf(report.at(0));
    if (!f)
        return std::nullopt;
    std::optional<std::vector<uint32_t>> values = readFields(report.trimmed(), f->fields, f->reportHex, false);
    if (!values)
        return std::nullopt;
    if (f->reserved >= 0)
        (*values)[size_t(f->reserved)] = 0; // as the page sends it
    return formatCommand(*f, *values);
}

QByteArray formatSetup(const Setup& setup)
{
    QByteArray text;
    for (const QString& comment : setup.comments)
        text += "# " + comment.toUtf8() + '\n';
    // Each setting says what it sets on a line of its own above it: the
    // setting's line itself is sent to the unit as it stands.
    for (const QString& line : setup.lines)
        text += "# " + commentFor(line).toUtf8() + '\n' + line.toUtf8() + '\n';
    return text;
}

namespace {

// One field of a setup line, read whole: a decimal field takes a signed
// 32-bit value, a hexadecimal one (an optional "0x") an unsigned one. A value
// beyond that is refused rather than saturated: the unit would be sent
// another number than the file holds.
std::optional<uint32_t> readField(const QString& token, bool hex, QString* why)
{
    QString digits = token;
    bool negative = false;
    if (!hex && (digits.startsWith(u'-') || digits.startsWith(u'+'))) {
        negative = digits.startsWith(u'-');
        digits.remove(0, 1);
    }
    if (hex && (digits.startsWith(QLatin1String("0x")) || digits.startsWith(QLatin1String("0X"))) && digits.size() > 2)
        digits.remove(0, 2);
    if (digits.isEmpty())
        return std::nullopt;
    unsigned long long value = 0;
    for (const QChar c : digits) {
        const int d = hex ? rz48::hexDigitValue(c) : (c >= u'0' && c <= u'9' ? c.unicode() - '0' : -1);
        if (d < 0)
            return std::nullopt;
        value = value * (hex ? 16 : 10) + unsigned(d);
        if (value > 0x100000000ULL)
            value = 0x100000000ULL; // beyond every range: stays beyond
    }
    const bool fits = hex ? value <= 0xFFFFFFFFULL : (negative ? value <= 0x80000000ULL : value <= 0x7FFFFFFFULL);
    if (!fits) {
        *why = hex ? QStringLiteral("%1 is beyond the largest value of a field, ffffffff").arg(token)
                   : QStringLiteral("%1 is outside a field's range, -2147483648 to 2147483647").arg(token);
        return std::nullopt;
    }
    return negative ? uint32_t(-int64_t(value)) : uint32_t(value);
}

} // namespace

bool parseSetup(const QByteArray& text, Setup& setup, int* badLine, QString* why)
{
    setup = {};
    int number = 0;
    auto refuse = [&](const QString& reason) {
        *badLine = number;
        *why = reason;
        return false;
    };
    // CR LF, LF and CR end a line alike.
    for (const QByteArray& raw : rz48::splitLines(text)) {
        ++number;
        const QString line = QString::fromUtf8(raw).trimmed();
        if (line.isEmpty())
            continue;
        if (line.startsWith(u'#')) {
            setup.comments << line.mid(1).trimmed();
            continue;
        }
        const Format* f = formatOf(line.at(0));
        if (!f)
            return refuse(QStringLiteral("not a setting command (a setup has lines for %1)").arg(QLatin1String(kLetters)));
        const QString takes = QStringLiteral("\"%1\" takes %2 %3 number%4").arg(QLatin1Char(f->letter)).arg(f->fields)
                                  .arg(f->commandHex ? QStringLiteral("hexadecimal") : QStringLiteral("decimal"))
                                  .arg(f->fields == 1 ? QString() : QStringLiteral("s"));
        if (line.size() < 2 || line.at(1) != u' ')
            return refuse(takes);
        const QStringList tokens = line.mid(2).simplified().split(u' ', Qt::SkipEmptyParts);
        if (tokens.size() != f->fields)
            return refuse(takes);
        std::vector<uint32_t> values;
        for (const QString& token : tokens) {
            QString range;
            const std::optional<uint32_t> value = readField(token, f->commandHex, &range);
            if (!value)
                return refuse(range.isEmpty() ? takes : range);
            values.push_back(*value);
        }
        setup.lines << formatCommand(*f, values); // as the unit's report would give it
    }
    // The comments a saved file writes above its settings are not the setup's own.
    for (const QString& line : setup.lines)
        setup.comments.removeAll(commentFor(line));
    if (setup.lines.isEmpty()) {
        number = 0;
        return refuse(QStringLiteral("no setting line (a setup has lines for %1)").arg(QLatin1String(kLetters)));
    }
    return true;
}

bool readSetupFile(const QString& path, Setup& setup, int* badLine, QString* why)
{
    QByteArray bytes;
    if (!rz48::readFileBounded(path, kMaxSetupBytes, bytes, why)) {
        *badLine = -1;
        return false;
    }
    return parseSetup(bytes, setup, badLine, why);
}

} // namespace rz48::setup
