// The preview loop and the first pictures of the streamer and punch workers.
#include "common/Diagnostics.h"
#include "pages/DrawStreamerThread.h"
#include "pages/DrawThread.h"
#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <QImage>

#include <gtest/gtest.h>

using rz48test::waitUntil;

namespace {

class Parent : public QObject {
    Q_OBJECT
public:
    Q_INVOKABLE void threadNeedsDisplay(QImage image)
    {
        images.push_back(image);
    }
    Q_INVOKABLE void threadNeedsTx()
    {
        transmits.push_back(timer.elapsed());
    }
    std::vector<QImage> images;
    std::vector<qint64> transmits;
    QElapsedTimer timer;
};

// Picture point (y up) to the image's pixel.
QRgb pixel(const QImage& image, int x, int pictureY)
{
    return image.pixel(x, 1079 - pictureY);
}

TEST(PreviewWorkers, FirstStreamerPicture)
{
    Parent parent;
    DrawStreamerThread worker;
    worker.startThread(&parent);
    ASSERT_TRUE(waitUntil([&] { return !parent.images.empty(); }));
    const QImage& image = parent.images.front();
    ASSERT_EQ(image.size(), QSize(1920, 1080));
    // A white bar 40 wide, centred, over the full height; the end bar at 1728.
    for (int y : {0, 540, 1079}) {
        EXPECT_EQ(pixel(image, 940, y), qRgb(255, 255, 255)) << y;
        EXPECT_EQ(pixel(image, 979, y), qRgb(255, 255, 255)) << y;
        EXPECT_EQ(pixel(image, 939, y), qRgb(0, 0, 0)) << y;
        EXPECT_EQ(pixel(image, 980, y), qRgb(0, 0, 0)) << y;
        EXPECT_EQ(pixel(image, 1728, y), qRgb(255, 255, 255)) << y;
        EXPECT_EQ(pixel(image, 1767, y), qRgb(255, 255, 255)) << y;
        EXPECT_EQ(pixel(image, 1768, y), qRgb(0, 0, 0)) << y;
    }
    EXPECT_TRUE(parent.transmits.empty());
}

TEST(PreviewWorkers, StreamerBarsBetweenBottomAndTopWithAlpha)
{
    Parent parent;
    DrawStreamerThread worker;
    StreamerPicture picture;
    picture.bottom = 100;
    picture.top = 50; // below the bottom: drawn turned round
    picture.width = 2000;
    picture.foreColor = QColor(255, 0, 0, 128);
    worker.setPicture(picture);
    worker.startThread(&parent);
    ASSERT_TRUE(waitUntil([&] { return !parent.images.empty(); }));
    const QImage& image = parent.images.front();
    EXPECT_EQ(qRed(pixel(image, 0, 75)), 128); // half red over black, past the left edge
    EXPECT_EQ(qGreen(pixel(image, 0, 75)), 0);
    EXPECT_EQ(pixel(image, 0, 20), qRgb(0, 0, 0));
    EXPECT_EQ(pixel(image, 0, 120), qRgb(0, 0, 0));
    EXPECT_EQ(pixel(image, 1750, 75), qRgb(255, 255, 255));
}

TEST(PreviewWorkers, FirstPunchPictureAndCompletionLine)
{
    rz48::DiagCapture out;
    Parent parent;
    DrawThread worker;
    worker.startThread(&parent);
    ASSERT_TRUE(waitUntil([&] { return !parent.images.empty(); }));
    const QImage& image = parent.images.front();
    EXPECT_EQ(pixel(image, 960, 540), qRgb(255, 255, 255));
    EXPECT_EQ(pixel(image, 960 + 60, 540), qRgb(255, 255, 255));
    EXPECT_EQ(pixel(image, 960, 540 - 60), qRgb(255, 255, 255));
    EXPECT_EQ(pixel(image, 960 + 68, 540), qRgb(0, 0, 0));
    EXPECT_EQ(pixel(image, 960 + 50, 540 + 50), qRgb(0, 0, 0)); // outside the circle, inside its square
    worker.stopThread();
    worker.stopThread();
    EXPECT_EQ(out.text(), "DrawThread run() complete\n");
}

TEST(PreviewWorkers, PunchIsDrawnWhereThePictureSaysWithYUp)
{
    Parent parent;
    DrawThread worker;
    PunchPicture picture;
    picture.punchPoint = {300, 900};
    picture.radius = 20;
    worker.setPicture(picture);
    worker.startThread(&parent);
    ASSERT_TRUE(waitUntil([&] { return !parent.images.empty(); }));
    EXPECT_EQ(parent.images.front().pixel(300, 180), qRgb(255, 255, 255));
    EXPECT_EQ(parent.images.front().pixel(300, 900), qRgb(0, 0, 0));
}

TEST(PreviewWorkers, TransmitNinePeriodsAfterTheLastRequest)
{
    Parent parent;
    DrawStreamerThread worker;
    worker.startThread(&parent);
    ASSERT_TRUE(waitUntil([&] { return parent.images.size() == 1; }));
    parent.timer.start();
    for (int i = 0; i < 5; ++i) {
        worker.setDraw(1);
        QThread::msleep(50);
        QCoreApplication::processEvents();
    }
    const qint64 lastRequest = parent.timer.elapsed();
    ASSERT_TRUE(waitUntil([&] { return !parent.transmits.empty(); }));
    QThread::msleep(400);
    QCoreApplication::processEvents();
    ASSERT_EQ(parent.transmits.size(), 1u);
    // Nine sleeps of 33 ms lie between the last request's turn and the transmit.
    EXPECT_GE(parent.transmits.front() - lastRequest, 9 * 33 - 50);
    EXPECT_GE(parent.images.size(), 2u);
}

TEST(PreviewWorkers, RedrawOnlyRequestNeitherStartsNorCancels)
{
    Parent parent;
    DrawThread worker;
    worker.startThread(&parent); // the first picture is a redraw only
    ASSERT_TRUE(waitUntil([&] { return parent.images.size() == 1; }));
    worker.setDraw(1);
    ASSERT_TRUE(waitUntil([&] { return parent.images.size() == 2; })); // the count runs
    worker.setDraw(2); // during the count: the transmit still comes
    ASSERT_TRUE(waitUntil([&] { return !parent.transmits.empty(); }, 3000));
    QThread::msleep(400);
    QCoreApplication::processEvents();
    EXPECT_EQ(parent.transmits.size(), 1u);
}

TEST(PreviewWorkers, StartTwiceStopTwiceAndMissingCallbacks)
{
    rz48::DiagCapture out;
    QObject stranger;
    DrawStreamerThread worker;
    worker.stopThread(); // never started
    worker.startThread(&stranger);
    worker.startThread(&stranger); // already running: nothing
    worker.setDraw(1);
    ASSERT_TRUE(waitUntil([&] { return out.text().find("threadNeedsTx:") != std::string::npos; }, 3000));
    worker.stopThread();
    worker.stopThread();
    EXPECT_FALSE(worker.isRunning());
    const std::string text = out.text();
    EXPECT_EQ(text.rfind("parent does not respond to 'threadNeedsTx:'\n"),
              text.find("parent does not respond to 'threadNeedsTx:'\n"));
    EXPECT_NE(text.find("parent does not respond to 'threadNeedsDisplay:'\n"), std::string::npos);
    EXPECT_EQ(text.find("run() complete"), std::string::npos); // the streamer worker prints none
}

} // namespace

#include "test_preview_workers.moc"
