#include "search_deadline.h"

#include <atomic>
#include <chrono>

#include "foundation/attention.h"

namespace ptmatch::tool {
namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

// Seconds of the clock at which the search is to end.
constinit std::atomic<double> deadline{0.0};

double now() {
    return Seconds(Clock::now().time_since_epoch()).count();
}

bool hasPassed() {
    return now() >= deadline.load(std::memory_order_relaxed);
}

}  // namespace

SearchDeadline::SearchDeadline(double seconds) {
    deadline = now() + seconds;
    previous_ = rxAttention::setHandler(hasPassed);
}

SearchDeadline::~SearchDeadline() {
    rxAttention::setHandler(previous_);
}

}  // namespace ptmatch::tool
