#include "progress_watch.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <new>
#include <system_error>
#include <utility>

#include "number_text.h"

namespace ptmatch::tool {
namespace {

constinit std::atomic<bool> lineShown{false};
static_assert(std::atomic<bool>::is_always_lock_free);

std::string durationText(double seconds) {
    constexpr double kMinute = 60.0;
    constexpr double kHour = 3600.0;
    constexpr double kLongest = 1000.0 * kHour;
    if (seconds < kMinute) return fixedText(std::ceil(seconds), 0) + " s";
    if (seconds < kHour) return fixedText(std::ceil(seconds / kMinute), 0) + " min";
    if (seconds < kLongest) return fixedText(std::ceil(seconds / kHour), 0) + " h";
    return "more than 1000 h";
}

std::string barText(double share) {
    constexpr std::size_t kWidth = 30;
    constexpr double kPercent = 100.0;
    const auto full = static_cast<std::size_t>(share * static_cast<double>(kWidth));
    std::string text(1, '[');
    text.append(full, '#').append(kWidth - full, '-').append("] ");
    return text.append(fixedText(std::floor(kPercent * share), 0)).append(" %");
}

std::string remainingText(double share, double seconds) {
    if (share <= 0.0) return elapsedText(seconds);
    return durationText(seconds * (1.0 - share) / share) + " left";
}

// A line that cannot be written is not worth an error.
void put(const std::string& text) {
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace

std::string progressText(std::size_t done, std::size_t total, double seconds, double partly) {
    // Sums of shares are rounded.
    const double share =
        std::clamp((static_cast<double>(done) + partly) / static_cast<double>(total), 0.0, 1.0);
    return barText(share) + ", " + std::to_string(done) + " of " + std::to_string(total) + ", " +
           remainingText(share, seconds);
}

std::string progressText(double share, double seconds) {
    return barText(share) + ", " + remainingText(share, seconds);
}

std::string elapsedText(double seconds) {
    return "searching for " + durationText(std::floor(seconds));
}

ProgressWatch::ProgressWatch(std::function<std::string(double)> lineAfter)
    : lineAfter_(std::move(lineAfter)) {
    if (::isatty(STDERR_FILENO) == 0) return;
    try {
        thread_ = std::thread([this] { keepUpToDate_(); });
    } catch (const std::system_error&) {
        // Work goes on without a line.
    }
}

ProgressWatch::~ProgressWatch() {
    if (!thread_.joinable()) return;
    {
        const std::lock_guard lock(mutex_);
        hasEnded_ = true;
    }
    ends_.notify_one();
    thread_.join();
    if (lineShown.exchange(false)) put(kErase);
}

bool ProgressWatch::isLineShown() noexcept {
    return lineShown.load();
}

void ProgressWatch::keepUpToDate_() {
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds kFirst(1000);
    constexpr std::chrono::milliseconds kNext(250);
    const Clock::time_point start = Clock::now();
    std::unique_lock lock(mutex_);
    std::chrono::milliseconds pause = kFirst;
    while (!ends_.wait_for(lock, pause, [this] { return hasEnded_; })) {
        pause = kNext;
        const std::chrono::duration<double> elapsed = Clock::now() - start;
        lineShown.store(true);
        try {
            put(kErase + lineAfter_(elapsed.count()));
        } catch (const std::bad_alloc&) {
            // Work that needs the memory goes on without a line.
        }
    }
}

}  // namespace ptmatch::tool
