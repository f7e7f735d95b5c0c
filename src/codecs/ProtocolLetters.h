#pragma once
// The letters of the unit's reports, written once: for each letter the panel
// knows, its numeric fields, the number base of the report and of the
// command that sets the same, the part of the panel that reads it, and
// whether a setup file has a line for it. The setup file, the codecs (their
// commands are written and their reports read through commandLine and
// reportNumbers) and the main tab read their per-letter knowledge from here.
#include <QString>

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

namespace rz48::protocol {

enum class Owner {
    MainTab,  // the video path on the main tab
    Streamer, // the streamer page
    Punch,    // the punch page
    Overlay,  // the overlay page
    Update,   // the firmware update controller (settings records, versions)
    Nobody,   // answers the panel reads nothing from
};

struct Letter {
    char letter;
    int fields;      // the numeric fields after the letter
    bool reportHex;  // the report's fields are hexadecimal
    bool commandHex; // the command's fields are hexadecimal
    Owner owner;
    bool setup;      // a setup file has a line for it
    int reserved = -1; // a field the command always sends as 0, whatever was reported
};

// The setup letters first, in the order their lines are written and sent.
inline constexpr std::array<Letter, 22> kLetters {{
    {'A', 1, true, true, Owner::MainTab, true},    // reference, end punch, priority
    {'C', 8, true, true, Owner::Streamer, true, 2}, // streamer; its third field is reserved
    {'E', 8, true, true, Owner::Punch, true},      // punch
    {'G', 1, true, false, Owner::MainTab, true},   // bars and grey scale
    {'H', 5, false, false, Owner::MainTab, true},  // masking
    {'J', 1, false, false, Owner::MainTab, true},  // delay trim
    {'M', 1, false, false, Owner::MainTab, true},  // SDI test generator
    {'Q', 1, false, false, Owner::MainTab, true},  // bypass
    {'U', 6, false, false, Owner::Overlay, true},  // annunciator
    {'X', 1, false, false, Owner::MainTab, true},  // pop and LTC enables
    {'Y', 1, true, false, Owner::MainTab, true},   // input colour space
    {'m', 4, false, false, Owner::Overlay, true},  // timecode window
    {'n', 1, false, false, Owner::Overlay, true},  // control protocol
    {'r', 4, false, false, Owner::Overlay, true},  // text lines
    {'t', 3, true, true, Owner::Overlay, true},    // annunciator colours
    {'f', 0, true, true, Owner::Update, false},    // a transfer queued
    {'h', 1, true, true, Owner::Update, false},    // a transfer's result
    {'j', 0, true, true, Owner::Update, false},    // a settings record (an S-record, read whole)
    {'k', 2, true, true, Owner::Update, false},    // state address and size, then the version
    {'B', 0, false, false, Owner::Nobody, false},  // the unit's name and version text
    {'V', 0, false, false, Owner::Nobody, false},  // the overlay text
    {'s', 0, false, false, Owner::Nobody, false},  // a status answer
}};

// The letter's entry, or none.
constexpr const Letter* letterOf(char c)
{
    for (const Letter& l : kLetters)
        if (l.letter == c)
            return &l;
    return nullptr;
}

// The entry of a letter known to be in the table (a compile-time check where
// the letter is a constant).
constexpr Letter letter(char c)
{
    for (const Letter& l : kLetters)
        if (l.letter == c)
            return l;
    throw "not a letter of the protocol"; // never reached for the panel's own letters
}

// A command line: the letter, then each field in the base of the letter's
// commands (hexadecimal as 32 bits unsigned, decimal as 32 bits signed).
QString commandLine(char letter, std::initializer_list<int64_t> fields);
QString commandLine(char letter, const std::vector<int64_t>& fields);

// The numbers of a report after its letter: at most `count`, decimal or
// hexadecimal, up to the first that cannot be read.
std::vector<int64_t> reportNumbers(const QString& line, int count, bool hex);
// The same, as many as the report's letter has and in its base.
std::vector<int64_t> reportNumbers(const QString& line);

namespace detail {

constexpr size_t setupCount()
{
    size_t n = 0;
    for (const Letter& l : kLetters)
        n += l.setup ? 1 : 0;
    return n;
}

constexpr std::array<char, setupCount() + 1> setupLetters()
{
    std::array<char, setupCount() + 1> s {};
    size_t n = 0;
    for (const Letter& l : kLetters)
        if (l.setup)
            s[n++] = l.letter;
    return s;
}

} // namespace detail

// The setup letters as a string, in the table's order: "ACEGHJMQUXYmnrt".
inline constexpr std::array<char, detail::setupCount() + 1> kSetupLetters = detail::setupLetters();

} // namespace rz48::protocol
