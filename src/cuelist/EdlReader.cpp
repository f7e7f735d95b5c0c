#include "cuelist/EdlReader.h"

#include "common/TimecodeLabel.h"

#include <algorithm>

namespace rz48::formats {

namespace {

struct Marker {
    int line = 0;
    int64_t at = 0;
    int64_t duration = 0; // frames; 0 or 1 for a point
    QString text;
    QString notes;
};

struct Event {
    int line = 0; // 0: the locators before the first event
    QString number;
    int64_t in = 0;
    int64_t out = 0;
    QString clip;
    QString file;
    QStringList comments;
    QList<Marker> markers;
};

// The words of a line; none for a line longer than any line of an EDL.
QStringList tokens(const QString& line)
{
    return line.size() > 512 ? QStringList() : line.split(u' ', Qt::SkipEmptyParts);
}

bool isNumber(const QString& text)
{
    if (text.isEmpty() || text.size() > 9)
        return false;
    for (const QChar c : text)
        if (c < u'0' || c > u'9')
            return false;
    return true;
}

// An event line's number and record In and Out; false for another line.
bool readEventLine(const QStringList& t, int type, Event& e)
{
    if (t.size() < 8 || !isNumber(t.first()))
        return false;
    const qsizetype n = t.size();
    for (qsizetype i = n - 4; i < n - 2; ++i)
        if (!frameOfLabelText(t.at(i), type))
            return false;
    const auto in = frameOfLabelText(t.at(n - 2), type);
    const auto out = frameOfLabelText(t.at(n - 1), type);
    if (!in || !out)
        return false;
    e.number = t.first();
    e.in = *in;
    e.out = *out;
    return true;
}

// The text after "KEY:" in a comment body, when the body starts with it.
bool commentValue(const QString& body, QLatin1String key, QString& value)
{
    if (!body.startsWith(key, Qt::CaseInsensitive))
        return false;
    value = body.mid(key.size()).trimmed();
    return true;
}

const char* const kColours[] = {"RED", "GREEN", "BLUE", "CYAN", "MAGENTA", "YELLOW", "BLACK", "WHITE"};

bool isColour(const QString& word)
{
    for (const char* c : kColours)
        if (word.compare(QLatin1String(c), Qt::CaseInsensitive) == 0)
            return true;
    return false;
}

QString normalised(QString text)
{
    return text.replace(u'\t', u' ').trimmed();
}

CueItem markerCue(const Marker& m, int type)
{
    CueItem cue = blankCue();
    cue.cueIn = labelOfFrame(m.at, type);
    if (m.duration > 1)
        cue.cueOut = labelOfFrame(m.at + m.duration, type);
    splitCharacter(m.text, cue.character, cue.cueText);
    cue.cueNotes = m.notes;
    return cue;
}

} // namespace

bool looksLikeEdl(const QString& head)
{
    const QStringList lines = textLines(head.left(8192));
    for (int i = 0; i < lines.size() && i < 60; ++i) {
        const QString t = lines.at(i).trimmed();
        if (t.startsWith(QLatin1String("TITLE:")) || t.startsWith(QLatin1String("FCM:")))
            return true;
        Event e;
        if (readEventLine(tokens(normalised(t)), 3, e))
            return true;
    }
    return false;
}

Imported readEdl(const QByteArray& bytes, const ImportOptions& options)
{
    Imported out;
    out.format = QStringLiteral("edl");
    const QString text = decodeText(bytes);
    QStringView line;

    // The first FCM line decides drop-frame for the whole list.
    int type = typeOrDefault(options.tctype);
    for (LineCursor scan(text); scan.next(line);) {
        const QString t = line.trimmed().left(64).toString().toUpper();
        if (!t.startsWith(QLatin1String("FCM:")))
            continue;
        const bool drop = t.contains(QLatin1String("DROP")) && !t.contains(QLatin1String("NON"));
        if (drop && (options.tctype < 0 || options.tctype == 2 || options.tctype == 3))
            out.tctype = type = 2;
        else if (!drop && options.tctype == 2)
            out.tctype = type = 3;
        break;
    }

    QList<Event> events(1); // the first holds locators before any event
    int items = 0; // events, markers and comments: no more than an import keeps
    LineCursor lines(text);
    while (items <= kMaxCues && lines.next(line)) {
        const int lineNo = lines.number();
        const QString t = normalised(line.toString());
        if (t.isEmpty())
            continue;
        Event& current = events.last();
        const QString upper = t.toUpper();
        if (upper.startsWith(QLatin1String("TITLE:"))) {
            if (out.header.isEmpty())
                out.header.append(QStringLiteral("TITLE: ") + t.mid(6).trimmed());
        } else if (upper.startsWith(QLatin1String("FCM:"))) {
            continue;
        } else if (t.startsWith(u'*')) {
            const QString body = t.mid(1).trimmed();
            QString value;
            if (commentValue(body, QLatin1String("FROM CLIP NAME:"), value)
                || commentValue(body, QLatin1String("TO CLIP NAME:"), value)) {
                current.clip = value;
            } else if (commentValue(body, QLatin1String("FROM FILE:"), value)
                       || commentValue(body, QLatin1String("SOURCE FILE:"), value)) {
                current.file = value.mid(value.lastIndexOf(u'/') + 1);
                current.file = current.file.mid(current.file.lastIndexOf(u'\\') + 1);
            } else if (commentValue(body, QLatin1String("COMMENT:"), value)) {
                if (!value.isEmpty()) {
                    current.comments.append(value);
                    ++items;
                }
            } else if (commentValue(body, QLatin1String("LOC:"), value)) {
                const QStringList parts = tokens(value.left(40)); // the time and the colour
                const auto at = parts.isEmpty() ? std::nullopt : frameOfLabelText(parts.first(), type);
                if (!at) {
                    addProblem(out, lineNo, QStringLiteral("a locator without a time"));
                    continue;
                }
                Marker m;
                m.line = lineNo;
                m.at = *at;
                // The words after the time: the colour (when it is one), then the text.
                QString rest = value.mid(value.indexOf(parts.first()) + parts.first().size()).trimmed();
                if (parts.size() > 1 && isColour(parts.at(1)))
                    rest = rest.mid(parts.at(1).size()).trimmed();
                m.text = rest;
                current.markers.append(m);
                ++items;
            }
        } else if (t.contains(QLatin1String("|M:")) || t.startsWith(QLatin1String("|C:"))) {
            if (current.line == 0) {
                addProblem(out, lineNo, QStringLiteral("a marker before any event"));
                continue;
            }
            Marker m;
            m.line = lineNo;
            m.at = current.in;
            const QStringList parts = t.split(u'|');
            m.notes = parts.first().trimmed();
            for (int p = 1; p < parts.size(); ++p) {
                const QString part = parts.at(p).trimmed();
                if (part.startsWith(QLatin1String("M:")))
                    m.text = part.mid(2).trimmed();
                else if (part.startsWith(QLatin1String("D:")))
                    m.duration = std::clamp<int64_t>(part.mid(2).trimmed().toLongLong(), 0, framesPerDay(type));
            }
            current.markers.append(m);
            ++items;
        } else if (t.at(0).isDigit()) {
            Event e;
            e.line = lineNo;
            if (readEventLine(tokens(t), type, e)) {
                events.append(e);
                ++items;
            }
            else
                addProblem(out, lineNo, QStringLiteral("an event line without four times of the list's rate"));
        } else if (!(upper.startsWith(QLatin1String("M2 ")) || upper.startsWith(QLatin1String("SPLIT"))
                     || upper.startsWith(QLatin1String("AUD")) || upper.startsWith(QLatin1String("EFFECTS NAME"))
                     || upper.startsWith(QLatin1String("SWM")) || upper.startsWith(QLatin1String(">>>")))) {
            addProblem(out, lineNo, QStringLiteral("not a line of an edit decision list"));
        }
    }

    if (items > kMaxCues)
        addProblem(out, lines.number(), QStringLiteral("more than %1 events, locators and comments: "
                                                            "the rest is not read").arg(kMaxCues));

    for (const Event& e : std::as_const(events)) {
        const QString name = e.clip.isEmpty() ? e.file : e.clip;
        if (e.line > 0 && name.isEmpty() && e.markers.size() == 1 && e.markers.first().at == e.in) {
            // An event that only carries its marker: one cue, the event's length.
            CueItem cue = markerCue(e.markers.first(), type);
            cue.cueId = e.number;
            if (e.out > e.in + 1)
                cue.cueOut = labelOfFrame(e.out, type);
            if (!addCue(out, cue, e.line))
                return out;
            continue;
        }
        if (e.line > 0) {
            CueItem cue = blankCue();
            cue.cueId = e.number;
            cue.cueIn = labelOfFrame(e.in, type);
            if (e.out > e.in + 1)
                cue.cueOut = labelOfFrame(e.out, type);
            cue.cueText = name;
            cue.cueNotes = e.comments.join(QStringLiteral("; "));
            if (!addCue(out, cue, e.line))
                return out;
        }
        for (const Marker& m : e.markers)
            if (!addCue(out, markerCue(m, type), m.line))
                return out;
    }
    return out;
}

QByteArray writeEdlLocators(const QList<CueItem>& cues, int tctype, const QString& title)
{
    const int type = typeOrDefault(tctype);
    struct Item {
        int64_t in;
        int64_t out;
        const CueItem* cue;
    };
    QList<Item> items;
    for (const CueItem& cue : cues) {
        const auto in = frameOfStoredTime(cue.cueIn, type);
        if (!in)
            continue; // a cue without an In has no place in the list
        const auto end = frameOfStoredTime(cue.cueOut, type);
        items.append({*in, end && *end > *in ? *end : *in + 1, &cue});
    }
    std::stable_sort(items.begin(), items.end(), [](const Item& a, const Item& b) { return a.in < b.in; });

    const QString name = oneLine(title).trimmed();
    QString text = QStringLiteral("TITLE: ") + (name.isEmpty() ? QStringLiteral("CUES") : name) + QStringLiteral("\r\n");
    text += type == 2 ? QStringLiteral("FCM: DROP FRAME\r\n") : QStringLiteral("FCM: NON-DROP FRAME\r\n");
    int number = 0;
    for (const Item& item : std::as_const(items)) {
        const QString in = labelOfFrame(item.in, type);
        const QString out = labelOfFrame(item.out, type);
        text += QString::asprintf("\r\n%03d  AX       V     C        ", ++number) + in + u' ' + out + u' ' + in + u' ' + out
            + QStringLiteral("\r\n* LOC: ") + in + QStringLiteral(" YELLOW ") + joinCharacter(*item.cue) + QStringLiteral("\r\n");
    }
    return text.toUtf8();
}

} // namespace rz48::formats
