#include "ptmatch/placed_points.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

#include "ptmatch/vote_kernel.h"
#include "support/allocation_meter.h"

namespace ptmatch::detail {
namespace {

using Digit = std::vector<PlacedPoint>;
using Places = std::vector<std::pair<std::int64_t, std::int64_t>>;

Places sorted(Places places) {
    std::sort(places.begin(), places.end());
    return places;
}

Places places(const Digit& points) {
    Places all;
    for (const PlacedPoint& p : points) all.emplace_back(p.x, p.y);
    return all;
}

/// The points whose weight, seen with a sign, has a digit.
Places placesWithDigit(const std::vector<rxPair<long>>& pixels, const rxPair<long>& first,
                       const std::vector<std::int16_t>& weights, int sign, std::size_t digit) {
    Places all;
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        const int weight = weights.empty() ? 1 : weights[i];
        if (sign * weight <= 0 || ((sign * weight >> digit) & 1) == 0) continue;
        all.emplace_back(pixels[i].x() + first.x(), pixels[i].y() + first.y());
    }
    return all;
}

void expectDigits(const PlacedPoints::Digits& digits, const std::vector<rxPair<long>>& pixels,
                  const rxPair<long>& first, const std::vector<std::int16_t>& weights, int sign) {
    for (std::size_t i = 0; i < digits.size(); ++i) {
        SCOPED_TRACE(::testing::Message() << "sign " << sign << ", list " << i);
        const std::size_t digit = digits.size() - 1 - i;
        EXPECT_EQ(sorted(places(digits[i])),
                  sorted(placesWithDigit(pixels, first, weights, sign, digit)));
        EXPECT_TRUE(
            std::is_sorted(digits[i].begin(), digits[i].end(),
                           [](const PlacedPoint& a, const PlacedPoint& b) { return a.y < b.y; }));
    }
}

TEST(PlacedPoints, EveryDigitHoldsItsPointsFromTopToBottom) {
    std::mt19937 random(31);
    for (int round = 0; round < 60; ++round) {
        SCOPED_TRACE(round);
        // Few points, many on many rows, many on few rows.
        const std::size_t numPoints = round % 3 == 0 ? 1 + random() % 24 : 25 + random() % 400;
        const long numRows = round % 3 == 1 ? 3 : 3000;
        std::vector<std::int16_t> weights;
        const bool isWeighted = round % 2 == 0;
        for (std::size_t i = 0; i < numPoints && isWeighted; ++i) {
            weights.push_back(static_cast<std::int16_t>(static_cast<int>(random() % 80) - 20));
        }
        PlacedPoints points(numPoints, weights);
        for (int place = 0; place < 2; ++place) {
            std::vector<rxPair<long>> pixels;
            for (std::size_t i = 0; i < numPoints; ++i) {
                pixels.emplace_back(static_cast<long>(random() % 500),
                                    static_cast<long>(random()) % numRows - numRows / 2);
            }
            const rxPair<long> first(-17, 1000);
            points.place(pixels, first);
            expectDigits(points.positive(), pixels, first, weights, 1);
            expectDigits(points.negative(), pixels, first, weights, -1);
            if (!isWeighted) {
                EXPECT_EQ(points.positive().size(), 1U);
            }
        }
    }
}

// One heavy point of either sign asks for fifteen lists, in which nobody else needs room.
// The vote kernels have room for that many groups, and for no more.
TEST(PlacedPoints, TheLargestWeightHasAsManyDigitsAsKernelsCount) {
    const std::vector<std::int16_t> weights{32767, -32767};
    const PlacedPoints points(weights.size(), weights);
    EXPECT_EQ(points.positive().size(), kMaxDigits);
    EXPECT_EQ(points.negative().size(), kMaxDigits);
}

TEST(PlacedPoints, RoomIsTakenForThePointsOfEachDigitAlone) {
    constexpr std::size_t kPoints = 100000;
    std::vector<std::int16_t> weights(kPoints, 0);
    weights[0] = 32767;
    weights[1] = -32767;
    const ptmatch::testing::AllocationMeter meter;
    const PlacedPoints points(kPoints, weights);
    EXPECT_EQ(points.positive().size(), 15U);
    EXPECT_EQ(points.negative().size(), 15U);
    EXPECT_LT(meter.total(), 80 * kPoints);
}

TEST(PlacedPoints, PlacingAgainTakesNoMemory) {
    const std::vector<std::int16_t> weights{5, -3, 7, 1, 0, 2};
    PlacedPoints points(weights.size(), weights);
    const std::vector<rxPair<long>> pixels{{1, 5}, {2, 4}, {3, 3}, {4, 2}, {5, 1}, {6, 0}};
    const ptmatch::testing::AllocationMeter meter;
    points.place(pixels, {0, 0});
    EXPECT_EQ(meter.total(), 0U);
}

}  // namespace
}  // namespace ptmatch::detail
