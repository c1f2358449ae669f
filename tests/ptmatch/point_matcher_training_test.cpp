#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <utility>
#include <vector>

#include "foundation/memory_archive.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/ppmatch.h"
#include "support/archive_bytes.h"

namespace {

using Defs = rxPointMatcherDefs;
using Points = std::vector<rxVector<2>>;
using Weights = std::vector<long>;

const char* const kTooFew = "The number of model points must be >= 3\n";
const char* const kCountsDiffer =
    "The number of model points must be equal to the number of weights\n";
const char* const kBadMode =
    "mode must be either rxPointMatcherDefs::eExhaustiveMode or rxPointMatcherDefs::eAutoDetect";
const char* const kTooFewPositive = "At least two weights must be positve.";
const char* const kNotFinite = "The coordinates of model points must be finite\n";

const Points kTriangle = {{0, 0}, {4, 0}, {0, 3}};
const Points kPair = {{0, 0}, {4, 0}};

/// Trains a matcher that was trained before: the call must throw this error, and leave it
/// untrained.
template <class Error, class Train>
void expectTrainingFails(Train&& train, const char* message) {
    rxPointMatcher matcher;
    matcher.train(kTriangle, Defs::eExhaustiveMode);
    EXPECT_THAT([&] { train(matcher); },
                ::testing::ThrowsMessage<Error>(::testing::StrEq(message)));
    EXPECT_FALSE(matcher.isTrained());
    EXPECT_THROW(matcher.trainMode(), Defs::NotTrained);
}

template <class Error>
void expectTrainingFails(const Points& points, Defs::Mode mode, const char* message) {
    expectTrainingFails<Error>([&](rxPointMatcher& m) { m.train(points, mode); }, message);
}

template <class Error>
void expectTrainingFails(const Points& points, const Weights& weights, Defs::Mode mode,
                         const char* message) {
    expectTrainingFails<Error>([&](rxPointMatcher& m) { m.train(points, weights, mode); }, message);
}

/// The trained model as its record shows it.
rx_PointMatcherModel modelOf(const rxPointMatcher& matcher) {
    const std::vector<unsigned char> bytes = ptmatch::testing::stored(matcher);
    rxMemoryLoadArchive ar(bytes);
    unsigned long version = 0;
    long present = 0;
    rx_PointMatcherModel model;
    ar || version || present || model;
    return model;
}

TEST(PointMatcherTraining, ThreePointsSuffice) {
    rxPointMatcher matcher;
    matcher.train(kTriangle, Defs::eAutoDetect);
    EXPECT_TRUE(matcher.isTrained());
    EXPECT_EQ(matcher.modelPoints(), kTriangle);
}

TEST(PointMatcherTraining, PointsAreCountedBeforeAnythingElse) {
    expectTrainingFails<Defs::InsufficientModelPoints>(kPair, Defs::eAutoDetect, kTooFew);
    expectTrainingFails<Defs::InsufficientModelPoints>({}, Defs::eAutoDetect, kTooFew);
    expectTrainingFails<Defs::InsufficientModelPoints>(kPair, Defs::ePointToGrid, kTooFew);
    expectTrainingFails<Defs::InsufficientModelPoints>(kPair, {1, 1, 1}, Defs::ePointToGrid,
                                                       kTooFew);
}

TEST(PointMatcherTraining, TwoModesAreRefusedAndNoOther) {
    for (const Defs::Mode mode : {Defs::ePointToPoint, Defs::ePointToGrid}) {
        expectTrainingFails<Defs::BadParams>(kTriangle, mode, kBadMode);
        expectTrainingFails<Defs::BadParams>(kTriangle, {1, 1, 1}, mode, kBadMode);
    }
    for (const int value : {0, 3, 4, -1, 77}) {
        rxPointMatcher matcher;
        matcher.train(kTriangle, static_cast<Defs::Mode>(value));
        EXPECT_EQ(matcher.trainMode(), value == 3 ? Defs::eExhaustiveMode : Defs::ePointToPoint);
        matcher.train(kTriangle, {1, 1, 1}, static_cast<Defs::Mode>(value));
        EXPECT_EQ(matcher.trainMode(), value == 3 ? Defs::eExhaustiveMode : Defs::ePointToPoint);
    }
}

TEST(PointMatcherTraining, WeightsAreAsManyAsPoints) {
    expectTrainingFails<Defs::BadParams>(kTriangle, {1, 1}, Defs::eAutoDetect, kCountsDiffer);
    expectTrainingFails<Defs::BadParams>(kTriangle, {1, 1, 1, 1}, Defs::eAutoDetect, kCountsDiffer);
    expectTrainingFails<Defs::BadParams>(kTriangle, {}, Defs::eAutoDetect, kCountsDiffer);
    expectTrainingFails<Defs::BadParams>(kTriangle, {1, 1}, Defs::ePointToPoint, kCountsDiffer);
}

TEST(PointMatcherTraining, TwoWeightsArePositive) {
    expectTrainingFails<Defs::BadParams>(kTriangle, {5, 0, -3}, Defs::eAutoDetect, kTooFewPositive);
    expectTrainingFails<Defs::BadParams>(kTriangle, {0, 0, 0}, Defs::eAutoDetect, kTooFewPositive);
    expectTrainingFails<Defs::BadParams>(kTriangle, {5, 0, -3}, Defs::ePointToGrid, kBadMode);

    rxPointMatcher matcher;
    matcher.train(kTriangle, {5, 1, -3}, Defs::eAutoDetect);
    EXPECT_EQ(matcher.weights(), Weights({5, 1, -3}));
    EXPECT_EQ(modelOf(matcher).totalWeight(), 6);
}

TEST(PointMatcherTraining, CoordinatesAreFinite) {
    const double infinity = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const double bad : {infinity, -infinity, nan}) {
        expectTrainingFails<Defs::BadParams>({{0, 0}, {bad, 0}, {0, 3}}, Defs::eAutoDetect,
                                             kNotFinite);
        expectTrainingFails<Defs::BadParams>({{0, 0}, {4, 0}, {0, bad}}, {1, 1, 1},
                                             Defs::eExhaustiveMode, kNotFinite);
    }
    expectTrainingFails<Defs::BadParams>({{0, 0}, {nan, 0}, {0, 3}}, Defs::ePointToPoint, kBadMode);
}

