#pragma once
// Fixed lists of the panel: the SDI test generator formats (the index is the
// value of the "M" command) and the start-up queries in the order they are sent.
#include <array>

namespace rz48 {

// What one numeric field of a command can carry: a decimal field a 32-bit
// signed value, a hexadecimal one a 32-bit unsigned value. Controls hold
// these ranges, so that a reported value goes back unchanged.
inline constexpr long long kDecimalFieldMin = -2147483648LL;
inline constexpr long long kDecimalFieldMax = 2147483647LL;
inline constexpr long long kHexFieldMax = 0xFFFFFFFFLL;

inline constexpr std::array<const char*, 16> kSdiGenerators = {
    "SMPTE_260M_1035i_30_Hz",
    "SMPTE_295M_1080i_25_Hz",
    "SMPTE_274M_1080i_or_1080sF_30_Hz",
    "SMPTE_274M_1080i_or_1080sF_25_Hz",
    "SMPTE_274M_1080p_30_Hz",
    "SMPTE_274M_1080p_25_Hz",
    "SMPTE_274M_1080p_24_Hz",
    "SMPTE_296M_720p_60_Hz",
    "SMPTE_274M_1080sF_24_Hz",
    "SMPTE_296M_720p_50_Hz",
    "SMPTE_296M_720p_30_Hz",
    "SMPTE_296M_720p_25_Hz",
    "SMPTE_296M_720p_24_Hz",
    "SMPTE_259M_480i_30_Hz",
    "SMPTE_259M_480i_25_Hz",
    "GENERATOR_OFF",
};

// The input colour spaces, by the number the unit reports.
inline constexpr std::array<const char*, 6> kColorSpaces = {
    "RGB full range", "RGB limited range", "YCbCr 4:4:4 BT.709", "YCbCr 4:2:2 BT.709", "YCbCr 4:4:4 BT.601", "YCbCr 4:2:2 BT.601",
};

// Every one but "M 15" is a bare query; "M 15" switches the test generator
// off at every start, on purpose.
inline constexpr std::array<const char*, 17> kStartupQueries = {
    "A", "B", "C", "E", "G", "H", "J", "M 15", "Q", "U", "X", "Y", "k", "m", "n", "r", "t",
};

// The unit's microcontroller firmware must be at least this version.
inline constexpr const char* kMinMicroVersion = "3.32.6";

} // namespace rz48
