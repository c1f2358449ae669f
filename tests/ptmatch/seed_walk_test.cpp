#include "ptmatch/ptgdmap/seed_walk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "grid_points.h"
#include "ptmatch/ptgdmap/neighbour_links.h"

namespace {

using ptmatch::detail::AxisDirections;
using ptmatch::detail::AxisTest;
using ptmatch::detail::findSeed;
using ptmatch::detail::MapSetup;
using ptmatch::detail::NeighbourLink;
using ptmatch::detail::PointNode;
using ::testing::ElementsAre;
using ::testing::Optional;

/// Both axes known, at 0 and 90 degrees, and a tolerance of 5 degrees.
MapSetup bothAxes() {
    MapSetup setup;
    setup.xv = rxVector<2>(10, 0);
    setup.yv = rxVector<2>(0, 10);
    setup.dirTolDeg = 5;
    return setup;
}

const AxisDirections kUpright = {0, 90};

AxisTest upright() {
    return AxisTest(bothAxes(), kUpright);
}

struct Arrow {
    std::int32_t from;
    std::int32_t to;
    double angleDeg;
};

std::vector<PointNode> linked(std::size_t count, const std::vector<Arrow>& arrows) {
    std::vector<PointNode> nodes(count);
    for (const Arrow& arrow : arrows) {
        PointNode& from = nodes[static_cast<std::size_t>(arrow.from)];
        from.links[from.numLinks++] = {arrow.angleDeg, arrow.to, false};
    }
    return nodes;
}

/// Pairs (from, to) of the links that were gone along.
std::vector<std::pair<std::size_t, std::int32_t>> usedLinks(const std::vector<PointNode>& nodes) {
    std::vector<std::pair<std::size_t, std::int32_t>> used;
    for (std::size_t k = 0; k < nodes.size(); ++k) {
        for (const NeighbourLink& link : nodes[k].ownLinks()) {
            if (link.used) used.emplace_back(k, link.neighbour);
        }
    }
    return used;
}

TEST(AxisTest, AcceptsTheToleranceOnBothSidesIncluded) {
    const AxisTest test = upright();
    for (const double angle : {0.0, 5.0, 355.0, 360.0, 85.0, 90.0, 95.0}) {
        EXPECT_TRUE(test.isAlongAxis(angle)) << angle;
    }
    for (const double angle : {5.001, 354.999, 84.999, 95.001, 45.0}) {
        EXPECT_FALSE(test.isAlongAxis(angle)) << angle;
    }
}

TEST(AxisTest, NegativeDirectionsDoNotCount) {
    EXPECT_FALSE(upright().isAlongAxis(180));
    EXPECT_FALSE(upright().isAlongAxis(270));
}

TEST(AxisTest, OnlyKnownAxesCount) {
    MapSetup setup = bothAxes();
    setup.yv = rxVector<2>();
    EXPECT_TRUE(AxisTest(setup, kUpright).isAlongAxis(0));
    EXPECT_FALSE(AxisTest(setup, kUpright).isAlongAxis(90));
    setup = bothAxes();
    setup.xv = rxVector<2>();
    EXPECT_FALSE(AxisTest(setup, kUpright).isAlongAxis(0));
    EXPECT_TRUE(AxisTest(setup, kUpright).isAlongAxis(90));
}

TEST(AxisTest, AxisBelowZeroAcceptsFromItsToleranceUpToTheTurn) {
    MapSetup setup = bothAxes();
    setup.yv = rxVector<2>();
    const AxisTest test(setup, {-10, 80});
    EXPECT_TRUE(test.isAlongAxis(345));    // the lower end
    EXPECT_TRUE(test.isAlongAxis(355));    // the upper end
    EXPECT_TRUE(test.isAlongAxis(359.5));  // beyond it, and accepted nevertheless
    EXPECT_FALSE(test.isAlongAxis(344.5));
    EXPECT_FALSE(test.isAlongAxis(0));
}

TEST(SeedWalk, NodesWithoutLinksAlongAnAxisAreNoSeed) {
    std::vector<PointNode> alone(3);
    EXPECT_EQ(findSeed(alone, upright()), std::nullopt);
    std::vector<PointNode> none;
    EXPECT_EQ(findSeed(none, upright()), std::nullopt);
    std::vector<PointNode> across = linked(2, {{0, 1, 45}, {1, 0, 225}});
    EXPECT_EQ(findSeed(across, upright()), std::nullopt);
    EXPECT_TRUE(usedLinks(across).empty());
}

TEST(SeedWalk, LinkToItselfLeadsNowhere) {
    std::vector<PointNode> nodes = linked(1, {{0, 0, 0}});
    EXPECT_EQ(findSeed(nodes, upright()), std::nullopt);
}

TEST(SeedWalk, SeedReachesMostNodesThatNoWalkReachedBefore) {
    // 1 reaches 2; 3 reaches 4 and 5, and would reach 2.
    std::vector<PointNode> nodes = linked(6, {{1, 2, 0}, {3, 2, 0}, {3, 4, 90}, {4, 5, 90}});
    EXPECT_THAT(findSeed(nodes, upright()), Optional(3));
    EXPECT_THAT(usedLinks(nodes),
                ElementsAre(std::pair(1U, 2), std::pair(3U, 4), std::pair(4U, 5)));
}

TEST(SeedWalk, FirstOfEqualSeedsWins) {
    std::vector<PointNode> nodes = linked(4, {{0, 1, 0}, {2, 3, 0}});
    EXPECT_THAT(findSeed(nodes, upright()), Optional(0));
}

TEST(SeedWalk, NodeReachedByAnEarlierWalkIsNoStart) {
    // From 1 four nodes could be reached, but it belongs to the walk of 0 already.
    std::vector<PointNode> nodes =
        linked(5, {{0, 1, 0}, {1, 2, 0}, {2, 3, 0}, {3, 4, 0}, {4, 0, 0}});
    EXPECT_THAT(findSeed(nodes, upright()), Optional(0));
    EXPECT_EQ(usedLinks(nodes).size(), 4U);
}

TEST(SeedWalk, GoesDepthFirstInLinkOrder) {
    // From 0 first by 1 and on to 2; the link from 0 to 2 finds 2 visited.
    std::vector<PointNode> nodes = linked(4, {{0, 1, 0}, {0, 2, 90}, {1, 2, 0}, {0, 3, 90}});
    EXPECT_THAT(findSeed(nodes, upright()), Optional(0));
    EXPECT_THAT(usedLinks(nodes),
                ElementsAre(std::pair(0U, 1), std::pair(0U, 3), std::pair(1U, 2)));
}

/// The walk as it is usually said.
std::int32_t recursiveWalk(std::vector<PointNode>& nodes, std::int32_t node, const AxisTest& test) {
    PointNode& here = nodes[static_cast<std::size_t>(node)];
    here.visited = true;
    std::int32_t count = 0;
    for (NeighbourLink& link : here.ownLinks()) {
        if (nodes[static_cast<std::size_t>(link.neighbour)].visited) continue;
        if (!test.isAlongAxis(link.angleDeg)) continue;
        const std::int32_t further = recursiveWalk(nodes, link.neighbour, test);
        link.used = true;
        count += 1 + further;
    }
    return count;
}

std::optional<std::int32_t> recursiveSeed(std::vector<PointNode>& nodes, const AxisTest& test) {
    std::optional<std::int32_t> seed;
    std::int32_t most = 0;
    for (std::size_t k = 0; k < nodes.size(); ++k) {
        if (nodes[k].visited) continue;
        const std::int32_t reach = recursiveWalk(nodes, static_cast<std::int32_t>(k), test);
        if (reach > most) {
            most = reach;
            seed = static_cast<std::int32_t>(k);
        }
    }
    return seed;
}

TEST(SeedWalk, IsTheRecursiveWalk) {
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        ptmatch::testing::Randomness random(seed);
        const long count = 2 + random.below(80);
        std::vector<PointNode> nodes(static_cast<std::size_t>(count));
        for (PointNode& node : nodes) {
            node.numLinks = static_cast<std::uint8_t>(random.below(5));
            for (NeighbourLink& link : node.ownLinks()) {
                link.angleDeg = static_cast<double>(45 * random.below(4));
                link.neighbour = static_cast<std::int32_t>(random.below(count));
            }
        }
        std::vector<PointNode> plain = nodes;
        ASSERT_EQ(findSeed(nodes, upright()), recursiveSeed(plain, upright())) << seed;
        ASSERT_EQ(usedLinks(nodes), usedLinks(plain)) << seed;
    }
}

TEST(SeedWalk, ChainOfAMillionNodesIsWalkedWithoutRecursion) {
    constexpr std::int32_t kLength = 1000000;
    std::vector<PointNode> nodes(kLength);
    for (std::int32_t k = 0; k + 1 < kLength; ++k) {
        PointNode& node = nodes[static_cast<std::size_t>(k)];
        node.links[node.numLinks++] = {0.0, k + 1, false};
    }
    EXPECT_THAT(findSeed(nodes, upright()), Optional(0));
    for (std::int32_t k = 0; k + 1 < kLength; ++k) {
        ASSERT_TRUE(nodes[static_cast<std::size_t>(k)].links[0].used) << k;
    }
}

}  // namespace
