#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "ptmatch/gridcorr.h"
#include "ptmatch/ppmatch.h"
#include "support/allocation_meter.h"
#include "support/archive_bytes.h"
#include "support/pattern_pictures.h"

namespace {

using ptmatch::testing::gridOf;
using ptmatch::testing::GridParts;
using ptmatch::testing::imageOf;
using ptmatch::testing::loaded;
using ptmatch::testing::Picture;
using ptmatch::testing::stored;
using ptmatch::testing::trainedOn;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StrEq;
using ::testing::ThrowsMessage;
using Defs = rxPointMatcherDefs;
using Pair = rxPair<long>;
using Points = std::vector<rxVector<2>>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

const Points kTriangle = {{0, 0}, {4, 0}, {0, 3}};
const Picture kSparse = {"##.", "..#"};
const Picture kDense = {"####", "#.##", "####"};
const Picture kCheckerboard = {"#.#.#", ".#.#.", "#.#.#", ".#.#."};
const rxXform<2> kGrid = gridOf({25, 2}, {-2, 25}, {100, 50});

rxPointMatcher trainedOn(const Points& points, Defs::Mode mode = Defs::eAutoDetect) {
    rxPointMatcher matcher;
    matcher.train(points, mode);
    return matcher;
}

rxPointMatcher trainedOn(const Picture& picture) {
    return trainedOn(imageOf(picture, kGrid));
}

bool isStaggered(const rxPointMatcher& matcher) {
    return GridParts::of(matcher).corresponder.trainParams().staggered();
}

/// As unusable as a failed training leaves a matcher.
void expectUntrained(const rxPointMatcher& matcher) {
    EXPECT_FALSE(matcher.isTrained());
    EXPECT_THROW(matcher.trainMode(), Defs::NotTrained);
    EXPECT_THROW(matcher.pattern(), Defs::NotTrained);
    EXPECT_THROW((void)matcher.modelPoints(), Defs::NotTrained);
    rxPointMatcherResultSet found;
    EXPECT_THROW(matcher.run(kTriangle, rxPointMatcherRunParams(), found), Defs::NotTrained);
}

// ---- modes and queries

TEST(PointMatcherGridTraining, MatcherIsThenOneOfModePointToGrid) {
    for (const Picture& picture : {kSparse, kDense, kCheckerboard}) {
        const rxPointMatcher matcher = trainedOn(picture);
        EXPECT_TRUE(matcher.isTrained());
        EXPECT_EQ(matcher.trainMode(), Defs::ePointToGrid);
    }
}

TEST(PointMatcherGridTraining, ModelQueriesThrow) {
    const char* const message = "rxPointMatcher tool is not trained in mode ePointToPoint\n";
    for (const Picture& picture : {kSparse, kDense}) {
        const rxPointMatcher matcher = trainedOn(picture);
        EXPECT_THAT([&] { (void)matcher.modelPoints(); },
                    ThrowsMessage<Defs::NotTrained>(StrEq(message)));
        EXPECT_THAT([&] { (void)matcher.weights(); },
                    ThrowsMessage<Defs::NotTrained>(StrEq(message)));
    }
}

TEST(PointMatcherGridTraining, PatternIsCroppedToItsPointsAndKeepsTheirPositions) {
    rxPelBuffer<unsigned char> image =
        imageOf({".....", "..##.", ".#...", "....."}, kGrid, Pair(-10, 7));
    image.put(-10 + 2, 7 + 1, 200);
    const rxPointMatcher matcher = trainedOn(image);
    const rxPelBuffer<unsigned char>& pattern = matcher.pattern();
    EXPECT_EQ(pattern.size(), Pair(3, 2));
    EXPECT_EQ(pattern.offset(), Pair(-9, 8));
    EXPECT_EQ(pattern.clientFromImageXform(), kGrid);
    std::vector<int> pixels;
    for (long y = 0; y < 2; ++y) {
        for (long x = 0; x < 3; ++x) pixels.push_back(pattern.pointToRow(y)[x]);
    }
    EXPECT_THAT(pixels, ElementsAre(0, 1, 1, 1, 0, 0));
}

TEST(PointMatcherGridTraining, PatternOfAnyOtherMatcherThrowsWithoutAMessage) {
    const auto expectThrows = [](const rxPointMatcher& matcher) {
        EXPECT_THAT([&] { matcher.pattern(); }, ThrowsMessage<Defs::NotTrained>(StrEq("")));
    };
    expectThrows(rxPointMatcher());
    expectThrows(trainedOn(kTriangle));
    rxPointMatcher exhaustive = trainedOn(kTriangle, Defs::eExhaustiveMode);
    expectThrows(exhaustive);
    exhaustive = trainedOn(kDense);
    EXPECT_EQ(exhaustive.trainMode(), Defs::eExhaustiveMode);
    expectThrows(exhaustive);
}

// ---- what is trained

TEST(PointMatcherGridTraining, CheckerboardTrainsAStaggeredCorresponder) {
    EXPECT_TRUE(isStaggered(trainedOn(kCheckerboard)));
    EXPECT_FALSE(isStaggered(trainedOn(kDense)));
    Picture almost = kCheckerboard;
    almost[0][1] = '#';
    EXPECT_FALSE(isStaggered(trainedOn(almost)));
}

TEST(PointMatcherGridTraining, EveryPointIsProbedAndNoEmptyPosition) {
    const GridParts parts = GridParts::of(trainedOn(kDense));
    EXPECT_EQ(parts.corresponder.trainParams().featureType(),
              rx_PointToGridCorresponderDefs::eAllPoints);
    EXPECT_EQ(parts.numGridPoints, 11);
    EXPECT_EQ(parts.corresponder.probes().size(), 11U);
    for (const auto& probe : parts.corresponder.probes()) EXPECT_TRUE(probe.expected);
}

TEST(PointMatcherGridTraining, PositionsAndModelPointsLeaveTheOffsetOut) {
    const GridParts parts =
        GridParts::of(trainedOn(imageOf({"...", ".##", ".#."}, kGrid, Pair(30, 40))));
    EXPECT_THAT(parts.gridPositions, ElementsAre(Pair(1, 1), Pair(2, 1), Pair(1, 2)));
    EXPECT_EQ(parts.gridXform, kGrid);
    EXPECT_EQ(parts.numGridPoints, 3);
    EXPECT_THAT(parts.gridMatcher.modelPoints(),
                ElementsAre(kGrid * rxVector<2>(1, 1), kGrid * rxVector<2>(2, 1),
                            kGrid * rxVector<2>(1, 2)));
}

TEST(PointMatcherGridTraining, NinePointsAreAlwaysSparse) {
    const GridParts nine = GridParts::of(trainedOn({"###", "###", "###"}));
    EXPECT_TRUE(nine.gridMatcher.isTrained());
    EXPECT_EQ(nine.gridMatcher.trainMode(), Defs::ePointToPoint);
    EXPECT_EQ(nine.gridMatcher.modelPoints().size(), 9U);

    const GridParts ten = GridParts::of(trainedOn({"####", "###.", "###."}));
    EXPECT_FALSE(ten.gridMatcher.isTrained());
    EXPECT_EQ(ten.gridPositions.size(), 10U);
}

TEST(PointMatcherGridTraining, ManyPointsOfAtMostOneNeighbourAreSparse) {
    const Picture pairs = {"##.##.##", "........", "##.##.##"};
    EXPECT_TRUE(GridParts::of(trainedOn(pairs)).gridMatcher.isTrained());
    EXPECT_FALSE(GridParts::of(trainedOn(kCheckerboard)).gridMatcher.isTrained());
}

TEST(PointMatcherGridTraining, NestedMatcherMayBeTrainedWithTheModeFour) {
    // The mode is not recorded, but any value other than 1 and 2 trains.
    EXPECT_EQ(trainedOn(kTriangle, static_cast<Defs::Mode>(4)).trainMode(), Defs::ePointToPoint);
}

TEST(PointMatcherGridTraining, OnlyTheWindowOfAnImageIsTrained) {
    rxPelBuffer<unsigned char> image = imageOf({"#######", "##.####", "###.###", "#######"});
    image.window(2, 1, 3, 2, false);
    const rxPointMatcher matcher = trainedOn(image);
    EXPECT_EQ(stored(matcher), stored(trainedOn(imageOf({".##", "#.#"}, {}, Pair(2, 1)))));
    EXPECT_EQ(matcher.pattern().offset(), Pair(2, 1));
}

TEST(PointMatcherGridTraining, LaterChangesOfTheImageChangeNothing) {
    rxPelBuffer<unsigned char> image = imageOf(kDense, kGrid);
    const rxPointMatcher matcher = trainedOn(image);
    const auto before = stored(matcher);
    for (long x = 0; x < image.width(); ++x) image.put(x, 0, 0);
    EXPECT_EQ(stored(matcher), before);
}

TEST(PointMatcherGridTraining, OwnPatternCanBeTrainedAnew) {
    for (const Picture& picture : {kSparse, kDense}) {
        rxPointMatcher matcher = trainedOn(picture);
        const auto before = stored(matcher);
        matcher.train(matcher.pattern());
        EXPECT_EQ(stored(matcher), before);
    }
}

TEST(PointMatcherGridTraining, TrainingsReplaceEachOther) {
    rxPointMatcher matcher = trainedOn(kTriangle, Defs::eExhaustiveMode);
    matcher.train(imageOf(kSparse, kGrid));
    EXPECT_EQ(matcher.trainMode(), Defs::ePointToGrid);
    EXPECT_EQ(stored(matcher), stored(trainedOn(kSparse)));
    matcher.train(imageOf(kDense, kGrid));
    EXPECT_EQ(stored(matcher), stored(trainedOn(kDense)));
    matcher.train(kTriangle, Defs::eAutoDetect);
    EXPECT_EQ(matcher.trainMode(), Defs::ePointToPoint);
    EXPECT_EQ(matcher.modelPoints(), kTriangle);
    EXPECT_THROW(matcher.pattern(), Defs::NotTrained);
}

TEST(PointMatcherGridTraining, UntrainForgetsTheGrid) {
    rxPointMatcher matcher = trainedOn(kSparse);
    matcher.untrain();
    expectUntrained(matcher);
}

// ---- what cannot be trained

TEST(PointMatcherGridTraining, FewerThanThreePointsAreRefusedWithoutAMessage) {
    for (const Picture& picture : {Picture{}, Picture{"..."}, Picture{"#.", ".."}, {"#.", ".#"}}) {
        for (rxPointMatcher matcher :
             {rxPointMatcher(), trainedOn(kTriangle), trainedOn(kSparse), trainedOn(kDense)}) {
            EXPECT_THAT([&] { matcher.train(imageOf(picture)); },
                        ThrowsMessage<Defs::InsufficientModelPoints>(StrEq("")));
            expectUntrained(matcher);
        }
    }
    EXPECT_TRUE(trainedOn(imageOf({"#.", "##"})).isTrained());
}

TEST(PointMatcherGridTraining, TransformThatIsNotFiniteIsRefused) {
    for (const double bad : {kNan, kInfinity, -kInfinity}) {
        for (const rxXform<2>& xform :
             {gridOf({bad, 0}, {0, 25}), gridOf({25, 0}, {0, 25}, {0, bad})}) {
            rxPointMatcher matcher = trainedOn(kDense);
            EXPECT_THAT([&] { matcher.train(imageOf(kDense, xform)); },
                        ThrowsMessage<Defs::BadParams>(
                            StrEq("The transform of the training image must be finite\n")));
            expectUntrained(matcher);
        }
    }
}

TEST(PointMatcherGridTraining, SparsePointsBeyondTheRangeOfDoubleAreRefused) {
    rxPointMatcher matcher = trainedOn(kSparse);
    EXPECT_THROW(matcher.train(imageOf(kSparse, gridOf({1e308, 0}, {0, 1}))), Defs::BadParams);
    expectUntrained(matcher);
}

TEST(PointMatcherGridTraining, SingularTransformIsAccepted) {
    for (const Picture& picture : {kSparse, kDense}) {
        EXPECT_TRUE(trainedOn(imageOf(picture, gridOf({25, 0}, {50, 0}))).isTrained());
    }
}

TEST(PointMatcherGridTraining, TrainingThatRunsOutOfMemoryLeavesItUntrained) {
    for (const Picture& picture : {kSparse, kDense}) {
        const rxPelBuffer<unsigned char> image = imageOf(picture, kGrid);
        rxPointMatcher matcher;
        const std::size_t failures =
            ptmatch::testing::withEveryAllocationFailing([&] { matcher.train(image); },
                                                         [&] {
                                                             expectUntrained(matcher);
                                                             matcher = trainedOn(kCheckerboard);
                                                         });
        EXPECT_GE(failures, 5U);  // corresponder, pattern, probes, positions, nested matcher
        EXPECT_EQ(stored(matcher), stored(trainedOn(picture)));
    }
}

// ---- values

TEST(PointMatcherGridTraining, CopyOwnsItsGridAndKeepsTheMode) {
    for (const Picture& picture : {kSparse, kDense}) {
        rxPointMatcher source = trainedOn(picture);
        const rxPointMatcher copy(source);
        EXPECT_EQ(copy.trainMode(), Defs::ePointToGrid);
        EXPECT_EQ(stored(copy), stored(source));
        EXPECT_FALSE(copy.pattern().sharesPixelsWith(source.pattern()));
        source.train(imageOf(kCheckerboard));
        EXPECT_EQ(stored(copy), stored(trainedOn(picture)));
    }
}

TEST(PointMatcherGridTraining, AssignmentTakesTheGridAndLeavesTheModeOfTheTarget) {
    rxPointMatcher points = trainedOn(kTriangle);
    points = trainedOn(kSparse);
    EXPECT_EQ(points.trainMode(), Defs::ePointToGrid);
    EXPECT_EQ(stored(points), stored(trainedOn(kSparse)));

    rxPointMatcher grid = trainedOn(kDense);
    grid = trainedOn(kTriangle);
    EXPECT_EQ(grid.trainMode(), Defs::ePointToPoint);
    EXPECT_THROW(grid.pattern(), Defs::NotTrained);

    rxPointMatcher exhaustive = trainedOn(kTriangle, Defs::eExhaustiveMode);
    exhaustive = trainedOn(kDense);
    EXPECT_TRUE(exhaustive.isTrained());
    EXPECT_EQ(exhaustive.trainMode(), Defs::eExhaustiveMode);
    rxPointMatcherResultSet found;
    EXPECT_THAT([&] { exhaustive.run(kTriangle, rxPointMatcherRunParams(), found); },
                ThrowsMessage<Defs::NotTrained>(StrEq("rxPointMatcher tool is not trained\n")));
}

TEST(PointMatcherGridTraining, SelfAssignmentChangesNothing) {
    rxPointMatcher matcher = trainedOn(kSparse);
    const rxPointMatcher& same = matcher;
    matcher = same;
    EXPECT_EQ(stored(matcher), stored(trainedOn(kSparse)));
}

TEST(PointMatcherGridTraining, AssignmentThatRunsOutOfMemoryChangesNothing) {
    const rxPointMatcher source = trainedOn(kSparse);
    rxPointMatcher target = trainedOn(kDense);
    const auto before = stored(target);
    const std::size_t failures = ptmatch::testing::withEveryAllocationFailing(
        [&] { target = source; }, [&] { EXPECT_EQ(stored(target), before); });
    EXPECT_GE(failures, 6U);  // corresponder, pattern, probes, nested matcher and model, positions
    EXPECT_EQ(stored(target), stored(source));
}

TEST(PointMatcherGridTraining, PatternOfNinetyThousandPositionsIsFast) {
    rxPelBuffer<unsigned char> image(300, 300, 32);
    for (long y = 0; y < 300; ++y) {
        for (long x = 0; x < 300; ++x) image.put(x, y, x * y % 7 != 3 ? 1 : 0);
    }
    const rxPointMatcher matcher = trainedOn(image);  // seconds, were it quadratic
    EXPECT_EQ(matcher.pattern().size(), Pair(300, 300));
}

}  // namespace
