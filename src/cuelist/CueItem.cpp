#include "cuelist/CueItem.h"

#include "common/Diagnostics.h"
#include "timecode/TCFormatter.h"

#include <QDataStream>
#include <QIODevice>

namespace {

constexpr int kKeys = 5;
const char* const kKeyNames[kKeys] = {"cueId", "cueIn", "cueOut", "cueText", "cueNotes"};
constexpr quint32 kArchiveMagic = 0x525A4355; // "RZCU": the five texts
constexpr quint32 kArchiveMagic2 = 0x525A4332; // "RZC2": a count of keys, the session's fields among them
constexpr quint32 kMostKeys = 64;

} // namespace

QString CueItem::getCueIn() const
{
    return TCFormatter::stringForObjectValue(cueIn);
}

int CueItem::caseInsensitiveCompare(const CueItem& other) const
{
    return cueIn.compare(other.cueIn, Qt::CaseInsensitive);
}

void CueItem::encodeWithCoder(QDataStream& out) const
{
    rz48::diag("CueItem encodeWithCoder\n");
    const QString* values[kKeys] = {&cueId, &cueIn, &cueOut, &cueText, &cueNotes};
    for (int i = 0; i < kKeys; ++i)
        out << QString::fromLatin1(kKeyNames[i]) << *values[i];
}

CueItem CueItem::initWithCoder(QDataStream& in, quint32 keys)
{
    CueItem item;
    QString* values[kKeys] = {&item.cueId, &item.cueIn, &item.cueOut, &item.cueText, &item.cueNotes};
    for (quint32 i = 0; i < keys && in.status() == QDataStream::Ok; ++i) {
        QString key, value;
        in >> key >> value;
        for (int k = 0; k < kKeys; ++k)
            if (key == QLatin1String(kKeyNames[k]))
                *values[k] = value;
        if (key == QLatin1String("character"))
            item.character = value;
        else if (key == QLatin1String("reason"))
            item.reason = value;
        else if (key == QLatin1String("status"))
            item.status = rz48::statusFromName(value).value_or(CueStatus::Todo);
    }
    return item;
}

namespace rz48 {

QString statusName(CueStatus status)
{
    switch (status) {
    case CueStatus::Done: return QStringLiteral("done");
    case CueStatus::Omit: return QStringLiteral("omit");
    case CueStatus::Todo: break;
    }
    return QStringLiteral("todo");
}

std::optional<CueStatus> statusFromName(const QString& name)
{
    for (CueStatus s : {CueStatus::Todo, CueStatus::Done, CueStatus::Omit})
        if (name == statusName(s))
            return s;
    return std::nullopt;
}

QByteArray archiveCueItems(const QList<CueItem>& items)
{
    QByteArray data;
    QDataStream out(&data, QIODevice::WriteOnly);
    out << kArchiveMagic2 << quint32(items.size());
    for (const CueItem& item : items) {
        out << quint32(kKeys + 3);
        item.encodeWithCoder(out);
        out << QStringLiteral("character") << item.character << QStringLiteral("reason") << item.reason
            << QStringLiteral("status") << statusName(item.status);
    }
    return data;
}

QList<CueItem> unarchiveCueItems(const QByteArray& data)
{
    QDataStream in(data);
    quint32 magic = 0, count = 0;
    in >> magic >> count;
    QList<CueItem> items;
    if (magic != kArchiveMagic && magic != kArchiveMagic2)
        return items;
    // Each item takes at least ten strings' headers: a count beyond what
    // the data could hold is a damaged archive.
    for (quint32 i = 0; i < count && in.status() == QDataStream::Ok && !in.atEnd(); ++i) {
        quint32 keys = kKeys;
        if (magic == kArchiveMagic2) {
            in >> keys;
            if (keys > kMostKeys)
                break;
        }
        CueItem item = CueItem::initWithCoder(in, keys);
        if (in.status() != QDataStream::Ok)
            break;
        items.append(item);
    }
    return items;
}

} // namespace rz48
