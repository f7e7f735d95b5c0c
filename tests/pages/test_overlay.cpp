// The overlay page: its codec, its preview worker and the page in the panel
// against the emulated unit, layout editing included.
#include "common/Diagnostics.h"
#include "pages/AnnunciatorView.h"
#include "pages/DrawAnnunciatorThread.h"
#include "codecs/OverlayCodec.h"
#include "support/PanelFixture.h"
#include "widgets/RadioMatrix.h"
#include "widgets/Stepper.h"

#include <QCheckBox>
#include <QComboBox>
#include <QElapsedTimer>
#include <QFontMetricsF>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTest>

using rz48test::PanelTest;
using rz48test::waitUntil;
namespace overlay = rz48::overlay;

namespace {

TEST(OverlayCodec, PositionsInTheUnitsSteps)
{
    EXPECT_EQ(overlay::positionX(1000), 125);
    EXPECT_EQ(overlay::positionX(2047), 255);
    EXPECT_EQ(overlay::positionX(2048), 255);
    EXPECT_EQ(overlay::positionX(5000), 255);
    EXPECT_EQ(overlay::positionX(-5), 0);
    EXPECT_EQ(overlay::positionX(1007.9), 125);
    // Top edge = 1080 - (bottom + height), in 4-line steps from the top.
    EXPECT_EQ(overlay::positionY(1000, 60), 5);
    EXPECT_EQ(overlay::positionY(0, 0), 255);  // 1080 lines down: past 1023
    EXPECT_EQ(overlay::positionY(56, 0), 255); // 1024
    EXPECT_EQ(overlay::positionY(57, 0), 255); // 1023 / 4
    EXPECT_EQ(overlay::positionY(1100, 50), 0); // above the picture
}

TEST(OverlayCodec, Commands)
{
    EXPECT_EQ(overlay::timecodeCommand(3, true, 10, 20, overlay::colorPair(1, 6)), QStringLiteral("m 131 10 20 97"));
    EXPECT_EQ(overlay::annunciatorColorsCommand(0x60, 0x52, 7), QStringLiteral("t 60 52 7"));
    EXPECT_EQ(overlay::sampleTextCommand(), QStringLiteral("V Text line 1\\nText line 2"));
    EXPECT_EQ(overlay::reportNumbers(QStringLiteral("t 60 52 7 9"), 3, true), (std::vector<int64_t> {0x60, 0x52, 7}));
    EXPECT_EQ(overlay::reportNumbers(QStringLiteral("U 1 x 3"), 6, false), (std::vector<int64_t> {1}));
    EXPECT_TRUE(overlay::reportNumbers(QStringLiteral("n"), 1, false).empty());
}

TEST(OverlayLayout, CloseToRectAndMapping)
{
    const QRectF box(100, 100, 200, 60);
    EXPECT_TRUE(AnnunciatorView::closeToRect({85, 130}, box));   // 15 to the left
    EXPECT_FALSE(AnnunciatorView::closeToRect({75, 130}, box));  // 25 to the left
    EXPECT_TRUE(AnnunciatorView::closeToRect({80, 80}, box));    // the grown corner is inside
    EXPECT_FALSE(AnnunciatorView::closeToRect({320, 130}, box)); // the right edge is outside
    EXPECT_FALSE(AnnunciatorView::closeToRect({200, 180}, box)); // and so is the top
    const QPointF picture = AnnunciatorView::toPicture({480, 270}, {960, 540});
    EXPECT_EQ(picture, QPointF(960, 540));
    EXPECT_EQ(AnnunciatorView::centredUnder(picture, {200, 60}), QPointF(860, 570));
    EXPECT_EQ(AnnunciatorView::toPicture({240, 135}, {960, 540}), QPointF(480, 270));
}

class Parent : public QObject {
    Q_OBJECT
public:
    Q_INVOKABLE void threadNeedsDisplay(QImage image) { images.push_back(image); }
    Q_INVOKABLE void threadNeedsTx() { sent << QStringLiteral("U"); }
    Q_INVOKABLE void threadNeedsTxTc() { sent << QStringLiteral("m"); }
    Q_INVOKABLE void threadNeedsTxText() { sent << QStringLiteral("r"); }
    std::vector<QImage> images;
    QStringList sent;
};

TEST(OverlayWorker, BoxesAreKeptInsideAndDrawnWhiteOnBlack)
{
    Parent parent;
    DrawAnnunciatorThread worker;
    const QSizeF box = worker.annunciatorRectSize();
    EXPECT_GT(box.width(), 100); // "Rehearse" at 64 pixels
    OverlayPicture picture;
    picture.annunciatorPoint = {1900, 1080};
    picture.tcPoint = {-50, 20};
    picture.textPoint = {300, 500};
    worker.setPicture(picture);
    worker.startThread(&parent);
    ASSERT_TRUE(waitUntil([&] { return !parent.images.empty(); }));
    const QRectF a = worker.annunciatorRect();
    EXPECT_DOUBLE_EQ(a.x() + a.width(), 1920);  // right edge on the picture's
    EXPECT_DOUBLE_EQ(a.y() + a.height(), 1080); // top on the top
    const QRectF t = worker.tcRect();
    EXPECT_EQ(t.x(), 0);
    EXPECT_EQ(t.y(), 0);
    const QImage& image = parent.images.front();
    EXPECT_EQ(image.pixel(960, 540), QColor::fromRgbF(0.5f, 0.5f, 0.5f).rgb()); // grey picture
    // The band behind the annunciator is black, its text white, and both sit
    // at the top of the image (rows count from the top).
    int white = 0, black = 0;
    for (int x = int(a.x()); x < 1920; ++x) {
        const QRgb px = image.pixel(x, int(a.height() / 2));
        white += px == qRgb(255, 255, 255);
        black += px == qRgb(0, 0, 0);
    }
    EXPECT_GT(white, 5);
    EXPECT_GT(black, 5);
    EXPECT_EQ(image.pixel(int(a.x()) + 2, 1079 - int(a.height() / 2)), QColor::fromRgbF(0.5f, 0.5f, 0.5f).rgb());
    // The text line's box is one line; the second line lies right under it.
    const QRectF line1 = worker.textRect();
    EXPECT_DOUBLE_EQ(line1.y() + line1.height(), 500);
    EXPECT_EQ(image.pixel(int(line1.x()) + 1, 1080 - int(line1.y()) + int(line1.height() / 2)), qRgb(0, 0, 0));
}

TEST(OverlayWorker, SizesFollowTheTable)
{
    DrawAnnunciatorThread worker;
    EXPECT_EQ(worker.annunciatorFontSize(), 64);
    EXPECT_EQ(worker.tcFontSize(), 48);
    EXPECT_EQ(worker.textFontSize(), 36);
    worker.setAnnunciatorSize(2);
    worker.setTcSize(4);
    worker.setTextSize(0);
    EXPECT_EQ(worker.annunciatorFontSize(), 48);
    EXPECT_EQ(worker.tcFontSize(), 64);
    EXPECT_EQ(worker.textFontSize(), 16);
    worker.setTcSize(6); // outside the table: the font stays
    EXPECT_EQ(worker.tcFontSize(), 64);
    EXPECT_EQ(worker.draw(), 2);
    const double small = worker.textRectSize().height();
    worker.setTextSize(3);
    EXPECT_GT(worker.textRectSize().height(), 2 * small);
}

TEST(OverlayWorker, OnlyTheLastKindCounts)
{
    Parent parent;
    DrawAnnunciatorThread worker;
    worker.startThread(&parent);
    ASSERT_TRUE(waitUntil([&] { return parent.images.size() == 1; }));
    worker.setDraw(1);
    ASSERT_TRUE(waitUntil([&] { return parent.images.size() == 2; }));
    worker.setDraw(3); // the timecode box moved within the count
    ASSERT_TRUE(waitUntil([&] { return !parent.sent.isEmpty(); }));
    QTest::qWait(400);
    EXPECT_EQ(parent.sent, QStringList {QStringLiteral("m")});

    worker.setDraw(4);
    ASSERT_TRUE(waitUntil([&] { return parent.images.size() == 4; }));
    worker.setTcSize(1); // a redraw-only request cancels the pending text send
    QTest::qWait(600);
    EXPECT_EQ(parent.sent, QStringList {QStringLiteral("m")});
}

class OverlayPageTest : public PanelTest {
protected:
    void SetUp() override
    {
        PanelTest::SetUp();
        startWithUnit();
        page = view->annunciatorView();
        window->resize(1280, 800);
        window->show();
        view->tabView()->setCurrentIndex(4);
        QTest::qWait(50);
    }
    AnnunciatorView* page = nullptr;

