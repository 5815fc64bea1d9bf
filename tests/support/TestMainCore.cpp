// Test entry point for logic tests: an event loop without any window system.
#include <QCoreApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    // Finished workbooks are never handed to a desktop program during tests.
    qputenv("QUVOLINK_NO_DESKTOP_OPEN", "1");
    QCoreApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
