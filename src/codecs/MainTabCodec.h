#pragma once
// The commands of the main tab and the reading of their reports: reference
// and priority ("A"), bars and grey scale ("G"), masking ("H"), pop and LTC
// enables ("X"), generator ("M"), bypass ("Q"), delay trim ("J"), input
// colour space ("Y") and the HDMI timing request ("N").
#include "codecs/ReportFields.h"

#include <QString>

#include <array>
#include <cstdint>

namespace rz48::maintab {

enum Reference { Flat = 0, Pulldown = 1, Auto = 2 };

struct Rate {
    int reference = Flat;
    bool endPunch = false;
    bool hdmiPriority = false;
};
QString rateCommand(const Rate& rate);    // "A %x"
Rate rateFromReport(uint32_t bits);

struct BarsGray {
    bool bars = false;
    bool gray = false;
};
QString barsCommand(const BarsGray& value); // "G %d" (the report is read as hexadecimal)
BarsGray barsFromReport(uint32_t bits);

// Top, bottom, left, right, transparency.
using Masking = std::array<int, 5>;
QString maskingCommand(const Masking& masking); // "H %d %d %d %d %d"

struct PopEnables {
    bool streamerAccum = false;
    bool punch = false;
    bool streamer = false;
    bool ltc = false; // pop when clear
};
QString popCommand(const PopEnables& pop); // "X %d"
PopEnables popFromReport(int32_t bits);

QString generatorCommand(int index);       // "M %d", 15 = generator off
QString bypassCommand(bool on);            // "Q 1" / "Q 0"
QString trimCommand(int trim);             // "J %d"
QString colorSpaceCommand(int index);      // "Y %d"
QString hdmiTimingCommand(bool extended);  // "N 1" / "N 0"
inline const char* const kStreamerFieldsCommand = "l";

// What the main tab keeps in step with the unit.
struct Settings {
    Rate rate;
    BarsGray bars;
    Masking masking {};
    int32_t trim = 0;
    int32_t generator = 0;    // a number beyond the list shows none
    bool bypass = false;
    PopEnables pop;
    uint32_t colorSpace = 0;  // a number beyond the list shows none
};
// Reads a report of one of the main tab's letters ("A", "G", "H", "J", "M",
// "Q", "X", "Y") into its settings, each field in the base the protocol's
// letter table gives; a missing field repeats the last one read (`fields`).
// Returns false for another letter.
bool readReport(const QString& line, ReportFields& fields, Settings& s);
// The command that sets a letter's settings; none for another letter.
QString commandOf(char letter, const Settings& s);

// The delay trim is shown divided by 50; typed values are multiplied by 50
// and truncated toward zero.
double trimDisplayValue(int trim);
int trimFromDisplayValue(double shown);

} // namespace rz48::maintab
