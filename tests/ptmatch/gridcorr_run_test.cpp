#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "foundation/image_functions.h"
#include "foundation/memory_archive.h"
#include "ptmatch/gridcorr.h"
#include "support/allocation_meter.h"
#include "support/archive_bytes.h"

namespace {

using Defs = rx_PointToGridCorresponderDefs;
using Tool = rx_PointToGridCorresponder;
using TrainParams = rx_PointToGridCorresponderTrainParams;
using RunParams = rx_PointToGridCorresponderRunParams;
using ResultSet = rx_PointToGridCorresponderResultSet;
using Positions = std::vector<rxPair<long>>;
using Rows = std::vector<std::string>;

constexpr long kMost = 2147483647;
constexpr long kLeast = -kMost - 1;

/// The positions of the characters other than '.', in raster order.
Positions positionsOf(const Rows& rows, rxPair<long> origin = {}) {
    Positions positions;
    for (std::size_t y = 0; y < rows.size(); ++y) {
        for (std::size_t x = 0; x < rows[y].size(); ++x) {
            if (rows[y][x] == '.') continue;
            positions.push_back(origin + rxPair<long>(static_cast<long>(x), static_cast<long>(y)));
        }
    }
    return positions;
}

Positions moved(Positions positions, rxPair<long> shift) {
    for (rxPair<long>& p : positions) p = p + shift;
    return positions;
}

Positions joined(Positions a, const Positions& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Tool trained(const Positions& positions, Defs::FeatureType type = Defs::eBorderPoints) {
    Tool tool;
    tool.train(positions, TrainParams(false, type), rxXform<2>());
    return tool;
}

/// The pixels '0' to '9' of the rows.
rxPelBuffer<unsigned char> imageOf(const Rows& rows, rxPair<long> offset = {}) {
    rxPelBuffer<unsigned char> image(static_cast<long>(rows[0].size()),
                                     static_cast<long>(rows.size()), 32);
    for (long y = 0; y < image.height(); ++y) {
        const std::string& row = rows[static_cast<std::size_t>(y)];
        for (std::size_t x = 0; x < row.size(); ++x) {
            image.pointToRow(y)[x] = static_cast<unsigned char>(row[x] - '0');
        }
    }
    image.offset(offset);
    return image;
}

struct Found {
    double score;
    rxPair<long> position;

    friend bool operator==(const Found&, const Found&) = default;
};

std::ostream& operator<<(std::ostream& stream, const Found& found) {
    return stream << found.score << " at (" << found.position.x() << ", " << found.position.y()
                  << ")";
}

std::vector<Found> foundIn(const ResultSet& results) {
    std::vector<Found> found;
    for (const rx_PointToGridCorresponderResult& result : results.results()) {
        EXPECT_TRUE(result.found());
        found.push_back({result.score(), result.position()});
    }
    return found;
}

template <class Data>
std::vector<Found> placementsOf(const Tool& tool, const Data& data, const RunParams& params) {
    ResultSet results;
    const bool found = tool.run(data, params, results);
    EXPECT_EQ(found, !results.results().empty());
    EXPECT_GT(results.time(), 0.0);
    return foundIn(results);
}

/// A set as an earlier run may have left it.
ResultSet usedResults() {
    ResultSet results;
    const Tool tool = trained(positionsOf({"##", "##"}));
    EXPECT_TRUE(tool.run(positionsOf({"##", "##"}), RunParams(), results));
    rxMemoryStoreArchive storing;
    storing || results;
    ptmatch::testing::ByteVector bytes = storing.takeStored();
    const ptmatch::testing::ByteVector hour = ptmatch::testing::stored(3600.0);
    std::copy(hour.begin(), hour.end(), bytes.begin() + 4);  // after the version
    return ptmatch::testing::loaded<ResultSet>(bytes);
}

template <class Data>
void expectNothing(const Tool& tool, const Data& data, const RunParams& params) {
    ResultSet results = usedResults();
    ASSERT_EQ(results.time(), 3600.0);
    EXPECT_FALSE(tool.run(data, params, results));
    EXPECT_TRUE(results.results().empty());
    EXPECT_GT(results.time(), 0.0);
    EXPECT_LT(results.time(), 3600.0);
}

const Rows kPlate = {"####.", "##.##", "#####", ".####"};

TEST(GridCorresponderRun, FindsAnExactCopyThatWasMoved) {
    for (const auto type : {Defs::eAllPoints, Defs::eBorderPoints, Defs::eWideBorderPoints}) {
        const Tool tool = trained(positionsOf(kPlate), type);
        EXPECT_EQ(placementsOf(tool, positionsOf(kPlate, {7, -3}), RunParams()),
                  std::vector<Found>({{1.0, {7, -3}}}));
    }
}

TEST(GridCorresponderRun, CountsPositionsFromWhereverThePatternLies) {
    const Tool tool = trained(positionsOf(kPlate, {-1000, 500}));
    EXPECT_EQ(placementsOf(tool, positionsOf(kPlate, {-990, 480}), RunParams()),
              std::vector<Found>({{1.0, {10, -20}}}));
    EXPECT_EQ(placementsOf(tool, positionsOf(kPlate, {-1000, 500}), RunParams()),
              std::vector<Found>({{1.0, {0, 0}}}));
}

TEST(GridCorresponderRun, RepeatedPositionsAndTheirOrderDoNotMatter) {
    const Tool tool = trained(positionsOf(kPlate));
    const Positions data = positionsOf(kPlate, {7, -3});
    Positions twice(data.rbegin(), data.rend());
    twice.insert(twice.end(), data.begin(), data.end());
    const RunParams params(0.3, 1.0, 50);
    EXPECT_EQ(placementsOf(tool, twice, params), placementsOf(tool, data, params));
    EXPECT_GT(placementsOf(tool, data, params).size(), 1U);
}

TEST(GridCorresponderRun, OfImagesCountsTheOffsetIn) {
    const Tool tool = trained(positionsOf({"##", "#."}, {5, 6}));
    rxPelBuffer<unsigned char> image = imageOf({"0000", "0110", "0100", "0000"}, {-20, 30});
    EXPECT_EQ(placementsOf(tool, rxPelBuffer_const<unsigned char>(image), RunParams()),
              std::vector<Found>({{1.0, {-19 - 5, 31 - 6}}}));
    // A window shows the same pixels at the same positions.
    image.window(1, 1, 2, 3, false);
    EXPECT_EQ(placementsOf(tool, rxPelBuffer_const<unsigned char>(image), RunParams()),
              std::vector<Found>({{1.0, {-19 - 5, 31 - 6}}}));
}

TEST(GridCorresponderRun, OtherPixelValuesAgreeWithNoProbe) {
    // Four points have to be there and the place in the middle has to be empty.
    const Tool tool = trained(positionsOf({"###", "#.#", "###"}));
    ASSERT_EQ(tool.probes().size(), 9U);
    const auto scoreOf = [&](const Rows& rows) {
        const rxPelBuffer_const<unsigned char> image = imageOf(rows);
        return placementsOf(tool, image, RunParams(0.5)).front().score;
    };
    EXPECT_EQ(scoreOf({"111", "101", "111"}), 1.0);
    EXPECT_EQ(scoreOf({"111", "111", "111"}), 8.0 / 9.0);
    EXPECT_EQ(scoreOf({"111", "121", "111"}), 8.0 / 9.0);
    EXPECT_EQ(scoreOf({"121", "101", "111"}), 8.0 / 9.0);
    EXPECT_EQ(scoreOf({"121", "191", "111"}), 7.0 / 9.0);
}

TEST(GridCorresponderRun, SinglePositionFindsNothing) {
    const Tool tool = trained(positionsOf({"#"}));
    expectNothing(tool, Positions{{3, 4}}, RunParams());
    expectNothing(tool, Positions{{3, 4}, {3, 4}, {3, 4}}, RunParams());
    expectNothing(tool, rxPelBuffer_const<unsigned char>(imageOf({"1"})), RunParams());
    // Two in one row are enough, as is an image of one row.
    EXPECT_EQ(placementsOf(tool, Positions{{3, 4}, {4, 4}}, RunParams(1, 1, 9)).size(), 2U);
    EXPECT_EQ(
        placementsOf(tool, rxPelBuffer_const<unsigned char>(imageOf({"01"})), RunParams(1, 1, 9)),
        std::vector<Found>({{1.0, {1, 0}}}));
}

TEST(GridCorresponderRun, EmptyDataFindNothing) {
    const Tool tool = trained(positionsOf(kPlate));
    expectNothing(tool, Positions(), RunParams());
    expectNothing(tool, rxPelBuffer_const<unsigned char>(), RunParams());
    expectNothing(tool, rxPelBuffer_const<unsigned char>(rxPelBuffer<unsigned char>(0, 9, 32)),
                  RunParams());
    expectNothing(tool, rxPelBuffer_const<unsigned char>(rxPelBuffer<unsigned char>(9, 0, 32)),
                  RunParams());
    expectNothing(tool, rxPelBuffer_const<unsigned char>(imageOf({"00000", "00000", "00000"})),
                  RunParams(0.9));
}

TEST(GridCorresponderRun, UntrainedToolFindsNothing) {
    const Positions data = positionsOf(kPlate);
    expectNothing(Tool(), data, RunParams());
    Tool tool = trained(data);
    tool.untrain();
    expectNothing(tool, data, RunParams());
    expectNothing(tool, rxPelBuffer_const<unsigned char>(imageOf({"11", "11"})), RunParams());
}

TEST(GridCorresponderRun, AcceptanceOfNoProbeOrMoreThanAllFindsNothing) {
    const Tool tool = trained(positionsOf({"##########"}), Defs::eAllPoints);
    const Positions data = positionsOf({"##########", "#........."});
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double accept :
         {std::nan(""), 0.0, -0.0, 0.09, -0.5, -1.0, -infinity, 1.1, 3.0, 1e300, infinity}) {
        expectNothing(tool, data, RunParams(accept, 1.0, 1));
        expectNothing(tool, data, RunParams(accept, 1.0, 5));
    }
    EXPECT_FALSE(placementsOf(tool, data, RunParams(0.1)).empty());  // one probe
    EXPECT_EQ(placementsOf(tool, data, RunParams(1.09)),             // ten, cut off
              std::vector<Found>({{1.0, {0, 0}}}));
}

TEST(GridCorresponderRun, FewerThanOneWantedResultFindsNothing) {
    const Tool tool = trained(positionsOf(kPlate));
    for (const long maxNumResults : {0L, -1L, kLeast}) {
        expectNothing(tool, positionsOf(kPlate), RunParams(0.5, 1.0, maxNumResults));
    }
}

TEST(GridCorresponderRun, AcceptsAScoreOfExactlyTheAcceptance) {
    const Tool tool = trained(positionsOf({"##########"}), Defs::eAllPoints);
    ASSERT_EQ(tool.probes().size(), 10U);
    const Positions five = joined(positionsOf({"#####"}), {{14, 4}, {-8, 4}});
    // Wherever the pattern covers all five, and one of its first five probes is among them.
    EXPECT_EQ(placementsOf(tool, five, RunParams(0.5, 1.0, 10)),
              std::vector<Found>(
                  {{0.5, {0, 0}}, {0.5, {-1, 0}}, {0.5, {-2, 0}}, {0.5, {-3, 0}}, {0.5, {-4, 0}}}));
    const Positions four = joined(positionsOf({"####"}), {{14, 4}, {-8, 4}});
    expectNothing(tool, four, RunParams(0.5, 1.0, 10));
}

TEST(GridCorresponderRun, DropsATranslationWhoseFirstProbesAllDisagree) {
    const Tool tool = trained(positionsOf({"##########"}), Defs::eAllPoints);
    const Positions data = joined(positionsOf({"#####"}), {{14, 4}, {-8, 4}});
    // At (-5, 0) the last five probes agree, just enough; but none of the first five does.
    for (const Found& found : placementsOf(tool, data, RunParams(0.5, 1.0, 100))) {
        EXPECT_NE(found.position, rxPair<long>(-5, 0));
    }
    // With an acceptance of four the first six probes decide, and the sixth agrees.
    const std::vector<Found> four = placementsOf(tool, data, RunParams(0.4, 1.0, 100));
    EXPECT_NE(std::find(four.begin(), four.end(), Found{0.5, {-5, 0}}), four.end());
}

TEST(GridCorresponderRun, WantingEveryProbeLooksAtTheFirstOneAlone) {
    const Tool tool = trained(positionsOf({"##########"}), Defs::eAllPoints);
    EXPECT_EQ(placementsOf(tool, positionsOf({"##########", "##########"}), RunParams(1.0, 1.0, 9)),
              std::vector<Found>({{1.0, {0, 1}}, {1.0, {0, 0}}}));
    expectNothing(tool, positionsOf({".#########", "#.########"}), RunParams(1.0, 1.0, 9));
}

TEST(GridCorresponderRun, SingleResultIsTheFirstOfTheBestAndMoreAreLatestFirst) {
    const Tool tool = trained(positionsOf({"##", "##"}), Defs::eAllPoints);
    const Positions data =
        joined(joined(positionsOf({"##", "##"}), positionsOf({"##", "##"}, {5, 0})),
               positionsOf({"##", "##"}, {2, 4}));
    EXPECT_EQ(placementsOf(tool, data, RunParams(1.0, 1.0, 1)),
              std::vector<Found>({{1.0, {0, 0}}}));
    EXPECT_EQ(placementsOf(tool, data, RunParams(1.0, 1.0, 9)),
              std::vector<Found>({{1.0, {2, 4}}, {1.0, {5, 0}}, {1.0, {0, 0}}}));
    // A full store keeps the earlier ones, and lists them latest first.
    EXPECT_EQ(placementsOf(tool, data, RunParams(1.0, 1.0, 2)),
              std::vector<Found>({{1.0, {5, 0}}, {1.0, {0, 0}}}));
}

TEST(GridCorresponderRun, ListsHigherScoresFirst) {
    const Tool tool = trained(positionsOf({"####"}), Defs::eAllPoints);
    const Positions data = joined(positionsOf({"##.#"}), positionsOf({"####"}, {0, 3}));
    // Not (-1, 3), although three of the four agree there: the first one does not.
    EXPECT_EQ(placementsOf(tool, data, RunParams(0.75, 1.0, 9)),
              std::vector<Found>({{1.0, {0, 3}}, {0.75, {1, 3}}, {0.75, {0, 0}}}));
}

TEST(GridCorresponderRun, ConfusionHasNoEffect) {
    const Tool tool = trained(positionsOf(kPlate));
    const Positions data = joined(positionsOf(kPlate), positionsOf(kPlate, {9, 2}));
    const std::vector<Found> expected = placementsOf(tool, data, RunParams(0.4, 1.0, 20));
    EXPECT_GT(expected.size(), 2U);
    for (const double confusion : {-1.0, 0.0, 0.5, 2.0, std::nan("")}) {
        EXPECT_EQ(placementsOf(tool, data, RunParams(0.4, confusion, 20)), expected);
    }
}

TEST(GridCorresponderRun, NeedsDataNoMoreThanFourStepsSmallerThanThePattern) {
    const Tool wide = trained(positionsOf({"##########"}), Defs::eAllPoints);
    expectNothing(wide, positionsOf({"#####"}), RunParams(0.1, 1.0, 9));
    EXPECT_EQ(placementsOf(wide, positionsOf({"######"}), RunParams(0.6, 1.0, 9)).size(), 1U);
    expectNothing(wide, rxPelBuffer_const<unsigned char>(imageOf({"11111"})),
                  RunParams(0.1, 1.0, 9));
    EXPECT_EQ(placementsOf(wide, rxPelBuffer_const<unsigned char>(imageOf({"111111"})),
                           RunParams(0.6, 1.0, 9)),
              std::vector<Found>({{0.6, {-2, 0}}}));

    const Tool tall = trained(positionsOf(Rows(10, "#")), Defs::eAllPoints);
    expectNothing(tall, positionsOf(Rows(5, "#")), RunParams(0.1, 1.0, 9));
    EXPECT_EQ(placementsOf(tall, positionsOf(Rows(6, "#")), RunParams(0.6, 1.0, 9)),
              std::vector<Found>({{0.6, {0, -2}}}));
}

TEST(GridCorresponderRun, OverhangsTheDataByTwoStepsAndNoMore) {
    const Tool tool = trained(positionsOf({"########"}), Defs::eAllPoints);
    // Eight positions of which the first two, or three, were not seen.
    EXPECT_EQ(placementsOf(tool, positionsOf({"######"}, {2, 0}), RunParams(0.6)),
              std::vector<Found>({{0.75, {0, 0}}}));
    EXPECT_EQ(placementsOf(tool, positionsOf({"#####"}, {3, 0}), RunParams(0.6)),
              std::vector<Found>({{0.625, {1, 0}}}));  // a step away from where it belongs
}

TEST(GridCorresponderRun, EmptyNeighboursHaveToBeEmpty) {
    const Tool tool = trained(positionsOf({"#.#", "###"}));
    const Positions hole = positionsOf({"#.#", "###"}, {10, 0});
    const Positions full = positionsOf({"###", "###"}, {10, 0});
    EXPECT_EQ(placementsOf(tool, hole, RunParams()), std::vector<Found>({{1.0, {10, 0}}}));
    EXPECT_EQ(placementsOf(tool, full, RunParams()), std::vector<Found>({{5.0 / 6.0, {10, 0}}}));
}

TEST(GridCorresponderRun, FindsPlacementsWithoutAnyDataWhereEmptyProbesSuffice) {
    // One row of two points and one of empty places next to them.
    const Tool tool = trained(positionsOf({"#..#", "####"}));
    ASSERT_EQ(tool.probes().size(), 8U);
    // So large and empty that its stretches would be closed if they could not matter.
    const Positions data = {{0, 0}, {1100, 1000}};
    const std::vector<Found> found = placementsOf(tool, data, RunParams(0.25, 1.0, kMost));
    // Of 1102 by 1004 translations few see one of the points in an empty place.
    EXPECT_GT(found.size(), 1102U * 1004U - 10U);
    EXPECT_LT(found.size(), 1102U * 1004U);
}

TEST(GridCorresponderRun, OneWantedResultTakesLittleMemoryWhereEveryPlacementQualifies) {
    const Tool tool = trained(positionsOf({"#..#", "####"}));
    const Positions data = {{0, 0}, {300000, 0}};
    rx_PointToGridCorresponderResultSet results;
    const ptmatch::testing::AllocationMeter meter;
    ASSERT_TRUE(tool.run(data, RunParams(0.25, 1.0, 1), results));
    // 1.2 million placements of 24 bytes each would be 29 MB, before a vector's growth.
    EXPECT_LT(meter.total(), 8'000'000U);
}

TEST(GridCorresponderRun, LargePatternMayMissAllItsLastChances) {
    // Of 400 probes those of rows 5 to 9 are missing: after them every single one has to agree.
    const Tool tool = trained(positionsOf(Rows(20, std::string(20, '#'))), Defs::eAllPoints);
    Positions data = joined(positionsOf(Rows(5, std::string(20, '#'))),
                            positionsOf(Rows(10, std::string(20, '#')), {0, 10}));
    EXPECT_EQ(placementsOf(tool, data, RunParams(0.75, 1.0, 10)),
              std::vector<Found>({{0.75, {0, 0}}}));
    data.pop_back();
    expectNothing(tool, data, RunParams(0.75, 1.0, 10));
}

TEST(GridCorresponderRun, TheTimeIsNotStoredWhenAnExceptionPasses) {
    // Two empty probes of four: a placement without data could be accepted.
    const Tool tool = trained(positionsOf({"#..#", "####"}));
    ResultSet results = usedResults();
    try {
        tool.run(Positions{{0, 0}, {1000000000, 1000000000}}, RunParams(0.25), results);
        ADD_FAILURE() << "was run";
    } catch (const Defs::InsufficientMemory& error) {
        EXPECT_EQ(error.message(), "");
    }
    EXPECT_TRUE(results.results().empty());
    EXPECT_EQ(results.time(), 0.0);
}

TEST(GridCorresponderRun, PositionsBeyond32BitsAreRefused) {
    const Tool tool = trained(positionsOf({"##", "##"}));
    for (const rxPair<long>& position :
         {rxPair<long>(kMost + 1, 0), rxPair<long>(0, kMost + 1), rxPair<long>(kLeast - 1, 0),
          rxPair<long>(0, INT64_MIN), rxPair<long>(INT64_MAX, INT64_MIN)}) {
        ResultSet results = usedResults();
        EXPECT_THROW(tool.run(Positions{{0, 0}, position}, RunParams(), results),
                     rx_PelBuffer::Errors);
        EXPECT_TRUE(results.results().empty());
        EXPECT_EQ(results.time(), 0.0);
    }
}

TEST(GridCorresponderRun, TranslationsBetweenTheEndsOfTheRangeAreExact) {
    const Tool low = trained(moved(positionsOf(kPlate), {kLeast, kLeast}));
    const Positions high = moved(positionsOf(kPlate), {kMost - 4, kMost - 3});
    const rxPair<long> across(4294967295 - 4, 4294967295 - 3);
    EXPECT_EQ(placementsOf(low, high, RunParams()), std::vector<Found>({{1.0, across}}));
    const Tool top = trained(high);
    EXPECT_EQ(placementsOf(top, moved(positionsOf(kPlate), {kLeast, kLeast}), RunParams()),
              std::vector<Found>({{1.0, rxPair<long>() - across}}));

    ResultSet results;
    ASSERT_TRUE(low.run(high, RunParams(), results));
    rxMemoryStoreArchive storing;
    EXPECT_THROW(storing || results, rxArchive::Errors);
}

TEST(GridCorresponderRun, FindsBothEndsOfTheWholeRange) {
    const Tool tool = trained(positionsOf(kPlate));
    const Positions data = joined(moved(positionsOf(kPlate), {kLeast, kMost - 3}),
                                  moved(positionsOf(kPlate), {kMost - 4, kLeast}));
    EXPECT_EQ(placementsOf(tool, data, RunParams(0.9, 1.0, 9)),
              std::vector<Found>({{1.0, {kLeast, kMost - 3}}, {1.0, {kMost - 4, kLeast}}}));
}

TEST(GridCorresponderRun, LeavesTheToolAsItWas) {
    Tool tool = trained(positionsOf(kPlate));
    const ptmatch::testing::ByteVector before = ptmatch::testing::stored(tool);
    ResultSet first;
    ResultSet second;
    const Positions data = joined(positionsOf(kPlate), positionsOf(kPlate, {9, 2}));
    tool.run(data, RunParams(0.4, 1.0, 20), first);
    tool.run(data, RunParams(0.4, 1.0, 20), second);
    EXPECT_EQ(foundIn(first), foundIn(second));
    EXPECT_EQ(ptmatch::testing::stored(tool), before);
}

TEST(GridCorresponderRun, OutOfMemoryLeavesNoResults) {
    const Tool tool = trained(positionsOf(kPlate));
    const Positions data = joined(positionsOf(kPlate), positionsOf(kPlate, {9, 2}));
    ResultSet results;
    const std::size_t failures = ptmatch::testing::withEveryAllocationFailing(
        [&] { tool.run(data, RunParams(0.4, 1.0, 20), results); },
        [&] {
            EXPECT_TRUE(results.results().empty());
            EXPECT_EQ(results.time(), 0.0);
        });
    EXPECT_GT(failures, 5U);
    EXPECT_GT(results.results().size(), 2U);
}

}  // namespace
