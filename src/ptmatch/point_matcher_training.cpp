#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

#include "ptmatch/gridcorr.h"
#include "ptmatch/model_quantities.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/ppmatch.h"

namespace {

using Points = std::vector<rxVector<2>>;
using Weights = std::vector<long>;

void requireEnoughPoints(const Points& points) {
    if (points.size() < 3) {
        throw rxPointMatcherDefs::InsufficientModelPoints(
            "The number of model points must be >= 3\n");
    }
}

void requireTrainableMode(rxPointMatcherDefs::Mode mode) {
    // Two values are refused and no other: image training passes one that has no name.
    if (mode == rxPointMatcherDefs::ePointToPoint || mode == rxPointMatcherDefs::ePointToGrid) {
        throw rxPointMatcherDefs::BadParams(
            "mode must be either rxPointMatcherDefs::eExhaustiveMode or "
            "rxPointMatcherDefs::eAutoDetect");
    }
}

void requireFinite(const Points& points) {
    if (!ptmatch::detail::allFinite(points)) {
        throw rxPointMatcherDefs::BadParams("The coordinates of model points must be finite\n");
    }
}

void requireTwoPositive(const Weights& weights) {
    const auto positive =
        std::count_if(weights.begin(), weights.end(), [](long weight) { return weight > 0; });
    if (positive < 2) {
        throw rxPointMatcherDefs::BadParams("At least two weights must be positve.");
    }
}

/// The sum of the positive weights, which together with every single one has to fit into 32 bits.
long requireTotalWeight(const Weights& weights) {
    constexpr long kLowest = std::numeric_limits<std::int32_t>::min();
    constexpr long kHighest = std::numeric_limits<std::int32_t>::max();
    long total = 0;
    for (const long weight : weights) {
        if (weight < kLowest || weight > kHighest) {
            throw rxPointMatcherDefs::BadParams("Every weight must be a 32-bit signed integer\n");
        }
        if (weight > kHighest - total) {
            throw rxPointMatcherDefs::BadParams(
                "The sum of the positive weights must not exceed 2147483647\n");
        }
        if (weight > 0) total += weight;
    }
    return total;
}

}  // namespace

void rxPointMatcher::untrain() {
    model_.reset();
    corresponder_.reset();
    gridMatcher_.reset();
    gridPositions_.clear();
    mode_ = rxPointMatcherDefs::ePointToPoint;
}

void rxPointMatcher::train(const std::vector<rxVector<2>>& points, rxPointMatcherDefs::Mode mode) {
    // Kept alive until the end, as the points may be the ones of this model.
    const std::unique_ptr<rx_PointMatcherModel> previous = std::move(model_);
    untrain();
    requireEnoughPoints(points);
    requireTrainableMode(mode);
    requireFinite(points);

    auto model = std::make_unique<rx_PointMatcherModel>();
    model->train(points);
    model_ = std::move(model);
    mode_ = mode;
}

void rxPointMatcher::train(const std::vector<rxVector<2>>& points, const std::vector<long>& weights,
                           rxPointMatcherDefs::Mode mode) {
    const std::unique_ptr<rx_PointMatcherModel> previous = std::move(model_);
    untrain();
    requireEnoughPoints(points);
    if (points.size() != weights.size()) {
        throw rxPointMatcherDefs::BadParams(
            "The number of model points must be equal to the number of weights\n");
    }
    requireTrainableMode(mode);
    requireTwoPositive(weights);
    requireFinite(points);
    const long totalWeight = requireTotalWeight(weights);

    auto model = std::make_unique<rx_PointMatcherModel>();
    model->train(points, weights, totalWeight);
    model_ = std::move(model);
    mode_ = mode;
}
