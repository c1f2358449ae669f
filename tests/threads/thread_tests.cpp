// Many threads use the library at once: what they get must be what one thread gets by itself.
//
//     thread_tests [scenario]...     all of them without an argument
//
// Compiled for the thread sanitizer (preset `threads`), it shows data races as well.
#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string_view>
#include <thread>
#include <typeinfo>
#include <vector>

#include "digest.h"
#include "foundation/assertion.h"
#include "foundation/attention.h"
#include "foundation/exception.h"
#include "foundation/image.h"
#include "foundation/image_functions.h"
#include "foundation/memory_archive.h"
#include "foundation/persistent.h"
#include "foundation/timer.h"
#include "numbers.h"
#include "ptmatch/certainty.h"
#include "ptmatch/gridcorr.h"
#include "ptmatch/matext.h"
#include "ptmatch/perspective_tm.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/ptgdmap.h"
#include "ptmatch/refit.h"
#include "ptmatch/run_cost.h"
#include "ptmatch/run_watch.h"
#include "ptmatch/space_tm.h"
#include "ptmatch/tm.h"
#include "ptmatch/vote_image.h"
#include "ptmatch/why_not.h"
#include "small_runs.h"

namespace {

using ptmatch::determinism::Digest;
using ptmatch::determinism::Numbers;
using ptmatch::determinism::Points;
using ptmatch::determinism::SmallRun;
using ptmatch::determinism::smallRuns;
using ptmatch::determinism::turned;
using Defs = rxPointMatcherDefs;
using ResultSet = rxPointMatcherResultSet;

constexpr int kNumThreads = 8;

std::atomic<int> numFailures{0};

void expect(bool holds, const char* what) {
    if (holds) return;
    if (numFailures++ < 20) std::fprintf(stderr, "does not hold: %s\n", what);
}

/// Calls work(number) in so many threads, which begin together, and waits for them.
template <class Work>
void inThreads(int count, const Work& work) {
    std::atomic<int> waiting{count};
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&, i] {
            --waiting;
            while (waiting > 0) std::this_thread::yield();
            work(i);
        });
    }
    for (std::thread& thread : threads) thread.join();
}

std::uint64_t digestOf(const SmallRun& kind, std::uint64_t seed) {
    Digest digest;
    kind.run(seed, digest);
    return digest.value();
}

/// Seeds, kinds of runs and threads: every thread the same runs, in an order of its own.
void runEverything(std::uint64_t numSeeds, std::uint64_t firstSeed) {
    const std::size_t numKinds = smallRuns().size();
    std::vector<std::vector<std::uint64_t>> answers(kNumThreads);
    inThreads(kNumThreads, [&](int thread) {
        auto& own = answers[static_cast<std::size_t>(thread)];
        own.resize(numSeeds * numKinds);
        for (std::size_t i = 0; i < own.size(); ++i) {
            const std::size_t at = (i + static_cast<std::size_t>(thread) * 7) % own.size();
            own[at] = digestOf(smallRuns()[at % numKinds], firstSeed + at / numKinds);
        }
    });
    // Alone last, so that nothing was used before the threads did.
    for (std::size_t at = 0; at < answers[0].size(); ++at) {
        const SmallRun& kind = smallRuns()[at % numKinds];
        const std::uint64_t alone = digestOf(kind, firstSeed + at / numKinds);
        for (const auto& own : answers) expect(own[at] == alone, kind.name);
    }
}

/// What is chosen or made when the library is used for the first time.
void firstUse() {
    runEverything(1, 0);
}

void ownMatchers() {
    runEverything(6, 100);
}

/// A trained matcher and what is searched with it.
struct Task {
    rxPointMatcher matcher;
    Points data;
    rxPointMatcherRunParams params;
};

Points moved(Numbers& numbers, const Points& points) {
    const rxXform<2> pose = turned(0.05, 1.0, numbers.point(20.0));
    Points data;
    for (const rxVector<2>& p : points) data.push_back(pose * p + numbers.point(0.1));
    for (int i = 0; i < 5; ++i) data.push_back(numbers.point(30.0));
    return data;
}

Task pointTask(Defs::Mode mode) {
    Numbers numbers(1);
    const Points model = numbers.points(mode == Defs::eExhaustiveMode ? 4 : 8, 20.0);
    Task task{{}, moved(numbers, model), rxPointMatcherRunParams(0.7)};
    task.matcher.train(model, mode);
    task.params.autoGridSize(false);
    task.params.gridSize(3.0);
    task.params.scaleUncertainty(rxRange(-0.05, 0.05));
    task.params.maxNumResults(3);
    return task;
}

