#include "cuelist/MidiMarkerReader.h"

#include "common/TimecodeLabel.h"
#include "cuelist/MidiTrack.h"

#include <algorithm>
#include <cmath>

namespace rz48::formats {

namespace {

struct TextEvent {
    uint64_t tick = 0;
    int track = 0;
    uint8_t type = 0; // 5 lyric, 6 marker, 7 cue point
    QByteArray text;
};

struct Tempo {
    uint64_t tick = 0;
    uint32_t microseconds = 500000;
};

// The panel's cue track: its start text, its notes and their texts.
struct CueTrack {
    int track = 0;
    QByteArray start;
    QList<uint64_t> notes;
    QList<QByteArray> texts; // one per note, "" when none followed it
};

struct File {
    QList<TextEvent> texts[3]; // lyrics, markers, cue points
    QList<Tempo> tempos;
    QByteArray smpte; // the first SMPTE offset's five bytes
    CueTrack cueTrack;
};

uint32_t bigEndian(const QByteArray& b, qsizetype at, int bytes)
{
    uint32_t v = 0;
    for (int i = 0; i < bytes; ++i)
        v = (v << 8) | uint8_t(at + i < b.size() ? b.at(at + i) : 0);
    return v;
}

// A variable-length quantity of at most four bytes; false when it runs past `end`.
bool readVarLen(const QByteArray& b, qsizetype& pos, qsizetype end, uint32_t& value)
{
    value = 0;
    for (int i = 0; i < 4; ++i) {
        if (pos >= end)
            return false;
        const uint8_t c = uint8_t(b.at(pos++));
        value = (value << 7) | (c & 0x7F);
        if (!(c & 0x80))
            return true;
    }
    return true; // a fifth continuation byte is read as a status
}

void readTrack(const QByteArray& b, qsizetype pos, qsizetype end, int track, File& file, Imported& out)
{
    uint64_t tick = 0;
    uint8_t running = 0;
    QByteArray name, instrument;
    auto problem = [&](const QString& why) {
        addProblem(out, track, QStringLiteral("at byte %1: %2").arg(pos).arg(why));
    };
    while (pos < end) {
        uint32_t delta = 0;
        if (!readVarLen(b, pos, end, delta) || pos >= end) {
            problem(QStringLiteral("the track ends inside an event"));
            return;
        }
        tick += delta;
        uint8_t status = uint8_t(b.at(pos));
        if (status < 0x80) {
            if (running == 0) {
                problem(QStringLiteral("a data byte where a status belongs"));
                return;
            }
            status = running;
        } else {
            ++pos;
        }
        const bool cueTrack = name == "Cue track" && instrument == "RZ-48";
        if (status < 0xF0) {
            running = status;
            const int size = (status & 0xE0) == 0xC0 ? 1 : 2;
            if (pos + size > end) {
                problem(QStringLiteral("the track ends inside an event"));
                return;
            }
            if ((status & 0xF0) == 0x90 && size == 2 && uint8_t(b.at(pos + 1)) > 0 && cueTrack
                && file.cueTrack.notes.size() <= kMaxCues) {
                file.cueTrack.track = track;
                file.cueTrack.notes.append(tick);
                file.cueTrack.texts.append(QByteArray());
            }
            pos += size;
            continue;
        }
        running = 0; // system exclusive and meta events end running status
        uint8_t type = 0;
        if (status == 0xFF) {
            if (pos >= end) {
                problem(QStringLiteral("the track ends inside an event"));
                return;
            }
            type = uint8_t(b.at(pos++));
        } else if (status != 0xF0 && status != 0xF7) {
            problem(QStringLiteral("status 0x%1 is not an event of a MIDI file").arg(status, 2, 16, QLatin1Char('0')));
            return;
        }
        uint32_t length = 0;
        if (!readVarLen(b, pos, end, length) || qsizetype(length) > end - pos) {
            problem(QStringLiteral("an event longer than its track"));
            return;
        }
        const QByteArray data = b.mid(pos, qsizetype(length));
        pos += qsizetype(length);
        if (status == 0xF0) {
            // The unit's text command after a cue's note: 20 01, packed bytes, F7.
            if (cueTrack && !file.cueTrack.notes.isEmpty() && file.cueTrack.notes.last() == tick
                && file.cueTrack.texts.last().isEmpty() && data.startsWith("\x20\x01"))
                file.cueTrack.texts.last()
                    = MidiTrack::decode78(data.mid(2, data.size() - (data.endsWith('\xF7') ? 3 : 2)));
            continue;
        }
        if (status == 0xF7)
            continue;
        if (type == 0x2F)
            return; // end of track
        if (type == 0x03 && name.isEmpty())
            name = data;
        else if (type == 0x04 && instrument.isEmpty())
            instrument = data;
        else if (type == 0x05 && cueTrack && file.cueTrack.start.isEmpty())
            file.cueTrack.start = data.isEmpty() ? QByteArray(" ") : data;
        else if (type == 0x51 && length == 3 && file.tempos.size() <= kMaxCues)
            file.tempos.append({tick, bigEndian(data, 0, 3)});
        else if (type == 0x54 && length >= 4 && file.smpte.isEmpty())
            file.smpte = data.leftJustified(5, '\0', true);
        if (type >= 5 && type <= 7 && file.texts[type - 5].size() <= kMaxCues)
            file.texts[type - 5].append({tick, track, type, data});
    }
}

// Seconds from tick 0 through the tempo map.
class TempoMap {
public:
    TempoMap(QList<Tempo> tempos, uint16_t division) : division_(division)
    {
        std::stable_sort(tempos.begin(), tempos.end(), [](const Tempo& a, const Tempo& b) { return a.tick < b.tick; });
        points_.append({0, 500000});
        seconds_.append(0.0);
        for (const Tempo& t : std::as_const(tempos)) {
            const Tempo& last = points_.last();
            seconds_.append(seconds_.last() + double(t.tick - last.tick) * last.microseconds / 1e6 / division_);
            points_.append({t.tick, t.microseconds == 0 ? 500000 : t.microseconds});
        }
    }
    double seconds(uint64_t tick) const
    {
        const auto after = std::upper_bound(points_.begin(), points_.end(), tick,
                                            [](uint64_t t, const Tempo& p) { return t < p.tick; });
        const qsizetype i = std::max<qsizetype>(0, (after - points_.begin()) - 1);
        return seconds_.at(i) + double(tick - points_.at(i).tick) * points_.at(i).microseconds / 1e6 / division_;
    }

private:
    uint16_t division_;
    QList<Tempo> points_;
    QList<double> seconds_;
};

QString textOf(const QByteArray& bytes)
{
    return oneLine(decodeText(bytes)).trimmed();
}

} // namespace

Imported readMidiMarkers(const QByteArray& bytes, const ImportOptions& options)
{
    Imported out;
    out.format = QStringLiteral("midi");
    if (bytes.size() < 14 || !bytes.startsWith("MThd") || bigEndian(bytes, 4, 4) < 6) {
        addProblem(out, 0, QStringLiteral("not a MIDI file (no MThd header of six bytes)"));
        return out;
    }
    const uint16_t division = uint16_t(bigEndian(bytes, 12, 2));
    File file;
    qsizetype pos = 8 + qsizetype(std::min<uint32_t>(bigEndian(bytes, 4, 4), uint32_t(bytes.size())));
    int track = 0;
    while (pos < bytes.size()) {
        if (bytes.size() - pos < 8) {
            addProblem(out, track + 1, QStringLiteral("%1 bytes after the last chunk").arg(bytes.size() - pos));
            break;
        }
        const QByteArray id = bytes.mid(pos, 4);
        const qsizetype length = qsizetype(bigEndian(bytes, pos + 4, 4));
        const qsizetype start = pos + 8;
        qsizetype end = start + length;
        track += id == "MTrk";
        if (end > bytes.size()) {
            addProblem(out, track, QStringLiteral("a chunk runs past the end of the file"));
            end = bytes.size();
        }
        if (id == "MTrk")
            readTrack(bytes, start, end, track, file, out);
        pos = end;
    }

    // The type: the SMPTE offset's rate bits, else an SMPTE division's rate, else the list's.
    const int smpteRate = (division & 0x8000) ? -int(int8_t(division >> 8)) : 0;
    if (!file.smpte.isEmpty())
        out.tctype = (uint8_t(file.smpte.at(0)) >> 5) & 3;
    else if (smpteRate == 24 || smpteRate == 25 || smpteRate == 29 || smpteRate == 30)
        out.tctype = smpteRate == 24 ? 0 : smpteRate == 25 ? 1 : smpteRate == 29 ? 2 : 3;
    const int type = out.tctype >= 0 ? out.tctype : typeOrDefault(options.tctype);

    if (!file.cueTrack.notes.isEmpty() || !file.cueTrack.start.isEmpty()) {
        const int tpf = MidiTrack::ticksPerFrame(type);
        const auto start = frameOfLabelText(QString::fromLatin1(file.cueTrack.start), type);
        if (!start)
            addProblem(out, file.cueTrack.track, QStringLiteral("the cue track's start is not a timecode"));
        for (qsizetype i = 0; i < file.cueTrack.notes.size(); ++i) {
            CueItem cue = blankCue();
            cue.cueIn = labelOfFrame(start.value_or(0) + int64_t((file.cueTrack.notes.at(i) + tpf / 2) / tpf), type);
            QString text = QString::fromLatin1(file.cueTrack.texts.at(i));
            if (text.startsWith(QLatin1String("s ")))
                text = text.mid(2);
            splitCharacter(text, cue.character, cue.cueText);
            if (!addCue(out, cue, file.cueTrack.track))
                break;
        }
        return out;
    }

    if (division == 0 || (smpteRate != 0 && (division & 0xFF) == 0)) {
        addProblem(out, 0, QStringLiteral("a time division of 0"));
        return out;
    }
    int64_t start = 0;
    double startFraction = 0;
    if (!file.smpte.isEmpty()) {
        const int h = uint8_t(file.smpte.at(0)) & 0x1F, m = uint8_t(file.smpte.at(1)), s = uint8_t(file.smpte.at(2)),
                  f = uint8_t(file.smpte.at(3)), hundredths = uint8_t(file.smpte.at(4));
        if (h <= 23 && m <= 59 && s <= 59 && f < labelRate(type) && hundredths < 100) {
            start = frameOfLabel(h, m, s, f, type);
            startFraction = hundredths / 100.0;
        } else {
            addProblem(out, 0, QStringLiteral("the SMPTE offset is not a time"));
        }
    }
    const QList<TextEvent>& chosen = !file.texts[1].isEmpty() || !file.texts[2].isEmpty() ? file.texts[1] : file.texts[0];
    QList<TextEvent> events = chosen;
    if (&chosen == &file.texts[1])
        events += file.texts[2];
    std::stable_sort(events.begin(), events.end(), [](const TextEvent& a, const TextEvent& b) { return a.tick < b.tick; });
    const TempoMap tempo(file.tempos, division);
    const double smpteTicksPerSecond = smpteRate == 29 ? (30000.0 / 1001.0) * (division & 0xFF) : double(smpteRate) * (division & 0xFF);
    for (const TextEvent& e : std::as_const(events)) {
        const double seconds = smpteRate ? double(e.tick) / smpteTicksPerSecond : tempo.seconds(e.tick);
        CueItem cue = blankCue();
        cue.cueIn = labelOfFrame(start + std::llround(startFraction + seconds * realRate(type)), type);
        splitCharacter(textOf(e.text), cue.character, cue.cueText);
        if (!addCue(out, cue, e.track))
            break;
    }
    return out;
}

QByteArray writeMidiMarkers(const QList<CueItem>& cues, int tctype, const QString& start)
{
    const int type = typeOrDefault(tctype);
    const int64_t startFrame = frameOfLabelText(start, type).value_or(0);
    struct Item {
        int64_t frame;
        QByteArray text;
    };
    QList<Item> items;
    for (const CueItem& cue : cues) {
        const auto in = frameOfStoredTime(cue.cueIn, type);
        if (in)
            items.append({*in < startFrame ? *in + framesPerDay(type) : *in, joinCharacter(cue).toUtf8()});
    }
    std::stable_sort(items.begin(), items.end(), [](const Item& a, const Item& b) { return a.frame < b.frame; });

    auto varLen = [](QByteArray& b, uint32_t v) {
        uint8_t groups[5];
        int n = 0;
        groups[n++] = v & 0x7F;
        while ((v >>= 7) > 0 && n < 4)
            groups[n++] = uint8_t((v & 0x7F) | 0x80);
        while (n > 0)
            b.append(char(groups[--n]));
    };
    auto meta = [&](QByteArray& b, uint32_t delta, uint8_t kind, const QByteArray& data) {
        varLen(b, delta);
        b.append(char(0xFF));
        b.append(char(kind));
        varLen(b, uint32_t(data.size()));
        b.append(data);
    };
    const QString label = labelOfFrame(startFrame, type);
    QByteArray offset(5, '\0');
    offset[0] = char((label.mid(0, 2).toInt() & 0x1F) | (type << 5));
    offset[1] = char(label.mid(3, 2).toInt());
    offset[2] = char(label.mid(6, 2).toInt());
    offset[3] = char(label.mid(9, 2).toInt());
    QByteArray track;
    meta(track, 0, 0x54, offset);
    meta(track, 0, 0x51, QByteArray("\x07\xA1\x20", 3));       // 500000 microseconds a quarter note
    meta(track, 0, 0x58, QByteArray("\x04\x02\x18\x08", 4));   // 4/4
    meta(track, 0, 0x03, QByteArrayLiteral("RZ-48 cues"));
    // 960 ticks a quarter note at two quarter notes a second: 1920 ticks a second.
    uint64_t previous = 0;
    for (const Item& item : std::as_const(items)) {
        const uint64_t tick = uint64_t(std::llround(double(item.frame - startFrame) * 1920.0 / realRate(type)));
        meta(track, uint32_t(tick - previous), 0x06, item.text);
        previous = tick;
    }
    meta(track, 0, 0x2F, QByteArray());
    QByteArray file("MThd\x00\x00\x00\x06\x00\x00\x00\x01\x03\xC0", 14);
    file.append("MTrk", 4);
    for (int i = 3; i >= 0; --i)
        file.append(char((uint32_t(track.size()) >> (8 * i)) & 0xFF));
    return file + track;
}

} // namespace rz48::formats
