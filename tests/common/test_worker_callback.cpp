#include "common/Diagnostics.h"
#include "common/WorkerCallback.h"
#include "link/MsgClass.h"
#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QThread>

#include <gtest/gtest.h>

#include <thread>

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

} // namespace

#include "test_worker_callback.moc"
