#include "ptmatch/ptgdmap/ring_growth.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "grid_points.h"
#include "ptmatch/ptgdmap/grid_to_point.h"
#include "ptmatch/ptgdmap/local_model.h"

namespace {

using ptmatch::detail::LocalModelMaker;
using ptmatch::detail::mapSetup;
using ptmatch::detail::MapSetup;
using ptmatch::detail::PointBuckets;
using ptmatch::detail::PointNode;
using ptmatch::detail::RefitSchedule;
using ptmatch::detail::RingGrowth;
using ptmatch::detail::unassignedPosition;
using ptmatch::testing::gridPoints;
using ptmatch::testing::uprightGrid;
using ::testing::ElementsAre;
using Points = std::vector<rxVector<2>>;
using Positions = std::vector<rxPair<long>>;

/// A growth with steps of 10, a snap distance of 2, and the first point for position (0, 0).
class Growth {
  public:
    explicit Growth(Points points)
        : input_(std::move(points)),
          setup_(mapSetup(rxPtToGridMapRunParams(rxVector<2>(10, 0), rxVector<2>(0, 10)))
                     .value_or(MapSetup())),
          points_(input_, setup_.cellSize),
          estimator_(LocalModelMaker(setup_, 0.0).at(input_.front())),
          growth_(points_, setup_, estimator_) {}

    void refine() { growth_.refineAround(nodeOf(0)); }
    Positions assign(std::int32_t from = 0) {
        Positions map(input_.size(), unassignedPosition());
        count_ = growth_.assignAround(nodeOf(from), map);
        return map;
    }
    std::int32_t count() const { return count_; }
    const rxXform<2>& model() const { return estimator_.a2bXform(); }

  private:
    std::int32_t nodeOf(std::int32_t index) const {
        std::int32_t node = 0;
        while (points_.nodes()[static_cast<std::size_t>(node)].index != index) ++node;
        return node;
    }

