#include "cuelist/NativeCueList.h"

#include "timecode/TCFormatter.h"

#include <QByteArrayMatcher>
#include <QJsonArray>
#include <QJsonDocument>

#include <cmath>
#include <type_traits>

namespace rz48::native {

namespace {

const QString kFormat = QStringLiteral("rz48-cues");

// The cue's keys, in the order the file lists them (JSON objects sort them).
const char* const kCueKeys[] = {"id", "in", "out", "text", "notes", "character", "reason", "status"};
const char* const kOptionKeys[] = {"duplicate", "midnight", "text", "cueId", "pulldown", "start", "tctype",
                                   "characterInText", "videoFile", "videoStart", "videoOffset"};
const char* const kTopKeys[] = {"format", "version", "options", "cues"};

template <size_t N> bool known(const char* const (&keys)[N], const QString& key)
{
    for (const char* k : keys)
        if (key == QLatin1String(k))
            return true;
    return false;
}

template <size_t N> QJsonObject unknownOf(const QJsonObject& object, const char* const (&keys)[N])
{
    QJsonObject unknown;
    for (auto it = object.begin(); it != object.end(); ++it)
        if (!known(keys, it.key()))
            unknown.insert(it.key(), it.value());
    return unknown;
}

// Reads the value of `key` into `out` when it has the right type; a missing
// key keeps the default. False (with why) when it is there with another type.
template <class T> bool readValue(const QJsonObject& o, const char* key, T& out, const QString& refusal, QString* why)
{
    const QJsonValue v = o.value(QLatin1String(key));
    if (v.isUndefined())
        return true;
    if constexpr (std::is_same_v<T, bool>) {
        if (v.isBool()) {
            out = v.toBool();
            return true;
        }
    } else if (v.isString()) {
        out = v.toString();
        return true;
    }
    *why = refusal.arg(QLatin1String(key));
    return false;
}

bool readString(const QJsonObject& o, const char* key, QString& out, const QString& where, QString* why)
{
    return readValue(o, key, out, where + QStringLiteral(" \"%1\" is not text"), why);
}

bool readBool(const QJsonObject& o, const char* key, bool& out, QString* why)
{
    return readValue(o, key, out, QStringLiteral("the option \"%1\" is not true or false"), why);
}

bool fail(QString* error, const QString& why)
{
    if (error)
        *error = why;
    return false;
}

} // namespace

QString nativeTime(const QString& stored, int tctype)
{
    QString shown = TCFormatter::stringForObjectValue(stored);
    if (shown == QLatin1String("---"))
        return {};
    if (tctype == 2)
        shown[8] = u';';
    return shown;
}

QByteArray writeCueList(const CueList& list)
{
    const rz48::cuesheet::Options& o = list.options;
    QJsonObject options = list.unknownOptions;
    options.insert(QStringLiteral("duplicate"), o.duplicate);
    options.insert(QStringLiteral("midnight"), o.midnight);
    options.insert(QStringLiteral("text"), o.text);
    options.insert(QStringLiteral("cueId"), o.cueId);
    options.insert(QStringLiteral("pulldown"), o.pulldown);
    options.insert(QStringLiteral("start"), o.start);
    options.insert(QStringLiteral("tctype"), o.tctype);
    options.insert(QStringLiteral("characterInText"), o.characterInText);
    options.insert(QStringLiteral("videoFile"), list.video.file);
    options.insert(QStringLiteral("videoStart"), list.video.start);
    options.insert(QStringLiteral("videoOffset"), list.video.offset);

    QJsonArray cues;
    for (const CueItem& c : list.cues) {
        QJsonObject cue = c.unknownKeys;
        cue.insert(QStringLiteral("id"), c.cueId);
        cue.insert(QStringLiteral("in"), nativeTime(c.cueIn, o.tctype));
        cue.insert(QStringLiteral("out"), nativeTime(c.cueOut, o.tctype));
        cue.insert(QStringLiteral("text"), c.cueText);
        cue.insert(QStringLiteral("notes"), c.cueNotes);
        cue.insert(QStringLiteral("character"), c.character);
        cue.insert(QStringLiteral("reason"), c.reason);
        if (!c.unknownKeys.contains(QStringLiteral("status")) || c.status != CueStatus::Todo)
            cue.insert(QStringLiteral("status"), rz48::statusName(c.status)); // a later version's status word stays
        cues.append(cue);
    }
    QJsonObject top = list.unknownKeys;
    top.insert(QStringLiteral("format"), kFormat);
    top.insert(QStringLiteral("version"), kVersion);
    top.insert(QStringLiteral("options"), options);
    top.insert(QStringLiteral("cues"), cues);
    return QJsonDocument(top).toJson(QJsonDocument::Indented);
}

bool looksNative(const QByteArray& bytes)
{
    // A JSON object that names the format anywhere (its keys are written in
    // order, so "format" follows the cues).
    qsizetype first = 0;
    while (first < bytes.size() && (bytes[first] == ' ' || bytes[first] == '\t' || bytes[first] == '\n' || bytes[first] == '\r'))
        ++first;
    static const QByteArrayMatcher format("\"rz48-cues\"");
    return first < bytes.size() && bytes[first] == '{' && format.indexIn(bytes) >= 0;
}

bool readCueList(const QByteArray& bytes, CueList& list, QString* error)
{
    QJsonParseError parsed {};
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &parsed);
    if (parsed.error != QJsonParseError::NoError || !document.isObject())
        return fail(error, parsed.error != QJsonParseError::NoError
                               ? QStringLiteral("not a cue list file (.rz48cues): %1 at byte %2").arg(parsed.errorString()).arg(parsed.offset)
                               : QStringLiteral("not a cue list file (.rz48cues): not a JSON object"));
    const QJsonObject top = document.object();
    if (top.value(QStringLiteral("format")).toString() != kFormat)
        return fail(error, QStringLiteral("not a cue list file (.rz48cues): it has no \"format\": \"rz48-cues\""));
    const QJsonValue version = top.value(QStringLiteral("version"));
    if (!version.isDouble() || !std::isfinite(version.toDouble()) || version.toDouble() < 1)
        return fail(error, QStringLiteral("the cue list file has no version this panel knows"));
    if (std::floor(version.toDouble()) > kVersion)
        return fail(error, QStringLiteral("the cue list file is of version %1, made by a later panel: this panel reads version %2. "
                                          "Nothing was read.")
                               .arg(version.toDouble())
                               .arg(kVersion));

