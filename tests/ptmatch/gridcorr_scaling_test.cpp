// What large patterns, large data and far-flung positions cost.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <vector>

#include "foundation/timer.h"
#include "plain_probe.h"
#include "ptmatch/gridcorr.h"
#include "support/allocation_meter.h"

namespace {

using Defs = rx_PointToGridCorresponderDefs;
using Tool = rx_PointToGridCorresponder;
using TrainParams = rx_PointToGridCorresponderTrainParams;
using RunParams = rx_PointToGridCorresponderRunParams;
using ResultSet = rx_PointToGridCorresponderResultSet;
using Positions = std::vector<rxPair<long>>;
using ptmatch::testing::AllocationMeter;

constexpr rxPair<long> kPlace(31, 57);

/// Far less than what optimised builds reach; the plain search is optimised in each.
#ifdef NDEBUG
constexpr double kLeastGain = 8.0;
#else
constexpr double kLeastGain = 1.0;
#endif

/// Positions of a plate with holes, and a view of it and of more plate around it in which some of
/// its points are missing.
struct Plate {
    Positions pattern;
    Positions data;

    Plate(long patternSize, long dataSize, unsigned seed) {
        std::mt19937 random(seed);
        for (long y = 0; y < dataSize; ++y) {
            for (long x = 0; x < dataSize; ++x) {
                if (random() % 10 == 0) continue;
                const rxPair<long> p = rxPair<long>(x, y) - kPlace;
                if (p.x() >= 0 && p.x() < patternSize && p.y() >= 0 && p.y() < patternSize) {
                    pattern.push_back(p);
                }
                if (random() % 20 != 0) data.emplace_back(x, y);
            }
        }
    }
};

Tool trained(const Positions& pattern, Defs::FeatureType type) {
    Tool tool;
    tool.train(pattern, TrainParams(false, type), rxXform<2>());
    return tool;
}

void expectAtItsPlace(const Tool& tool, const Positions& data) {
    ResultSet results;
    ASSERT_TRUE(tool.run(data, RunParams(0.8, 1.0, 1), results));
    EXPECT_EQ(results.results()[0].position(), kPlace);
    EXPECT_GT(results.results()[0].score(), 0.9);
}

TEST(GridCorresponderScaling, LargePatternIsFoundMuchFasterThanProbeByProbe) {
    const Plate plate(300, 400, 1);
    const Tool tool = trained(plate.pattern, Defs::eAllPoints);
    ASSERT_GT(tool.probes().size(), 80000U);
    expectAtItsPlace(tool, plate.data);

    ResultSet results;
    double fast = 1e9;
    for (int round = 0; round < 3; ++round) {  // others may be busy on the machine
        ASSERT_TRUE(tool.run(plate.data, RunParams(0.5, 1.0, 5), results));
        fast = std::min(fast, results.time());
    }
    ptmatch::testing::PlainProbe plain(tool.probes(), rxPelRect(0, 0, 299, 299));
    const rxTimer plainTimer(true);
    const auto expected = plain.run(plate.data, RunParams(0.5, 1.0, 5));
    const double slow = plainTimer.sec();
    ASSERT_EQ(results.results().size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(results.results()[i].score(), expected[i].score);
        EXPECT_EQ(results.results()[i].position(), expected[i].position);
    }
    EXPECT_LT(fast * kLeastGain, slow);
}

TEST(GridCorresponderScaling, BordersOfLargePatternsAreFound) {
    const Plate plate(300, 400, 2);
    expectAtItsPlace(trained(plate.pattern, Defs::eBorderPoints), plate.data);
    expectAtItsPlace(trained(plate.pattern, Defs::eWideBorderPoints), plate.data);
}

TEST(GridCorresponderScaling, StrayPositionsCostNothing) {
    const Plate plate(30, 90, 3);
    Positions strayed = plate.data;
    strayed.insert(strayed.begin(), {1000000000, -1000000000});
    strayed.insert(strayed.begin() + 100, {-1900000000, 7});
    strayed.push_back({12, 2000000000});
    const Tool tool = trained(plate.pattern, Defs::eAllPoints);

    std::size_t usual = 0;
    std::size_t withStrays = 0;
    ResultSet expected;
    ResultSet results;
    {
        const AllocationMeter meter;
        ASSERT_TRUE(tool.run(plate.data, RunParams(0.5, 1.0, 1000), expected));
        usual = meter.total();
    }
    {
        const AllocationMeter meter;
        ASSERT_TRUE(tool.run(strayed, RunParams(0.5, 1.0, 1000), results));
        withStrays = meter.total();
    }
    EXPECT_LT(withStrays, 2 * usual);
    // With more room to overhang the data there are more placements, none of them better.
    EXPECT_GE(results.results().size(), expected.results().size());
    EXPECT_EQ(results.results()[0].position(), kPlace);
    EXPECT_EQ(results.results()[0].score(), expected.results()[0].score());
}

TEST(GridCorresponderScaling, ClosedStretchesAreOpenedInTheResults) {
    const Plate plate(20, 90, 4);
    Positions data;
    Positions corners;
    for (const rxPair<long>& corner :
         {rxPair<long>(-2000000000, -2000000000), rxPair<long>(0, -2000000000),
          rxPair<long>(1500000000, 5), rxPair<long>(1500000000, 1900000000)}) {
        corners.push_back(corner);
        for (const rxPair<long>& p : plate.pattern) data.push_back(p + corner);
    }
    ResultSet results;
    const Tool tool = trained(plate.pattern, Defs::eBorderPoints);
    ASSERT_TRUE(tool.run(data, RunParams(1.0, 1.0, 10), results));
    ASSERT_EQ(results.results().size(), corners.size());
    for (std::size_t i = 0; i < corners.size(); ++i) {
        EXPECT_EQ(results.results()[i].position(), corners[corners.size() - 1 - i]);
    }
}

TEST(GridCorresponderScaling, ScatteredPositionsOverALargeAreaAreSkipped) {
    // 16,000 by 16,000 translations with a position in nearly each row and column.
    std::mt19937 random(5);
    const Plate plate(100, 160, 5);
    Positions data;
    for (int n = 0; n < 60000; ++n) {
        data.emplace_back(static_cast<long>(random() % 16000), static_cast<long>(random() % 16000));
    }
    for (const rxPair<long>& p : plate.pattern) data.push_back(p + rxPair<long>(9000, 4000));
    const Tool tool = trained(plate.pattern, Defs::eAllPoints);
    ResultSet results;
    const AllocationMeter meter;
    ASSERT_TRUE(tool.run(data, RunParams(0.95, 1.0, 2000000000), results));
    EXPECT_LT(meter.total(), 50000000U);  // a bit for each pixel
    EXPECT_EQ(results.results().size(), 1U);
    EXPECT_EQ(results.results()[0].position(), rxPair<long>(9000, 4000));
    EXPECT_LT(results.time(), 30.0);  // at half a microsecond per 512 translations
}

}  // namespace
