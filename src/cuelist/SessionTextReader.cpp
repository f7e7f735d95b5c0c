#include "cuelist/SessionTextReader.h"

#include "common/TimecodeLabel.h"


#include <cmath>

namespace rz48::formats {

namespace {

enum class Section { Header, Tracks, Markers, Other };

// More columns than any table of the file has are left in the last.
constexpr int kMostColumns = 32;

// "M A R K E R S  L I S T I N G" as "MARKERS LISTING"; "" for any other line.
QString spacedTitle(QStringView line)
{
    if (line.size() < 5)
        return {};
    QString name;
    int spaces = 0;
    int letters = 0;
    for (const QChar c : line) {
        if (c == u' ') {
            if (++spaces > 2)
                return {};
            continue;
        }
        const bool ok = (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'-' || c == u'/' || c == u'.';
        if (!ok || (letters > 0 && spaces == 0))
            return {};
        if (spaces == 2)
            name += u' ';
        name += c;
        spaces = 0;
        ++letters;
    }
    return letters >= 3 ? name : QString();
}

// The columns of the two tables, found by their header names.
enum ClipColumn { StartTime, EndTime, ClipName, kClipColumns };
enum MarkerColumn { Number, Location, Reference, Units, Name, TrackName, TrackType, Comments, kMarkerColumns };
const char* const kClipNames[kClipColumns] = {"START TIME", "END TIME", "CLIP NAME"};
const char* const kMarkerNames[kMarkerColumns] = {"#", "LOCATION", "TIME REFERENCE", "UNITS", "NAME", "TRACK NAME", "TRACK TYPE", "COMMENTS"};

// The position of each named column in a header row (-1 where it has none).
QList<int> columnsOf(const QStringList& header, const char* const* names, int count)
{
    QList<int> at(count, -1);
    for (int i = 0; i < header.size(); ++i)
        for (int k = 0; k < count; ++k)
            if (header.at(i).compare(QLatin1String(names[k]), Qt::CaseInsensitive) == 0)
                at[k] = i;
    return at;
}

QString field(const QStringList& row, const QList<int>& columns, int which)
{
    const int i = columns.value(which, -1);
    return i >= 0 && i < row.size() ? row.at(i) : QString();
}

bool allDigits(const QString& text)
{
    if (text.isEmpty())
        return false;
    for (const QChar c : text)
        if (c < u'0' || c > u'9')
            return false;
    return true;
}

struct Session {
    int type = -1;           // stated
    double rate = 0;         // real frames a second
    double sampleRate = 0;
    int64_t start = 0;       // frame of the session start
    int workType = 1;        // the type the times are read in
    QString startText;
    int startLine = 0;
};

// A time of the table: a label, or samples from the session start.
std::optional<int64_t> frameOfTime(const QString& text, const Session& s)
{
    if (const auto f = frameOfLabelText(text, s.workType))
        return f;
    if (allDigits(text) && text.size() <= 15 && s.sampleRate > 0)
        return s.start + std::llround(text.toDouble() / s.sampleRate * s.rate);
    return std::nullopt;
}

void readHeaderLine(const QString& line, int lineNo, Session& s, Imported& out, const ImportOptions& options)
{
    const qsizetype colon = line.indexOf(u':');
    if (colon <= 0)
        return;
    const QString key = line.left(colon).trimmed().toUpper();
    const QString value = line.mid(colon + 1).trimmed();
    out.header.append(key + QStringLiteral(": ") + value);
    if (key == QLatin1String("SAMPLE RATE")) {
        bool ok = false;
        const double rate = value.toDouble(&ok);
        s.sampleRate = ok && rate > 0 && rate < 1e7 ? rate : 0;
        if (s.sampleRate == 0)
            addProblem(out, lineNo, QStringLiteral("sample rate \"%1\" is not a number").arg(value));
    } else if (key == QLatin1String("TIMECODE FORMAT")) {
        const QString v = value.toLower();
        const bool drop = v.contains(QLatin1String("drop")) && !v.contains(QLatin1String("non"));
        if (v.startsWith(QLatin1String("23.976")) || v.startsWith(QLatin1String("24 ")) || v == QLatin1String("24"))
            s.type = 0;
        else if (v.startsWith(QLatin1String("25")))
            s.type = 1;
        else if (v.startsWith(QLatin1String("29.97")) || v.startsWith(QLatin1String("30")))
            s.type = drop ? 2 : 3;
        else
            addProblem(out, lineNo, QStringLiteral("timecode format \"%1\" is not 23.976, 24, 25, 29.97 or 30 frames; "
                                                        "the list's rate is used").arg(value));
        s.workType = s.type >= 0 ? s.type : typeOrDefault(options.tctype);
        s.rate = v.startsWith(QLatin1String("23.976")) ? 24000.0 / 1001.0
            : v.startsWith(QLatin1String("29.97"))     ? 30000.0 / 1001.0
                                                       : realRate(s.workType);
    } else if (key == QLatin1String("SESSION START TIMECODE")) {
        s.startText = value; // read once the timecode format is known
        s.startLine = lineNo;
    }
}

// The header ends at the first section: the session start in its format.
void finishHeader(Session& s, Imported& out)
{
    if (s.startLine == 0)
        return;
    if (const auto f = frameOfLabelText(s.startText, s.workType))
        s.start = *f;
    else
        addProblem(out, s.startLine, QStringLiteral("session start \"%1\" is not a timecode").arg(s.startText));
    s.startLine = 0;
}

} // namespace

NameParts splitName(const QString& name)
{
    NameParts parts;
    QStringList reasons;
    QStringList tags;
    QString text;
    const qsizetype n = name.size();
    bool brackets = true, braces = true; // whether a "]" or "}" may still come
    for (qsizetype i = 0; i < n; ++i) {
        const QChar c = name.at(i);
        const QChar close = (c == u'[' && brackets) ? u']' : (c == u'{' && braces) ? u'}' : QChar();
        if (!close.isNull()) {
            const qsizetype end = name.indexOf(close, i + 1);
            brackets = brackets && !(end < 0 && c == u'[');
            braces = braces && !(end < 0 && c == u'{');
            if (end > i) {
                if (c == u'[')
                    reasons.append(name.mid(i + 1, end - i - 1).trimmed());
                else
                    tags.append(name.mid(i, end - i + 1));
                i = end;
                text += u' ';
                continue;
            }
        } else if (c == u'$' && (i == 0 || name.at(i - 1).isSpace())) {
            qsizetype end = i + 1;
            while (end < n && !name.at(end).isSpace())
                ++end;
            const QString tag = name.mid(i, end - i);
            if (tag.indexOf(u'=') > 1) {
                tags.append(tag);
                i = end - 1;
                continue;
            }
        }
        text += c;
    }
    parts.text = text.simplified();
    if (parts.text.size() >= 2 && parts.text.startsWith(u'"') && parts.text.endsWith(u'"'))
        parts.text = parts.text.mid(1, parts.text.size() - 2).trimmed();
    reasons.removeAll(QString());
    parts.reason = reasons.join(QStringLiteral(", "));
    parts.notes = tags.join(u' ');
    return parts;
}

bool looksLikeSessionText(const QString& head)
{
    const qsizetype at = head.indexOf(QLatin1String("SESSION NAME:"));
    if (at < 0 || (at > 0 && head.at(at - 1) != u'\n' && head.at(at - 1) != u'\r' && head.at(at - 1) != QChar(0xFEFF)))
        return false;
    return head.contains(QLatin1String("L I S T I N G")) || head.contains(QLatin1String("I N  S E S S I O N"));
}

Imported readSessionText(const QByteArray& bytes, const ImportOptions& options)
{
    Imported out;
    out.format = QStringLiteral("protools");
    Session s;
    s.workType = typeOrDefault(options.tctype);
    s.rate = realRate(s.workType);
    const QString text = decodeText(bytes);
    LineCursor lines(text);
    QStringView view;

    Section section = Section::Header;
    QString track;
    QList<int> clipColumns;   // empty outside a clip table
    QList<int> markerColumns; // empty before the markers table's header
    while (lines.next(view)) {
        const int lineNo = lines.number();
        const QStringView trimmed = view.trimmed();
        if (trimmed.isEmpty()) {
            clipColumns.clear(); // a track's clips end at a blank line
            continue;
        }
        const QString title = spacedTitle(trimmed);
        if (!title.isEmpty()) {
            finishHeader(s, out);
            section = title == QLatin1String("TRACK LISTING")     ? Section::Tracks
                : title == QLatin1String("MARKERS LISTING")       ? Section::Markers
                                                                  : Section::Other;
            clipColumns.clear();
            markerColumns.clear();
            continue;
        }
        if (section == Section::Header) {
            readHeaderLine(view.toString(), lineNo, s, out, options);
            continue;
        }
        if (section == Section::Other)
            continue;
        const QStringList row = tabFields(view, kMostColumns);
        if (section == Section::Tracks) {
            const QString upper = row.first().toUpper();
            if (upper.startsWith(QLatin1String("TRACK NAME:"))) {
                track = trimmed.sliced(trimmed.indexOf(u':') + 1).trimmed().toString();
                clipColumns.clear();
            } else if (upper == QLatin1String("CHANNEL") && row.size() >= 5) {
                clipColumns = columnsOf(row, kClipNames, kClipColumns);
                if (clipColumns[StartTime] < 0 || clipColumns[ClipName] < 0) {
                    addProblem(out, lineNo, QStringLiteral("a clip table without START TIME and CLIP NAME"));
                    clipColumns.clear();
                }
            } else if (!clipColumns.isEmpty()) {
                const QString start = field(row, clipColumns, StartTime);
                const auto in = frameOfTime(start, s);
                if (!in) {
                    addProblem(out, lineNo, QStringLiteral("clip start \"%1\" is not a timecode").arg(start));
                    continue;
                }
                const NameParts name = splitName(field(row, clipColumns, ClipName));
                CueItem cue = blankCue();
                cue.cueIn = labelOfFrame(*in, s.workType);
                const QString end = field(row, clipColumns, EndTime);
                if (const auto outFrame = frameOfTime(end, s))
                    cue.cueOut = labelOfFrame(*outFrame, s.workType);
                else if (!end.isEmpty())
                    addProblem(out, lineNo, QStringLiteral("clip end \"%1\" is not a timecode: no Out").arg(end));
                cue.cueText = name.text;
                cue.reason = name.reason;
                cue.cueNotes = name.notes;
                cue.character = track;
                if (!addCue(out, cue, lineNo))
                    break;
            } else if (!upper.contains(u':')) { // COMMENTS:, USER DELAY:, STATE:, PLUG-INS: ...
                addProblem(out, lineNo, QStringLiteral("not a line of the track listing"));
            }
            continue;
        }
        // The markers table.
        if (row.first() == QLatin1String("#") && row.size() >= 5) {
            markerColumns = columnsOf(row, kMarkerNames, kMarkerColumns);
            if (markerColumns[Location] < 0 || markerColumns[Name] < 0) {
                addProblem(out, lineNo, QStringLiteral("a markers table without LOCATION and NAME"));
                markerColumns.clear();
            }
            continue;
        }
        if (markerColumns.isEmpty()) {
            addProblem(out, lineNo, QStringLiteral("a marker before the markers table's header"));
            continue;
        }
        const QString location = field(row, markerColumns, Location);
        std::optional<int64_t> in = frameOfLabelText(location, s.workType);
        const QString reference = field(row, markerColumns, Reference);
        const QString units = field(row, markerColumns, Units).toLower();
        if (!in && allDigits(reference) && reference.size() <= 15 && s.sampleRate > 0
            && (units.isEmpty() || units == QLatin1String("samples")))
            in = s.start + std::llround(reference.toDouble() / s.sampleRate * s.rate);
        if (!in) {
            addProblem(out, lineNo, QStringLiteral("marker at \"%1\" (%2 %3): neither a timecode nor samples at a known rate")
                                             .arg(location, reference, units));
            continue;
        }
        const NameParts name = splitName(field(row, markerColumns, Name));
        CueItem cue = blankCue();
        cue.cueId = field(row, markerColumns, Number);
        cue.cueIn = labelOfFrame(*in, s.workType);
        cue.cueText = name.text;
        cue.reason = name.reason;
        const QString comments = field(row, markerColumns, Comments);
        cue.cueNotes = name.notes.isEmpty() ? comments : comments.isEmpty() ? name.notes : comments + u' ' + name.notes;
        if (field(row, markerColumns, TrackType).compare(QLatin1String("Track"), Qt::CaseInsensitive) == 0)
            cue.character = field(row, markerColumns, TrackName);
        if (!addCue(out, cue, lineNo))
            break;
    }
    out.tctype = s.type;
    return out;
}

} // namespace rz48::formats