Task gridTask(long columns, long rows) {
    Numbers numbers(2);
    rxPelBuffer<unsigned char> image(columns, rows, 32);
    rfPelSet(image, 1);
    image.clientFromImageXform(turned(0.0, 10.0, {}));
    Points dots;
    for (long i = 0; i < columns * rows; ++i) {
        dots.push_back(image.clientFromImageXform() *
                       rxVector<2>(rxPair<long>(i % columns, i / columns)));
    }
    Task task{{}, moved(numbers, dots), rxPointMatcherRunParams(0.7)};
    task.matcher.train(image);
    task.params.scaleUncertainty(rxRange(-0.2, 0.2));
    task.params.autoGridSize(false);
    task.params.gridSize(3.0);
    return task;
}

std::vector<Task> allTasks() {
    std::vector<Task> tasks;
    tasks.push_back(pointTask(Defs::eAutoDetect));
    tasks.push_back(pointTask(Defs::eExhaustiveMode));
    tasks.push_back(gridTask(5, 4));
    tasks.push_back(gridTask(3, 2));
    return tasks;
}

std::uint64_t digestOf(const ResultSet& found) {
    Digest digest;
    ptmatch::determinism::add(digest, found);
    return digest.value();
}

ResultSet runOf(const Task& task, const rxPointMatcher& matcher) {
    ResultSet found;
    matcher.run(task.data, task.params, found);
    return found;
}

void askAbout(const Task& task, const ResultSet& found, Digest& digest) {
    digest.add(task.matcher.isTrained());
    digest.add(task.matcher.trainMode());
    if (task.matcher.trainMode() == Defs::ePointToGrid) {
        digest.add(task.matcher.pattern().width());
        const rxPelBuffer<unsigned char> sharing = task.matcher.pattern();
        digest.add(sharing.get(sharing.offset()));
        return;
    }
    digest.addAll(task.matcher.modelPoints());
    digest.add(rfRunCost(task.matcher, task.data, task.params).work);
    digest.add(rfWhyNot(task.matcher, task.data, task.params).numCandidates);
    digest.addAll(rfCertainty(task.matcher, task.data, task.params, found, 0).residuals);
    digest.add(rfRefit(task.matcher, task.data, found.results().front(), rxRefitDefs::eRigid)
                   .residual.rms);
    if (task.matcher.trainMode() == Defs::eExhaustiveMode) return;
    digest.addAll(task.matcher.weights());
    if (const auto place = rfBestVotePlace(task.matcher, task.data, task.params)) {
        digest.addAll(rfVoteImage(task.matcher, task.data, task.params, *place).votes);
    }
}

/// Everything const that there is to do with one matcher.
std::uint64_t useOf(const Task& task) {
    Digest digest;
    const ResultSet found = runOf(task, task.matcher);
    ptmatch::determinism::add(digest, found);
    askAbout(task, found, digest);
    // A copy of an exhaustive matcher is one of another mode.
    const rxPointMatcher copy = task.matcher;
    ptmatch::determinism::add(digest, runOf(task, copy));
    rxPointMatcher assigned;
    assigned = task.matcher;
    rxMemoryStoreArchive storing;
    storing || assigned;
    digest.add(storing.stored());
    return digest.value();
}

void sharedMatchers() {
    const std::vector<Task> tasks = allTasks();
    std::vector<std::uint64_t> alone;
    for (const Task& task : tasks) {
        alone.push_back(useOf(task));
        expect(!runOf(task, task.matcher).results().empty(), "the pattern is found");
    }
    const rxTimer timer(true);
    inThreads(kNumThreads, [&](int thread) {
        for (std::size_t i = 0; i < 12; ++i) {
            const std::size_t at = (i + static_cast<std::size_t>(thread)) % tasks.size();
            expect(useOf(tasks[at]) == alone[at], "a shared matcher gives what it gives alone");
            expect(timer.sec() > 0.0, "a shared timer runs");
        }
    });
}

std::uint64_t placed(const rx_PointToGridCorresponder& tool,
                     const std::vector<rxPair<long>>& data) {
    Digest digest;
    rx_PointToGridCorresponderResultSet found;
    digest.add(tool.run(data, rx_PointToGridCorresponderRunParams(0.6, 1.0, 5), found));
    for (const auto& result : found.results()) {
        digest.add(result.score());
        digest.add(result.position());
    }
    const rx_PointToGridCorresponder copy = tool;
    digest.add(copy.probes().size());
    rxMemoryStoreArchive storing;
    rx_PointToGridCorresponder stored = copy;
    storing || stored;
    digest.add(storing.stored());
    return digest.value();
}

