#include "cuelist/MidiTrack.h"

#include "common/Diagnostics.h"
#include "cuelist/CueSheet.h"

#include <cmath>
#include <string>

namespace {

void appendBigEndian(QByteArray& b, uint32_t v, int bytes)
{
    for (int i = bytes - 1; i >= 0; --i)
        b.append(char((v >> (8 * i)) & 0xFF));
}

uint8_t byteAt(const QByteArray& b, qsizetype i)
{
    return i >= 0 && i < b.size() ? uint8_t(b.at(i)) : 0;
}

// A variable-length quantity at `pos` (at most four bytes, never past `end`).
uint32_t readVarLen(const QByteArray& b, qsizetype& pos, qsizetype end)
{
    uint32_t v = 0;
    for (int i = 0; i < 4 && pos < end; ++i) {
        const uint8_t c = byteAt(b, pos++);
        v = (v << 7) | (c & 0x7F);
        if (!(c & 0x80))
            break;
    }
    return v;
}

} // namespace

int MidiTrack::ticksPerFrame(int32_t tcType)
{
    return tcType == 0 ? 800 : tcType == 1 ? 768 : 640;
}

void MidiTrack::writeVarLenValue(QByteArray& buffer, uint32_t value)
{
    uint8_t groups[4];
    int n = 0;
    groups[n++] = value & 0x7F;
    value >>= 7;
    while (value > 0 && n < 4) {
        groups[n++] = uint8_t((value & 0x7F) | 0x80);
        value >>= 7;
    }
    while (n > 0)
        buffer.append(char(groups[--n]));
}

void MidiTrack::writeMetaDataString(QByteArray& buffer, uint32_t delta, uint8_t type, const QString& text)
{
    writeVarLenValue(buffer, delta);
    buffer.append(char(0xFF));
    buffer.append(char(type));
    const QByteArray utf8 = text.toUtf8();
    const int length = int(text.size() & 0xFF); // one length byte: the character count
    buffer.append(char(length));
    buffer.append(utf8.left(length));
}

void MidiTrack::writeCue(QByteArray& buffer, uint32_t delta, const QString& text)
{
    writeVarLenValue(buffer, delta);
    buffer.append("\x90\x77\x40", 3);
    if (!text.isEmpty()) {
        QString command = QStringLiteral("s ") + text;
        if (command.size() >= 218)
            command.truncate(217);
        const QByteArray packed = encode78(command.toLatin1());
        buffer.append(char(0x00));
        buffer.append(char(0xF0));
        writeVarLenValue(buffer, uint32_t(packed.size() + 3));
        buffer.append("\x20\x01", 2);
        buffer.append(packed);
        buffer.append(char(0xF7));
    }
    writeVarLenValue(buffer, kNoteLength);
    buffer.append("\x90\x77\x00", 3);
}

QString MidiTrack::cueItemText(const CueItem& item, bool textIncluded, bool cueIdIncluded)
{
    return rz48::cuesheet::cueItemText(item, cueIdIncluded, textIncluded);
}

QByteArray MidiTrack::encode78(const QByteArray& in)
{
    QByteArray out;
    out.reserve(in.size() + (in.size() + 6) / 7);
    for (qsizetype group = 0; group < in.size(); group += 7) {
        uint8_t flags = 0;
        for (qsizetype j = 0; j < 7 && group + j < in.size(); ++j) {
            const uint8_t c = uint8_t(in.at(group + j));
            out.append(char(c & 0x7F));
            if (c & 0x80)
                flags |= uint8_t(1u << j);
        }
        out.append(char(flags));
    }
    return out;
}

QByteArray MidiTrack::decode78(const QByteArray& in)
{
    QByteArray out;
    for (qsizetype group = 0; group < in.size(); group += 8) {
        const qsizetype last = std::min(group + 7, in.size() - 1); // the flag byte
        uint8_t flags = uint8_t(in.at(last));
        for (qsizetype j = group; j < last; ++j, flags >>= 1)
            out.append(char(uint8_t(in.at(j)) | ((flags & 1) ? 0x80 : 0)));
    }
    return out;
}

