#include "codecs/SetupWords.h"

#include "codecs/ProtocolLetters.h"
#include "codecs/ProtocolTables.h"
#include "codecs/SetupFile.h"

#include <QStringList>

#include <vector>

namespace rz48::setup {

namespace {

QString onOff(int64_t v) { return v ? QStringLiteral("on") : QStringLiteral("off"); }
QString number(int64_t v, const char* unit = "")
{
    const QString u = QLatin1String(unit);
    return u.isEmpty() ? QString::number(v) : QStringLiteral("%1 %2").arg(v).arg(u);
}
QString listed(int64_t v, std::initializer_list<const char*> names)
{
    return v >= 0 && v < int64_t(names.size()) ? QLatin1String(names.begin()[v]) : QStringLiteral("%1 (not a choice)").arg(v);
}

// A name from a table, by the number the unit reports.
template <size_t N> QString chosen(int64_t v, const std::array<const char*, N>& names)
{
    return v >= 0 && v < int64_t(N) ? QLatin1String(names[size_t(v)]) : QStringLiteral("%1 (not a choice)").arg(v);
}

struct Group {
    char letter;
    const char* name;
};
constexpr Group kGroups[] = {
    {'A', "Reference"},       {'C', "Streamer"},         {'E', "Punch"},
    {'G', "Test signals"},    {'H', "Masking"},          {'J', "Delay trim"},
    {'M', "SDI generator"},   {'Q', "Bypass"},           {'U', "Annunciator"},
    {'X', "Pop and LTC"},     {'Y', "Input colour space"}, {'m', "Timecode window"},
    {'n', "Control protocol"}, {'r', "Text lines"},      {'t', "Annunciator colours"},
};

// The fields of a line, read in the base of the letter's commands.
QList<FieldInWords> words(char letter, const std::vector<int64_t>& f)
{
    auto at = [&f](size_t i) { return i < f.size() ? f[i] : 0; };
    switch (letter) {
    case 'A':
        return {{QStringLiteral("Reference"), listed(at(0) & 3, {"flat", "pulldown", "auto", "auto"})},
                {QStringLiteral("Punch at streamer end"), onOff(at(0) & 4)},
                {QStringLiteral("Priority"), (at(0) & 8) ? QStringLiteral("HDMI") : QStringLiteral("SDI")}};
    case 'C':
        return {{QStringLiteral("Streamer colours"), QStringLiteral("code %1").arg(at(0), 0, 16)},
                {QStringLiteral("Streamer width"), number(at(1), "px")},
                {QStringLiteral("Streamer reserved field"), number(at(2))},
                {QStringLiteral("Streamer duration"), number(at(3), "frames")},
                {QStringLiteral("Streamer delay"), number(at(4), "frames")},
                {QStringLiteral("Streamer top"), number(at(5), "/255")},
                {QStringLiteral("Streamer bottom"), number(255 - at(6), "/255")},
                {QStringLiteral("Streamer transparency"), number(at(7), "/255")}};
    case 'E':
        return {{QStringLiteral("Punch colour"), QStringLiteral("code %1").arg(at(0), 0, 16)},
                {QStringLiteral("Punch x"), number(at(1), "x 8 px")},
                {QStringLiteral("Punch y"), number(at(2), "x 4 lines")},
                {QStringLiteral("Punch size"), number(at(3))},
                {QStringLiteral("Punch duration"), number(at(4), "frames")},
                {QStringLiteral("Punch repeat"), number(at(5), "s")},
                {QStringLiteral("Punch repeat count"), number(at(6))},
                {QStringLiteral("Punch enables"), QStringLiteral("bits %1").arg(at(7), 0, 16)}};
    case 'G':
        return {{QStringLiteral("Colour bars"), onOff(at(0) & 1)}, {QStringLiteral("Grey scale"), onOff(at(0) & 2)}};
    case 'H':
        return {{QStringLiteral("Masking top"), number(at(0), "lines")},
                {QStringLiteral("Masking bottom"), number(at(1), "lines")},
                {QStringLiteral("Masking left"), number(at(2), "px")},
                {QStringLiteral("Masking right"), number(at(3), "px")},
                {QStringLiteral("Masking transparency"), number(at(4), "/255")}};
    case 'J':
        return {{QStringLiteral("Delay trim"), QStringLiteral("%1 s").arg(QString::number(double(at(0)) / 50.0))}};
    case 'M':
        return {{QStringLiteral("SDI generator"), chosen(at(0), kSdiGenerators)}};
    case 'Q':
        return {{QStringLiteral("Bypass"), onOff(at(0))}};
    case 'U':
        return {{QStringLiteral("Annunciator mode"), listed(at(0), {"off", "rehearse", "record", "playback"})},
                {QStringLiteral("Annunciator text"), number(at(1))},
                {QStringLiteral("Annunciator box"), number(at(2))},
                {QStringLiteral("Annunciator x"), number(at(3))},
                {QStringLiteral("Annunciator y"), number(at(4))},
                {QStringLiteral("Annunciator size"), number(at(5))}};
    case 'X':
        return {{QStringLiteral("Pop on accumulated streamer"), onOff(at(0) & 1)},
                {QStringLiteral("Pop on punch"), onOff(at(0) & 2)},
                {QStringLiteral("Pop on streamer"), onOff(at(0) & 4)},
                {QStringLiteral("Pop output"), (at(0) & 8) ? QStringLiteral("LTC") : QStringLiteral("pop")}};
    case 'Y':
        return {{QStringLiteral("Input colour space"), chosen(at(0), kColorSpaces)}};
    case 'm':
        return {{QStringLiteral("Timecode window size"), number(at(0) & 127)},
                {QStringLiteral("Timecode window shown"), onOff(at(0) & 128)},
                {QStringLiteral("Timecode window x"), number(at(1))},
                {QStringLiteral("Timecode window y"), number(at(2))},
                {QStringLiteral("Timecode window colours"), QStringLiteral("pair %1").arg(at(3))}};
    case 'n':
        return {{QStringLiteral("Control protocol"), at(0) ? QStringLiteral("Sony 9-pin") : QStringLiteral("MIDI")}};
    case 'r':
        return {{QStringLiteral("Text size"), number(at(0))},
                {QStringLiteral("Text x"), number(at(1))},
                {QStringLiteral("Text y"), number(at(2))},
                {QStringLiteral("Text colours"), QStringLiteral("pair %1").arg(at(3))}};
    case 't':
        return {{QStringLiteral("Rehearse colours"), QStringLiteral("pair %1").arg(at(0), 0, 16)},
                {QStringLiteral("Record colours"), QStringLiteral("pair %1").arg(at(1), 0, 16)},
                {QStringLiteral("Playback colours"), QStringLiteral("pair %1").arg(at(2), 0, 16)}};
    default:
        return {};
    }
}

QList<FieldInWords> wordsOf(const QString& line)
{
    const char16_t c = line.isEmpty() ? 0 : line.at(0).unicode();
    const protocol::Letter* l = c < 0x80 ? protocol::letterOf(char(c)) : nullptr;
    if (!l || !l->setup)
        return {};
    return words(l->letter, protocol::reportNumbers(line, l->fields, l->commandHex));
}

} // namespace

QString groupName(char letter)
{
    for (const Group& g : kGroups)
        if (g.letter == letter)
            return QLatin1String(g.name);
    return QString(QLatin1Char(letter));
}

QList<FieldInWords> fieldsInWords(const QString& line)
{
    return wordsOf(line);
}

QString commentFor(const QString& line)
{
    QStringList names;
    for (const FieldInWords& f : wordsOf(line))
        names << f.name;
    return QStringLiteral("%1: %2").arg(groupName(letterOf(line)), names.join(QStringLiteral(", ")));
}

QString differenceInWords(char letter, const QString& file, const QString& unit)
{
    if (file.isEmpty() || unit.isEmpty())
        return QStringLiteral("%1: %2").arg(groupName(letter), file.isEmpty() ? QStringLiteral("not in the file")
                                                                              : QStringLiteral("the unit did not report it"));
    const QList<FieldInWords> ours = wordsOf(file), theirs = wordsOf(unit);
    QStringList parts;
    for (qsizetype i = 0; i < ours.size() && i < theirs.size(); ++i)
        if (ours[i].value != theirs[i].value)
            parts << QStringLiteral("%1: file %2, unit %3").arg(ours[i].name, ours[i].value, theirs[i].value);
    return parts.isEmpty() ? QStringLiteral("%1: written differently").arg(groupName(letter)) : parts.join(QStringLiteral("; "));
}

} // namespace rz48::setup
