#include "cuelist/SubtitleReader.h"

#include "common/TimecodeLabel.h"

namespace rz48::formats {

namespace {

// The most lines of one subtitle that are read.
constexpr int kMostBlockLines = 64;

// [H...H:]MM:SS(,|.)mmm in milliseconds; hours are required for SubRip.
std::optional<int64_t> milliseconds(QStringView text, bool hoursOptional)
{
    text = text.trimmed();
    const qsizetype mark = std::max(text.lastIndexOf(u','), text.lastIndexOf(u'.'));
    if (mark < 0 || text.size() - mark - 1 < 1 || text.size() - mark - 1 > 3)
        return std::nullopt;
    int64_t fields[3] = {0, 0, 0};
    int count = 0;
    qsizetype start = 0;
    for (qsizetype i = 0; i <= mark; ++i) {
        if (i < mark && text[i] != u':')
            continue;
        const QStringView digits = text.mid(start, i - start);
        if (count == 3 || digits.isEmpty() || digits.size() > 3)
            return std::nullopt;
        bool ok = false;
        fields[count++] = digits.toInt(&ok);
        if (!ok || digits.startsWith(u'-') || digits.startsWith(u'+'))
            return std::nullopt;
        start = i + 1;
    }
    if (count < 2 || (count == 2 && !hoursOptional))
        return std::nullopt;
    const int64_t h = count == 3 ? fields[0] : 0, m = fields[count - 2], s = fields[count - 1];
    bool ok = false;
    QStringView msText = text.mid(mark + 1);
    int64_t ms = msText.toInt(&ok);
    if (!ok || msText.startsWith(u'-') || msText.startsWith(u'+') || m > 59 || s > 59)
        return std::nullopt;
    for (qsizetype k = msText.size(); k < 3; ++k)
        ms *= 10;
    return ((h * 60 + m) * 60 + s) * 1000 + ms;
}

// The start and end of a "-->" line; settings or coordinates after the end are ignored.
bool readTimes(const QString& line, bool vtt, int64_t& from, int64_t& to)
{
    const qsizetype arrow = line.indexOf(QLatin1String("-->"));
    if (arrow < 0)
        return false;
    const QString after = line.mid(arrow + 3).trimmed();
    const auto a = milliseconds(QStringView(line).left(arrow), vtt);
    const auto b = milliseconds(after.section(u' ', 0, 0, QString::SectionSkipEmpty), vtt);
    if (!a || !b)
        return false;
    from = *a;
    to = *b;
    return true;
}

// A subtitle line without markup; the first VTT voice goes to `voice`.
QString plain(const QString& line, QString& voice)
{
    QString text;
    const qsizetype n = line.size();
    bool angles = true, braces = true; // whether a ">" or "}" may still come
    for (qsizetype i = 0; i < n; ++i) {
        const QChar c = line.at(i);
        const QChar close = (c == u'<' && angles) ? u'>'
            : (c == u'{' && braces && i + 1 < n && line.at(i + 1) == u'\\') ? u'}'
                                                                            : QChar();
        const qsizetype end = close.isNull() ? -1 : line.indexOf(close, i + 1);
        if (end < 0) {
            angles = angles && close != u'>';
            braces = braces && close != u'}';
            text += c;
            continue;
        }
        const QString tag = line.mid(i + 1, end - i - 1);
        if (voice.isEmpty() && c == u'<' && (tag.startsWith(QLatin1String("v ")) || tag.startsWith(QLatin1String("v."))))
            voice = tag.section(u' ', 1).trimmed();
        i = end;
    }
    text.replace(QLatin1String("&lt;"), QLatin1String("<"));
    text.replace(QLatin1String("&gt;"), QLatin1String(">"));
    text.replace(QLatin1String("&nbsp;"), QLatin1String(" "));
    text.replace(QLatin1String("&lrm;"), QString());
    text.replace(QLatin1String("&rlm;"), QString());
    text.replace(QLatin1String("&amp;"), QLatin1String("&"));
    return text.trimmed();
}

bool startsBlock(const QString& line, QLatin1String word)
{
    return line.startsWith(word) && (line.size() == word.size() || line.at(word.size()).isSpace());
}

} // namespace

bool looksLikeWebVtt(const QString& head)
{
    return startsBlock(head.startsWith(QChar(0xFEFF)) ? head.mid(1) : head.left(16), QLatin1String("WEBVTT"));
}

bool looksLikeSubRip(const QString& head)
{
    const QStringList lines = textLines(head.left(8192));
    for (int i = 0; i < lines.size() && i < 40; ++i) {
        const QString& line = lines.at(i);
        const qsizetype arrow = line.indexOf(QLatin1String("-->"));
        int64_t a = 0, b = 0;
        if (arrow > 0 && line.left(arrow).contains(u',') && readTimes(line, false, a, b))
            return true;
    }
    return false;
}

Imported readSubtitles(const QByteArray& bytes, const ImportOptions& options)
{
    Imported out;
    const QString text = decodeText(bytes);
    const bool vtt = options.format.compare(QLatin1String("vtt"), Qt::CaseInsensitive) == 0 || looksLikeWebVtt(text);
    out.format = vtt ? QStringLiteral("vtt") : QStringLiteral("srt");
    const int type = typeOrDefault(options.tctype);
    int64_t zero = 0;
    if (!options.zeroAt.trimmed().isEmpty()) {
        if (const auto f = frameOfLabelText(options.zeroAt, type))
            zero = *f;
        else
            addProblem(out, 0, QStringLiteral("the zero point \"%1\" is not a timecode of the list's rate").arg(options.zeroAt));
    }

    LineCursor cursor(text);
    QStringView line;
    if (vtt) {
        if (!looksLikeWebVtt(text))
            addProblem(out, 1, QStringLiteral("no WEBVTT line"));
        while (cursor.next(line) && !line.trimmed().isEmpty()) {
        } // the header block
    }
    // One block of lines (up to a blank line) is one subtitle.
    QList<QStringView> block;
    int first = 0;
    bool cut = false; // the block has more lines than are read
    auto readBlock = [&]() {
        const QString head = block.first().trimmed().toString();
        if (vtt && (startsBlock(head, QLatin1String("NOTE")) || startsBlock(head, QLatin1String("STYLE"))
                    || startsBlock(head, QLatin1String("REGION"))))
            return true;
        qsizetype timeLine = 0;
        if (!block.first().contains(QLatin1String("-->")) && block.size() > 1 && block.at(1).contains(QLatin1String("-->")))
            timeLine = 1;
        if (!block.at(timeLine).contains(QLatin1String("-->"))) {
            addProblem(out, first, QStringLiteral("a block without a \"-->\" time line"));
            return true;
        }
        int64_t from = 0, to = 0;
        if (!readTimes(block.at(timeLine).toString(), vtt, from, to)) {
            addProblem(out, first + int(timeLine), QStringLiteral("times that are not %1")
                                                            .arg(vtt ? QStringLiteral("[HH:]MM:SS.mmm") : QStringLiteral("HH:MM:SS,mmm")));
            return true;
        }
        CueItem cue = blankCue();
        if (timeLine > 0)
            cue.cueId = head;
        const int64_t in = zero + frameOfMilliseconds(from, type);
        const int64_t end = zero + frameOfMilliseconds(to, type);
        cue.cueIn = labelOfFrame(in, type);
        if (end > in)
            cue.cueOut = labelOfFrame(end, type);
        QStringList lines;
        for (qsizetype k = timeLine + 1; k < block.size(); ++k) {
            const QString plainLine = plain(block.at(k).toString(), cue.character);
            if (!plainLine.isEmpty())
                lines.append(plainLine);
        }
        cue.cueText = lines.join(QStringLiteral("\\n"));
        return addCue(out, cue, first);
    };
    for (;;) {
        const bool more = cursor.next(line);
        if (more && !line.trimmed().isEmpty()) {
            if (block.isEmpty())
                first = cursor.number();
            if (block.size() < kMostBlockLines)
                block.append(line);
            else if (!cut) {
                addProblem(out, first, QStringLiteral("a subtitle of more than %1 lines: the rest is not read").arg(kMostBlockLines));
                cut = true;
            }
            continue;
        }
        if (!block.isEmpty() && !readBlock())
            break;
        block.clear();
        cut = false;
        if (!more)
            break;
    }
    return out;
}

} // namespace rz48::formats