TEST(PointMatcherTraining, WeightsAndTheirSumStayWithin32Bits) {
    const long highest = 2147483647;
    const long lowest = -2147483648;
    const char* const badWeight = "Every weight must be a 32-bit signed integer\n";
    const char* const badSum = "The sum of the positive weights must not exceed 2147483647\n";
    expectTrainingFails<Defs::BadParams>(kTriangle, {1, 1, highest + 1}, Defs::eAutoDetect,
                                         badWeight);
    expectTrainingFails<Defs::BadParams>(kTriangle, {1, 1, lowest - 1}, Defs::eAutoDetect,
                                         badWeight);
    expectTrainingFails<Defs::BadParams>(kTriangle, {highest - 1, 1, 1}, Defs::eAutoDetect, badSum);
    expectTrainingFails<Defs::BadParams>(kTriangle, {highest, highest, highest}, Defs::eAutoDetect,
                                         badSum);

    rxPointMatcher matcher;
    matcher.train(kTriangle, {highest - 1, 1, lowest}, Defs::eAutoDetect);
    EXPECT_EQ(modelOf(matcher).totalWeight(), highest);
}

TEST(PointMatcherTraining, ModelHoldsTheDerivedQuantities) {
    rxPointMatcher matcher;
    matcher.train(kTriangle, Defs::eAutoDetect);
    const rx_PointMatcherModel model = modelOf(matcher);
    EXPECT_EQ(model.defaultGridSize(), 0.75);
    EXPECT_EQ(model.bounds(), rxRectangle<double>(0, 0, 4, 3));
    EXPECT_EQ(model.center(), rxVector<2>(2, 1.5));
    EXPECT_EQ(model.radius(), 2.5);
    EXPECT_EQ(model.totalWeight(), 3);
}

TEST(PointMatcherTraining, CoincidentAndDoubledPointsAreAccepted) {
    rxPointMatcher matcher;
    matcher.train(Points(5, rxVector<2>(7, 7)), Defs::eAutoDetect);
    EXPECT_EQ(modelOf(matcher).defaultGridSize(), std::numeric_limits<double>::infinity());
    EXPECT_EQ(modelOf(matcher).radius(), 0.0);
    matcher.train({{0, 0}, {0, 0}, {8, 6}, {8, 6}}, Defs::eAutoDetect);
    EXPECT_EQ(modelOf(matcher).defaultGridSize(), std::numeric_limits<double>::infinity());
    EXPECT_EQ(modelOf(matcher).radius(), 5.0);
}

TEST(PointMatcherTraining, TrainingAgainReplacesWhatWasTrained) {
    rxPointMatcher matcher;
    matcher.train(kTriangle, {5, 1, -3}, Defs::eAutoDetect);
    const Points others = {{1, 1}, {2, 5}, {3, 3}, {4, 0}};
    matcher.train(others, Defs::eAutoDetect);
    EXPECT_EQ(matcher.modelPoints(), others);
    EXPECT_EQ(matcher.weights(), Weights({1, 1, 1, 1}));
}

TEST(PointMatcherTraining, OwnModelPointsCanBeTrainedOnAgain) {
    rxPointMatcher matcher;
    matcher.train(kTriangle, Defs::eAutoDetect);
    matcher.train(matcher.modelPoints(), {3, 2, 1}, Defs::eAutoDetect);
    EXPECT_EQ(matcher.modelPoints(), kTriangle);
    matcher.train(matcher.modelPoints(), Defs::eExhaustiveMode);
    EXPECT_EQ(matcher.modelPoints(), kTriangle);
    EXPECT_THAT([&] { matcher.train(matcher.modelPoints(), Defs::ePointToPoint); },
                ::testing::ThrowsMessage<Defs::BadParams>(::testing::StrEq(kBadMode)));
    EXPECT_FALSE(matcher.isTrained());
}

TEST(PointMatcherTraining, UntrainingForgetsTheModelAndTheMode) {
    rxPointMatcher matcher;
    matcher.train(kTriangle, Defs::eExhaustiveMode);
    matcher.untrain();
    EXPECT_FALSE(matcher.isTrained());
    EXPECT_THAT([&] { matcher.trainMode(); },
                ::testing::ThrowsMessage<Defs::NotTrained>(
                    ::testing::StrEq("rxPointMatcher tool is not trained\n")));
    matcher.untrain();
    EXPECT_FALSE(matcher.isTrained());
}

}  // namespace
