#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <list>
#include <tuple>
#include <utility>
#include <vector>

#include "foundation/angle.h"
#include "foundation/range.h"
#include "reference/random_problems.h"
#include "reference/reference_model.h"
#include "reference/reference_run.h"
#include "reference/reference_search.h"
#include "reference/reference_store.h"

// The reference is what the library is held against, so here it is held against worlds small enough
// to be worked out by hand.
namespace ptmatch::reference {
namespace {

using ::testing::ElementsAre;

// Legs 4 and 3 on the axes; its five quantities are round numbers.
const Points kTriangle{{0.0, 0.0}, {4.0, 0.0}, {0.0, 3.0}};

rxPointMatcherRunParams onUnitGrid() {
    rxPointMatcherRunParams params;
    params.autoGridSize(false);
    params.gridSize(1.0);
    return params;
}

SearchWorld triangleWorld(const rxPointMatcherRunParams& params) {
    return prepareSearch(trainModel(kTriangle), kTriangle, params, 0.25, 8);
}

TEST(ReferenceModel, DerivesTheTrianglesQuantities) {
    const Model model = trainModel(kTriangle);
    EXPECT_EQ(model.defaultGridSize, 0.75);
    EXPECT_EQ(model.centre, rxVector<2>(2.0, 1.5));
    EXPECT_EQ(model.radius, 2.5);
    EXPECT_EQ(model.totalWeight, 3);
}

TEST(ReferenceModel, WideSetTakesItsGridFromTheExtent) {
    EXPECT_EQ(trainModel({{0.0, 0.0}, {1.0, 0.0}, {8192.0, 0.0}}).defaultGridSize, 2.0);
}

TEST(ReferenceModel, TwinSaysNothingAboutSpacing) {
    // The two at the origin are silent about their distance 2; the third is 2 from both.
    EXPECT_EQ(trainModel({{0.0, 0.0}, {0.0, 0.0}, {2.0, 0.0}}).defaultGridSize, 0.5);
    // Without a single point there is no spacing at all.
    const double size = trainModel({{0, 0}, {0, 0}, {2, 0}, {2, 0}}).defaultGridSize;
    EXPECT_EQ(size, std::numeric_limits<double>::infinity());
}

TEST(ReferenceModel, TotalWeightIsThatOfThePositiveOnes) {
    EXPECT_EQ(trainModel(kTriangle, {5, 1, -3}).totalWeight, 6);
}

template <typename Entry>
std::vector<std::pair<long, Entry>> contentOf(const CandidateList<Entry>& list) {
    std::vector<std::pair<long, Entry>> content;
    for (const auto& item : list.bestFirst()) content.emplace_back(item.score, item.entry);
    return content;
}

TEST(ReferenceStore, LatestOfTheLowestScoreGoesFirst) {
    CandidateList<char> list(10, 3);
    EXPECT_TRUE(list.add(5, 'a'));
    EXPECT_TRUE(list.add(7, 'b'));
    EXPECT_TRUE(list.add(5, 'c'));
    EXPECT_TRUE(list.add(6, 'd'));
    EXPECT_THAT(contentOf(list),
                ElementsAre(std::pair(7L, 'b'), std::pair(6L, 'd'), std::pair(5L, 'a')));
}

TEST(ReferenceStore, FullListRefusesATieWithItsLowest) {
    CandidateList<char> list(10, 2);
    list.add(4, 'a');
    list.add(9, 'b');
    EXPECT_FALSE(list.add(4, 'c'));
    EXPECT_TRUE(list.add(5, 'd'));
    EXPECT_EQ(list.lowestScore(), 5);
    EXPECT_FALSE(list.add(-1, 'e'));
    EXPECT_FALSE(list.add(11, 'e'));
}

// The store as an array of buckets, each the list of one score, newest in front, between two marks.
class LiteralBuckets {
  public:
    LiteralBuckets(long maxScore, long capacity)
        : capacity_(capacity), buckets_(static_cast<std::size_t>(maxScore) + 1) {}

