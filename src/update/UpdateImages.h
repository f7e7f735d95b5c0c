#pragma once
// What the update procedures send: the microcontroller's S1 records built
// from an .s19 file with the unit's settings block put back, the 772-byte
// loader image, and the FPGA file's lines in batches.
#include <QByteArray>
#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>

namespace rz48::update {

inline constexpr int kLoaderSize = 772;
inline constexpr uint32_t kSettingsAddress = 0xFC00;
// The emulated unit's test loader starts with this; a real unit is never sent it.
inline constexpr const char* kTestLoaderSignature = "RZ48 TEST LOADER";

// The settings image captured from the unit's "k" and "j" reports.
struct SettingsImage {
    std::array<uint8_t, 256> buffer {};
    uint32_t address = 0;
    uint32_t size = 0;
};

// Whether the captured block can be put back: its address is 0xFC00 and
// none of its 16-byte lines is blank (a "j" report that did not come).
bool settingsComplete(const SettingsImage& settings);

// The records to send for an .s19 file's text: a 64 KiB image (0xFF where
// the file has nothing) with the settings block restored unless one of its
// 16-byte lines is blank ("missed a j record..." is printed then), encoded
// from 0x8000 to 0xFFF0 without the blank records, and the terminator.
QStringList microRecords(const QString& s19Text, const SettingsImage& settings);

// The loader image from a file: empty, with the reason in `error`, when the
// file is missing or not exactly 772 bytes.
QByteArray readLoaderImage(const QString& path, QString* error);
// Where the loader image is looked for when none is named.
QStringList defaultLoaderPaths();
bool isTestLoader(const QByteArray& loader);

// The next FPGA batch from line `next` on: trimmed lines while the batch's
// length plus the line's untrimmed length stays within 1021; `next` moves on.
QByteArray nextFpgaBatch(const QStringList& lines, qsizetype& next);
// The FPGA worker's receive buffer holds at most this much.
inline constexpr qsizetype kEchoBufferMax = 1023;
// Adds bytes that came in to the receive buffer, within its limit.
void appendReceived(QByteArray& buffer, const QByteArray& incoming);
// Whether the unit echoed the whole batch, its CR included.
bool echoMatches(const QByteArray& tx, const QByteArray& rx);

} // namespace rz48::update
