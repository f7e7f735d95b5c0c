#include "common/Diagnostics.h"
#include "common/Worker.h"
#include "common/WorkerCallback.h"
#include "link/MsgClass.h"
#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <unistd.h>

namespace {

class Parent : public QObject {
    Q_OBJECT
public:
    Q_INVOKABLE void threadHasMsg(MsgClass chunk)
    {
        onMain = QThread::currentThread() == QCoreApplication::instance()->thread();
        received << chunk.text();
    }
    Q_INVOKABLE void threadNeedsTx() { ++transmits; }

    QStringList received;
    int transmits = 0;
    bool onMain = false;
};

class Stranger : public QObject {
    Q_OBJECT
public:
    Q_INVOKABLE void threadHasMsg(int wrongType) { (void)wrongType; }
};

TEST(WorkerCallback, QueuesTheCallOnTheMainThread)
{
    Parent parent;
    std::thread worker([&] {
        MsgClass m;
        m.setText(QStringLiteral("7"));
        EXPECT_TRUE(rz48::callParent(&parent, "threadHasMsg", m));
        EXPECT_TRUE(rz48::callParent(&parent, "threadNeedsTx"));
    });
    worker.join();
    // Queued, not run in the worker.
    EXPECT_TRUE(parent.received.isEmpty());
    ASSERT_TRUE(rz48test::waitUntil([&] { return parent.transmits == 1; }));
    EXPECT_EQ(parent.received, QStringList {QStringLiteral("7")});
    EXPECT_TRUE(parent.onMain);
}

TEST(WorkerCallback, MissingMethodIsNamedWithItsColon)
{
    rz48::DiagCapture out;
    Stranger stranger;
    MsgClass m;
    EXPECT_FALSE(rz48::callParent(&stranger, "threadHasMsg", m)); // wrong argument type
    EXPECT_FALSE(rz48::callParent(&stranger, "threadNeedsTx"));
    EXPECT_FALSE(rz48::callParent(nullptr, "threadNeedsTxTc"));
    EXPECT_EQ(out.text(), "parent does not respond to 'threadHasMsg:'\n"
                          "parent does not respond to 'threadNeedsTx:'\n"
                          "parent does not respond to 'threadNeedsTxTc:'\n");
}

TEST(Worker, StopsABodyThatHonoursTheAbortFlag)
{
    Parent parent;
    rz48::Worker worker("polite worker");
    ASSERT_TRUE(worker.start(&parent, [](rz48::WorkerContext& context) {
        while (!context.aborting())
            ::usleep(1000);
    }));
    EXPECT_TRUE(worker.isRunning());
    EXPECT_FALSE(worker.start(&parent, [](rz48::WorkerContext&) {})); // one at a time
    EXPECT_TRUE(worker.stop());
    EXPECT_FALSE(worker.isRunning());
}

TEST(Worker, LeavesABodyThatIgnoresTheAbortFlagAndCutsItOff)
{
    struct Outcome {
        std::atomic<bool> ended {false};
        std::atomic<bool> reached {true};
    };
    auto outcome = std::make_shared<Outcome>();
    Parent parent;
    {
        rz48::Worker worker("stubborn worker", std::chrono::milliseconds(100));
        ASSERT_TRUE(worker.start(&parent, [outcome](rz48::WorkerContext& context) {
            ::usleep(1500 * 1000);
            outcome->reached = context.callParent("threadNeedsTx");
            outcome->ended = true;
        }));
        testing::internal::CaptureStderr();
        const bool stopped = worker.stop();
        const std::string err = testing::internal::GetCapturedStderr();
        EXPECT_FALSE(stopped);
        EXPECT_FALSE(worker.isRunning());
        EXPECT_EQ(err, "stubborn worker did not stop within 100 ms: left to finish on its own\n");
    } // the worker goes; its body runs on
    ASSERT_TRUE(rz48test::waitUntil([&] { return outcome->ended.load(); }, 10000));
    QCoreApplication::processEvents();
    EXPECT_FALSE(outcome->reached);
    EXPECT_EQ(parent.transmits, 0);
}

} // namespace

#include "test_worker_callback.moc"
