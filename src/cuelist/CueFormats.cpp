#include "cuelist/CueFormats.h"
#include "cuelist/NativeCueList.h"
#include "cuelist/CueSheet.h"

#include "common/TimecodeLabel.h"
#include "cuelist/DelimitedReader.h"
#include "cuelist/EdlReader.h"
#include "cuelist/MidiMarkerReader.h"
#include "cuelist/SessionTextReader.h"
#include "cuelist/SubtitleReader.h"
#include "timecode/TCFormatter.h"

#include <QStringDecoder>

#include <cmath>

namespace rz48::formats {

namespace {

// Detection looks at the start of a file only.
constexpr qsizetype kDetectBytes = 64 * 1024;

} // namespace

int typeOrDefault(int type)
{
    return type >= 0 && type <= 3 ? type : 1;
}

double realRate(int type)
{
    return type == 2 ? 30000.0 / 1001.0 : double(labelRate(typeOrDefault(type)));
}

CueItem blankCue()
{
    CueItem cue;
    cue.cueId.clear();
    cue.cueIn.clear();
    cue.cueOut.clear();
    cue.cueText.clear();
    cue.cueNotes.clear();
    return cue;
}

QString decodeText(const QByteArray& bytes)
{
    const auto b = [&](qsizetype i) { return i < bytes.size() ? uint8_t(bytes.at(i)) : 0; };
    if (b(0) == 0xFF && b(1) == 0xFE)
        return QStringDecoder(QStringConverter::Utf16LE)(QByteArrayView(bytes).sliced(2));
    if (b(0) == 0xFE && b(1) == 0xFF)
        return QStringDecoder(QStringConverter::Utf16BE)(QByteArrayView(bytes).sliced(2));
    const QByteArrayView body = (b(0) == 0xEF && b(1) == 0xBB && b(2) == 0xBF) ? QByteArrayView(bytes).sliced(3)
                                                                                : QByteArrayView(bytes);
    QStringDecoder utf8(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    QString text = utf8(body);
    if (!utf8.hasError())
        return text;
    return QString::fromLatin1(body);
}

QStringList textLines(const QString& text)
{
    QStringList lines;
    qsizetype start = 0;
    const qsizetype n = text.size();
    for (qsizetype i = 0; i < n; ++i) {
        const QChar c = text.at(i);
        if (c == u'\n' || c == u'\r') {
            lines.append(text.mid(start, i - start));
            if (c == u'\r' && i + 1 < n && text.at(i + 1) == u'\n')
                ++i;
            start = i + 1;
        }
    }
    if (start < n)
        lines.append(text.mid(start));
    return lines;
}

bool LineCursor::next(QStringView& line)
{
    const qsizetype n = text_.size();
    if (pos_ >= n)
        return false;
    qsizetype end = pos_;
    while (end < n && text_[end] != u'\n' && text_[end] != u'\r')
        ++end;
    line = text_.sliced(pos_, end - pos_);
    pos_ = end + (end + 1 < n && text_[end] == u'\r' && text_[end + 1] == u'\n' ? 2 : 1);
    ++number_;
    return true;
}

QStringList tabFields(QStringView line, int most)
{
    QStringList fields;
    qsizetype start = 0;
    while (fields.size() + 1 < most) {
        const qsizetype tab = line.indexOf(u'\t', start);
        if (tab < 0)
            break;
        fields.append(line.sliced(start, tab - start).trimmed().toString());
        start = tab + 1;
    }
    fields.append(line.sliced(start).trimmed().toString());
    return fields;
}

std::optional<int64_t> frameOfStoredTime(const QString& stored, int type)
{
    const QString shown = TCFormatter::stringForObjectValue(stored);
    if (shown == QLatin1String("---"))
        return std::nullopt;
    return frameOfLabelText(shown, typeOrDefault(type));
}

int64_t frameOfMilliseconds(int64_t ms, int type)
{
    return std::llround(double(ms) * realRate(type) / 1000.0);
}

bool addCue(Imported& imported, const CueItem& cue, int line)
{
    if (imported.cues.size() >= kMaxCues) {
        const QString why = QStringLiteral("more than %1 cues: the rest is not read").arg(kMaxCues);
        if (imported.problems.isEmpty() || imported.problems.last().why != why)
            addProblem(imported, line, why);
        return false;
    }
    imported.cues.append(cue);
    return true;
}

void addProblem(Imported& imported, int line, const QString& why)
{
    if (imported.problems.size() < kMaxProblems)
        imported.problems.append({line, why});
    else if (imported.problems.size() == kMaxProblems)
        imported.problems.append({line, QStringLiteral("more lines that cannot be read, from this one on")});
}

void splitCharacter(const QString& text, QString& character, QString& rest)
{
    const qsizetype colon = text.indexOf(QLatin1String(": "));
    bool letter = false;
    bool small = false;
    if (colon > 0 && colon <= 40) {
        for (qsizetype i = 0; i < colon; ++i) {
            const QChar c = text.at(i);
            letter = letter || c.isLetter();
            small = small || c.isLower();
        }
    }
    if (colon > 0 && colon <= 40 && letter && !small && !text.at(0).isSpace()) {
        character = text.left(colon);
        rest = text.mid(colon + 2);
    } else {
        character.clear();
        rest = text;
    }
}

QString joinCharacter(const CueItem& cue)
{
    const QString text = oneLine(cue.cueText);
    const QString character = oneLine(cue.character).trimmed().toUpper();
    return character.isEmpty() ? text : character + QStringLiteral(": ") + text;
}

QString oneLine(const QString& text)
{
    if (!text.contains(u'\n') && !text.contains(u'\r'))
        return text;
    return textLines(text).join(QStringLiteral("\\n"));
}

QString detectFormat(const QByteArray& bytes, const QString& fileName)
{
    const QByteArray headBytes = bytes.left(kDetectBytes);
    if (headBytes.startsWith("MThd"))
        return QStringLiteral("midi");
    // A cut multi-byte character only makes the head Latin-1, which is as
    // good for the words looked for.
    const QString head = decodeText(headBytes.size() % 2 ? headBytes.chopped(1) : headBytes);
    if (looksLikeSessionText(head))
        return QStringLiteral("protools");
    if (looksLikeEdl(head))
        return QStringLiteral("edl");
    if (looksLikeWebVtt(head))
        return QStringLiteral("vtt");
    if (looksLikeSubRip(head))
        return QStringLiteral("srt");
    if (looksDelimited(head, fileName))
        return QStringLiteral("csv");
    return {};
}

QString chooseReader(const QByteArray& bytes, const QString& fileName)
{
    if (bytes.startsWith("%PDF") || fileName.endsWith(QLatin1String(".pdf"), Qt::CaseInsensitive))
        return QStringLiteral("pdf");
    if (rz48::native::looksNative(bytes))
        return QStringLiteral("native");
    QStringDecoder utf8(QStringDecoder::Utf8);
    const QString text = utf8.decode(bytes);
    if (!utf8.hasError() && rz48::cuesheet::looksLikeCueSheet(text))
        return QStringLiteral("sheet");
    const QString detected = detectFormat(bytes, fileName);
    return detected.isEmpty() ? QStringLiteral("text") : detected;
}

QStringList readerNames()
{
    return {QStringLiteral("protools"), QStringLiteral("midi"), QStringLiteral("edl"),
            QStringLiteral("vtt"),      QStringLiteral("srt"),  QStringLiteral("csv")};
}

Imported importCues(const QByteArray& bytes, const ImportOptions& options)
{
    const QString format = options.format.isEmpty() ? detectFormat(bytes, options.fileName) : options.format.toLower();
    if (format == QLatin1String("protools"))
        return readSessionText(bytes, options);
    if (format == QLatin1String("midi"))
        return readMidiMarkers(bytes, options);
    if (format == QLatin1String("edl"))
        return readEdl(bytes, options);
    if (format == QLatin1String("vtt") || format == QLatin1String("srt"))
        return readSubtitles(bytes, options);
    if (format == QLatin1String("csv") || format == QLatin1String("tsv"))
        return readDelimited(bytes, options);
    Imported none;
    if (!format.isEmpty())
        none.problems.append({0, QStringLiteral("no reader named \"%1\" (%2)").arg(format, readerNames().join(u' '))});
    return none;
}

} // namespace rz48::formats
