#include "batch_run.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "exit_code.h"
#include "foundation/attention.h"
#include "input_error.h"
#include "interrupt_guard.h"
#include "number_text.h"
#include "process_end.h"
#include "progress_watch.h"
#include "text_table.h"

namespace ptmatch::tool {
namespace {

using Clock = std::chrono::steady_clock;
using Fate = BatchEnd::Fate;

// What the threads share. It belongs to all of them together, so that it outlives those left.
struct Work {
    std::function<void(std::size_t, const TellShare&)> piece;
    std::atomic<std::size_t> next{0};

    std::mutex mutex;  // of all that follows
    std::condition_variable threadEnded;
    std::vector<Fate> fates;
    std::vector<std::string> errors;
    std::size_t numRunning = 0;
    std::size_t numFinished = 0;
    double runningShares = 0.0;  // the sum of those of the pieces that are begun and not finished
};

// How far one piece is, as a part of the sum.
class PieceShare {
  public:
    explicit PieceShare(Work& work) : work_(work) {}

    void tell(double share) {
        const std::lock_guard lock(work_.mutex);
        tellLocked(share);
    }
    void tellLocked(double share) {
        work_.runningShares += share - told_;
        told_ = share;
    }

  private:
    Work& work_;
    double told_ = 0.0;
};

void finish(Work& work, PieceShare& share, std::size_t index, Fate fate,
            std::string_view error) noexcept {
    const std::lock_guard lock(work.mutex);
    share.tellLocked(0.0);
    work.fates[index] = fate;
    ++work.numFinished;
    try {
        work.errors[index] = error;
    } catch (const std::bad_alloc&) {
        work.errors[index].clear();  // the data set has failed, with or without a reason
    }
}

void doPieces(Work& work) {
    while (!rxAttention::isRequested()) {
        const std::size_t index = work.next++;
        if (index >= work.fates.size()) return;
        PieceShare share(work);
        try {
            work.piece(index, [&share](double part) { share.tell(part); });
            finish(work, share, index, Fate::kDone, {});
        } catch (const rxAttention::Interrupted&) {
            return;
        } catch (const std::bad_alloc&) {
            finish(work, share, index, Fate::kFailed, kNotEnoughMemory);
        } catch (const std::exception& error) {
            finish(work, share, index, Fate::kFailed, trimmed(error.what()));
        }
    }
}

std::vector<std::thread> startThreads(const std::shared_ptr<Work>& work, std::size_t count) {
    std::vector<std::thread> threads;
    threads.reserve(count);
    work->numRunning = count;
    try {
        while (threads.size() < count) {
            threads.emplace_back([work] {
                doPieces(*work);
                const std::lock_guard lock(work->mutex);
                --work->numRunning;
                work->threadEnded.notify_all();
            });
        }
    } catch (const std::system_error&) {
        if (threads.empty()) throw InputError("no thread can be started");
        const std::lock_guard lock(work->mutex);  // fewer do it, too
        work->numRunning -= count - threads.size();
    }
    return threads;
}

// Waits until no thread runs, or for a second after an interruption was asked for.
void waitForThreads(Work& work, std::unique_lock<std::mutex>& lock) {
    constexpr std::chrono::milliseconds kPause(50);
    constexpr std::chrono::seconds kPatience(1);
    Clock::time_point lastQuiet = Clock::now();
    while (work.numRunning > 0) {
        work.threadEnded.wait_for(lock, kPause);
        if (!rxAttention::isRequested()) lastQuiet = Clock::now();
        if (Clock::now() - lastQuiet > kPatience) return;
    }
}

}  // namespace

std::size_t BatchEnd::count(Fate fate) const {
    return static_cast<std::size_t>(std::count(fates.begin(), fates.end(), fate));
}

BatchEnd runBatch(std::size_t count, long jobs,
                  std::function<void(std::size_t, const TellShare&)> piece) {
    const Clock::time_point start = Clock::now();
    const auto work = std::make_shared<Work>();
    work->piece = std::move(piece);
    work->fates.resize(count, Fate::kUnfinished);
    work->errors.resize(count);
    const ProgressWatch watch([work, count](double seconds) {
        const std::lock_guard lock(work->mutex);
        return progressText(work->numFinished, count, seconds, work->runningShares);
    });
    std::vector<std::thread> threads =
        startThreads(work, std::min(static_cast<std::size_t>(jobs), count));
    BatchEnd end;
    {
        std::unique_lock lock(work->mutex);
        waitForThreads(*work, lock);
        end.hasThreadsLeft = work->numRunning > 0;
        end.fates = work->fates;
        end.errors = work->errors;
    }
    for (std::thread& thread : threads) {
        if (end.hasThreadsLeft) {
            thread.detach();
        } else {
            thread.join();
        }
    }
    end.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    end.isInterrupted = end.count(Fate::kUnfinished) > 0;
    return end;
}

void leaveThreads(int exitCode) {
    tidyUp();
    std::_Exit(exitCode);
}

int exitCodeOf(const BatchEnd& end, bool hasFound) {
    if (end.isInterrupted) return kExitInterrupted;
    const std::size_t failed = end.count(Fate::kFailed);
    if (failed == end.fates.size()) return kExitBadInput;
    if (failed > 0) return kExitSomeFailed;
    return hasFound ? kExitFound : kExitNothingFound;
}

double throughput(const BatchEnd& end) {
    return end.seconds > 0.0 ? static_cast<double>(end.count(Fate::kDone)) / end.seconds : 0.0;
}

std::string batchSummary(const BatchEnd& end, long jobs, std::size_t found,
                         const std::string& whatFound) {
    std::string text = std::to_string(end.count(Fate::kDone)) + " of " +
                       countedText(end.fates.size(), "data set") + " searched in " +
                       fixedText(end.seconds, 3) + " s (" + significantText(throughput(end), 3) +
                       " a second, " + countedText(static_cast<std::size_t>(jobs), "job") +
                       "): " + std::to_string(found) + " with " + whatFound;
    const std::size_t failed = end.count(Fate::kFailed);
    const std::size_t unfinished = end.count(Fate::kUnfinished);
    if (failed > 0) text.append(", ").append(std::to_string(failed)).append(" failed");
    if (unfinished > 0) {
        text.append(", ").append(std::to_string(unfinished)).append(" not finished");
    }
    return text.append(1, '\n');
}

}  // namespace ptmatch::tool