    // A report from the unit, waited for until it was dispatched.
    void report(const char* line)
    {
        const int lines = view->linesProcessed();
        host.inject(std::string(line) + "\r\n>");
        ASSERT_TRUE(waitUntil([&] { return view->linesProcessed() > lines; }));
    }
    QPoint viewPoint(const QPointF& picture) const
    {
        return QPoint(int(picture.x() * page->width() / 1920.0), int(page->height() - picture.y() * page->height() / 1080.0));
    }
};

TEST_F(OverlayPageTest, StartUpReportsSetTheControls)
{
    // The emulated unit's power-on state: U 1 0 6 104 240 1, m 129 96 8 112, r 1 60 200 112, t 60 52 7, n 0.
    EXPECT_TRUE(find<RadioMatrix>("matrixAnnunciator")->isCellOn(1));
    EXPECT_EQ(find<QComboBox>("comboBoxAnnunciatorBackground")->currentIndex(), 6);
    EXPECT_EQ(find<Stepper>("stepperAnnunciatorSize")->value(), 1);
    EXPECT_EQ(page->annunciatorPoint.x(), 832);
    EXPECT_TRUE(find<QCheckBox>("checkBoxTcVisible")->isChecked());
    EXPECT_EQ(find<QComboBox>("comboBoxTcBackground")->currentIndex(), 7);
    EXPECT_EQ(find<QComboBox>("comboBoxAnnunciatorForegroundRecord")->currentIndex(), 2);
    EXPECT_TRUE(find<RadioMatrix>("matrixCom")->isCellOn(0));
    // A received position lands one box lower than the edge it names; the
    // "m" report's size comes last, so the box is measured at the font before it.
    EXPECT_DOUBLE_EQ(page->tcPoint.y(), 1080 - 8 * 4 - QFontMetricsF(DrawAnnunciatorThread::fontOfSize(48)).height());
}

TEST_F(OverlayPageTest, RecordSendsModeTwoWithTheRehearsePair)
{
    report("t 31 52 7"); // Rehearse yellow on green
    expectSends([&] { find<RadioMatrix>("matrixAnnunciator")->cell(2)->click(); }, [&] {
        const QRectF r = page->thread()->annunciatorRect();
        return QStringLiteral("U 2 1 3 %1 %2 1").arg(overlay::positionX(r.x())).arg(overlay::positionY(r.y(), r.height())).toStdString();
    }());
    EXPECT_FALSE(find<RadioMatrix>("matrixAnnunciator")->isCellOn(1));
}

TEST_F(OverlayPageTest, TimecodeSizeColoursAndVisibility)
{
    find<QComboBox>("comboBoxTcForeground")->setCurrentIndex(1);
    find<QComboBox>("comboBoxTcBackground")->setCurrentIndex(6);
    auto* size = find<QLineEdit>("textTcSize");
    size->setText(QStringLiteral("3"));
    const size_t before = host.unit().commands().size();
    QTest::keyClick(size, Qt::Key_Return);
    ASSERT_TRUE(waitUntil([&] { return host.unit().commands().size() > before; }));
    const std::string m3 = host.unit().commands().back();
    EXPECT_EQ(m3.substr(0, 6), "m 131 ");
    EXPECT_EQ(m3.substr(m3.size() - 3), " 97");
    // Typing 9 sets it back to 4.
    size->setText(QStringLiteral("9"));
    QTest::keyClick(size, Qt::Key_Return);
    ASSERT_TRUE(waitUntil([&] { return host.unit().commands().size() > before + 1; }));
    EXPECT_EQ(host.unit().commands().back().substr(0, 6), "m 132 ");
    EXPECT_EQ(size->text(), QStringLiteral("4"));
    EXPECT_EQ(find<Stepper>("stepperTcSize")->value(), 4);
    EXPECT_EQ(page->thread()->tcFontSize(), 64);
    // Leaving the field the page rewrote, or one a report filled in, sends nothing.
    const size_t sent = host.unit().commands().size();
    emit size->editingFinished();
    AnnunciatorView::skipEcho = false; // not an echo of the page's own send
    page->tcFromString(QStringLiteral("m 2 10 20 7"));
    EXPECT_EQ(size->text(), QStringLiteral("2"));
    emit size->editingFinished();
    QTest::qWait(400);
    EXPECT_EQ(host.unit().commands().size(), sent);

    // A size and a box colour beyond the lists: shown as far as they can be,
    // and sent back as reported when another control of the window changes.
    report("m 134 10 20 195"); // size 6, visible; yellow (3) on colour 12
    EXPECT_EQ(size->text(), QStringLiteral("6"));
    EXPECT_EQ(find<QComboBox>("comboBoxTcBackground")->currentIndex(), -1);
    expectSends([&] { find<QCheckBox>("checkBoxTcVisible")->click(); }, [&] {
        const QRectF r = page->thread()->tcRect();
        return QStringLiteral("m 6 %1 %2 195").arg(overlay::positionX(r.x())).arg(overlay::positionY(r.y(), r.height())).toStdString();
    }());
    // Once the operator chooses a colour, the lists say what is sent.
    expectSends([&] { QTest::keyClick(find<QComboBox>("comboBoxTcBackground"), Qt::Key_Down); }, [&] {
        const QRectF r = page->thread()->tcRect();
        return QStringLiteral("m 6 %1 %2 3").arg(overlay::positionX(r.x())).arg(overlay::positionY(r.y(), r.height())).toStdString();
    }());
}

TEST_F(OverlayPageTest, ColourAndProtocolReports)
{
    report("t 60 52 7");
    EXPECT_EQ(find<QComboBox>("comboBoxAnnunciatorForeground")->currentIndex(), 0);
    EXPECT_EQ(find<QComboBox>("comboBoxAnnunciatorBackground")->currentIndex(), 6);
    EXPECT_EQ(find<QComboBox>("comboBoxAnnunciatorForegroundRecord")->currentIndex(), 2);
    EXPECT_EQ(find<QComboBox>("comboBoxAnnunciatorBackgroundRecord")->currentIndex(), 5);
    EXPECT_EQ(find<QComboBox>("comboBoxAnnunciatorForegroundPlayback")->currentIndex(), 7);
    EXPECT_EQ(find<QComboBox>("comboBoxAnnunciatorBackgroundPlayback")->currentIndex(), 0);
    report("t 1f");
    EXPECT_EQ(find<QComboBox>("comboBoxAnnunciatorForeground")->currentIndex(), 7);
    EXPECT_EQ(find<QComboBox>("comboBoxAnnunciatorBackground")->currentIndex(), 1);
    EXPECT_EQ(find<QComboBox>("comboBoxAnnunciatorForegroundRecord")->currentIndex(), 2); // untouched

    report("n 1");
    EXPECT_TRUE(find<RadioMatrix>("matrixCom")->isCellOn(1));
    report("n");
    EXPECT_EQ(find<RadioMatrix>("matrixCom")->selectedCell(), -1);
    expectSends([&] { find<RadioMatrix>("matrixCom")->cell(1)->click(); }, "n 1");
    expectSends([&] { find<QComboBox>("comboBoxAnnunciatorBackgroundPlayback")->setCurrentIndex(3);
                      QTest::keyClick(find<QComboBox>("comboBoxAnnunciatorForegroundPlayback"), Qt::Key_Up); },
                "t 1f 52 36"); // Playback now blue (6) on green (3); Rehearse as reported, not as its lists show it (7 on 1)
}

TEST_F(OverlayPageTest, EchoOfAnySentOverlayCommandIsDropped)
{
    // The unit's answer to "U" is dropped; an "m" arriving first would be dropped instead.
    const size_t before = host.unit().commands().size();
    find<RadioMatrix>("matrixAnnunciator")->cell(3)->click();
    ASSERT_TRUE(waitUntil([&] { return !AnnunciatorView::skipEcho; }));
    EXPECT_EQ(host.unit().commands().size(), before + 1);
    EXPECT_TRUE(find<RadioMatrix>("matrixAnnunciator")->isCellOn(3));

    AnnunciatorView::skipEcho = true; // as after a send
    report("m 2 0 0 0");
    EXPECT_TRUE(find<QCheckBox>("checkBoxTcVisible")->isChecked()); // dropped
    EXPECT_FALSE(AnnunciatorView::skipEcho);
    report("m 2 0 0 0");
    EXPECT_FALSE(find<QCheckBox>("checkBoxTcVisible")->isChecked());
}

TEST_F(OverlayPageTest, EachReportSetsItsOwnFields)
{
    // "U": mode, colours (no "t" after it to set the same), x, y measured with
    // the size the same report sets first (its last field).
    const QSizeF small = page->thread()->annunciatorRectSize();
    report("U 2 3 5 20 100 2");
    EXPECT_TRUE(find<RadioMatrix>("matrixAnnunciator")->isCellOn(2));
    EXPECT_EQ(find<QComboBox>("comboBoxAnnunciatorForeground")->currentIndex(), 3);
    EXPECT_EQ(find<QComboBox>("comboBoxAnnunciatorBackground")->currentIndex(), 5);
    EXPECT_EQ(find<Stepper>("stepperAnnunciatorSize")->value(), 2);
    const QSizeF large = page->thread()->annunciatorRectSize();
    ASSERT_NE(large.height(), small.height());
    EXPECT_EQ(page->annunciatorPoint, QPointF(160, 1080 - 400 - large.height()));

    // "m": x, y and the size masked to its three bits, visibility from bit 7.
    report("m 15 10 20 7");
    EXPECT_EQ(page->tcPoint.x(), 80);
    EXPECT_EQ(find<QLineEdit>("textTcSize")->text(), QStringLiteral("7"));
    EXPECT_FALSE(find<QCheckBox>("checkBoxTcVisible")->isChecked());

    // "r": colours, x, y (measured with the timecode box's height), size masked to two bits.
    report("r 6 30 40 35");
    EXPECT_EQ(find<QComboBox>("comboBoxTextForeground")->currentIndex(), 3);
    EXPECT_EQ(find<QComboBox>("comboBoxTextBackground")->currentIndex(), 2);
    EXPECT_EQ(find<Stepper>("stepperTextSize")->value(), 2);
    EXPECT_EQ(page->textPoint, QPointF(240, 1080 - 160 - page->thread()->tcRectSize().height()));

    // Moving the text box sends "r" with the new position and the rest as reported.
    page->textPoint = {400, 600};
    page->setDraw(4);
    ASSERT_TRUE(waitUntil([&] { return page->thread()->textRect().x() == 400; }));
    expectSends([] {}, [&] {
        const QRectF r = page->thread()->textRect();
        return QStringLiteral("r 2 50 %1 35").arg(overlay::positionY(r.y(), r.height())).toStdString();
    }());
}

TEST_F(OverlayPageTest, BareAnnunciatorReport)
{
    const int images = page->imagesReceived();
    const QPointF point = page->annunciatorPoint;
    report("U");
    EXPECT_EQ(find<RadioMatrix>("matrixAnnunciator")->selectedCell(), -1);
    EXPECT_EQ(page->annunciatorPoint, point);
    EXPECT_EQ(find<QComboBox>("comboBoxAnnunciatorBackground")->currentIndex(), 6);
    ASSERT_TRUE(waitUntil([&] { return page->imagesReceived() > images; })); // a redraw was asked for
}

TEST_F(OverlayPageTest, SampleTextButtons)
{
    expectSends([&] { find<QPushButton>("showSampleText")->click(); }, "V Text line 1\\nText line 2");
    expectSends([&] { find<QPushButton>("clearSampleText")->click(); }, "V");
}

TEST_F(OverlayPageTest, PressNearABoxAndDragIt)
{
    const QRectF a = page->thread()->annunciatorRect();
    ASSERT_GT(a.width(), 0);
    // Fifteen picture pixels left of the box selects it (the view maps about 2.7 pixels to one).
    QTest::mousePress(page, Qt::LeftButton, {}, viewPoint({a.x() - 15, a.y() + a.height() / 2}));
    EXPECT_EQ(AnnunciatorView::dragItem, 1);
    QTest::mouseRelease(page, Qt::LeftButton, {}, viewPoint({a.x() - 15, a.y() + a.height() / 2}));
    EXPECT_EQ(AnnunciatorView::dragItem, 0);
    // Another button picks up nothing.
    QTest::mousePress(page, Qt::RightButton, {}, viewPoint({a.x() - 15, a.y() + a.height() / 2}));
    EXPECT_EQ(AnnunciatorView::dragItem, 0);
    QTest::mouseRelease(page, Qt::RightButton, {}, viewPoint({a.x() - 15, a.y() + a.height() / 2}));
    // Far from every box: nothing.
    QTest::mousePress(page, Qt::LeftButton, {}, viewPoint({1800, 600}));
    EXPECT_EQ(AnnunciatorView::dragItem, 0);
    QTest::mouseRelease(page, Qt::LeftButton, {}, viewPoint({1800, 600}));

    // Press on the annunciator and drag it to the top right corner: the box is
    // drawn inside the picture and the position sent is the drawn one.
    const size_t before = host.unit().commands().size();
    QTest::mousePress(page, Qt::LeftButton, {}, viewPoint({a.x() + a.width() / 2, a.y() + a.height() / 2}));
    QMouseEvent drag(QEvent::MouseMove, QPointF(page->width() - 1, 0), page->mapToGlobal(QPointF(page->width() - 1, 0)),
                     Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(page, &drag);
    QTest::mouseRelease(page, Qt::LeftButton, {}, QPoint(page->width() - 1, 0));
    EXPECT_GT(page->annunciatorPoint.x() + a.width(), 1920 - 4); // beyond the picture
    ASSERT_TRUE(waitUntil([&] { return host.unit().commands().size() > before; }, 3000));
    const QRectF drawn = page->thread()->annunciatorRect();
    EXPECT_DOUBLE_EQ(drawn.x() + drawn.width(), 1920);
    EXPECT_EQ(host.unit().commands().back(),
              QStringLiteral("U 1 0 6 %1 0 1").arg(overlay::positionX(drawn.x())).toStdString());
}

TEST_F(OverlayPageTest, OverlapGoesToTheAnnunciator)
{
    page->annunciatorPoint = {400, 600};
    page->tcPoint = {400, 600};
    page->textPoint = {1400, 300};
    page->setDraw(2);
    ASSERT_TRUE(waitUntil([&] { return page->thread()->tcRect().x() == 400 && page->thread()->annunciatorRect().x() == 400; }));
    QTest::mousePress(page, Qt::LeftButton, {}, viewPoint({420, 590}));
    EXPECT_EQ(AnnunciatorView::dragItem, 1);
    QTest::mouseRelease(page, Qt::LeftButton, {}, viewPoint({420, 590}));
    // The text box wins over the timecode box.
    page->annunciatorPoint = {1400, 900};
    page->textPoint = {400, 600};
    page->setDraw(2);
    ASSERT_TRUE(waitUntil([&] { return page->thread()->textRect().x() == 400; }));
    QTest::mousePress(page, Qt::LeftButton, {}, viewPoint({420, 590}));
    EXPECT_EQ(AnnunciatorView::dragItem, 3);
    QTest::mouseRelease(page, Qt::LeftButton, {}, viewPoint({420, 590}));
}

TEST_F(OverlayPageTest, TwoMovesFiveTurnsApartSendOneCommand)
{
    const size_t before = host.unit().commands().size();
    page->setDraw(1);
    QTest::qWait(5 * 33);
    page->annunciatorPoint += QPointF(8, 0);
    page->setDraw(1);
    QElapsedTimer sinceSecond;
    sinceSecond.start();
    ASSERT_TRUE(waitUntil([&] { return host.unit().commands().size() > before; }, 3000));
    EXPECT_GE(sinceSecond.elapsed(), 9 * 33 - 40);
    QTest::qWait(500);
    ASSERT_EQ(host.unit().commands().size(), before + 1);
    EXPECT_EQ(host.unit().commands().back().substr(0, 2), "U ");
}

TEST_F(OverlayPageTest, SizeChangeCancelsAPendingMove)
{
    const size_t before = host.unit().commands().size();
    page->textPoint += QPointF(16, 0);
    page->setDraw(4);
    QTest::qWait(60);
    page->thread()->setTcSize(3); // redraw only: now the last kind
    QTest::qWait(700);
    EXPECT_EQ(host.unit().commands().size(), before);
}

} // namespace

#include "test_overlay.moc"
