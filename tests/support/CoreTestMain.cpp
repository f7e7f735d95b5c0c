// Test entry of the programs that test the layers below the windows: a Qt
// core application object and nothing of the window system or the unit.
#include <QCoreApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
