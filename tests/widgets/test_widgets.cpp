// The controls the toolkit lacks, on their own: what a report sets is shown
// and kept without a signal; what the operator does is signalled once.
#include "widgets/ColorWell.h"
#include "widgets/FieldStepper.h"
#include "widgets/RadioMatrix.h"
#include "widgets/Stepper.h"
#include "widgets/ValueSlider.h"

#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QTest>
#include <QWheelEvent>

#include <gtest/gtest.h>

namespace {

TEST(FieldStepper, AReportIsKeptAsReportedUntilTheOperatorTypes)
{
    FieldRule rule;
    rule.rewriteAboveMaximum = true;
    FieldStepper field(QStringLiteral("textSize"), QStringLiteral("stepperSize"), 0, 4, rule);
    int edits = 0;
    QObject::connect(&field, &FieldStepper::edited, [&] { ++edits; });

    field.setQuietly(7); // beyond the stepper's range: shown and sent back as reported
    EXPECT_EQ(field.text()->text(), QStringLiteral("7"));
    EXPECT_EQ(field.value(), 7);
    EXPECT_EQ(field.stepper()->value(), 4);
    emit field.text()->editingFinished(); // leaving a field a report filled sends nothing
    EXPECT_EQ(edits, 0);

    field.text()->setText(QStringLiteral("9"));
    emit field.text()->editingFinished();
    EXPECT_EQ(edits, 1);
    EXPECT_EQ(field.text()->text(), QStringLiteral("4")); // written back as the maximum
    EXPECT_EQ(field.value(), 4);
    EXPECT_EQ(field.entered(), 4);

    field.stepper()->stepBy(-1);
    EXPECT_EQ(edits, 2);
    EXPECT_EQ(field.text()->text(), QStringLiteral("3"));
    EXPECT_EQ(field.value(), 3);
}

TEST(FieldStepper, ShowsAndReadsByThePagesRule)
{
    FieldRule hundredths;
    hundredths.show = [](qint64 v) { return QString::number(v / 100.0); };
    hundredths.read = [](const QString& text) { return qint64(text.toDouble() * 100.0); };
    FieldStepper field(QStringLiteral("textRepeat"), QStringLiteral("stepperRepeat"), 0, 100000, hundredths);
    field.setQuietly(250);
    EXPECT_EQ(field.text()->text(), QStringLiteral("2.5"));
    field.text()->setText(QStringLiteral("1.25"));
    emit field.text()->editingFinished();
    EXPECT_EQ(field.value(), 125);
    EXPECT_EQ(field.stepper()->value(), 125);
}

TEST(RadioMatrix, OneCellAtATimeOrNone)
{
    RadioMatrix matrix(QStringLiteral("matrix"), {QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("C")}, Qt::Horizontal);
    QList<int> clicked;
    QObject::connect(&matrix, &RadioMatrix::cellClicked, [&](int cell) { clicked << cell; });

    matrix.cell(1)->click();
    matrix.cell(2)->click();
    matrix.cell(2)->click(); // a cell that is on stays on
    EXPECT_EQ(clicked, (QList<int> {1, 2, 2}));
    EXPECT_EQ(matrix.selectedCell(), 2);
    EXPECT_FALSE(matrix.isCellOn(1));

    matrix.selectOnly(0); // from code: no signal
    EXPECT_EQ(matrix.selectedCell(), 0);
    EXPECT_FALSE(matrix.isCellOn(2));
    matrix.selectOnly(5); // a cell the matrix lacks: none on
    EXPECT_EQ(matrix.selectedCell(), -1);
    matrix.setCellOn(1, true);
    matrix.setCellOn(1, false);
    EXPECT_EQ(matrix.selectedCell(), -1);
    EXPECT_EQ(clicked.size(), 3);
}

TEST(ValueSlider, ShowsItsValueHoweverItWasSet)
{
    ValueSlider slider(QStringLiteral("sliderWidth"), 0, 255, 40, QStringLiteral("px"), nullptr);
    EXPECT_EQ(slider.valueLabel()->text(), QStringLiteral("40 px"));
    {
        const QSignalBlocker block(&slider);
        slider.setValue(200);
    }
    EXPECT_EQ(slider.valueLabel()->text(), QStringLiteral("200 px"));

    // The keys and the wheel step it in steps an operator can place.
    QTest::keyClick(&slider, Qt::Key_Right);
    EXPECT_EQ(slider.value(), 201);
    QTest::keyClick(&slider, Qt::Key_PageDown);
    EXPECT_EQ(slider.value(), 185);
    QWheelEvent notch(QPointF(5, 5), QPointF(5, 5), QPoint(), QPoint(0, 120), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&slider, &notch);
    EXPECT_EQ(slider.value(), 186);
    QWheelEvent half(QPointF(5, 5), QPointF(5, 5), QPoint(), QPoint(0, 60), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&slider, &half);
    EXPECT_EQ(slider.value(), 186);
    QCoreApplication::sendEvent(&slider, &half);
    EXPECT_EQ(slider.value(), 187);
}

TEST(ColorWell, OnlyTheOperatorsChoiceIsSignalled)
{
    ColorWell well(QStringLiteral("colorWell"));
    QList<QColor> chosen;
    QObject::connect(&well, &ColorWell::colorChosen, [&](const QColor& c) { chosen << c; });
    well.setColor(Qt::red);
    EXPECT_EQ(well.color(), QColor(Qt::red));
    EXPECT_TRUE(chosen.isEmpty());
    well.chooseNamedColor(0);
    ASSERT_EQ(chosen.size(), 1);
    EXPECT_EQ(well.color(), chosen.first());
}

} // namespace