void MidiTrack::decodeSysexData(const QByteArray& body)
{
    rz48::diag("system exclusive, size: %d mfg: %x\n", int(body.size()), unsigned(byteAt(body, 0)));
    if (body.size() < 2 || byteAt(body, 0) != 0x20 || byteAt(body, 1) != 0x01)
        return;
    const QByteArray unpacked = decode78(body.mid(2, std::max<qsizetype>(body.size() - 3, 0)));
    std::string text;
    for (qsizetype at = 0; at < unpacked.size(); at += 16)
        text += '\n' + rz48::hexBytes(unpacked.mid(at, 16).toStdString());
    text += '\n';
    rz48::diagText(text);
    rz48::diag("midi rx: %s\n", QString::fromLatin1(unpacked).toUtf8().constData());
}

QByteArray MidiTrack::onExportMidi(const QList<CueItem>& cues, const QString& start, int32_t tcType, double offset,
                                   bool textIncluded, bool pulldown, bool cueIdIncluded)
{
    if (cues.isEmpty())
        return {};
    const int tpf = ticksPerFrame(tcType);

    // The streamer offset as an SMPTE offset, its type in the rate bits.
    const double f = offset * 19200.0 / tpf;
    const double scaled = std::trunc(f * 100.0);
    int hundredths = std::isfinite(scaled) ? int(std::fmod(scaled, 100.0)) : 0;
    if (hundredths < 0)
        hundredths += 100;
    const double whole = std::trunc(f);
    const int32_t frames = std::isfinite(whole) && std::fabs(whole) < 2e9 ? int32_t(whole) : 0;
    const QString offsetTc = tcc_.binaryToTc(frames, tcType);
    rz48::diag("MIDI offset: %s\n", offsetTc.toUtf8().constData());
    auto field = [&](int at) { return uint8_t(offsetTc.mid(at, 2).toInt()); };

    QByteArray file;
    file.append("MThd", 4);
    appendBigEndian(file, 6, 4);
    appendBigEndian(file, 1, 2);
    appendBigEndian(file, 1, 2);
    appendBigEndian(file, kTimeDivision, 2);

    QByteArray track;
    track.append("MTrk", 4);
    appendBigEndian(track, 0, 4); // length, filled in below
    track.append("\x00\xFF\x54\x05", 4);
    track.append(char((field(0) & 0x1F) | uint8_t(tcType << 5)));
    track.append(char(field(3)));
    track.append(char(field(6)));
    track.append(char(field(9)));
    track.append(char(hundredths));
    track.append("\x00\xFF\x51\x03", 4);
    track.append(pulldown ? QByteArray("\x07\xA3\x14", 3) : QByteArray("\x07\xA1\x20", 3));
    writeMetaDataString(track, 0, 0x03, QStringLiteral("Cue track"));
    writeMetaDataString(track, 0, 0x04, QStringLiteral("RZ-48"));
    const QString startTc = tcc_.isTc(start) ? start : QStringLiteral("00:00:00:00");
    writeMetaDataString(track, 0, 0x05, startTc);
    uint32_t previous = uint32_t(tcc_.tcToBinary(startTc, tcType) * tpf);

    for (const CueItem& cue : cues) {
        const uint32_t t = uint32_t(tcc_.tcToBinary(cue.getCueIn(), tcType) * tpf);
        // A cue before the previous event gives a negative delta, written
        // as it comes out in unsigned arithmetic.
        writeCue(track, t - previous, cueItemText(cue, textIncluded, cueIdIncluded));
        previous = t + kNoteLength;
    }
    track.append("\x00\xFF\x2F\x00", 4);
    const uint32_t length = uint32_t(track.size() - 8);
    for (int i = 0; i < 4; ++i)
        track[4 + i] = char((length >> (8 * (3 - i))) & 0xFF);
    return file + track;
}

