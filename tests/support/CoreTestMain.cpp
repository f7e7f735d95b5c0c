// Test entry of the programs that test one layer without the unit: a Qt
// core application object (an application with widgets for the widgets'
// own tests) and nothing of the unit.
#ifdef RZ48_TEST_WIDGETS
#include <QApplication>
using TestApplication = QApplication;
#else
#include <QCoreApplication>
using TestApplication = QCoreApplication;
#endif
#include <cstdlib>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
#ifdef RZ48_TEST_WIDGETS
    if (!std::getenv("QT_QPA_PLATFORM"))
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
#endif
    TestApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
