// The windowless session rz48ctl runs on, against the emulated unit: every
// command is answered or said to be unanswered.
#include "session/UnitSession.h"
#include "emulator/PtyHost.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

TEST(UnitSession, AnAnswerOrNone)
{
    QTemporaryDir dir;
    rz48::emu::PtyHost host;
    std::string error;
    ASSERT_TRUE(host.start(dir.path().toStdString(), "tty.usbserial-EMU", &error)) << error;
    rz48::session::UnitSession session;
    QStringList reasons;
    ASSERT_TRUE(session.open(dir.path(), QString(), &reasons)) << reasons.join(u'\n').toStdString();
    EXPECT_EQ(session.exchange(QStringLiteral("A 2")), std::optional<QStringList>(QStringList {QStringLiteral("A 2")}));
    EXPECT_EQ(session.ask(QStringLiteral("A"), u'A'), std::optional<QString>(QStringLiteral("A 2")));
    // A unit that reads and says nothing: no answer, not an empty one.
    host.unit().setSilent(true);
    EXPECT_EQ(session.exchange(QStringLiteral("A 0"), 100, 600), std::nullopt);
}

} // namespace
