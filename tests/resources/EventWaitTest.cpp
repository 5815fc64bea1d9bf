#include "resources/EventWait.h"

#include "support/TestHelpers.h"

#include <QElapsedTimer>
#include <QTimer>

#include <gtest/gtest.h>

using namespace quvo;

TEST(EventWait, ReturnsAtOnceWhenAlreadyDone)
{
    int checks = 0;
    waitUntil([&] { ++checks; return true; });
    EXPECT_EQ(checks, 1);
}

TEST(EventWait, EndsWhenATimerHandlerSetsTheFlag)
{
    bool flag = false;
    QTimer::singleShot(50, [&] { flag = true; });
    QElapsedTimer clock;
    clock.start();
    waitUntil([&] { return flag; });
    EXPECT_TRUE(flag);
    EXPECT_LT(clock.elapsed(), 1000);
}

TEST(EventWait, WaitingUsesAlmostNoCpu)
{
    bool flag = false;
    QTimer::singleShot(1500, [&] { flag = true; });
    const auto cpuBefore = test::processCpuTime();
    QElapsedTimer wall;
    wall.start();
    waitUntil([&] { return flag; });
    const double cpuMs = std::chrono::duration<double, std::milli>(test::processCpuTime() - cpuBefore).count();
    EXPECT_LT(cpuMs, 0.1 * static_cast<double>(wall.elapsed()));
}

TEST(EventWait, NestedWaitsBothEnd)
{
    bool inner = false, outer = false;
    QTimer::singleShot(20, [&] {
        QTimer::singleShot(20, [&] { inner = true; });
        waitUntil([&] { return inner; });
        outer = true;
    });
    waitUntil([&] { return outer; });
    EXPECT_TRUE(inner);
    EXPECT_TRUE(outer);
}
