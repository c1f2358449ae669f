#include "ptmatch/placed_points.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace ptmatch::detail {
namespace {

// Few points are sorted by insertion alone; more of them by buckets of rows first.
constexpr std::size_t kFewPoints = 24;
constexpr std::int64_t kNumBuckets = 256;

// As many lists as the largest weight of a sign has binary digits, each with room for its own
// points alone: with room for all in every list a point would take up to 480 bytes.
PlacedPoints::Digits digitsFor(std::span<const std::int32_t> weights, int sign) {
    std::int32_t largest = 0;
    for (const std::int32_t w : weights) largest = std::max(largest, sign * w);
    PlacedPoints::Digits digits(
        static_cast<std::size_t>(std::bit_width(static_cast<std::uint32_t>(largest))));
    for (std::size_t digit = 0; digit < digits.size(); ++digit) {
        const auto hasDigit = [&](std::int32_t weight) {
            return sign * weight > 0 && ((sign * weight >> digit) & 1) != 0;
        };
        const auto count = std::count_if(weights.begin(), weights.end(), hasDigit);
        digits[digits.size() - 1 - digit].reserve(static_cast<std::size_t>(count));
    }
    return digits;
}

// The points that have each digit, the highest digit first.
void addDigits(const PlacedPoint& point, std::int32_t magnitude, PlacedPoints::Digits& digits) {
    const std::size_t numDigits = digits.size();
    for (std::size_t digit = 0; digit < numDigits; ++digit) {
        if (((magnitude >> digit) & 1) != 0) digits[numDigits - 1 - digit].push_back(point);
    }
}

}  // namespace

PlacedPoints::PlacedPoints(std::size_t numPoints, std::span<const std::int16_t> weights)
    : weights_(weights.begin(), weights.end()),
      isWeighted_(!weights.empty()),
      layers_(numPoints),
      points_(numPoints),
      sorted_(numPoints),
      numInBucket_(kNumBuckets) {
    if (!isWeighted_) weights_.assign(numPoints, 1);
    positive_ = digitsFor(weights_, 1);
    negative_ = digitsFor(weights_, -1);
}

void PlacedPoints::setLayers(std::span<const std::size_t> layers) {
    layers_.assign(layers.begin(), layers.end());
}

void PlacedPoints::place(std::span<const rxPair<long>> modelPixels,
                         const rxPair<long>& firstTranslation) {
    for (std::size_t i = 0; i < modelPixels.size(); ++i) {
        points_[i] = {{std::int64_t{firstTranslation.x()} + modelPixels[i].x(),
                       std::int64_t{firstTranslation.y()} + modelPixels[i].y(), layers_[i]},
                      weights_[i]};
    }
    if (points_.size() <= kFewPoints) {
        sorted_ = points_;
    } else {
        sortCoarsely_();
    }
    sortNearlySorted_();
    distribute_();
}

void PlacedPoints::sortCoarsely_() {
    std::int64_t top = points_[0].point.y;
    std::int64_t bottom = top;
    for (const Weighed& p : points_) {
        top = std::min(top, p.point.y);
        bottom = std::max(bottom, p.point.y);
    }
    int log2Rows = 0;
    while ((bottom - top) >> log2Rows >= kNumBuckets) ++log2Rows;
    std::fill(numInBucket_.begin(), numInBucket_.end(), 0U);
    const auto bucketOf = [&](const Weighed& p) {
        return static_cast<std::size_t>((p.point.y - top) >> log2Rows);
    };
    for (const Weighed& p : points_) ++numInBucket_[bucketOf(p)];
    std::uint32_t begin = 0;
    for (std::uint32_t& bucket : numInBucket_) bucket = std::exchange(begin, begin + bucket);
    for (const Weighed& p : points_) sorted_[numInBucket_[bucketOf(p)]++] = p;
}

void PlacedPoints::sortNearlySorted_() {
    // Insertion; points in great numbers within a bucket are left to the library.
    std::size_t movesLeft = 16 * sorted_.size() + 256;
    for (std::size_t i = 1; i < sorted_.size(); ++i) {
        if (sorted_[i - 1].point.y <= sorted_[i].point.y) continue;
        const Weighed p = sorted_[i];
        std::size_t place = i;
        for (; place > 0 && sorted_[place - 1].point.y > p.point.y && movesLeft > 0; --place) {
            sorted_[place] = sorted_[place - 1];
            --movesLeft;
        }
        sorted_[place] = p;
        if (movesLeft == 0) {
            std::sort(sorted_.begin(), sorted_.end(),
                      [](const Weighed& a, const Weighed& b) { return a.point.y < b.point.y; });
            return;
        }
    }
}

void PlacedPoints::distribute_() {
    if (!isWeighted_) {
        positive_[0].resize(sorted_.size());
        for (std::size_t i = 0; i < sorted_.size(); ++i) positive_[0][i] = sorted_[i].point;
        return;
    }
    for (auto& points : positive_) points.clear();
    for (auto& points : negative_) points.clear();
    for (const Weighed& p : sorted_) {
        if (p.weight > 0) addDigits(p.point, p.weight, positive_);
        if (p.weight < 0) addDigits(p.point, -p.weight, negative_);
    }
}

}  // namespace ptmatch::detail
