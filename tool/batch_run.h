#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace ptmatch::tool {

/// Most threads of a batch.
constexpr long kMostJobs = 1024;

/// How a batch came out.
struct BatchEnd {
    enum class Fate : unsigned char { kUnfinished, kDone, kFailed };
    /// One for each piece of work.
    std::vector<Fate> fates;
    /// What went wrong with the pieces that failed, otherwise empty.
    std::vector<std::string> errors;
    double seconds = 0.0;
    bool isInterrupted = false;
    /// Threads are still at work on unfinished pieces, since they never look for an interruption.
    /// After that the process must end by leaveThreads().
    bool hasThreadsLeft = false;

    std::size_t count(Fate fate) const;
};

/// Takes the share of a piece of work that is done, 0 to 1.
using TellShare = std::function<void(double)>;

/// Does `count` pieces of work, work(0, tell), work(1, tell) and so on, in `jobs` threads, and
/// waits for them. A piece may tell how far it is, for the line of progress.
/// A piece that throws does not touch the others. After rxAttention::request() no piece is begun;
/// those that run end by rxAttention::Interrupted and count as unfinished, and those that do not
/// end within a second are left. Draws a line of progress, see ProgressWatch.
///
/// What `work` writes for a piece may be read when its fate is kDone. It must own, or share, all
/// that it needs: threads that are left go on with it.
/// @param jobs  1 to kMostJobs
BatchEnd runBatch(std::size_t count, long jobs,
                  std::function<void(std::size_t, const TellShare&)> work);

/// Ends the process at once, whatever threads are at work; no file stays unfinished.
[[noreturn]] void leaveThreads(int exitCode);

/// What a batch ends with: kExitInterrupted; kExitBadInput when every piece failed, kExitSomeFailed
/// when some did; else kExitFound or kExitNothingFound.
int exitCodeOf(const BatchEnd& end, bool hasFound);

/// "5 of 6 data sets searched in 0.123 s (40.7 a second, 2 jobs): 4 with a pose, 1 failed, 1 not
/// finished"
/// @param found     how many have a result
/// @param whatFound "a pose"
std::string batchSummary(const BatchEnd& end, long jobs, std::size_t found,
                         const std::string& whatFound);

/// Pieces that were done, per second.
double throughput(const BatchEnd& end);

}  // namespace ptmatch::tool