    CueList read;
    QString why;
    const QJsonValue optionsValue = top.value(QStringLiteral("options"));
    const QJsonValue cuesValue = top.value(QStringLiteral("cues"));
    if (!optionsValue.isUndefined() && !optionsValue.isObject())
        return fail(error, QStringLiteral("the cue list file's \"options\" is not an object"));
    if (!cuesValue.isUndefined() && !cuesValue.isArray())
        return fail(error, QStringLiteral("the cue list file's \"cues\" is not a list"));
    const QJsonObject options = optionsValue.toObject();
    rz48::cuesheet::Options& o = read.options;
    if (!readBool(options, "duplicate", o.duplicate, &why) || !readBool(options, "midnight", o.midnight, &why)
        || !readBool(options, "text", o.text, &why) || !readBool(options, "cueId", o.cueId, &why)
        || !readBool(options, "pulldown", o.pulldown, &why) || !readBool(options, "characterInText", o.characterInText, &why)
        || !readString(options, "start", o.start, QStringLiteral("the option"), &why)
        || !readString(options, "videoFile", read.video.file, QStringLiteral("the option"), &why)
        || !readString(options, "videoStart", read.video.start, QStringLiteral("the option"), &why))
        return fail(error, why);
    if (const QJsonValue offset = options.value(QStringLiteral("videoOffset")); !offset.isUndefined()) {
        if (!offset.isDouble() || offset.toDouble() != std::floor(offset.toDouble()) || std::abs(offset.toDouble()) > kMaxVideoOffset)
            return fail(error, QStringLiteral("the option \"videoOffset\" is not a whole number of frames within a day"));
        read.video.offset = offset.toInt();
    }
    if (const QJsonValue type = options.value(QStringLiteral("tctype")); !type.isUndefined()) {
        if (!type.isDouble() || type.toDouble() != std::floor(type.toDouble()) || type.toDouble() < 0 || type.toDouble() > 3)
            return fail(error, QStringLiteral("the option \"tctype\" is not 0, 1, 2 or 3"));
        o.tctype = type.toInt();
    }
    read.unknownOptions = unknownOf(options, kOptionKeys);
    read.unknownKeys = unknownOf(top, kTopKeys);

    const QJsonArray cues = cuesValue.toArray();
    read.cues.reserve(cues.size());
    for (qsizetype i = 0; i < cues.size(); ++i) {
        if (!cues[i].isObject())
            return fail(error, QStringLiteral("cue %1 is not an object").arg(i + 1));
        const QJsonObject c = cues[i].toObject();
        const QString where = QStringLiteral("cue %1:").arg(i + 1);
        CueItem cue;
        cue.cueId.clear();
        cue.cueIn.clear();
        cue.cueText.clear();
        cue.cueNotes.clear();
        QString status = QStringLiteral("todo");
        if (!readString(c, "id", cue.cueId, where, &why) || !readString(c, "in", cue.cueIn, where, &why)
            || !readString(c, "out", cue.cueOut, where, &why) || !readString(c, "text", cue.cueText, where, &why)
            || !readString(c, "notes", cue.cueNotes, where, &why) || !readString(c, "character", cue.character, where, &why)
            || !readString(c, "reason", cue.reason, where, &why) || !readString(c, "status", status, where, &why))
            return fail(error, why);
        cue.unknownKeys = unknownOf(c, kCueKeys);
        if (const std::optional<CueStatus> s = rz48::statusFromName(status))
            cue.status = *s;
        else
            cue.unknownKeys.insert(QStringLiteral("status"), status); // a later version's word, kept
        read.cues.append(std::move(cue));
    }
    list = std::move(read);
    return true;
}

QStringList fieldsTheSheetDrops(const CueList& list)
{
    bool character = false, reason = false, status = false, unknown = !list.unknownKeys.isEmpty();
    for (const CueItem& c : list.cues) {
        character = character || !c.character.isEmpty();
        reason = reason || !c.reason.isEmpty();
        status = status || c.status != CueStatus::Todo;
        unknown = unknown || !c.unknownKeys.isEmpty();
    }
    QStringList dropped;
    if (character)
        dropped << QStringLiteral("character");
    if (reason)
        dropped << QStringLiteral("reason");
    if (status)
        dropped << QStringLiteral("status");
    if (list.options.characterInText)
        dropped << QStringLiteral("character in text");
    if (!list.video.file.isEmpty())
        dropped << QStringLiteral("rehearsal video");
    if (unknown)
        dropped << QStringLiteral("fields of a later version");
    return dropped;
}

} // namespace rz48::native
