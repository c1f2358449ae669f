#include "ptmatch/search_params.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <numeric>
#include <vector>

#include "ptmatch/point_matcher_model.h"

namespace ptmatch::detail {
namespace {

// The search keeps this many times the wanted results, so that enough are left when the pose check
// has taken some away,
constexpr long kCandidatesPerResult = 8;
// and at least this many when a set is so small that degenerate poses abound.
constexpr long kMinCandidatesOfSmallSets = 1000;
constexpr std::size_t kSmallSet = 4;

}  // namespace

bool canReachCoverage(std::size_t numData, const rx_PointMatcherModel& model, double minCoverage) {
    const std::size_t numModel = model.points().size();
    if (!model.isWeighted()) {
        return !(static_cast<double>(numData) < minCoverage * static_cast<double>(numModel));
    }
    if (numData > numModel) return true;
    std::vector<long> weights = model.weights();
    const auto end = weights.begin() + static_cast<std::ptrdiff_t>(numData);
    std::partial_sort(weights.begin(), end, weights.end(), std::greater<>());
    const long reachable = std::accumulate(
        weights.begin(), end, 0L, [](long sum, long weight) { return sum + std::max(weight, 0L); });
    return !(static_cast<double>(reachable) <
             minCoverage * static_cast<double>(model.totalWeight()));
}

rxPointMatcherRunParams searchParams(const rxPointMatcherRunParams& params, std::size_t numModel,
                                     std::size_t numData) {
    constexpr long kMaxLong = std::numeric_limits<std::int32_t>::max();
    // The wanted number first: 8 times a 64-bit one could overflow.
    long numCandidates =
        std::min(kCandidatesPerResult * std::min(params.maxNumResults(), kMaxLong), kMaxLong);
    if (numModel < kSmallSet || numData < kSmallSet) {
        numCandidates = std::max(kMinCandidatesOfSmallSets, numCandidates);
    }
    rxPointMatcherRunParams search(params);
    search.maxNumResults(numCandidates);
    search.minCoverage(0.5 * params.minCoverage());
    return search;
}

rxPointMatcherRunParams nestedParams(const rxPointMatcherRunParams& params) {
    const rxAngleRange rotation = params.rotationUncertainty();
    rxDegree middle;
    if (rotation.range() == rxRangeDefs::Normal) middle = rotation.middle();
    rxPointMatcherRunParams nested;
    nested.minCoverage(params.minCoverage());
    nested.autoGridSize(params.autoGridSize());
    nested.gridSize(params.gridSize());
    nested.autoCaptureRange(params.autoCaptureRange());
    nested.captureRange(params.captureRange());
    nested.startPose(rxXform<2>(rxVector<2>(0, 0), middle, middle, 1.0, 1.0));
    nested.rotationUncertainty(rotation);
    nested.scaleUncertainty(params.scaleUncertainty());
    nested.maxNumResults(params.maxNumResults());
    return nested;
}

}  // namespace ptmatch::detail
