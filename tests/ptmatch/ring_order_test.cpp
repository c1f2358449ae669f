#include "ptmatch/ptgdmap/ring_order.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "grid_points.h"

namespace {

using ptmatch::detail::Bucket;
using ptmatch::detail::PointBuckets;
using ptmatch::detail::RingBucket;
using ptmatch::detail::ringOrder;
using ::testing::ElementsAre;
using Cell = std::pair<std::int32_t, std::int32_t>;

std::vector<Bucket> bucketsAt(const std::vector<Cell>& cells) {
    std::vector<Bucket> buckets;
    for (const auto& [bx, by] : cells) buckets.push_back({bx, by, 0, 0});
    return buckets;
}

std::vector<Cell> orderOf(const std::vector<Cell>& cells, std::int32_t centre) {
    const std::vector<Bucket> buckets = bucketsAt(cells);
    std::vector<Cell> ordered;
    for (const RingBucket& r : ringOrder(buckets, centre)) {
        ordered.push_back(cells[static_cast<std::size_t>(r.bucket)]);
    }
    return ordered;
}

TEST(RingOrder, CentreAloneIsRingZero) {
    const std::vector<RingBucket> order = ringOrder(bucketsAt({{4, 7}}), 0);
    ASSERT_EQ(order.size(), 1U);
    EXPECT_EQ(order[0].bucket, 0);
    EXPECT_EQ(order[0].ring, 0);
}

TEST(RingOrder, RunsAlongTheLowerSideUpAlongTheUpperSideAndDown) {
    std::vector<Cell> cells;
    for (std::int32_t y = 0; y < 3; ++y) {
        for (std::int32_t x = 0; x < 3; ++x) cells.emplace_back(x, y);
    }
    EXPECT_THAT(orderOf(cells, 4),
                ElementsAre(Cell(1, 1),                //
                            Cell(0, 0), Cell(1, 0),    // the lower side, without its right corner
                            Cell(2, 0), Cell(2, 1),    // up the right side
                            Cell(2, 2), Cell(1, 2),    // the upper side, from the right
                            Cell(0, 2), Cell(0, 1)));  // down the left side
}

/// Cell by cell, as one would walk.
std::vector<Cell> walkedOrder(const std::vector<Cell>& cells, std::size_t centre) {
    std::vector<Cell> order = {cells[centre]};
    const auto visit = [&](std::int32_t x, std::int32_t y) {
        if (std::find(cells.begin(), cells.end(), Cell(x, y)) != cells.end()) {
            order.emplace_back(x, y);
        }
    };
    const auto [cx, cy] = cells[centre];
    for (std::int32_t r = 1; order.size() < cells.size(); ++r) {
        for (std::int32_t x = cx - r; x < cx + r; ++x) visit(x, cy - r);
        for (std::int32_t y = cy - r; y < cy + r; ++y) visit(cx + r, y);
        for (std::int32_t x = cx + r; x > cx - r; --x) visit(x, cy + r);
        for (std::int32_t y = cy + r; y > cy - r; --y) visit(cx - r, y);
    }
    return order;
}

TEST(RingOrder, IsThatOfWalkingCellByCell) {
    for (std::uint64_t seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        ptmatch::testing::Randomness random(seed);
        const long width = 1 + random.below(15);
        const long height = 1 + random.below(15);
        const long percent = 10 + random.below(91);
        std::vector<Cell> cells;
        for (long y = 0; y < height; ++y) {
            for (long x = 0; x < width; ++x) {
                if (random.below(100) < percent) cells.emplace_back(x, y);
            }
        }
        if (cells.empty()) continue;
        const auto centre = static_cast<std::size_t>(random.below(static_cast<long>(cells.size())));
        EXPECT_EQ(orderOf(cells, static_cast<std::int32_t>(centre)), walkedOrder(cells, centre));
    }
}

TEST(RingOrder, TellsTheRing) {
    const std::vector<Bucket> buckets = bucketsAt({{5, 5}, {6, 4}, {2, 6}, {5, 9}});
    std::vector<std::int32_t> rings;
    for (const RingBucket& r : ringOrder(buckets, 0)) rings.push_back(r.ring);
    EXPECT_THAT(rings, ElementsAre(0, 1, 3, 4));
}

TEST(RingOrder, HoldsTheLargestRings) {
    constexpr std::int32_t kLast = PointBuckets::kLastCell;
    const std::vector<Cell> cells = {
        {0, 0}, {1, 0}, {kLast, 0}, {kLast, kLast}, {kLast - 1, kLast}, {0, kLast}, {0, kLast - 1}};
    EXPECT_THAT(orderOf(cells, 0),
                ElementsAre(Cell(0, 0), Cell(1, 0), Cell(0, kLast - 1), Cell(kLast, 0),
                            Cell(kLast, kLast), Cell(kLast - 1, kLast), Cell(0, kLast)));
}

}  // namespace
