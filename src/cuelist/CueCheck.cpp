#include "cuelist/CueCheck.h"

#include "common/TimecodeLabel.h"
#include "timecode/TCFormatter.h"
#include "timecode/TcCalculator.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <algorithm>
#include <optional>

namespace rz48::cuecheck {

namespace {

constexpr int64_t kNoteTicks = 800;        // a cue's MIDI note
constexpr int64_t kLargestDelta = 0x0FFFFFFF; // the largest delta a MIDI file holds
constexpr int kTextSent = 251;             // a command line is cut to this
constexpr int kTextInMidi = 215;           // "s " and this much of the text go in the MIDI file
constexpr int64_t kMidnightJumpHours = 13;

// Ticks of one frame in the MIDI export (a second is 19,200 ticks at 25 and 30 fps, 800 a frame at 24).
int64_t ticksPerFrame(int type)
{
    return type == 0 ? 800 : type == 1 ? 768 : 640;
}

// A time as the list shows it: frames from midnight, or none when it is not
// a time of the list's frame rate. "---" (no time) is empty.
struct Time {
    bool empty = false;
    std::optional<int64_t> frames;
};

Time readTime(const QString& stored, int type)
{
    const QString shown = TCFormatter::stringForObjectValue(stored).trimmed();
    if (stored.trimmed().isEmpty() || shown == QLatin1String("---") || shown.isEmpty())
        return {true, std::nullopt};
    static const QRegularExpression form(QStringLiteral("^(\\d\\d):(\\d\\d):(\\d\\d)[:;](\\d\\d)$"));
    const QRegularExpressionMatch m = form.match(shown);
    if (!m.hasMatch())
        return {};
    if (!rz48::labelExists(m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toInt(), m.captured(4).toInt(), type))
        return {};
    QString colons = shown;
    colons[8] = u':';
    return {false, TcCalculator().tcToBinary(colons, type)};
}

QString timeText(const QString& stored)
{
    return TCFormatter::stringForObjectValue(stored).trimmed();
}

} // namespace

QList<Finding> checkCueList(const QList<CueItem>& items, const rz48::cuesheet::Options& options, double streamerSeconds)
{
    QList<Finding> findings;
    auto add = [&](int row, Severity severity, const QString& message) { findings << Finding {row, severity, message}; };
    int type = options.tctype;
    if (type < 0 || type > 3) {
        add(0, Severity::Error, QStringLiteral("timecode type %1 is not one of 0 to 3 (24, 25, 30 drop-frame, 30 fps)").arg(type));
        type = 3;
    }
    for (const QString& line : options.unreadLines) {
        QString shownLine = line;
        shownLine.replace(u'\t', u' ');
        add(0, Severity::Warning, line.startsWith(QLatin1String(";start"))
                ? QStringLiteral("option line \"%1\": not a timecode HH:MM:SS:FF, the MIDI start reads it as it stands").arg(shownLine)
                : QStringLiteral("option line \"%1\": not a number, read as timecode type %2").arg(shownLine).arg(options.tctype));
    }
    const int fps = TcCalculator::framesPerSecond(type);
    const int64_t streamerFrames = int64_t(std::max(0.0, streamerSeconds) * fps);

    struct Cue {
        int row;
        int64_t in;
        std::optional<int64_t> out;
    };
    QList<Cue> timed;
    bool transferStopped = false;
    for (int i = 0; i < items.size(); ++i) {
        const CueItem& item = items[i];
        const int row = i + 1;
        const Time in = readTime(item.cueIn, type);
        const Time out = readTime(item.cueOut, type);
        if (in.empty) {
            if (!transferStopped)
                add(row, Severity::Error, QStringLiteral("no In time: Send In/Outs stops here, and sends no cue from here on"));
            transferStopped = true;
        } else if (!in.frames) {
            add(row, Severity::Error, QStringLiteral("In time \"%1\" is not a time at %2 fps").arg(timeText(item.cueIn)).arg(fps));
        }
        if (!out.empty && !out.frames)
            add(row, Severity::Error, QStringLiteral("Out time \"%1\" is not a time at %2 fps").arg(timeText(item.cueOut)).arg(fps));
        if (in.frames && out.frames && *out.frames < *in.frames)
            add(row, Severity::Error, QStringLiteral("Out %1 is before In %2").arg(timeText(item.cueOut), timeText(item.cueIn)));
        const QString text = item.cueText;
        if (text.size() > kTextSent)
            add(row, Severity::Warning, QStringLiteral("text of %1 characters: the unit gets the first %2").arg(text.size()).arg(kTextSent));
        else if (options.text && text.size() > kTextInMidi)
            add(row, Severity::Warning, QStringLiteral("text of %1 characters: the MIDI file holds the first %2").arg(text.size()).arg(kTextInMidi));
        if (std::any_of(text.begin(), text.end(), [](QChar c) { return c.unicode() > 0xFF; }))
            add(row, Severity::Warning, QStringLiteral("characters outside Latin-1 become \"?\" on the unit and in the MIDI file"));
        if (in.frames)
            timed << Cue {row, *in.frames, out.frames};
    }

    // In the order of their In times, as the sort before a MIDI export puts them.
    std::stable_sort(timed.begin(), timed.end(), [](const Cue& a, const Cue& b) { return a.in < b.in; });
    const int64_t tpf = ticksPerFrame(type);
    // The MIDI track's first delta runs from its start to the first cue.
    if (!timed.isEmpty()) {
        const QString startText = options.start.trimmed();
        Time start = TcCalculator().isTc(startText) ? readTime(startText, type) : Time {false, 0};
        if (start.empty)
            start = Time {false, 0}; // 00:00:00:00, which a cue's time shows as none

        const Cue& first = timed.front();
        if (!start.frames)
            add(0, Severity::Error, QStringLiteral("the MIDI start %1 is not a time at %2 fps").arg(startText).arg(fps));
        else if (first.in < *start.frames)
            add(first.row, Severity::Error, QStringLiteral("In %1 is before the MIDI start %2: the MIDI track fires it at a wrong time")
                                                .arg(timeText(items[first.row - 1].cueIn), startText));
        else if ((first.in - *start.frames) * tpf > kLargestDelta)
            add(first.row, Severity::Error, QStringLiteral("In %1 is more than a MIDI delta holds (about 3 h 53 min) after the MIDI start %2: the MIDI track fires it at a wrong time")
                                                .arg(timeText(items[first.row - 1].cueIn), startText.isEmpty() ? QStringLiteral("00:00:00:00") : startText));
    }
    for (qsizetype i = 0; i + 1 < timed.size(); ++i) {
        const Cue& a = timed[i];
        const Cue& b = timed[i + 1];
        const int64_t gap = b.in - a.in;
        if (gap == 0) {
            add(b.row, Severity::Warning, options.duplicate ? QStringLiteral("same In time as row %1: the duplicate stage of the sort removes it").arg(a.row)
                                                            : QStringLiteral("same In time as row %1").arg(a.row));
            continue;
        }
        if (gap >= kMidnightJumpHours * 3600 * fps) {
            if (!options.midnight)
                add(0, Severity::Warning, QStringLiteral("rows %1 and %2 are more than 13 hours apart: the list seems to cross midnight, and the midnight option is off").arg(a.row).arg(b.row));
            continue;
        }
        if (gap * tpf < kNoteTicks)
            add(a.row, Severity::Error, QStringLiteral("the MIDI note (%1 ticks) is longer than the %2-frame gap to row %3 (%4 ticks): the next delta wraps to hours")
                                            .arg(kNoteTicks).arg(gap).arg(b.row).arg(gap * tpf));
        else if (gap * tpf - kNoteTicks > kLargestDelta)
            add(b.row, Severity::Error, QStringLiteral("%1 after row %2: more than a MIDI delta holds (about 3 h 53 min), so it wraps").arg(gap).arg(a.row));
        if (a.out && *a.out > b.in)
            add(a.row, Severity::Warning, QStringLiteral("its Out is after the In of row %1: the cues overlap").arg(b.row));
        if (gap < streamerFrames)
            add(b.row, Severity::Warning, QStringLiteral("%1 frames after row %2, less than the streamer duration (%3 frames): the unit's streamers overlap")
                                              .arg(gap).arg(a.row).arg(streamerFrames));
    }
    std::stable_sort(findings.begin(), findings.end(), [](const Finding& a, const Finding& b) { return a.row < b.row; });
    return findings;
}

QString findingLine(const Finding& f)
{
    return QStringLiteral("%1: %2: %3").arg(f.row).arg(f.severity == Severity::Error ? QStringLiteral("error") : QStringLiteral("warning"), f.message);
}

QString summary(const QList<Finding>& findings, int cues)
{
    const auto errors = std::count_if(findings.begin(), findings.end(), [](const Finding& f) { return f.severity == Severity::Error; });
    return QStringLiteral("%1 error%2, %3 warning%4 in %5 cue%6")
        .arg(errors).arg(errors == 1 ? QString() : QStringLiteral("s"))
        .arg(findings.size() - errors).arg(findings.size() - errors == 1 ? QString() : QStringLiteral("s"))
        .arg(cues).arg(cues == 1 ? QString() : QStringLiteral("s"));
}

QByteArray findingsJson(const QList<Finding>& findings)
{
    QJsonArray array;
    for (const Finding& f : findings)
        array.append(QJsonObject {{QStringLiteral("row"), f.row},
                                  {QStringLiteral("severity"), f.severity == Severity::Error ? QStringLiteral("error") : QStringLiteral("warning")},
                                  {QStringLiteral("message"), f.message}});
    return QJsonDocument(array).toJson(QJsonDocument::Indented);
}

} // namespace rz48::cuecheck
