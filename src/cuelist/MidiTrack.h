#pragma once
// The cue list as a Standard MIDI File (format 1, one track, 9600 ticks per
// quarter note): each cue is a note-on at its In time, a note-off 800 ticks
// later, and its text rides along as a system-exclusive message holding the
// unit's "s" command in 7-bit packed form. Reading a MIDI file back is a
// diagnostic listing on standard output.
#include "cuelist/CueItem.h"
#include "timecode/TcCalculator.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <cstdint>

class MidiTrack {
public:
    static constexpr uint16_t kTimeDivision = 9600;
    static constexpr uint32_t kNoteLength = 800;
    static constexpr uint8_t kCueNote = 0x77;

    // The whole file for a non-empty cue list (prints "MIDI offset: ..."); an
    // empty list gives no bytes.
    QByteArray onExportMidi(const QList<CueItem>& cues, const QString& start, int32_t tcType, double offset,
                            bool textIncluded, bool pulldown, bool cueIdIncluded);
    // Prints the listing of a MIDI file: hex dump, chunks and events. Sizes
    // come from the file; nothing is read outside its bytes.
    void importListing(const QByteArray& file);

    static void writeVarLenValue(QByteArray& buffer, uint32_t value);
    static void writeMetaDataString(QByteArray& buffer, uint32_t delta, uint8_t type, const QString& text);
    static void writeCue(QByteArray& buffer, uint32_t delta, const QString& text);
    static QString cueItemText(const CueItem& item, bool textIncluded, bool cueIdIncluded);
    static QByteArray encode78(const QByteArray& bytes);
    static QByteArray decode78(const QByteArray& bytes);
    // Prints a system-exclusive body (the bytes after F0).
    static void decodeSysexData(const QByteArray& body);

    static int ticksPerFrame(int32_t tcType);

    TcCalculator& tcc() { return tcc_; }
    uint16_t format = 0;
    uint16_t numberOfTracks = 0;
    uint16_t timeDivision = 0;

private:
    void walkTrack(const QByteArray& file, qsizetype from, qsizetype end);
    TcCalculator tcc_;
};
