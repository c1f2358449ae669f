#include "paired_ratio.h"

#include <algorithm>
#include <atomic>
#include <cmath>

namespace ptmatch::bench {
namespace {

std::atomic<bool> failed{false};

// Between two values, interpolated. The values must be there.
double quantile(std::vector<double> values, double share) {
    std::sort(values.begin(), values.end());
    const double place = share * static_cast<double>(values.size() - 1);
    const auto below = static_cast<std::size_t>(place);
    const std::size_t above = std::min(below + 1, values.size() - 1);
    return std::lerp(values[below], values[above], place - static_cast<double>(below));
}

}  // namespace

void report(benchmark::State& state, const RoundTimes& times) {
    if (times.library.empty()) return;
    const double median = quantile(times.library, 0.5);
    state.counters["library"] = median;
    state.counters["library_iqr"] =
        (quantile(times.library, 0.75) - quantile(times.library, 0.25)) / median;
    if (times.reference.empty()) return;

    std::vector<double> ratios;
    for (std::size_t i = 0; i < times.library.size(); ++i) {
        ratios.push_back(times.reference[i] / times.library[i]);
    }
    state.counters["reference"] = quantile(times.reference, 0.5);
    state.counters["ratio"] = quantile(ratios, 0.5);
    state.counters["ratio_q1"] = quantile(ratios, 0.25);
    state.counters["ratio_q3"] = quantile(ratios, 0.75);
}

bool verify(benchmark::State& state, bool isRight, const std::string& what) {
    if (isRight) return true;
    failed = true;
    state.SkipWithError(what.c_str());
    return false;
}

bool hasFailed() {
    return failed;
}

}  // namespace ptmatch::bench
