#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "foundation/exception.h"
#include "foundation/image_functions.h"
#include "reference/random_grid_scenes.h"
#include "reference/reference_corresponder.h"
#include "reference/reference_grid_map.h"
#include "reference/reference_grid_match.h"
#include "reference/reference_store.h"

// The reference of everything about grids against worlds small enough to be worked out by hand, and
// the random scenes against what they are made for.
namespace ptmatch::reference {
namespace {

using ::testing::ElementsAre;
using Defs = rx_PointToGridCorresponderDefs;

Positions block(long columns, long rows) {
    Positions positions;
    for (long y = 0; y < rows; ++y) {
        for (long x = 0; x < columns; ++x) positions.emplace_back(x, y);
    }
    return positions;
}

/// Nodes 10 apart, row by row.
Points plate(long columns, long rows) {
    Points points;
    for (const rxPair<long>& p : block(columns, rows)) {
        points.emplace_back(10.0 * static_cast<double>(p.x()), 10.0 * static_cast<double>(p.y()));
    }
    return points;
}

rxPtToGridMapRunParams stepsOf(double x, double y) {
    return rxPtToGridMapRunParams(rxVector<2>(x, 0.0), rxVector<2>(0.0, y));
}

TEST(ReferenceLineTracker, AQuarterOffTheLineEndsIt) {
    LineTracker line;
    for (const double x : {2.0, 2.0, 5.0, 9.0}) line.feed({x, 1.0});
    line.feed({7.0, 1.24});
    EXPECT_TRUE(line.isCollinear());
    line.feed({7.0, 0.75});
    EXPECT_FALSE(line.isCollinear());
    line.feed({8.0, 1.0});
    EXPECT_FALSE(line.isCollinear());
}

TEST(ReferenceLineTracker, NothingIsOnALine) {
    EXPECT_TRUE(LineTracker().isCollinear());
}

TEST(ReferenceGridMap, SmoothingGoesRoundTheCircle) {
    DirectionHistogram histogram{};
    histogram[1] = 10;
    const DirectionHistogram smooth = smoothed(histogram);
    EXPECT_EQ(smooth[1], 80);
    EXPECT_EQ(smooth[0], 40);
    EXPECT_EQ(smooth[2], 40);
    EXPECT_EQ(smooth[359], 20);
    EXPECT_EQ(smooth[358], 10);
    EXPECT_EQ(smooth[4], 10);
    EXPECT_EQ(smooth[357], 0);
    EXPECT_EQ(smooth[5], 0);
}

TEST(ReferenceGridMap, FirstAndLastTwoRotationsAreNeverChosen) {
    EXPECT_EQ(rotationAtPeak({9, 1, 2, 9, 9}, -2).degrees, 0.0);
    EXPECT_EQ(rotationAtPeak({9, 1, 9}, -1).degrees, 0.0);
    EXPECT_EQ(rotationAtPeak({0, 0, 0, 0, 0, 0}, 5).degrees, 6.0);
}

TEST(ReferenceGridMap, OfEqualPeaksTheFirstIsChosen) {
    EXPECT_EQ(rotationAtPeak({0, 0, 5, 5, 0, 0}, 0).degrees, 2.0);
    EXPECT_EQ(rotationAtPeak({0, 0, 5, 0, 5, 0, 0}, 0).degrees, 2.0);
}

TEST(ReferenceGridMap, PeakMovesTwiceAsFarAsAParabola) {
    const Rotation rotation = rotationAtPeak({0, 1, 4, 3, 0, 0}, 10);
    EXPECT_TRUE(rotation.isRefined);
    EXPECT_EQ(rotation.degrees, 12.0 + (3.0 - 1.0) / (8.0 - 1.0 - 3.0));
}

// Own bucket, right, (lower right, upper right,) below, left, (..,) above.
TEST(ReferenceGridMap, FourthLinkComesFromALaterBucket) {
    const GridMapReport report = mapToGrid(plate(3, 3), stepsOf(10.0, 10.0));
    EXPECT_THAT(report.trace.links[4], ElementsAre(5, 7, 3, 1));
    EXPECT_THAT(report.trace.links[0], ElementsAre(1, 3));
    EXPECT_THAT(report.trace.links[8], ElementsAre(7, 5));
}

// Every node twice, the later one first in its bucket: of the lower neighbours the third link ends
// the bucket, of the left ones the fourth.
TEST(ReferenceGridMap, ThirdLinkEndsItsBucket) {
    Points points = plate(3, 3);
    const Points once = points;
    points.insert(points.end(), once.begin(), once.end());
    const GridMapReport report = mapToGrid(points, stepsOf(10.0, 10.0));
    EXPECT_THAT(report.trace.links[4], ElementsAre(14, 5, 16, 12));
    EXPECT_EQ(report.count, 18);
    EXPECT_EQ(report.map[4], report.map[13]);
}

TEST(ReferenceGridMap, BandFromZeroLinksAPointWithItself) {
    rxPtToGridMapRunParams params = stepsOf(10.0, 10.0);
    params.sizeTol(rxRange(0.0, 1.0));
    const GridMapReport report = mapToGrid({{0.0, 0.0}, {10.0, 0.0}}, params);
    EXPECT_THAT(report.trace.links[0], ElementsAre(0, 1));
    EXPECT_EQ(report.trace.histogram[0], 3);
    EXPECT_EQ(report.trace.histogram[180], 1);
}

/// The map, as seen from the first point.
Positions fromFirst(const GridMapReport& report) {
    Positions positions;
    for (const rxPair<long>& p : report.map) positions.push_back(p - report.map[0]);
    return positions;
}

// The residuals are all 0 but for rounding, which chooses the origin.
TEST(ReferenceGridMap, PlateIsSeededAtItsFirstNode) {
    const GridMapReport report = mapToGrid(plate(3, 3), stepsOf(10.0, 10.0));
    EXPECT_EQ(report.trace.seed, 0);
    EXPECT_EQ(report.map[static_cast<std::size_t>(report.trace.origin)], rxPair<long>(0, 0));
    EXPECT_EQ(report.trace.rotationDeg, 0.0);
    EXPECT_EQ(report.count, 9);
    EXPECT_TRUE(report.valid);
    EXPECT_EQ(fromFirst(report), block(3, 3));
    EXPECT_EQ(report.trace.finalDof, 6);
    EXPECT_NEAR(report.pointFromGrid.matrix().element(0, 0), 10.0, 1e-13);
    EXPECT_NEAR(report.pointFromGrid.matrix().element(1, 1), 10.0, 1e-13);
    EXPECT_NEAR(report.pointFromGrid.matrix().element(0, 1), 0.0, 1e-13);
}

// All links against the steps lead to nodes that were walked before.
TEST(ReferenceGridMap, StepsToSmallerCoordinatesFindNoSeed) {
    const GridMapReport report = mapToGrid(plate(4, 4), stepsOf(-10.0, -10.0));
    EXPECT_EQ(report.count, 0);
    EXPECT_FALSE(report.hasMap);
    EXPECT_FALSE(report.hasTransform);
}

TEST(ReferenceGridMap, NodeWithoutNeighbourIsNoSeed) {
    const GridMapReport report = mapToGrid({{0.0, 0.0}, {50.0, 0.0}}, stepsOf(10.0, 10.0));
    EXPECT_FALSE(report.hasMap);
    EXPECT_EQ(report.trace.columns, 6);
}

TEST(ReferenceGridMap, TwoPointsHaveAMapThatIsNotValid) {
    const GridMapReport report = mapToGrid({{0.0, 0.0}, {10.0, 0.0}}, stepsOf(10.0, 10.0));
    EXPECT_EQ(report.count, 2);
    EXPECT_FALSE(report.valid);
    EXPECT_EQ(fromFirst(report), block(2, 1));
    EXPECT_FALSE(report.hasTransform);
}

TEST(ReferenceGridMap, StepsThatSpanNothingMapNothing) {
    const Points points = plate(3, 3);
    for (const auto& [xv, yv, staggered] :
         {std::tuple(rxVector<2>(), rxVector<2>(), false),
          std::tuple(rxVector<2>(10, 1), rxVector<2>(-20, -2), false),
          std::tuple(rxVector<2>(10, 0), rxVector<2>(), true),
          std::tuple(rxVector<2>(), rxVector<2>(0, 10), true),
          std::tuple(rxVector<2>(10, 0), rxVector<2>(10, 0), true)}) {
        const GridMapReport report = mapToGrid(points, rxPtToGridMapRunParams(xv, yv, staggered));
        EXPECT_EQ(report.count, 0);
        EXPECT_FALSE(report.hasMap);
    }
    EXPECT_FALSE(mapToGrid({}, stepsOf(10.0, 10.0)).hasMap);
}

TEST(ReferenceGridMap, SnapAndDirectionToleranceComeFromTheSteps) {
    const GridMapTrace trace = mapToGrid(plate(3, 3), stepsOf(10.0, 20.0)).trace;
    EXPECT_EQ(trace.snap, 2.0);
    EXPECT_NEAR(trace.dirTolDeg, 5.7106, 1e-4);
    rxPtToGridMapRunParams params = stepsOf(10.0, 20.0);
    params.snapSize(0.1);
    EXPECT_EQ(mapToGrid(plate(3, 3), params).trace.dirTolDeg, 1.5);
}

TEST(ReferenceGridMap, RowIsFittedAsASimilarity) {
    const GridMapReport report = mapToGrid(plate(5, 1), stepsOf(10.0, 10.0));
    EXPECT_EQ(report.count, 5);
    EXPECT_EQ(report.trace.finalDof, 4);
    const auto oneStep = rxPtToGridMapRunParams(rxVector<2>(), rxVector<2>(0.0, 10.0));
    EXPECT_EQ(fromFirst(mapToGrid(plate(1, 5), oneStep)), block(1, 5));
}

// The five of a die, whose diagonals are the steps of the search.
TEST(ReferenceGridMap, StaggeredPositionsHaveEvenSums) {
    rxPtToGridMapRunParams params = stepsOf(10.0, 10.0);
    params.staggered(true);
    const Points die{{0.0, 0.0}, {20.0, 0.0}, {10.0, 10.0}, {0.0, 20.0}, {20.0, 20.0}};
    const GridMapReport report = mapToGrid(die, params);
    ASSERT_EQ(report.count, 5);
    EXPECT_EQ(report.map[static_cast<std::size_t>(report.trace.origin)], rxPair<long>(0, 0));
    EXPECT_EQ(report.map[4] - report.map[0], rxPair<long>(2, 2));
    EXPECT_EQ(report.map[2] - report.map[0], rxPair<long>(1, 1));
    EXPECT_EQ(report.map[1] - report.map[0], rxPair<long>(2, 0));
}

/// Only the neighbours of the first node are where they should be.
Points restlessPlate(long columns, long rows) {
    Points points;
    for (const rxPair<long>& p : block(columns, rows)) {
        const double off = p.x() + p.y() < 2 ? 0.0 : (p.x() + p.y()) % 2 == 0 ? 0.4 : -0.4;
        points.emplace_back(10.0 * static_cast<double>(p.x()) + off,
                            10.0 * static_cast<double>(p.y()));
    }
    return points;
}

// Rings around the corner hold 1, 3, 5, 7, 9, 11, 13 nodes.
TEST(ReferenceGridMap, FirstPassEndsAboveThirty) {
    const GridMapTrace trace = mapToGrid(restlessPlate(7, 7), stepsOf(10.0, 10.0)).trace;
    EXPECT_EQ(trace.origin, 0);
    EXPECT_EQ(trace.firstPassCount, 36);
    EXPECT_TRUE(trace.stoppedEarly);
    EXPECT_EQ(trace.firstPassFits, 5);   // at 4, 9, 16, 25, 36
    EXPECT_EQ(trace.secondPassFits, 5);  // and not at 49, which is below 55
}

TEST(ReferenceGridMap, NarrowRangeIsWidenedEvenly) {
    rxPtToGridMapRunParams params = stepsOf(10.0, 10.0);
    params.angleTol(degrees(3.0, 3.0));
    const GridMapTrace trace = mapToGrid(plate(3, 3), params).trace;
    EXPECT_EQ(trace.rotationDeg, 3.0);
}

TEST(ReferenceGridMap, CollapsedPositionsDetermineNoTransform) {
    rxPtToGridMapRunParams params = stepsOf(10.0, 10.0);
    params.sizeTol(rxRange::FullRange());
    // The last comes first in the bucket, and has to see the others in front of it.
    const Points points{{2.0, 0.0}, {1.0, 0.0}, {0.0, 0.0}};
    EXPECT_THROW(static_cast<void>(mapToGrid(points, params)), rxLSPointToPointFitter::Errors);
}

rx_PointToGridCorresponderTrainParams probing(Defs::FeatureType type, bool staggered = false) {
    return rx_PointToGridCorresponderTrainParams(staggered, type);
}

std::pair<long, long> countProbes(const Pattern& pattern) {
    const auto positive = std::count_if(pattern.probes.begin(), pattern.probes.end(),
                                        [](const Probe& probe) { return probe.expected; });
    return {positive, static_cast<long>(pattern.probes.size()) - positive};
}

Positions withoutCentre() {
    Positions positions = block(5, 5);
    std::erase(positions, rxPair<long>(2, 2));
    return positions;
}

TEST(ReferenceCorresponder, BorderOfABlock) {
    EXPECT_EQ(countProbes(trainPattern(block(5, 5), probing(Defs::eBorderPoints))),
              std::pair(16L, 0L));
    EXPECT_EQ(countProbes(trainPattern(withoutCentre(), probing(Defs::eBorderPoints))),
              std::pair(20L, 1L));
    EXPECT_EQ(countProbes(trainPattern(withoutCentre(), probing(Defs::eAllPoints))),
              std::pair(24L, 0L));
    // The ring within the border is beside it, but for its corners' inner neighbours.
    EXPECT_EQ(countProbes(trainPattern(block(5, 5), probing(Defs::eWideBorderPoints))),
              std::pair(24L, 0L));
}

TEST(ReferenceCorresponder, ProbesAreInRasterOrderFromTheCorner) {
    const Pattern pattern =
        trainPattern({{6, 4}, {5, 3}, {7, 3}, {6, 4}}, probing(Defs::eBorderPoints));
    EXPECT_EQ(pattern.corner, rxPair<long>(5, 3));
    EXPECT_THAT(pattern.probes,
                ElementsAre(Probe{{0, 0}, true}, Probe{{1, 0}, false}, Probe{{2, 0}, true},
                            Probe{{0, 1}, false}, Probe{{1, 1}, true}, Probe{{2, 1}, false}));
}

TEST(ReferenceCorresponder, StaggeredPatternLooksAtDiagonals) {
    Positions checkerboard = block(5, 5);
    std::erase_if(checkerboard, [](const rxPair<long>& p) { return (p.x() + p.y()) % 2 != 0; });
    // Eight on the border; the five within have all their diagonal neighbours.
    EXPECT_EQ(countProbes(trainPattern(checkerboard, probing(Defs::eBorderPoints, true))),
              std::pair(8L, 0L));
    EXPECT_EQ(countProbes(trainPattern(checkerboard, probing(Defs::eBorderPoints, false))),
              std::pair(13L, 12L));
}

// Of the row beside the points, every second place is marked by its neighbour before its turn, and
// then spreads no further.
TEST(ReferenceCorresponder, SecondLayerOfEmptyPlaces) {
    Positions rows = block(7, 1);
    for (long x = 0; x < 7; ++x) rows.emplace_back(x, 6);
    const Pattern narrow = trainPattern(rows, probing(Defs::eBorderPoints));
    EXPECT_EQ(countProbes(narrow), std::pair(14L, 14L));
    const Pattern wide = trainPattern(rows, probing(Defs::eWideBorderPoints));
    EXPECT_EQ(countProbes(wide), std::pair(14L, 14L + 8L));
}

TEST(ReferenceCorresponder, CopyIsFoundWhereItWasMoved) {
    const Positions pattern{{1, 1}, {2, 1}, {4, 1}, {1, 3}, {3, 2}};
    Positions data;
    for (const rxPair<long>& p : pattern) data.push_back(p + rxPair<long>(7, -3));
    const rx_PointToGridCorresponderRunParams params(1.0);
    EXPECT_THAT(place(trainPattern(pattern, probing(Defs::eBorderPoints)), data, params),
                ElementsAre(Placement{1.0, {7, -3}}));
}

TEST(ReferenceCorresponder, PlacementIsDroppedWhenNoFirstProbeAgrees) {
    const Pattern row = trainPattern(block(4, 1), probing(Defs::eAllPoints));
    // At (0, 0) only the first probe disagrees, and it is the only one that is looked at first.
    const rx_PointToGridCorresponderRunParams params(0.75, 1.0, 9);
    EXPECT_THAT(place(row, Positions{{1, 0}, {2, 0}, {3, 0}}, params),
                ElementsAre(Placement{0.75, {1, 0}}));
}

TEST(ReferenceCorresponder, OfEqualScoresOneIsTheFirstAndSeveralComeLatestFirst) {
    const Pattern pair = trainPattern({{0, 0}, {1, 0}}, probing(Defs::eAllPoints));
    const Positions data = block(3, 2);
    using Params = rx_PointToGridCorresponderRunParams;
    EXPECT_THAT(place(pair, data, Params(1.0, 1.0, 1)), ElementsAre(Placement{1.0, {0, 0}}));
    EXPECT_THAT(place(pair, data, Params(1.0, 1.0, 9)),
                ElementsAre(Placement{1.0, {1, 1}}, Placement{1.0, {0, 1}}, Placement{1.0, {1, 0}},
                            Placement{1.0, {0, 0}}));
    // Full of the first two, it refuses the others.
    EXPECT_THAT(place(pair, data, Params(1.0, 1.0, 2)),
                ElementsAre(Placement{1.0, {1, 0}}, Placement{1.0, {0, 0}}));
}

TEST(ReferenceCorresponder, DataMayBeFourStepsSmaller) {
    const Pattern pattern = trainPattern(block(6, 1), probing(Defs::eAllPoints));
    const rx_PointToGridCorresponderRunParams params(0.3, 1.0, 9);
    EXPECT_THAT(place(pattern, block(2, 1), params), ElementsAre(Placement{2.0 / 6.0, {-2, 0}}));
    EXPECT_TRUE(place(trainPattern(block(7, 1), probing(Defs::eAllPoints)), block(2, 1),
                      rx_PointToGridCorresponderRunParams(0.2))
                    .empty());
    EXPECT_TRUE(place(pattern, block(1, 1), params).empty());
}

TEST(ReferenceCorresponder, KeepsWhatAStoreOfBucketsKeeps) {
    constexpr std::uint64_t kSeed = 20240617;
    SCOPED_TRACE(testing::Message() << "seed " << kSeed);
    Random random(kSeed);
    for (int trial = 0; trial < 300; ++trial) {
        const long capacity = random.integer(2, 9);
        CandidateList<rxPair<long>> list(12, capacity);
        std::vector<ScoredPosition> offered;
        for (long k = random.integer(0, 60); k > 0; --k) {
            offered.push_back({random.integer(0, 12), {k, 0}});
            list.add(offered.back().score, offered.back().position);
        }
        std::vector<ScoredPosition> stored;
        for (const auto& item : list.bestFirst()) stored.push_back({item.score, item.entry});
        ASSERT_EQ(keepBest(offered, capacity), stored);
    }
}

rxPelBuffer<unsigned char> imageOf(const Positions& positions, long width, long height) {
    rxPelBuffer<unsigned char> image = framedImage(width, height, {0, 0});
    for (const rxPair<long>& p : positions) image.put(p.x(), p.y(), 1);
    image.clientFromImageXform(rxXform<2>(rxMatrix<2>(10.0, 0.0, 0.0, 10.0), rxVector<2>()));
    return image;
}

TEST(ReferenceGridMatch, TellsWhatAnImageShows) {
    const auto plain = trainOnImage(imageOf(block(4, 3), 4, 3));
    ASSERT_TRUE(plain.has_value());
    EXPECT_FALSE(plain->isStaggered);
    EXPECT_FALSE(plain->isSparse);
    EXPECT_EQ(plain->modelPoints[5], rxVector<2>(10.0, 10.0));
    EXPECT_TRUE(trainOnImage(imageOf(block(3, 3), 3, 3))->isSparse);
    EXPECT_FALSE(trainOnImage(imageOf(block(2, 1), 4, 3)).has_value());

    Positions apart;
    for (const rxPair<long>& p : block(4, 3)) apart.emplace_back(2 * p.x(), 2 * p.y());
    EXPECT_TRUE(trainOnImage(imageOf(apart, 7, 5))->isStaggered);
    EXPECT_TRUE(trainOnImage(imageOf(apart, 7, 5))->isSparse);
    apart.emplace_back(1, 1);
    EXPECT_FALSE(trainOnImage(imageOf(apart, 7, 5))->isSparse);
    apart.emplace_back(1, 0);
    EXPECT_FALSE(trainOnImage(imageOf(apart, 7, 5))->isStaggered);
}

TEST(ReferenceGridMatch, ErrorComparesModelCoordinatesWithPositions) {
    const auto matcher = trainOnImage(imageOf(block(4, 3), 4, 3));
    Points data = plate(4, 3);
    for (rxVector<2>& p : data) p = p + rxVector<2>(100.0, 50.0);
    const auto results = runOnGrid(*matcher, data, rxPointMatcherRunParams(1.0));
    ASSERT_EQ(results.size(), 1U);
    EXPECT_EQ(results[0].coverage, 1.0);
    EXPECT_EQ(results[0].dof, 6);
    EXPECT_NEAR(results[0].modelToDataXform.trans().x(), 100.0, 1e-12);
    EXPECT_NEAR(results[0].modelToDataXform.matrix().element(0, 0), 1.0, 1e-13);
    EXPECT_EQ(results[0].gridToData.at(3, 2), 11);
    // Model (10 x, 10 y) beside grid (x, y): 81 times the mean of x^2 + y^2.
    EXPECT_NEAR(results[0].fitError, 81.0 * 62.0 / 12.0, 1e-9);
}

// A cross of five: too few for a map of the data.
TEST(ReferenceGridMatch, SparseTransformStartsFromPositions) {
    const Positions cross{{1, 0}, {0, 1}, {1, 1}, {2, 1}, {1, 3}};
    const auto matcher = trainOnImage(imageOf(cross, 3, 4));
    ASSERT_TRUE(matcher->isSparse);
    Points data;
    for (const rxPair<long>& p : cross) {
        data.push_back(
            {10.0 * static_cast<double>(p.x()) + 7.0, 10.0 * static_cast<double>(p.y()) - 2.0});
    }
    const auto results = runOnGrid(*matcher, data, rxPointMatcherRunParams(1.0));
    ASSERT_EQ(results.size(), 1U);
    EXPECT_EQ(results[0].coverage, 1.0);
    EXPECT_NEAR(results[0].modelToDataXform.matrix().element(0, 0), 10.0, 1e-12);
    EXPECT_NEAR(results[0].modelToDataXform.trans().x(), 7.0, 1e-12);
    EXPECT_NEAR(results[0].fitError, 0.0, 1e-12);
    EXPECT_EQ(results[0].gridToData.at(1, 3), 4);
    EXPECT_EQ(results[0].gridToData.at(0, 0), -1);
}

constexpr std::uint64_t kFirstSeed = 9'000'000;
constexpr std::uint64_t kCasesOfAKind = 50;

template <typename Scene, typename Visit>
void forEachScene(const std::vector<SceneKind<Scene>>& kinds, Visit visit) {
    for (const SceneKind<Scene>& kind : kinds) {
        for (std::uint64_t i = 0; i < kCasesOfAKind; ++i) {
            Random random(kFirstSeed + i);
            visit(kind, kind.make(random));
        }
    }
}

/// Whether some node has two points.
bool hasSharedNode(const GridMapReport& report) {
    std::set<std::pair<long, long>> taken;
    for (const rxPair<long>& p : report.map) {
        if (!isUnassigned(p) && !taken.insert({p.x(), p.y()}).second) return true;
    }
    return false;
}

void addFeatures(const GridMapReport& report, std::map<std::string, long>& counts) {
    const GridMapTrace& trace = report.trace;
    counts["valid"] += report.valid ? 1 : 0;
    counts["a map that is not valid"] += report.hasMap && !report.valid ? 1 : 0;
    counts["no seed among points"] += !report.hasMap && trace.columns > 0 ? 1 : 0;
    counts["origin beside the seed"] += trace.origin != trace.seed ? 1 : 0;
    counts["a rotation between degrees"] += trace.isRotationRefined ? 1 : 0;
    counts["a first pass that ends early"] += trace.stoppedEarly ? 1 : 0;
    counts["a first pass that ends late"] += report.hasMap && !trace.stoppedEarly ? 1 : 0;
    counts["several fits of the second pass"] += trace.secondPassFits > 3 ? 1 : 0;
    counts["points left over"] +=
        report.valid && report.count < static_cast<long>(report.map.size()) ? 1 : 0;
    counts["a similarity"] += trace.finalDof == 4 ? 1 : 0;
    counts["an affine map"] += trace.finalDof == 6 ? 1 : 0;
    counts["two points at a node"] += hasSharedNode(report) ? 1 : 0;
    bool hasFour = false;
    bool hasSelf = false;
    for (std::size_t k = 0; k < trace.links.size(); ++k) {
        hasFour = hasFour || trace.links[k].size() == 4;
        hasSelf = hasSelf || std::count(trace.links[k].begin(), trace.links[k].end(),
                                        static_cast<long>(k)) > 0;
    }
    counts["a fourth link"] += hasFour ? 1 : 0;
    counts["a link to itself"] += hasSelf ? 1 : 0;
}

TEST(RandomGridScenes, ReachEveryTurnOfTheMapping) {
    std::map<std::string, long> counts;
    forEachScene(mapScenes(), [&](const SceneKind<MapScene>&, const MapScene& scene) {
        try {
            addFeatures(mapToGrid(scene.points, scene.params), counts);
        } catch (const rxException&) {
            ++counts["a fit that fails"];
        }
    });
    for (const auto& [feature, count] : counts) EXPECT_GE(count, 20) << feature;
    EXPECT_EQ(counts.size(), 15U);
}

TEST(RandomGridScenes, ReachEveryKindOfPlacement) {
    long withNegatives = 0;
    long several = 0;
    long tied = 0;
    forEachScene(placementScenes(), [&](const SceneKind<PlacementScene>&, const auto& scene) {
        const Pattern pattern = trainPattern(scene.pattern, scene.trainParams);
        const auto placements = place(pattern, scene.data, scene.runParams);
        withNegatives += countProbes(pattern).second > 0 && !placements.empty() ? 1 : 0;
        several += placements.size() > 1 ? 1 : 0;
        tied += placements.size() > 1 && placements[0].score == placements[1].score ? 1 : 0;
    });
    EXPECT_GE(withNegatives, 100);
    EXPECT_GE(several, 100);
    EXPECT_GE(tied, 100);
}

TEST(RandomGridScenes, PatternsAreMatchedAsTheirListSays) {
    const auto isSparse = [](const GridMatchScene& scene) {
        return trainOnImage(scene.image).value().isSparse;
    };
    forEachScene(densePatternScenes(), [&](const auto& kind, const GridMatchScene& scene) {
        EXPECT_FALSE(isSparse(scene)) << kind;
    });
    forEachScene(sparsePatternScenes(), [&](const auto& kind, const GridMatchScene& scene) {
        EXPECT_TRUE(isSparse(scene)) << kind;
    });
}

}  // namespace
}  // namespace ptmatch::reference
