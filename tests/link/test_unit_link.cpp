// The one link to the unit against the emulated unit on a pseudo-terminal:
// the search and its reasons, the stream of report lines, and the port lent
// to an update and given back.
#include "emulator/PtyHost.h"
#include "link/UnitLink.h"
#include "support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using rz48::link::UnitLink;
using rz48test::waitUntil;

rz48::link::Search searchIn(const QTemporaryDir& dir)
{
    return {dir.path(), {}, [] { return true; }};
}

TEST(UnitLink, FindsTheUnitStreamsItsLinesAndLendsThePort)
{
    QTemporaryDir dir;
    rz48::emu::PtyHost host;
    std::string error;
    ASSERT_TRUE(host.start(dir.path().toStdString(), "tty.usbserial-EMU", &error)) << error;
    UnitLink link(searchIn(dir));
    QStringList lines;
    int connected = 0;
    QObject::connect(&link, &UnitLink::reportLine, [&](const QString& line) { lines << line; });
    QObject::connect(&link, &UnitLink::connected, [&] { ++connected; });
    ASSERT_TRUE(link.start());
    EXPECT_EQ(link.state(), UnitLink::State::Connected);
    EXPECT_EQ(connected, 1);
    EXPECT_TRUE(link.portPath().endsWith(QStringLiteral("tty.usbserial-EMU")));

    link.sendString(QStringLiteral("Q 1"));
    link.sendString(QStringLiteral("Q"));
    ASSERT_TRUE(waitUntil([&] { return lines.size() >= 2; }));
    EXPECT_EQ(lines, (QStringList {QStringLiteral("Q 1"), QStringLiteral("Q 1")}));

    // Lent to an update: the link's thread stops, the port runs at the
    // update's speed, and what is sent meanwhile goes nowhere.
    const int fd = link.lendPort(230400);
    EXPECT_GE(fd, 0);
    EXPECT_FALSE(link.isRunning());
    EXPECT_EQ(link.getBaud(), 230400);
    link.sendString(QStringLiteral("Q 0"));
    EXPECT_EQ(link.txCount(), 0);
    link.takePortBack();
    EXPECT_TRUE(link.isRunning());
    EXPECT_EQ(link.getBaud(), 38400);
    lines.clear();
    link.sendString(QStringLiteral("Q"));
    ASSERT_TRUE(waitUntil([&] { return !lines.isEmpty(); }));
    EXPECT_EQ(lines.first(), QStringLiteral("Q 1"));
    EXPECT_EQ(connected, 1);
}

TEST(UnitLink, NoUnitSaysWhyAndIsFoundWhenItComes)
{
    QTemporaryDir dir;
    UnitLink link(searchIn(dir));
    EXPECT_FALSE(link.start());
    EXPECT_EQ(link.state(), UnitLink::State::NotFound);
    EXPECT_FALSE(link.isConnected());
    // The next search names the directory it found no adapter in.
    ASSERT_TRUE(waitUntil([&] { return link.reasons().join(u'\n').contains(dir.path()); }, 3000))
        << link.reasons().join(u'\n').toStdString();

    rz48::emu::PtyHost host;
    std::string error;
    ASSERT_TRUE(host.start(dir.path().toStdString(), "tty.usbserial-EMU", &error)) << error;
    ASSERT_TRUE(waitUntil([&] { return link.state() == UnitLink::State::Connected; }, 5000));
    EXPECT_TRUE(link.reasons().isEmpty());
    EXPECT_TRUE(link.isRunning());
}

} // namespace
