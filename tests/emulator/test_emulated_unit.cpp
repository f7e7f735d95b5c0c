// The unit's side of the protocol on its own, without a port.
#include "emulator/EmulatedUnit.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using rz48::emu::Clock;
using rz48::emu::EmulatedUnit;

namespace {

struct Unit {
    EmulatedUnit unit;
    Clock::time_point now = Clock::now();
    std::string send(const std::string& bytes) { return unit.receive(bytes, now); }
};

TEST(EmulatedUnit, AnswersQueriesInEachLettersBase)
{
    Unit u;
    EXPECT_EQ(u.send("B\r\n"), "B RZ-48 C190 emulated unit\r\n>");
    EXPECT_EQ(u.send("C\r\n"), "C 0 28 0 64 0 ff ff 0\r\n>");
    EXPECT_EQ(u.send("M\r\n"), "M 15\r\n>");
    EXPECT_EQ(u.send("t\r\n"), "t 60 52 7\r\n>");
    EXPECT_EQ(u.send("U\r\n"), "U 1 0 6 104 240 1\r\n>");
    EXPECT_EQ(u.send("k\r\n"), "k fc00 3f RZ-48 micro 3.32.6\r\n>");
}

TEST(EmulatedUnit, AppliesSettingsAndReportsThem)
{
    Unit u;
    // "G" and "Y" come in decimal and are reported in hexadecimal.
    EXPECT_EQ(u.send("Y 10\r\n"), "Y a\r\n>");
    EXPECT_EQ(u.send("G 3\r\n"), "G 3\r\n>");
    EXPECT_EQ(u.send("A a\r\n"), "A a\r\n>");
    EXPECT_EQ(u.send("E 0 70 77 87 5 64 3 1\r\n"), "E 0 70 77 87 5 64 3 1\r\n>");
    // A short setting changes only the fields it carries.
    EXPECT_EQ(u.send("H 12 -3\r\n"), "H 12 -3 0 0 0\r\n>");
    EXPECT_EQ(u.unit.fields('H'), (std::vector<int64_t> {12, -3, 0, 0, 0}));
    // A second character that is not a space is no setting.
    EXPECT_EQ(u.send("Qx\r\n"), ">");
    EXPECT_EQ(u.unit.fields('Q'), (std::vector<int64_t> {0}));
}

TEST(EmulatedUnit, SettingsRecordsCoverTheArea)
{
    Unit u;
    std::array<uint8_t, EmulatedUnit::kSettingsSize> area {};
    for (size_t i = 0; i < area.size(); ++i)
        area[i] = uint8_t(i);
    u.unit.setSettingsArea(area);
    EXPECT_EQ(u.send("j fc30\r\n"), "j fc30 30 31 32 33 34 35 36 37 38 39 3a 3b 3c 3d 3e 3f\r\n>");
    EXPECT_EQ(u.send("j fc40\r\n"), "j fc40 ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff\r\n>");
}

TEST(EmulatedUnit, CueTransferEndsAfterHalfASecondOfSilence)
{
    Unit u;
    EXPECT_EQ(u.send("h 0\r\n"), ">");
    EXPECT_EQ(u.send("f 01:00:00:00 01:00:05:00\r\n"), "f\r\n>");
    u.now += 300ms;
    EXPECT_EQ(u.send("f 01:00:10:00 \r\n"), "f\r\n>");
    EXPECT_EQ(u.unit.tick(u.now + 499ms), "");
    EXPECT_EQ(u.unit.tick(u.now + 500ms), "h 0\r\n>");
    EXPECT_EQ(u.unit.tick(u.now + 2s), ""); // once only

    u.unit.setBadPairs(18);
    u.send("h 0\r\n");
    EXPECT_EQ(u.unit.tick(u.now + 600ms), "h 12\r\n>");
}

TEST(EmulatedUnit, RecordsTriggersBetweenLines)
{
    Unit u;
    EXPECT_EQ(u.send(std::string("\x90\x2c\x40" "Q 1\r\n\x90", 9)), "Q 1\r\n>");
    EXPECT_EQ(u.send(std::string("\x7c\x40", 2)), "");
    EXPECT_EQ(u.unit.triggers(), (std::vector<uint8_t> {0x2c, 0x7c}));
    EXPECT_EQ(u.unit.commands(), (std::vector<std::string> {"Q 1"}));
}

TEST(EmulatedUnit, Misbehaves)
{
    Unit u;
    u.unit.setProbeAnswerOn(3);
    EXPECT_EQ(u.send("B\r\n"), "");
    EXPECT_EQ(u.send("B\r\n"), "");
    EXPECT_NE(u.send("B\r\n").find("C190"), std::string::npos);

    u.unit.setSysExPrefix(true);
    EXPECT_EQ(u.send("Q\r\n"), std::string("\xf0\x7d\x52\x5a\xf7" "Q 0\r\n>", 11));
    u.unit.setSysExPrefix(false);

    u.unit.setGarbage(true);
    const std::string noise = u.send("Q\r\n");
    EXPECT_EQ(noise.size(), 26u);
    EXPECT_EQ(noise.find("Q 0"), std::string::npos);
    u.unit.setGarbage(false);

    u.unit.setSilent(true);
    EXPECT_EQ(u.send("C\r\nk\r\n"), "");
    EXPECT_EQ(u.unit.commands().size(), 7u);
}

TEST(EmulatedUnit, OverlongLineIsDropped)
{
    Unit u;
    EXPECT_EQ(u.send(std::string(5000, 'x')), "");
    EXPECT_EQ(u.send("\r\nQ\r\n"), ">Q 0\r\n>");
}

} // namespace
