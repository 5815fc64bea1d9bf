// Test entry point for window tests: widgets on the offscreen platform, no display needed.
#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QUVOLINK_NO_DESKTOP_OPEN", "1");
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
