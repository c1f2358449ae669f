#include "foundation/timer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace {

using namespace std::chrono_literals;

TEST(Timer, NotStartedStandsAtZero) {
    const rxTimer timer(false);
    std::this_thread::sleep_for(2ms);
    EXPECT_EQ(timer.sec(), 0.0);
}

// Sleeps last at least as long as asked, so there is no upper bound to test.
TEST(Timer, MeasuresSecondsSinceTheStart) {
    rxTimer timer(false);
    timer.start();
    std::this_thread::sleep_for(20ms);
    const double elapsed = timer.sec();
    EXPECT_GE(elapsed, 0.020);
    EXPECT_GE(timer.sec(), elapsed) << "reading does not stop it";
}

TEST(Timer, StartedByItsConstructor) {
    const rxTimer timer(true);
    std::this_thread::sleep_for(5ms);
    EXPECT_GE(timer.sec(), 0.005);
}

TEST(Timer, StartBeginsAnew) {
    rxTimer outer(true);
    rxTimer inner(true);
    std::this_thread::sleep_for(20ms);
    inner.start();
    EXPECT_LE(inner.sec() + 0.020, outer.sec());
}

}  // namespace