std::uint64_t mapped(const Points& points, const rxPtToGridMapRunParams& params) {
    Digest digest;
    rxPtToGridMapResult result;
    digest.add(rfPtToGridMap(points, params, result));
    digest.add(result.grid2point());
    digest.addAll(result.map());
    return digest.value();
}

/// One corresponder, and the arguments of one mapping.
void sharedGrids() {
    Numbers numbers(3);
    std::vector<rxPair<long>> pattern;
    std::vector<rxPair<long>> data;
    for (long i = 0; i < 25; ++i) {
        if (numbers.oneOf(3)) continue;
        pattern.emplace_back(i % 5, i / 5);
        data.emplace_back(i % 5 + 30, i / 5 - 20);
    }
    rx_PointToGridCorresponder tool;
    tool.train(pattern, rx_PointToGridCorresponderTrainParams(), rxXform<2>());
    const Task dots = gridTask(8, 8);
    const rxPtToGridMapRunParams params({10.0, 0.0}, {0.0, 10.0});
    const std::uint64_t placedAlone = placed(tool, data);
    const std::uint64_t mappedAlone = mapped(dots.data, params);
    inThreads(kNumThreads, [&](int) {
        for (int i = 0; i < 30; ++i) {
            expect(placed(tool, data) == placedAlone, "a shared corresponder");
            expect(mapped(dots.data, params) == mappedAlone, "shared arguments of a mapping");
        }
    });
}

std::atomic<long> numPolls{0};
std::atomic<long> numAssertions{0};

bool pollAndGoOn() {
    ++numPolls;
    return false;
}

bool interruptNowAndThen() {
    return ++numPolls % 50 == 0;
}

void countAssertion(int line) {
    numAssertions += line > 0 ? 1 : 0;
}

/// A run that is interrupted gives no results, and any other all of them.
void runUnderHooks(const Task& task, std::uint64_t alone, std::atomic<long>& numInterrupted) {
    ResultSet found;
    try {
        task.matcher.run(task.data, task.params, found);
        expect(digestOf(found) == alone, "a run that is not interrupted");
    } catch (const rxAttention::Interrupted&) {
        ++numInterrupted;
        expect(found.results().empty(), "an interrupted run has no results");
    }
    rxMatrixExt matrix(2, 2);
    matrix.element(0, 3, 1.0);  // outside its row: reported
    expect(matrix.element(1, 1) == 1.0, "the element of the sequence");
}

/// Sets every hook, in all ways, until the others are done.
void changeHooks(int thread, const std::atomic<int>& numAtWork) {
    for (long i = thread; numAtWork > 0; ++i) {
        constexpr rxAttention::Handler kHandlers[] = {pollAndGoOn, interruptNowAndThen, nullptr};
        (void)rxAttention::setHandler(kHandlers[i % 3]);
        (void)rfSetAssertionHook(i % 2 == 0 ? countAssertion : nullptr);
        if (i % 8 == 0) rxAttention::request();
        std::this_thread::yield();
        rxAttention::clear();
        std::this_thread::yield();
    }
}

void hooks() {
    const Task task = pointTask(Defs::eAutoDetect);
    const std::uint64_t alone = digestOf(runOf(task, task.matcher));
    std::atomic<int> numAtWork{kNumThreads - 2};
    std::atomic<long> numInterrupted{0};
    std::atomic<long> numRuns{0};
    numPolls = 0;
    numAssertions = 0;
    const auto hasSeenAll = [&] { return numInterrupted > 0 && numPolls > 0 && numAssertions > 0; };
    inThreads(kNumThreads, [&](int thread) {
        if (thread < 2) return changeHooks(thread, numAtWork);
        // More where threads take long turns, on one core: until every hook has been in a run's
        // way.
        for (int i = 0; i < 100 || (i < 20000 && !hasSeenAll()); ++i) {
            runUnderHooks(task, alone, numInterrupted);
            ++numRuns;
        }
        --numAtWork;
    });
    (void)rxAttention::setHandler(nullptr);
    (void)rfSetAssertionHook(nullptr);
    rxAttention::clear();
    expect(digestOf(runOf(task, task.matcher)) == alone, "a run after all that");
    expect(numInterrupted > 0, "a run is interrupted");
    expect(numPolls > 0, "a handler is asked");
    expect(numAssertions > 0, "an assertion is told");
    std::printf("%ld of %ld runs interrupted, %ld polls, %ld assertions told\n",
                numInterrupted.load(), numRuns.load(), numPolls.load(), numAssertions.load());
}

