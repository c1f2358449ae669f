#include "foundation/attention.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <stdexcept>
#include <thread>

namespace {

std::atomic<int> polls{0};
bool countPoll() {
    ++polls;
    return false;
}
bool interruptAtThirdPoll() {
    return ++polls == 3;
}
bool failAtPoll() {
    throw std::runtime_error("the host gives up");
}

class Attention : public testing::Test {
  protected:
    void SetUp() override { polls = 0; }
    void TearDown() override {
        rxAttention::setHandler(nullptr);
        rxAttention::clear();
    }
};

TEST_F(Attention, NothingIsRequestedByDefault) {
    EXPECT_FALSE(rxAttention::isRequested());
    EXPECT_EQ(rxAttention::setHandler(nullptr), nullptr);
    EXPECT_NO_THROW(rxAttention::check());
}

TEST_F(Attention, RequestStaysUntilItIsCleared) {
    rxAttention::request();
    EXPECT_TRUE(rxAttention::isRequested());
    EXPECT_THROW(rxAttention::check(), rxAttention::Interrupted);
    EXPECT_THROW(rxAttention::check(), rxAttention::Interrupted);
    rxAttention::clear();
    EXPECT_FALSE(rxAttention::isRequested());
    EXPECT_NO_THROW(rxAttention::check());
}

TEST_F(Attention, InterruptedIsAnExceptionOfTheLibraryWithAMessage) {
    rxAttention::request();
    try {
        rxAttention::check();
        FAIL() << "not interrupted";
    } catch (const rxException& error) {
        EXPECT_STREQ(error.what(), "interrupted on request");
    }
}

TEST_F(Attention, HandlerIsAskedAtEachCheck) {
    EXPECT_EQ(rxAttention::setHandler(countPoll), nullptr);
    for (int i = 0; i < 5; ++i) rxAttention::check();
    EXPECT_EQ(polls, 5);
    EXPECT_EQ(rxAttention::setHandler(nullptr), countPoll);
    rxAttention::check();
    EXPECT_EQ(polls, 5);
}

TEST_F(Attention, HandlerInterruptsByReturningTrue) {
    rxAttention::setHandler(interruptAtThirdPoll);
    rxAttention::check();
    rxAttention::check();
    EXPECT_THROW(rxAttention::check(), rxAttention::Interrupted);
    EXPECT_FALSE(rxAttention::isRequested()) << "the handler's answer counts once";
    EXPECT_NO_THROW(rxAttention::check());
}

TEST_F(Attention, RequestComesBeforeTheHandler) {
    rxAttention::setHandler(countPoll);
    rxAttention::request();
    EXPECT_THROW(rxAttention::check(), rxAttention::Interrupted);
    EXPECT_EQ(polls, 0);
}

TEST_F(Attention, WhatTheHandlerThrowsPassesThrough) {
    rxAttention::setHandler(failAtPoll);
    EXPECT_THROW(rxAttention::check(), std::runtime_error);
}

TEST_F(Attention, AnotherThreadInterruptsALoopAndItsWritesAreSeen) {
    int reason = 0;  // not atomic: the request orders it
    std::jthread host([&reason] {
        reason = 42;
        rxAttention::request();
    });
    bool interrupted = false;
    try {
        for (;;) rxAttention::check();
    } catch (const rxAttention::Interrupted&) {
        interrupted = true;
        EXPECT_EQ(reason, 42);
    }
    EXPECT_TRUE(interrupted);
}

TEST_F(Attention, SignalHandlerInterruptsALoop) {
    const auto before = std::signal(SIGINT, [](int) { rxAttention::request(); });
    int rounds = 0;
    EXPECT_THROW(
        {
            for (;; ++rounds) {
                rxAttention::check();
                if (rounds == 10) std::raise(SIGINT);
            }
        },
        rxAttention::Interrupted);
    EXPECT_EQ(rounds, 11);
    std::signal(SIGINT, before);
}

}  // namespace