    void add(long score, int entry) {
        if (score < 0 || score >= static_cast<long>(buckets_.size())) return;
        if (count_ < capacity_) {
            low_ = count_ == 0 ? score : std::min(low_, score);
            high_ = count_ == 0 ? score : std::max(high_, score);
            ++count_;
        } else {
            if (score <= low_) return;
            bucket(low_).pop_front();
            while (low_ < score && bucket(low_).empty()) ++low_;
            high_ = std::max(high_, score);
        }
        bucket(score).push_front(entry);
    }

    std::vector<std::pair<long, int>> content() {
        std::vector<std::pair<long, int>> all;
        for (long score = high_; count_ > 0 && score >= low_; --score) {
            for (const int entry : bucket(score)) all.emplace_back(score, entry);
        }
        return all;
    }

  private:
    std::list<int>& bucket(long score) { return buckets_[static_cast<std::size_t>(score)]; }

    long capacity_;
    long count_ = 0;
    long low_ = -1;
    long high_ = -1;
    std::vector<std::list<int>> buckets_;
};

TEST(ReferenceStore, ListOrderIsThatOfLiteralBuckets) {
    constexpr std::uint64_t kSeed = 20240611;
    SCOPED_TRACE(testing::Message() << "seed " << kSeed);
    Random random(kSeed);
    for (int trial = 0; trial < 300; ++trial) {
        const long maxScore = random.integer(1, 12);
        const long capacity = random.integer(1, 9);
        CandidateList<int> list(maxScore, capacity);
        LiteralBuckets buckets(maxScore, capacity);
        for (int entry = 0; entry < 60; ++entry) {
            const long score = random.integer(-1, maxScore + 1);
            list.add(score, entry);
            buckets.add(score, entry);
            ASSERT_EQ(contentOf(list), buckets.content());
        }
    }
}

TEST(ReferenceSearch, DrawsABlockPerDataPoint) {
    const SearchWorld world = triangleWorld(onUnitGrid());
    // Extent 4 x 3 on a unit grid: 5 x 4 pixels and a border of one.
    EXPECT_EQ(world.marks.width, 7);
    EXPECT_EQ(world.marks.height, 6);
    const std::vector<int> expected{1, 1, 1, 0, 1, 1, 1,  //
                                    1, 1, 1, 0, 1, 1, 1,  //
                                    1, 1, 1, 0, 1, 1, 1,  //
                                    1, 1, 1, 0, 0, 0, 0,  //
                                    1, 1, 1, 0, 0, 0, 0,  //
                                    1, 1, 1, 0, 0, 0, 0};
    EXPECT_EQ(world.marks.pixels, expected);
}

TEST(ReferenceSearch, WindowReachesEightPixelsBeyondTheImage) {
    // The model's centre lies at the pixel position (3, 2.5) of a 7 x 6 image.
    const Window window = triangleWorld(onUnitGrid()).window;
    EXPECT_EQ(std::tuple(window.lowX, window.highX), std::tuple(-11, 11));
    EXPECT_EQ(std::tuple(window.lowY, window.highY), std::tuple(-11, 11));
}

TEST(ReferenceSearch, TranslationRangeNarrowsTheWindow) {
    rxPointMatcherRunParams params = onUnitGrid();
    params.xTranslationUncertainty(rxRange(-2.5, 1.25));
    params.yTranslationUncertainty(rxRange(5.0, 1e300));
    const Window window = triangleWorld(params).window;
    EXPECT_EQ(std::tuple(window.lowX, window.highX), std::tuple(-3, 2));
    EXPECT_EQ(std::tuple(window.lowY, window.highY), std::tuple(5, 11));
}

TEST(ReferenceSearch, RangeBeyondTheDataLeavesNoWindow) {
    rxPointMatcherRunParams params = onUnitGrid();
    params.xTranslationUncertainty(rxRange(12.0, 40.0));
    EXPECT_TRUE(triangleWorld(params).window.isEmpty());
    params.xTranslationUncertainty(rxRange(11.0, 40.0));
    EXPECT_FALSE(triangleWorld(params).window.isEmpty());
}

TEST(ReferenceSearch, VotesOfTheTriangleOnItself) {
    const Model model = trainModel(kTriangle);
    const SearchWorld world = triangleWorld(onUnitGrid());
    const auto pixels = modelPixels(model, world, 1.0, 0.0);
    EXPECT_THAT(pixels, ElementsAre(rxPair<long>(1, 1), rxPair<long>(5, 1), rxPair<long>(1, 4)));
    const Image<long> votes = countVotes(world, pixels);
    ASSERT_EQ(votes.width, 23);
    ASSERT_EQ(votes.height, 23);
    // All three hit their own blocks for shifts of up to one pixel, and only for those.
    for (long y = 0; y < votes.height; ++y) {
        for (long x = 0; x < votes.width; ++x) {
            const bool isHome = x >= 10 && x <= 12 && y >= 10 && y <= 12;
            EXPECT_EQ(votes.at(x, y) == 3, isHome) << x << ' ' << y;
        }
    }
    // Of the plateau of nine the upper left one counts.
    EXPECT_THAT(findPeaks(votes, 3, true), ElementsAre(rxPair<long>(10, 10)));
}

TEST(ReferenceSearch, WeightsMultiplyTheVotes) {
    const Model model = trainModel(kTriangle, {5, 2, -3});
    const SearchWorld world = prepareSearch(model, kTriangle, onUnitGrid(), 0.5, 8);
    EXPECT_EQ(world.minimumScore, 3);
    const Image<long> votes = countVotes(world, modelPixels(model, world, 1.0, 0.0));
    EXPECT_EQ(votes.at(11, 11), 5 + 2 - 3);
    EXPECT_EQ(votes.at(15, 11), 5);  // the first point alone, on the second's block
    EXPECT_EQ(votes.at(11, 8), -3);  // the last alone, on the first's block
}

Image<long> imageOf(long width, std::vector<long> pixels) {
    Image<long> image(width, static_cast<long>(pixels.size()) / width);
    image.pixels = std::move(pixels);
    return image;
}

TEST(ReferenceSearch, OfTwoEqualNeighboursOneIsThePeak) {
    const rxPair<long> topLeft(0, 0);
    EXPECT_THAT(findPeaks(imageOf(2, {5, 5, 0, 0}), 1, true), ElementsAre(topLeft));
    EXPECT_THAT(findPeaks(imageOf(2, {5, 0, 5, 0}), 1, true), ElementsAre(topLeft));
    EXPECT_THAT(findPeaks(imageOf(2, {5, 0, 0, 5}), 1, true), ElementsAre(topLeft));
    // Of a rising diagonal the lower left one.
    EXPECT_THAT(findPeaks(imageOf(2, {0, 5, 5, 0}), 1, true), ElementsAre(rxPair<long>(0, 1)));
}

TEST(ReferenceSearch, PeaksComeRowByRow) {
    const Image<long> votes = imageOf(5, {0, 0, 3, 0, 4,  //
                                          0, 0, 0, 0, 0,  //
                                          9, 0, 3, 0, 2});
    EXPECT_THAT(findPeaks(votes, 3, true), ElementsAre(rxPair<long>(2, 0), rxPair<long>(4, 0),
                                                       rxPair<long>(0, 2), rxPair<long>(2, 2)));
    EXPECT_THAT(findPeaks(imageOf(3, {3, 3, 2}), 3, false),
                ElementsAre(rxPair<long>(0, 0), rxPair<long>(1, 0)));
}

TEST(ReferenceSearch, WeightsAreScaledOnlyBeyondSixteenBits) {
    EXPECT_THAT(voteWeightsOf(trainModel(kTriangle, {32765, 1, 1})), ElementsAre(32765, 1, 1));
    EXPECT_THAT(voteWeightsOf(trainModel(kTriangle, {32766, 1, 1})), ElementsAre(16383, 1, 1));
    EXPECT_THAT(voteWeightsOf(trainModel(kTriangle, {1, 1, -32767})), ElementsAre(1, 1, -32767));
    // A factor of exactly one half: 0.5 goes to 1.
    EXPECT_THAT(voteWeightsOf(trainModel(kTriangle, {1, 1, -32768})), ElementsAre(1, 1, -16384));
    EXPECT_THAT(voteWeightsOf(trainModel(kTriangle, {1, 1, -32769})), ElementsAre(0, 0, -16384));
}

TEST(ReferenceSearch, ScaleLattice) {
    // Radius 2.5 and a grid of 1: steps of 0.6.
    const Model model = trainModel(kTriangle);
    EXPECT_THAT(scaleLattice(model, rxRange(0.0, 0.0), 1.0), ElementsAre(1.0));
    EXPECT_THAT(scaleLattice(model, rxRange(-0.2, 0.3), 1.0), ElementsAre(1.05));
    // A length of 1.5 steps has one step to either side of its middle.
    const double step = scaleStep_(model, 1.0);
    EXPECT_EQ(scaleLattice(model, rxRange(0.0, 0.9), 1.0).front(), 1.45 - step);
    EXPECT_EQ(scaleLattice(model, rxRange(0.0, 0.9), 1.0).size(), 3U);
    // A pattern without extent has no steps.
    EXPECT_THAT(scaleLattice(trainModel({{1, 1}, {1, 1}, {1, 1}}), rxRange(0.0, 2.0), 1.0),
                ElementsAre(2.0));
}

TEST(ReferenceSearch, FullRotationLatticeIsSymmetricAndCoversTheTurn) {
    const Model model = trainModel(kTriangle);
    const auto angles = rotationLattice(model, rxAngleRange::FullRange(), 1.0, 0.5);
    EXPECT_LE(angles.front(), -180.0);
    EXPECT_GE(angles.back(), 180.0 - rotationStep_(model, 1.0, 0.5));
    EXPECT_EQ(angles.front(), -rotationStep_(model, 1.0, 0.5) *
                                  (std::floor(180.0 / rotationStep_(model, 1.0, 0.5)) + 1));
}

TEST(ReferenceSearch, NarrowRotationHasItsMiddleOnly) {
    // Steps of atan2(2, 2.5) = 38.7 degrees.
    const rxAngleRange narrow(rxRadian(0.1), rxRadian(0.3), false);
    EXPECT_THAT(rotationLattice(trainModel(kTriangle), narrow, 1.0, 1.0),
                ElementsAre(rxDegree(narrow.middle()).toDouble()));
}

TEST(ReferenceRun, FindsTheTriangleOnItself) {
    const RunReport report = run(trainModel(kTriangle), kTriangle, onUnitGrid());
    ASSERT_EQ(report.results.size(), 1U);
    EXPECT_THAT(report.results[0].modelToDataMap, ElementsAre(0, 1, 2));
    EXPECT_EQ(report.results[0].coverage, 1.0);
    EXPECT_NEAR(report.results[0].fitError, 0.0, 1e-14);
    EXPECT_TRUE(report.isTimed);
}

TEST(ReferenceRun, UnreachableCoverageEndsBeforeTheClockStarts) {
    rxPointMatcherRunParams params;
    params.minCoverage(0.5);
    const Model model = trainModel({{0, 0}, {1, 0}, {2, 5}, {3, 1}, {4, 4}});
    const RunReport report = run(model, {{0, 0}, {1, 0}}, params);
    EXPECT_FALSE(report.isTimed);
    EXPECT_EQ(report.polls, 0);
}

TEST(ReferenceRun, ResultsAreOrderedByCoverageThenError) {
    std::vector<Result> results(4);
    results[0].coverage = 0.5;
    results[1].coverage = 1.0;
    results[1].fitError = 0.25;
    results[2].coverage = 1.0;
    results[2].fitError = 0.125;
    results[3].coverage = 0.5;
    results[3].modelToDataMap = {7};
    sortResults(results);
    EXPECT_EQ(results[0].fitError, 0.125);
    EXPECT_EQ(results[1].fitError, 0.25);
    EXPECT_TRUE(results[2].modelToDataMap.empty());
    EXPECT_THAT(results[3].modelToDataMap, ElementsAre(7));
}

TEST(ReferenceRun, RangesForgiveARoundingErrorAtEitherEnd) {
    EXPECT_TRUE(isWithinForgiving(rxRange(0.0, 0.0), 0.9e-9));
    EXPECT_TRUE(isWithinForgiving(rxRange(0.0, 0.0), -0.9e-9));
    EXPECT_FALSE(isWithinForgiving(rxRange(0.0, 0.0), 1.1e-9));
    const rxAngleRange range(rxRadian(-0.25), rxRadian(0.25), false);
    EXPECT_TRUE(isWithinForgiving(range, rxRadian(0.25 + 0.9e-9)));
    EXPECT_FALSE(isWithinForgiving(range, rxRadian(-0.25 - 1.1e-9)));
}

TEST(ReferenceExhaustive, SixAssignmentsTakeTheTriangleToItself) {
    // Three of two points, the one of all three, and two that exchange the ends of a leg: there the
    // exchanged pair pulls both ways alike and the third point decides. Exchanging the ends of the
    // hypotenuse turns by 180 degrees, the cyclic ones by less but too much.
    rxPointMatcherRunParams params;
    params.maxNumResults(20);
    const RunReport report = runExhaustively(trainModel(kTriangle), kTriangle, params);
    ASSERT_EQ(report.results.size(), 6U);
    for (const Result& result : report.results) {
        EXPECT_THAT(result.modelToDataMap, ElementsAre(0, 1, 2));
        EXPECT_EQ(result.coverage, 1.0);
        EXPECT_NEAR(result.fitError, 0.0, 1e-14);
        EXPECT_EQ(result.runMode, rxPointMatcherDefs::eExhaustiveMode);
    }
}

TEST(ReferenceExhaustive, PointAtTheCaptureRangeIsNotCaptured) {
    // The last data point is 1 away; the two others fix the pose (with three pairs the error is
    // shared, and nothing is captured at less).
    const Points data{{0.0, 0.0}, {4.0, 0.0}, {0.0, 4.0}};
    rxPointMatcherRunParams params;
    params.autoCaptureRange(false);
    params.maxNumResults(100);
    const auto identityMatches = [&](double range) {
        params.captureRange(range);
        for (const Result& result : runExhaustively(trainModel(kTriangle), data, params).results) {
            if (result.modelToDataXform.trans().len() < 1e-12 &&
                result.modelToDataXform.xRot().toDouble() == 0.0) {
                return result.coverage;
            }
        }
        return 0.0;
    };
    EXPECT_DOUBLE_EQ(identityMatches(1.0), 2.0 / 3.0);
    EXPECT_DOUBLE_EQ(identityMatches(1.0000001), 1.0);
}

TEST(ReferenceExhaustive, OnePointOnTheSmallerSideFindsNothing) {
    const RunReport report =
        runExhaustively(trainModel(kTriangle), {{1.0, 1.0}}, rxPointMatcherRunParams());
    EXPECT_TRUE(report.results.empty());
    EXPECT_TRUE(report.isTimed);
    EXPECT_TRUE(runExhaustively(trainModel(kTriangle), {}, rxPointMatcherRunParams()).isTimed);
}

}  // namespace
}  // namespace ptmatch::reference
