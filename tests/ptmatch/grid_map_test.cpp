#include <gtest/gtest.h>

#include <vector>

#include "ptmatch/ptgdmap.h"

namespace {

using Params = rxPtToGridMapRunParams;
using Result = rxPtToGridMapResult;
using Points = std::vector<rxVector<2>>;

TEST(GridMap, PointsOnAGridReceiveTheirPositions) {
    Points points;
    for (long j = 0; j < 6; ++j) {
        for (long i = 0; i < 8; ++i) {
            points.emplace_back(100.0 + 10.0 * static_cast<double>(i),
                                50.0 + 12.0 * static_cast<double>(j));
        }
    }
    Result result;
    EXPECT_EQ(rfPtToGridMap(points, Params(rxVector<2>(10, 0), rxVector<2>(0, 12)), result), 48);
    EXPECT_TRUE(result.valid());
    EXPECT_GT(result.time(), 0.0);
    ASSERT_EQ(result.map().size(), 48U);
    for (std::size_t k = 0; k < points.size(); ++k) {
        const rxPair<long> expected(static_cast<long>(k) % 8, static_cast<long>(k) / 8);
        EXPECT_EQ(result.map()[k] - result.map()[0], expected) << k;
    }
}

}  // namespace