/// Watched runs, with limits and without, beside runs that are not; handlers come and go.
void watchedRuns() {
    const Task task = pointTask(Defs::eAutoDetect);
    const std::uint64_t alone = digestOf(runOf(task, task.matcher));
    std::atomic<int> numAtWork{kNumThreads - 1};
    inThreads(kNumThreads, [&](int thread) {
        if (thread == 0) {
            while (numAtWork > 0) {
                const rxAttention::Handler replaced = rxAttention::setHandler(pollAndGoOn);
                std::this_thread::yield();
                expect(rxAttention::setHandler(replaced) == pollAndGoOn,
                       "a handler stays until the host takes it away");
            }
            return;
        }
        for (int i = 0; i < 30; ++i) {
            double last = -1.0;
            rxRunLimits limits;
            limits.progressInterval = 0.0;
            limits.onProgress = [&](double fraction) {
                expect(fraction >= last, "progress that grows");
                last = fraction;
            };
            if (i % 3 == 2) limits.timeLimit = 0.0;
            ResultSet found;
            try {
                rfRunWatched(task.matcher, task.data, task.params, found, limits);
                expect(digestOf(found) == alone && last == 1.0, "a watched run");
                expect(i % 3 != 2, "a limit of no time at all passes");
            } catch (const rxDeadlinePassed&) {
                expect(i % 3 == 2 && found.results().empty(), "a run that is late");
            }
            if (i % 4 == 0) {
                expect(digestOf(runOf(task, task.matcher)) == alone, "a run that nobody watches");
            }
        }
        --numAtWork;
    });
    expect(rxAttention::setHandler(nullptr) == nullptr, "no handler is left");
}

class Registered : public rxMathError {
  public:
    using rxMathError::rxMathError;
    static rxPersistent* make() { return new Registered("made"); }
};

/// Classes are looked up in the registry while others come and go.
void registry() {
    inThreads(kNumThreads, [&](int thread) {
        for (int i = 0; i < 200; ++i) {
            if (thread == 0) {
                const rx_Instantiator entry(typeid(Registered), &Registered::make, "Registered");
                expect(entry.instantiate() != nullptr, "an object of the class");
                continue;
            }
            rxMemoryStoreArchive storing;
            rfStorePolymorphic(storing, rxPointMatcherDefs::NotTrained("in the archive"));
            rxMemoryLoadArchive loading(storing.stored());
            const std::unique_ptr<rxPersistent> loaded = rfLoadPolymorphic(loading);
            const auto* same = dynamic_cast<rxPointMatcherDefs::NotTrained*>(loaded.get());
            expect(same != nullptr && same->message() == "in the archive",
                   "what was stored through its base comes back");
        }
    });
}

/// Views of one store: counted together, and written in parts that do not meet.
void views() {
    const rxPelBuffer<short> image(64, 8 * kNumThreads, 32);
    rfPelClear(image);
    inThreads(kNumThreads, [&](int thread) {
        for (int i = 0; i < 200; ++i) {
            rxPelBuffer<short> part = image;
            part.window(0, 8L * thread, 64, 8, false);
            rfPelAdd(part, part, part);
            rfPelSet(part, static_cast<short>(thread + 1));
            const rxPelBuffer_const<short> copy = part;
            expect(copy.get(copy.offset()) == thread + 1, "a pixel of the own part");
        }
    });
    for (long y = 0; y < image.height(); ++y) {
        expect(image.get(63, y) == y / 8 + 1, "a pixel of each part");
    }
    inThreads(kNumThreads, [](int) {
        expect(rx2PtMatchTm::I.a2bXform() == rxXform<2>::I, "the shared identity of the plane");
        expect(rx2PTm::I == rx2PTm(), "the shared identity of perspective");
        expect(rx3PtMatchTm::I == rx3PtMatchTm(), "the shared identity of space");
    });
}

struct Scenario {
    std::string_view name;
    void (*play)();
};

constexpr std::array kScenarios = {
    Scenario{"first_use", firstUse},
    Scenario{"own_matchers", ownMatchers},
    Scenario{"shared_matchers", sharedMatchers},
    Scenario{"shared_grids", sharedGrids},
    Scenario{"hooks", hooks},
    Scenario{"watched_runs", watchedRuns},
    Scenario{"registry", registry},
    Scenario{"views", views},
};

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string_view> wanted(argv + 1, argv + argc);
    std::size_t numPlayed = 0;
    for (const Scenario& scenario : kScenarios) {
        const bool isWanted = wanted.empty() || std::find(wanted.begin(), wanted.end(),
                                                          scenario.name) != wanted.end();
        if (!isWanted) continue;
        scenario.play();
        ++numPlayed;
    }
    if (numPlayed != (wanted.empty() ? kScenarios.size() : wanted.size())) {
        std::fprintf(stderr, "no scenario of that name\n");
        return 2;
    }
    std::printf("%zu scenarios, %d failures\n", numPlayed, numFailures.load());
    return numFailures == 0 ? 0 : 1;
}
