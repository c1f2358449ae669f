#include "foundation/assertion.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <thread>
#include <vector>

namespace {

std::atomic<long> reportedSum{0};
void addLine(int line) {
    reportedSum += line;
}
void ignoreLine(int /*line*/) {}

class Assertion : public testing::Test {
  protected:
    void SetUp() override { reportedSum = 0; }
    void TearDown() override { rfSetAssertionHook(nullptr); }
};

TEST_F(Assertion, DoesNothingByDefault) {
    EXPECT_EQ(rfSetAssertionHook(nullptr), nullptr);
    rfReportAssertion(17);
    EXPECT_EQ(reportedSum, 0);
}

TEST_F(Assertion, HookReceivesTheLine) {
    rfSetAssertionHook(addLine);
    rfReportAssertion(17);
    EXPECT_EQ(reportedSum, 17);
    rfReportAssertion(-1);
    EXPECT_EQ(reportedSum, 16);
}

TEST_F(Assertion, SettingReturnsTheReplacedHookAndNullRestoresTheDefault) {
    EXPECT_EQ(rfSetAssertionHook(addLine), nullptr);
    EXPECT_EQ(rfSetAssertionHook(ignoreLine), addLine);
    EXPECT_EQ(rfSetAssertionHook(nullptr), ignoreLine);
    rfReportAssertion(17);
    EXPECT_EQ(reportedSum, 0);
}

TEST_F(Assertion, ReportsOfSeveralThreadsAllArriveWhileTheHookIsReplaced) {
    rfSetAssertionHook(addLine);
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([] {
                for (int i = 0; i < 1000; ++i) rfReportAssertion(1);
            });
        }
        for (int i = 0; i < 100; ++i) rfSetAssertionHook(addLine);
    }
    EXPECT_EQ(reportedSum, 4000);
}

TEST_F(Assertion, HookCanBeInstalledInASignalHandler) {
    const auto before = std::signal(SIGINT, [](int) { rfSetAssertionHook(addLine); });
    std::raise(SIGINT);
    std::signal(SIGINT, before);
    rfReportAssertion(3);
    EXPECT_EQ(reportedSum, 3);
}

}  // namespace
