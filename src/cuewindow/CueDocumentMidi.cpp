// The MIDI cue track of the cue window: the export (checked and sorted
// first), the listing of a MIDI file, and the packing self-test.
#include "cuewindow/CueDocument.h"

#include "common/Alerts.h"
#include "common/Diagnostics.h"
#include "common/FileIo.h"
#include "common/FilePanels.h"

#include <QFileInfo>

namespace {

constexpr qint64 kMaxMidiBytes = 16 * 1024 * 1024;

} // namespace

void CueDocument::onExportMidi()
{
    if (collection().isEmpty() || !checkedBefore(tr("Export the MIDI file"), tr("Export anyway")))
        return;
    OnSort();
    const rz48::cuesheet::Options o = options();
    const QByteArray file = midiTrack_.onExportMidi(o.characterInText ? rz48::cuesheet::withCharacterInText(collection()) : collection(), o.start, o.tctype, offset_, o.text, o.pulldown, o.cueId);
    QString path = rz48::askSavePath(tr("Export MIDI cue track"), QStringLiteral("mid"));
    if (path.isEmpty())
        return;
    if (QFileInfo(path).suffix().toLower() != QLatin1String("mid"))
        path += QStringLiteral(".mid");
    QString error;
    if (!rz48::writeFileAtomically(path, file, &error))
        rz48::showError(tr("cannot write %1").arg(path), error);
}

void CueDocument::onImportMidi()
{
    const QString path = rz48::askOpenPath(tr("Import MIDI file"), {QStringLiteral("mid")});
    if (path.isEmpty())
        return;
    QByteArray bytes;
    QString error;
    if (!rz48::readFileBounded(path, kMaxMidiBytes, bytes, &error)) {
        rz48::showError(tr("cannot open %1").arg(path), error);
        return;
    }
    midiTrack_.importListing(bytes);
}

QString CueDocument::onButtonTest(bool* passed)
{
    QByteArray bytes(256, 0);
    for (int i = 0; i < 256; ++i)
        bytes[i] = char(i);
    const QByteArray encoded = MidiTrack::encode78(bytes);
    const QByteArray decoded = MidiTrack::decode78(encoded);
    const QString line = QString::asprintf("bytes: %d encoded bytes: %d decoded bytes: %d equal: %d\n", int(bytes.size()),
                                           int(encoded.size()), int(decoded.size()), decoded == bytes ? 1 : 0);
    rz48::diagText(line.toStdString());
    if (passed)
        *passed = decoded == bytes;
    return line;
}

