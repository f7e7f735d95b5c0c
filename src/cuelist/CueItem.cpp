#include "cuelist/CueItem.h"

#include "common/Diagnostics.h"
#include "timecode/TCFormatter.h"

#include <QDataStream>
#include <QIODevice>

namespace {

constexpr int kKeys = 5;
const char* const kKeyNames[kKeys] = {"cueId", "cueIn", "cueOut", "cueText", "cueNotes"};
constexpr quint32 kArchiveMagic = 0x525A4355; // "RZCU"

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

CueItem CueItem::initWithCoder(QDataStream& in)
{
    CueItem item;
    QString* values[kKeys] = {&item.cueId, &item.cueIn, &item.cueOut, &item.cueText, &item.cueNotes};
    for (int i = 0; i < kKeys && in.status() == QDataStream::Ok; ++i) {
        QString key, value;
        in >> key >> value;
        for (int k = 0; k < kKeys; ++k)
            if (key == QLatin1String(kKeyNames[k]))
                *values[k] = value;
    }
    return item;
}

namespace rz48 {

QByteArray archiveCueItems(const QList<CueItem>& items)
{
    QByteArray data;
    QDataStream out(&data, QIODevice::WriteOnly);
    out << kArchiveMagic << quint32(items.size());
    for (const CueItem& item : items)
        item.encodeWithCoder(out);
    return data;
}

QList<CueItem> unarchiveCueItems(const QByteArray& data)
{
    QDataStream in(data);
    quint32 magic = 0, count = 0;
    in >> magic >> count;
    QList<CueItem> items;
    if (magic != kArchiveMagic)
        return items;
    // Each item takes at least ten strings' headers: a count beyond what
    // the data could hold is a damaged archive.
    for (quint32 i = 0; i < count && in.status() == QDataStream::Ok && !in.atEnd(); ++i) {
        CueItem item = CueItem::initWithCoder(in);
        if (in.status() != QDataStream::Ok)
            break;
        items.append(item);
    }
    return items;
}

} // namespace rz48
