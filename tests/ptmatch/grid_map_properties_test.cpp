#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

#include "grid_points.h"
#include "ptmatch/ptgdmap.h"

namespace {

using ptmatch::testing::gridPoints;
using ptmatch::testing::moved;
using ptmatch::testing::Randomness;
using ptmatch::testing::turnBy;
using ptmatch::testing::uprightGrid;
using Params = rxPtToGridMapRunParams;
using Result = rxPtToGridMapResult;
using Points = std::vector<rxVector<2>>;

/// A grid with noise, some of its nodes missing, in no order.
struct Plate {
    Points points;
    Params params{rxVector<2>(10, 0), rxVector<2>(0, 10)};
};

Plate randomPlate(Randomness& random, double yStep = 10) {
    Plate plate;
    plate.params.yv(rxVector<2>(0, yStep));
    const long columns = 6 + random.below(8);
    const long rows = 6 + random.below(8);
    for (const rxVector<2>& node : gridPoints(columns, rows, uprightGrid(10, yStep))) {
        if (random.below(10) > 0) plate.points.push_back(node + random.within(0.4));
    }
    random.shuffle(plate.points);
    return plate;
}

Result mapped(const Points& points, const Params& params) {
    Result result;
    EXPECT_EQ(rfPtToGridMap(points, params, result), static_cast<long>(points.size()));
    return result;
}

/// Maps that differ by one shift, and transforms that differ by that shift and a motion.
void expectMovedAlong(const Result& before, const Result& after, const rxXform<2>& motion) {
    ASSERT_EQ(before.map().size(), after.map().size());
    const rxPair<long> shift = after.map()[0] - before.map()[0];
    for (std::size_t k = 0; k < before.map().size(); ++k) {
        ASSERT_EQ(after.map()[k] - before.map()[k], shift) << "point " << k;
    }
    for (const rxPair<long>& p : {rxPair<long>(0, 0), rxPair<long>(10, 0), rxPair<long>(0, 10)}) {
        const rxVector<2> expected = motion * (before.grid2point() * rxVector<2>(p));
        const rxVector<2> actual = after.grid2point() * rxVector<2>(p + shift);
        EXPECT_LE((actual - expected).len(), 1e-9);
    }
}

TEST(GridMapProperties, TurningPointsAndStepsTurnsTheTransformAlone) {
    for (std::uint64_t seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        Randomness random(seed);
        Plate plate = randomPlate(random);
        const Result before = mapped(plate.points, plate.params);
        // Both steps still point to positive directions, as far as the walk is concerned.
        const double degrees = random.between(-40, 40);
        const rxXform<2> motion = turnBy(degrees, random.within(1000));
        plate.params.xv(turnBy(degrees) * plate.params.xv());
        plate.params.yv(turnBy(degrees) * plate.params.yv());
        expectMovedAlong(before, mapped(moved(motion, plate.points), plate.params), motion);
    }
}

TEST(GridMapProperties, TurningPointsWithinTheToleranceTurnsTheTransformAlone) {
    for (std::uint64_t seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        Randomness random(seed);
        const Plate plate = randomPlate(random, 13);
        const Result before = mapped(plate.points, plate.params);
        const rxXform<2> motion = turnBy(random.between(-15, 15), random.within(1000));
        expectMovedAlong(before, mapped(moved(motion, plate.points), plate.params), motion);
    }
}

TEST(GridMapProperties, ExactShiftOfThePointsChangesNoPosition) {
    for (std::uint64_t seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        Randomness random(seed);
        Plate plate = randomPlate(random);
        for (rxVector<2>& p : plate.points) {
            p = rxVector<2>(std::round(p.x() * 1024) / 1024, std::round(p.y() * 1024) / 1024);
        }
        const rxVector<2> shift(static_cast<double>(random.below(100000)),
                                static_cast<double>(-random.below(100000)));
        const rxXform<2> motion(rxMatrix<2>(), shift);
        const Result before = mapped(plate.points, plate.params);
        const Result after = mapped(moved(motion, plate.points), plate.params);
        EXPECT_EQ(before.map(), after.map());
        expectMovedAlong(before, after, motion);
    }
}

/// One of the four rotations of the square lattice.
rxPair<long> quarterTurned(rxPair<long> p, int quarters) {
    for (int k = 0; k < quarters; ++k) p = rxPair<long>(-p.y(), p.x());
    return p;
}

/// Whether the positions of the kept points are those of before, turned and shifted as a whole.
bool agreeUpTo(int quarters, const Result& before, const std::vector<std::size_t>& kept,
               const Result& after) {
    const rxPair<long> shift = after.map()[0] - quarterTurned(before.map()[kept[0]], quarters);
    for (std::size_t k = 0; k < kept.size(); ++k) {
        if (after.map()[k] - quarterTurned(before.map()[kept[k]], quarters) != shift) return false;
    }
    return true;
}

struct Thinned {
    Points points;
    std::vector<std::size_t> kept;
};

Thinned thinned(const Points& points, Randomness& random) {
    Thinned result;
    for (std::size_t k = 0; k < points.size(); ++k) {
        if (random.below(10) < 3) continue;
        result.points.push_back(points[k]);
        result.kept.push_back(k);
    }
    return result;
}

TEST(GridMapProperties, DroppingPointsShiftsTheOthersAsAWhole) {
    for (std::uint64_t seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE(seed);
        Randomness random(seed);
        const Plate plate = randomPlate(random, 11);
        const Thinned fewer = thinned(plate.points, random);
        const Result before = mapped(plate.points, plate.params);
        const Result after = mapped(fewer.points, plate.params);
        EXPECT_TRUE(agreeUpTo(0, before, fewer.kept, after));
    }
}

TEST(GridMapProperties, DroppingPointsOfASquareLatticeInAnyPoseTurnsTheOthersAsAWhole) {
    std::array<int, 4> seen{};
    for (std::uint64_t seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE(seed);
        Randomness random(seed);
        Plate plate = randomPlate(random);
        plate.params.angleTol(rxAngleRange::FullRange());
        plate.points = moved(turnBy(random.between(-180, 180)), plate.points);
        const Thinned fewer = thinned(plate.points, random);
        const Result before = mapped(plate.points, plate.params);
        const Result after = mapped(fewer.points, plate.params);
        int quarters = 0;
        while (quarters < 4 && !agreeUpTo(quarters, before, fewer.kept, after)) ++quarters;
        ASSERT_LT(quarters, 4) << "no symmetry of the lattice";
        ++seen[static_cast<std::size_t>(quarters)];
    }
    EXPECT_LT(seen[0], 100) << "the scenes do not reach other rotations";
}

}  // namespace
