#include "grid_parts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>

#include "plane_vectors.h"

using namespace ptmatch::tool;
using testing::Each;
using testing::ElementsAre;

namespace {

using Points = std::vector<rxVector<2>>;
using Position = rxPair<long>;

struct Placed {
    Points points;
    std::vector<GridPosition> positions;

    void add(const rxVector<2>& point, const GridPosition& position) {
        points.push_back(point);
        positions.push_back(position);
    }
    // A point right on its node; nodes are 10 apart.
    void add(long i, long j) { add(scaled(rxVector<2>(Position(i, j)), 10.0), Position(i, j)); }
    void addBlock(long columns, long rows) {
        for (long j = 0; j < rows; ++j) {
            for (long i = 0; i < columns; ++i) add(i, j);
        }
    }
    std::vector<PlacedAs> parts(bool staggered = false) const {
        return partsOf(points, positions, staggered);
    }
};

}  // namespace

TEST(GridParts, PointsApartFromTheLargestPartAreStrays) {
    Placed placed;
    placed.addBlock(3, 2);
    placed.add(5, 0);  // a column is empty in between
    placed.add(6, 0);
    placed.add({7, 7}, {});
    const auto parts = placed.parts();
    EXPECT_THAT(std::vector(parts.begin(), parts.begin() + 6), Each(PlacedAs::kNode));
    EXPECT_THAT(std::vector(parts.begin() + 6, parts.end()),
                ElementsAre(PlacedAs::kStray, PlacedAs::kStray, PlacedAs::kNothing));
}

TEST(GridParts, CornersConnect) {
    Placed placed;
    placed.add(0, 0);
    placed.add(1, 1);
    placed.add(2, 0);
    placed.add(4, 0);
    EXPECT_THAT(placed.parts(),
                ElementsAre(PlacedAs::kNode, PlacedAs::kNode, PlacedAs::kNode, PlacedAs::kStray));
}

TEST(GridParts, StaggeredNeighboursAreDiagonalOrTwoApart) {
    Placed placed;
    placed.add(0, 0);
    placed.add(1, 1);
    placed.add(3, 1);
    placed.add(3, 3);
    placed.add(6, 2);
    EXPECT_THAT(placed.parts(true), ElementsAre(PlacedAs::kNode, PlacedAs::kNode, PlacedAs::kNode,
                                                PlacedAs::kNode, PlacedAs::kStray));
}

TEST(GridParts, OfTwoPointsAtOnePositionTheNearerOneStays) {
    Placed placed;
    placed.add({11.5, 1.5}, Position(1, 0));
    placed.addBlock(3, 3);
    placed.add({21.5, 1.5}, Position(2, 0));
    const auto parts = placed.parts();
    EXPECT_EQ(std::count(parts.begin(), parts.end(), PlacedAs::kDouble), 2);
    EXPECT_EQ(parts.front(), PlacedAs::kDouble);
    EXPECT_EQ(parts.back(), PlacedAs::kDouble);
}

TEST(GridParts, OfEqualPartsTheUpperOneStays) {
    Placed placed;
    placed.add(0, 9);
    placed.add(1, 9);
    placed.add(0, 0);
    placed.add(1, 0);
    EXPECT_THAT(placed.parts(),
                ElementsAre(PlacedAs::kStray, PlacedAs::kStray, PlacedAs::kNode, PlacedAs::kNode));
}

TEST(GridParts, WithoutPositionsThereIsNoPart) {
    Placed placed;
    EXPECT_TRUE(placed.parts().empty());
    placed.add({1, 2}, {});
    EXPECT_THAT(placed.parts(), ElementsAre(PlacedAs::kNothing));
    EXPECT_FALSE(fitToPositions(placed.points, placed.positions).has_value());
    EXPECT_EQ(pointsThatGoOn(placed.points, placed.positions, false), 0U);
}

TEST(GridParts, PositionsInALineAreFittedWithoutShear) {
    Placed placed;
    placed.addBlock(5, 1);
    const auto xform = fitToPositions(placed.points, placed.positions);
    ASSERT_TRUE(xform.has_value());
    EXPECT_NEAR(xform->matrix().element(1, 1), 10.0, 1e-9);
}

TEST(GridParts, PointsThatGoOnAreCountedOnce) {
    Placed placed;
    placed.addBlock(3, 3);
    placed.add({31, 10}, {});    // right of row 1
    placed.add({29, 1}, {});     // right of row 0
    placed.add({-10, -10}, {});  // across the corner: no row or column leads there
    placed.add({33, 20}, {});    // too far off
    placed.add({15, 15}, {});    // inside
    EXPECT_EQ(pointsThatGoOn(placed.points, placed.positions, false), 2U);
    placed.add(3, 1);  // now the point beside row 1 is at a position that is taken
    EXPECT_EQ(pointsThatGoOn(placed.points, placed.positions, false), 1U);
}

TEST(GridParts, ManyNodesAreConnectedInSeconds) {
    Placed placed;
    placed.addBlock(400, 400);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT(placed.parts(), Each(PlacedAs::kNode));
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    std::printf("  160,000 nodes: %.2f s\n", seconds.count());
    EXPECT_LT(seconds.count(), 60.0);  // quadratic work would take many minutes
}
