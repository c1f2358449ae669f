#include "ptmatch/placed_points.h"

#include <algorithm>
#include <bit>
#include <numeric>

namespace ptmatch::detail {
namespace {

// As many lists as the largest weight of a sign has binary digits, each with room for its points.
PlacedPoints::Digits digitsFor(std::span<const std::int32_t> weights, int sign) {
    std::int32_t largest = 0;
    for (const std::int32_t w : weights) largest = std::max(largest, sign * w);
    PlacedPoints::Digits digits(
        static_cast<std::size_t>(std::bit_width(static_cast<std::uint32_t>(largest))));
    for (std::vector<PlacedPoint>& points : digits) points.reserve(weights.size());
    return digits;
}

// The points that have each digit, the highest digit first.
void distribute(const PlacedPoint& point, std::int32_t magnitude, PlacedPoints::Digits& digits) {
    const std::size_t numDigits = digits.size();
    for (std::size_t digit = 0; digit < numDigits; ++digit) {
        if (((magnitude >> digit) & 1) != 0) digits[numDigits - 1 - digit].push_back(point);
    }
}

}  // namespace

PlacedPoints::PlacedPoints(std::size_t numPoints, std::span<const std::int16_t> weights)
    : weights_(weights.begin(), weights.end()), points_(numPoints), order_(numPoints) {
    if (weights.empty()) weights_.assign(numPoints, 1);
    std::iota(order_.begin(), order_.end(), 0U);
    positive_ = digitsFor(weights_, 1);
    negative_ = digitsFor(weights_, -1);
}

void PlacedPoints::place(std::span<const rxPair<long>> modelPixels,
                         const rxPair<long>& firstTranslation) {
    for (std::size_t i = 0; i < modelPixels.size(); ++i) {
        points_[i] = {std::int64_t{firstTranslation.x()} + modelPixels[i].x(),
                      std::int64_t{firstTranslation.y()} + modelPixels[i].y()};
    }
    sort_();
    for (auto& points : positive_) points.clear();
    for (auto& points : negative_) points.clear();
    for (const std::uint32_t i : order_) {
        const std::int32_t weight = weights_[i];
        if (weight > 0) distribute(points_[i], weight, positive_);
        if (weight < 0) distribute(points_[i], -weight, negative_);
    }
}

void PlacedPoints::sort_() {
    // Insertion sort, for the sake of what is nearly in order already; a large turn is left to the
    // library after a number of moves that the small ones do not need.
    std::size_t movesLeft = 8 * order_.size() + 64;
    for (std::size_t i = 1; i < order_.size(); ++i) {
        const std::uint32_t point = order_[i];
        std::size_t place = i;
        for (; place > 0 && points_[order_[place - 1]].y > points_[point].y; --place) {
            order_[place] = order_[place - 1];
            if (--movesLeft == 0) {
                order_[place - 1] = point;
                std::sort(order_.begin(), order_.end(), [&](std::uint32_t a, std::uint32_t b) {
                    return points_[a].y < points_[b].y;
                });
                return;
            }
        }
        order_[place] = point;
    }
}

}  // namespace ptmatch::detail