    Points input_;
    MapSetup setup_;
    PointBuckets points_;
    rx2PtMatchTm estimator_;
    RingGrowth growth_;
    std::int32_t count_ = -1;
};

rxXform<2> refined(const Points& points) {
    Growth growth(points);
    growth.refine();
    return growth.model();
}

Points with(Points points, const Points& more) {
    points.insert(points.end(), more.begin(), more.end());
    return points;
}

TEST(RefitSchedule, IsDueAtFibonacciCounts) {
    RefitSchedule schedule;
    std::vector<std::int32_t> due;
    for (std::int32_t count = 0; count <= 100; ++count) {
        if (schedule.isDue(count)) due.push_back(count);
    }
    EXPECT_THAT(due, ElementsAre(3, 5, 8, 13, 21, 34, 55, 89));
}

TEST(RefitSchedule, LeapsOverWhatACountHasPassed) {
    RefitSchedule schedule;
    EXPECT_TRUE(schedule.isDue(20));
    EXPECT_FALSE(schedule.isDue(20));
    EXPECT_TRUE(schedule.isDue(21));
    EXPECT_FALSE(schedule.isDue(33));
    EXPECT_TRUE(schedule.isDue(2147483647));
    EXPECT_FALSE(schedule.isDue(2147483647));
}

TEST(RingGrowth, GivesPointsThePositionTheyAreNearestTo) {
    Growth growth({{0, 0}, {10, 0}, {-11, 1}, {20.5, 29.5}, {0, -10}});
    EXPECT_THAT(growth.assign(),
                ElementsAre(rxPair<long>(0, 0), rxPair<long>(1, 0), rxPair<long>(-1, 0),
                            rxPair<long>(2, 3), rxPair<long>(0, -1)));
    EXPECT_EQ(growth.count(), 5);
}

TEST(RingGrowth, AcceptsUpToTheSnapDistanceIncluded) {
    Growth growth({{0, 0}, {12, 0}, {0, 12.001}});
    EXPECT_THAT(growth.assign(),
                ElementsAre(rxPair<long>(0, 0), rxPair<long>(1, 0), unassignedPosition()));
    EXPECT_EQ(growth.count(), 2);
}

TEST(RingGrowth, TwoPointsAtOneNodeBothReceiveItsPosition) {
    Growth growth({{0, 0}, {10, 1}, {10, -1}, {10, 1}});
    EXPECT_THAT(growth.assign(), ElementsAre(rxPair<long>(0, 0), rxPair<long>(1, 0),
                                             rxPair<long>(1, 0), rxPair<long>(1, 0)));
}

// The points at the first node pull it to (1, 0), as soon as the model is fitted. The nodes (1, 0)
// and (0, 1) stay where they are, so that (1, 1) moves to (9, 10) and (2, 0) to (19, 0).
const Points kPulled = {{0, 0}, {1.5, 0}, {1.5, 0}, {1.5, 0}, {1.5, 0}};

TEST(RingGrowth, NoFitComesBetweenTheCentreAndTheFirstRing) {
    Growth growth(with(kPulled, {{11.9, 10}}));
    EXPECT_EQ(growth.assign().back(), rxPair<long>(1, 1));
}

TEST(RingGrowth, FitComesAtTheEndOfARing) {
    Growth growth(with(kPulled, {{0, 10}, {17.5, 0}}));
    EXPECT_EQ(growth.assign().back(), rxPair<long>(2, 0));
    Growth other(with(kPulled, {{0, 10}, {21.5, 0}}));
    EXPECT_EQ(other.assign().back(), unassignedPosition());
}

TEST(RingGrowth, FirstRingEndsEvenIfItIsEmpty) {
    Growth growth(with(kPulled, {{17.5, 0}}));
    EXPECT_EQ(growth.assign().back(), rxPair<long>(2, 0));
    Growth other(with(kPulled, {{21.5, 0}}));
    EXPECT_EQ(other.assign().back(), unassignedPosition());
}

TEST(RingGrowth, NothingIsFittedWithoutARing) {
    const Points centre(40, rxVector<2>(1.5, 0));
    const Points points = with({{0, 0}}, centre);
    EXPECT_EQ(refined(points), refined({{0, 0}}));
    // With another bucket anywhere there is one, and 41 points end the pass at it.
    EXPECT_NE(refined(with(points, {{55, 5}})), refined({{0, 0}}));
    EXPECT_EQ(refined(with(points, {{55, 5}})), refined(with(points, {{155, 5}})));
}

TEST(RingGrowth, FirstPassKeepsItsLastFitWhenTheRingsRunOut) {
    // Three points bring a fit, a fourth in the second ring does not; a fifth does.
    const Points three = {{0, 0}, {11, 0}, {0, 11}};
    ASSERT_NE(refined(three), refined({{0, 0}}));
    EXPECT_EQ(refined(with(three, {{-22, 1}})), refined(three));
    EXPECT_NE(refined(with(three, {{-22, 1}, {-20, -1}})), refined(three));
}

/// The grid around (0, 0) out to the given ring, the centre first.
Points square(long reach) {
    Points points = {{0, 0}};
    for (long j = -reach; j <= reach; ++j) {
        for (long i = -reach; i <= reach; ++i) {
            if (i == 0 && j == 0) continue;
            points.emplace_back(10.0 * static_cast<double>(i), 10.0 * static_cast<double>(j));
        }
    }
    return points;
}

TEST(RingGrowth, FirstPassStopsAfterTheRingThatBringsMoreThanThirtyPoints) {
    // 1, 9, 25, 49 points: the fourth ring is not looked at.
    const Points around = square(3);
    EXPECT_EQ(refined(with(around, {{41, 1}, {-39, 41}})), refined(with(around, {{41, 40}})));
    // The third is, to its end.
    Points moved = around;
    for (rxVector<2>& p : moved) {
        if (p == rxVector<2>(-30, -20)) p = rxVector<2>(-31, -20);  // the last cell of the ring
    }
    EXPECT_NE(refined(moved), refined(around));
}

TEST(RingGrowth, ThirtyPointsAreNotEnoughToStop) {
    const Points thirty = with(square(2), Points(5, rxVector<2>(20, 20)));
    ASSERT_EQ(thirty.size(), 30U);
    EXPECT_NE(refined(with(thirty, {{31, 1}, {-29, -31}, {0, 31}, {31, -30}})), refined(thirty));
    const Points thirtyOne = with(thirty, {{0, 0}});
    EXPECT_EQ(refined(with(thirtyOne, {{31, 1}, {-29, -31}, {0, 31}, {31, -30}})),
              refined(thirtyOne));
}

TEST(RingGrowth, StoppedFirstPassEndsWithAFit) {
    // 26 points at the end of the second ring bring a fit (the threshold is then 34), 33 at the end
    // of the third none of their own. That ring's points count nevertheless.
    const Points base = with(square(2), {{20, 20}});
    const Points seven = {{-30, -30}, {0, -30}, {30, 0}, {30, 30}, {0, 30}, {-30, 30}, {-30, 0}};
    Points shifted = seven;
    for (rxVector<2>& p : shifted) p = p + rxVector<2>(1, 1);
    EXPECT_NE(refined(with(base, seven)), refined(with(base, shifted)));
}

TEST(RingGrowth, SecondPassGoesOverAllRings) {
    Growth growth(square(12));
    const Positions map = growth.assign();
    EXPECT_EQ(growth.count(), 625);
    const Points points = square(12);
    for (std::size_t k = 0; k < points.size(); ++k) {
        EXPECT_EQ(10.0 * rxVector<2>(map[k]).x(), points[k].x());
        EXPECT_EQ(10.0 * rxVector<2>(map[k]).y(), points[k].y());
    }
}

TEST(RingGrowth, SecondPassKeepsThePairsOfTheFirst) {
    // All points but the first lie 1 to the right of their nodes. The first pass has moved the
    // model towards them already, and the second takes them up once more.
    Points shifted = square(1);
    for (std::size_t k = 1; k < shifted.size(); ++k) shifted[k] = shifted[k] + rxVector<2>(1, 0);
    Growth once(shifted);
    once.assign();
    Growth twice(shifted);
    twice.refine();
    twice.assign();
    EXPECT_EQ(twice.count(), 9);
    EXPECT_GT(twice.model().trans().x(), once.model().trans().x());
}

TEST(RingGrowth, SecondPassMayStartAnywhere) {
    Growth growth(square(2));
    const Positions fromCorner = growth.assign(1);
    EXPECT_EQ(growth.count(), 25);
    EXPECT_EQ(fromCorner.front(), rxPair<long>(0, 0));
    EXPECT_EQ(fromCorner[1], rxPair<long>(-2, -2));
}

TEST(RingGrowth, NodesTwoToTheThirtyStepsOutAreNotAccepted) {
    const double last = 1073741823.0;
    Growth growth({{0, 0}, {10 * last, 0}, {10 * (last + 1), 0}});
    EXPECT_THAT(growth.assign(),
                ElementsAre(rxPair<long>(0, 0), rxPair<long>(1073741823, 0), unassignedPosition()));
    Growth below({{0, 0}, {0, -10 * last}, {0, -10 * (last + 1)}});
    EXPECT_THAT(below.assign(), ElementsAre(rxPair<long>(0, 0), rxPair<long>(0, -1073741823),
                                            unassignedPosition()));
}

TEST(RingGrowth, PointsBeyondTheRangeOfDoubleFromTheGridAreLeftOut) {
    Growth growth({{0, 0}, {1e308, 1e308}, {-1e308, 1e308}, {10, 0}});
    EXPECT_THAT(growth.assign(), ElementsAre(rxPair<long>(0, 0), unassignedPosition(),
                                             unassignedPosition(), rxPair<long>(1, 0)));
}

}  // namespace