void MidiTrack::importListing(const QByteArray& file)
{
    // Hex dump, sixteen bytes a line, with the characters of the line before.
    std::string dump;
    char item[16];
    auto printable = [](uint8_t c) { return c < 33 || c >= 127 ? '.' : char(c); };
    for (qsizetype at = 0; at < file.size(); at += 16) {
        const QByteArray row = file.mid(at, 16);
        std::snprintf(item, sizeof item, "\n%04x: ", unsigned(at));
        dump += item + rz48::hexBytes(row.left(8).toStdString());
        if (row.size() > 8)
            dump += '\t' + rz48::hexBytes(row.mid(8).toStdString());
        if (at + 16 < file.size()) { // every line but the last ends with its characters
            dump += '\t';
            for (qsizetype k = 0; k < row.size(); ++k)
                dump += (k % 8 == 0 ? "\t" : "") + std::string(1, printable(uint8_t(row.at(k))));
        }
    }
    dump += '\n';
    rz48::diagText(dump);

    qsizetype pos = 0;
    while (pos + 8 <= file.size()) {
        const QByteArray id = file.mid(pos, 4);
        const uint32_t size = (uint32_t(byteAt(file, pos + 4)) << 24) | (uint32_t(byteAt(file, pos + 5)) << 16)
            | (uint32_t(byteAt(file, pos + 6)) << 8) | byteAt(file, pos + 7);
        rz48::diag("chunk ID: %s size: %x\n", QString::fromLatin1(id).toUtf8().constData(), size);
        if (id == "MThd") {
            format = byteAt(file, pos + 9);
            numberOfTracks = byteAt(file, pos + 11);
            timeDivision = uint16_t((byteAt(file, pos + 12) << 8) | byteAt(file, pos + 13));
            rz48::diag("format: %x tracks: %d timeDivision: %d\n", format, numberOfTracks, timeDivision);
        } else if (id == "MTrk" && size > 0) {
            walkTrack(file, pos + 8, std::min<qsizetype>(pos + 8 + qsizetype(size), file.size()));
        }
        const qsizetype next = pos + qsizetype(size) + 8;
        if (next <= pos)
            break;
        pos = next;
    }
}

void MidiTrack::walkTrack(const QByteArray& file, qsizetype pos, qsizetype end)
{
    while (pos < end) {
        const uint32_t delta = readVarLen(file, pos, end);
        if (pos >= end)
            break;
        const uint8_t status = byteAt(file, pos);
        const uint8_t kind = status & 0xF0;
        if (kind == 0x80 || kind == 0xA0 || kind == 0xB0 || kind == 0xC0 || kind == 0xD0 || kind == 0xE0) {
            pos += 3; // status and two data bytes, for every kind alike
        } else if (kind == 0x90) {
            rz48::diag("delta: %d note on: %d %d\n", int(delta), byteAt(file, pos + 1), byteAt(file, pos + 2));
            pos += 3;
        } else if (status == 0xF0) {
            ++pos;
            const uint32_t length = readVarLen(file, pos, end);
            const qsizetype available = std::max<qsizetype>(0, std::min<qsizetype>(qsizetype(length), end - pos));
            decodeSysexData(file.mid(pos, available));
            pos += qsizetype(length);
        } else if (status == 0xFF) {
            const uint8_t type = byteAt(file, pos + 1);
            const uint8_t length = byteAt(file, pos + 2);
            const qsizetype data = pos + 3;
            if (type == 0) {
                rz48::diag("meta event, delta: %d sequence number: %d\n", int(delta),
                           (byteAt(file, data) << 8) | byteAt(file, data + 1));
            } else if (type <= 7) {
                const QByteArray text = file.mid(data, std::min<qsizetype>(length, std::max<qsizetype>(end - data, 0)));
                rz48::diag("meta event, delta: %d type: %d string: %s\n", int(delta), type, text.constData());
            } else {
                rz48::diag("meta event, delta: %d type: %d\n", int(delta), type);
                if (type == 0x54) {
                    const uint8_t hr = byteAt(file, data);
                    rz48::diag("smpte offset: %02d:%02d:%02d:%02d:%02d fps: %d\n", hr & 0x1F, byteAt(file, data + 1),
                               byteAt(file, data + 2), byteAt(file, data + 3), byteAt(file, data + 4), hr >> 5);
                } else if (type == 0x51) {
                    const uint32_t tempo = (uint32_t(byteAt(file, data)) << 16) | (uint32_t(byteAt(file, data + 1)) << 8)
                        | byteAt(file, data + 2);
                    if (tempo != 0)
                        rz48::diag("microseconds per quarter note: %d beats per minute: %d\n", int(tempo),
                                   int(std::lround(60000000.0 / tempo)));
                }
            }
            pos = data + length;
        } else {
            break; // a status this listing does not handle ends the track
        }
    }
}
