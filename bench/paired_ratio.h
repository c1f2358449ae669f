#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <ctime>
#include <string>
#include <vector>

namespace ptmatch::bench {

/// Seconds per call, one entry per round. Processor time: the library runs in the calling thread
/// alone, and a wall clock would count the other programs of a busy machine.
struct RoundTimes {
    std::vector<double> library;
    std::vector<double> reference;  ///< empty where the library is measured alone
};

/// Adds the counters that every benchmark prints; times are in seconds:
///   library        median of a call
///   library_iqr    distance between its quartiles, as a share of the median
///   reference      median of a call of the plain reference
///   ratio          median over the rounds of reference / library, each measured back to back
///   ratio_q1, _q3  quartiles of that ratio
void report(benchmark::State& state, const RoundTimes& times);

/// Ends the benchmark with an error when the library's result is wrong, and lets the program fail.
/// @return isRight.
bool verify(benchmark::State& state, bool isRight, const std::string& what);

/// Whether any `verify` failed so far.
[[nodiscard]] bool hasFailed();

/// Seconds per call of work(input), called `calls` times on the same input.
template <class Work>
double secondsPerCall(Work& work, std::size_t input, std::size_t calls) {
    const std::clock_t start = std::clock();
    for (std::size_t i = 0; i < calls; ++i) work(input);
    const std::clock_t ticks = std::clock() - start;
    return static_cast<double>(ticks) / CLOCKS_PER_SEC / static_cast<double>(calls);
}

/// A round lasts at least this long, a thousand ticks of the clock and more.
inline constexpr double kSecondsPerRound = 2e-3;

/// How often a round calls the work; tried on the first input, which also warms up.
template <class Work>
std::size_t callsPerRound(Work& work) {
    std::size_t calls = 1;
    while (secondsPerCall(work, 0, calls) * static_cast<double>(calls) < kSecondsPerRound) {
        calls *= 2;
    }
    return calls;
}

/// Measures library(input) alone; rounds go through the inputs 0 to numInputs - 1 in turn.
/// The number of rounds is the number of iterations that the benchmark was registered with.
template <class Library>
void measureAlone(benchmark::State& state, std::size_t numInputs, Library library) {
    const std::size_t calls = callsPerRound(library);
    RoundTimes times;
    for (auto _ : state) {
        const std::size_t input = times.library.size() % numInputs;
        times.library.push_back(secondsPerCall(library, input, calls));
        state.SetIterationTime(times.library.back());
    }
    report(state, times);
}

/// Measures library(input) and reference(input) in turn: what else the machine does slows both
/// alike, and mostly leaves their ratio alone. Google Benchmark's own time column shows the mean of
/// the library.
template <class Library, class Reference>
void measurePaired(benchmark::State& state, std::size_t numInputs, Library library,
                   Reference reference) {
    const std::size_t libraryCalls = callsPerRound(library);
    const std::size_t referenceCalls = callsPerRound(reference);
    RoundTimes times;
    for (auto _ : state) {
        const std::size_t input = times.library.size() % numInputs;
        times.library.push_back(secondsPerCall(library, input, libraryCalls));
        times.reference.push_back(secondsPerCall(reference, input, referenceCalls));
        state.SetIterationTime(times.library.back());
    }
    report(state, times);
}

}  // namespace ptmatch::bench
