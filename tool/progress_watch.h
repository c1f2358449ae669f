#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace ptmatch::tool {

/// How far a list of `total` pieces of work of like size is after `seconds`, in one short line: a
/// bar, the share, the numbers, and once something is done the time left.
/// @param total    at least 1
/// @param partly   the sum of the shares of the pieces that are not done
std::string progressText(std::size_t done, std::size_t total, double seconds, double partly = 0.0);

/// The same for one piece of work, of which `share` is done, 0 to 1.
std::string progressText(double share, double seconds);

/// What can be said of one piece of work that does not tell how far it is.
std::string elapsedText(double seconds);

/// While it lives, writes a line about the work to standard error and keeps it up to date, from the
/// end of the first second on; at its end the line is gone. Without a terminal on standard error it
/// does nothing. One at a time per process.
class ProgressWatch {
  public:
    /// @param lineAfter  the line after so many seconds; called in a thread of its own.
    explicit ProgressWatch(std::function<std::string(double)> lineAfter);
    ~ProgressWatch();
    ProgressWatch(const ProgressWatch&) = delete;
    ProgressWatch& operator=(const ProgressWatch&) = delete;

    /// Whether there is a line now. Safe in a signal handler.
    static bool isLineShown() noexcept;

    /// What takes the line away when written to the terminal.
    static constexpr char kErase[] = "\r\033[K";

  private:
    void keepUpToDate_();

    std::function<std::string(double)> lineAfter_;
    std::mutex mutex_;
    std::condition_variable ends_;
    bool hasEnded_ = false;
    std::thread thread_;
};

}  // namespace ptmatch::tool
