#include "ptmatch/pinv.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cmath>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

#include "ptmatch/small_matrix.h"
#include "support/allocation_meter.h"

namespace {

using ptmatch::testing::AllocationMeter;
using ptmatch::testing::elementsOf;
using ptmatch::testing::matrixOf;
using ptmatch::testing::randomVector;
using ptmatch::testing::withEveryAllocationFailing;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::is_nothrow_move_constructible_v<rxPsuedoInverse>);

// Usable by whatever is built before main.
constinit rxPsuedoInverse sharedAccumulator;

rxPsuedoInverse threeAndFour() {
    rxPsuedoInverse accumulator(2);
    accumulator.update(std::array{1.0, 0.0}, 3.0);
    accumulator.update(std::array{0.0, 1.0}, 4.0);
    return accumulator;
}

TEST(PsuedoInverse, SolvesForTheUnknowns) {
    EXPECT_THAT(threeAndFour().fit(), ElementsAre(3, 4));
}

TEST(PsuedoInverse, ObservationThatAgreesChangesNothing) {
    rxPsuedoInverse accumulator = threeAndFour();
    accumulator.update(std::array{1.0, 1.0}, 7.0);
    EXPECT_THAT(accumulator.fit(), ElementsAre(3, 4));
}

TEST(PsuedoInverse, ObservationThatDisagreesMovesToTheCompromise) {
    rxPsuedoInverse accumulator = threeAndFour();
    accumulator.update(std::array{1.0, 1.0}, 8.0);
    const std::vector<double> p = accumulator.fit();
    ASSERT_EQ(p.size(), 2U);
    EXPECT_DOUBLE_EQ(p[0], 10.0 / 3.0);
    EXPECT_DOUBLE_EQ(p[1], 13.0 / 3.0);
}

TEST(PsuedoInverse, FitCanBeRepeatedAndContinued) {
    rxPsuedoInverse accumulator = threeAndFour();
    EXPECT_EQ(accumulator.fit(), accumulator.fit());
    accumulator.update(std::array{1.0, 1.0}, 8.0);
    const std::vector<double> p = accumulator.fit();
    EXPECT_EQ(accumulator.fit(), p);
    EXPECT_NE(p, threeAndFour().fit());
}

TEST(PsuedoInverse, KeepsTheNormalEquations) {
    rxPsuedoInverse accumulator(2);
    accumulator.update(std::array{1.0, 2.0}, 3.0);
    accumulator.update(std::array{10.0, 0.5}, 2.0);
    EXPECT_EQ(accumulator.normalMatrix(), matrixOf({{101, 7}, {7, 4.25}}));
    EXPECT_THAT(accumulator.rightHandSide(), ElementsAre(23, 7));
    EXPECT_EQ(accumulator.numUnknowns(), 2);
}

TEST(PsuedoInverse, IsSingularAfterReset) {
    rxPsuedoInverse accumulator = threeAndFour();
    accumulator.reset();
    EXPECT_THROW((void)accumulator.fit(), rxMatrixExt::SingularMatrix);
    EXPECT_EQ(accumulator.normalMatrix(), rxMatrixExt(2, 2));
    EXPECT_THAT(accumulator.rightHandSide(), ElementsAre(0, 0));
}

TEST(PsuedoInverse, IsSingularWithoutObservations) {
    EXPECT_THROW((void)rxPsuedoInverse(1).fit(), rxMatrixExt::SingularMatrix);
    EXPECT_THROW((void)rxPsuedoInverse(8).fit(), rxMatrixExt::SingularMatrix);
}

TEST(PsuedoInverse, UnknownWithoutACoefficientIsSingularAndChangesNothing) {
    rxPsuedoInverse accumulator(2);
    accumulator.update(std::array{1.0, 0.0}, 3.0);
    EXPECT_THROW((void)accumulator.fit(), rxMatrixExt::SingularMatrix);
    EXPECT_EQ(accumulator.normalMatrix(), matrixOf({{1, 0}, {0, 0}}));
    accumulator.update(std::array{0.0, 1.0}, 4.0);
    EXPECT_THAT(accumulator.fit(), ElementsAre(3, 4));
}

// What they determine and what not cannot be told from the solution.
TEST(PsuedoInverse, OtherDeficientSystemsAreNotReported) {
    rxPsuedoInverse accumulator(2);
    accumulator.update(std::array{1.0, 1.0}, 2.0);
    EXPECT_EQ(accumulator.fit().size(), 2U);
    rxPsuedoInverse line(3);
    for (const double x : {1.0, 2.0, 3.0}) line.update(std::array{x, 2.0 * x, 1.0}, x);
    EXPECT_EQ(line.fit().size(), 3U);
}

TEST(PsuedoInverse, ResizeForgetsTheObservationsAlsoAtTheSameSize) {
    rxPsuedoInverse accumulator(3);
    accumulator.update(std::array{1.0, 2.0, 3.0}, 4.0);
    accumulator.resize(3);
    EXPECT_EQ(accumulator.normalMatrix(), rxMatrixExt(3, 3));
    EXPECT_THAT(accumulator.rightHandSide(), ElementsAre(0, 0, 0));
    accumulator = threeAndFour();
    accumulator.resize(3);
    EXPECT_EQ(accumulator.normalMatrix(), rxMatrixExt(3, 3));
    EXPECT_THAT(accumulator.rightHandSide(), ElementsAre(0, 0, 0));
}

TEST(PsuedoInverse, NoUnknownsHaveAnEmptySolution) {
    EXPECT_THAT(sharedAccumulator.fit(), IsEmpty());
    rxPsuedoInverse accumulator;
    accumulator.update({}, 3.0);
    accumulator.update(std::array{1.0}, 3.0);
    accumulator.reset();
    EXPECT_THAT(accumulator.fit(), IsEmpty());
}

TEST(PsuedoInverse, UsesTheFirstCoefficientsAndRefusesTooFew) {
    rxPsuedoInverse accumulator(2);
    accumulator.update(std::array{1.0, 0.0, 99.0}, 3.0);
    EXPECT_THROW(accumulator.update(std::array{5.0}, 3.0), std::out_of_range);
    EXPECT_THROW(accumulator.update({}, 3.0), std::out_of_range);
    EXPECT_EQ(accumulator.normalMatrix(), matrixOf({{1, 0}, {0, 0}}));
    accumulator.update(std::array{0.0, 1.0}, 4.0);
    EXPECT_THAT(accumulator.fit(), ElementsAre(3, 4));
}

TEST(PsuedoInverse, ImpossibleNumbersOfUnknownsAreRefused) {
    rxPsuedoInverse accumulator = threeAndFour();
    for (const long n : {-1L, LONG_MIN, 46341L, 1L << 31, LONG_MAX}) {
        const AllocationMeter meter;
        EXPECT_THROW(accumulator.resize(n), std::length_error) << n;
        EXPECT_THROW(rxPsuedoInverse{n}, std::length_error) << n;
        EXPECT_LT(meter.largest(), 1000U);
    }
    EXPECT_THAT(accumulator.fit(), ElementsAre(3, 4));
}

TEST(PsuedoInverse, UpdateAndResetAllocateNothing) {
    rxPsuedoInverse accumulator(8);
    ptmatch::reference::Random random(51);
    const std::vector<double> x = randomVector(random, 8);
    const AllocationMeter meter;
    accumulator.update(x, 1.0);
    accumulator.reset();
    accumulator.update(x, 2.0);
    EXPECT_EQ(meter.total(), 0U);
}

TEST(PsuedoInverse, FitAllocatesTheCopiesThatItSolvesOn) {
    rxPsuedoInverse accumulator(8);
    ptmatch::reference::Random random(52);
    for (int i = 0; i < 20; ++i) accumulator.update(randomVector(random, 8), 1.0);
    const AllocationMeter meter;
    (void)accumulator.fit();
    // The matrix, the right-hand side and the index.
    EXPECT_EQ(meter.total(), 8 * 8 * sizeof(double) + 8 * sizeof(double) + 8 * sizeof(long));
}

TEST(PsuedoInverse, IsWhatItWasWhenMemoryRunsOut) {
    rxPsuedoInverse accumulator = threeAndFour();
    const auto expectUnchanged = [&] {
        EXPECT_EQ(accumulator.numUnknowns(), 2);
        EXPECT_EQ(accumulator.normalMatrix(), matrixOf({{1, 0}, {0, 1}}));
    };
    EXPECT_GT(withEveryAllocationFailing([&] { accumulator.resize(5); }, expectUnchanged), 1U);
    accumulator = threeAndFour();
    const rxPsuedoInverse other(7);
    EXPECT_GT(withEveryAllocationFailing([&] { accumulator = other; }, expectUnchanged), 1U);
    EXPECT_EQ(accumulator.numUnknowns(), 7);
}

TEST(PsuedoInverse, CopyIsIndependentAndMovedFromOneHasNoUnknowns) {
    rxPsuedoInverse original = threeAndFour();
    rxPsuedoInverse copy = original;
    copy.update(std::array{1.0, 1.0}, 8.0);
    EXPECT_THAT(original.fit(), ElementsAre(3, 4));
    original = copy;
    EXPECT_EQ(original.fit(), copy.fit());
    const rxPsuedoInverse moved = std::move(original);
    EXPECT_EQ(moved.fit(), copy.fit());
    EXPECT_EQ(original.numUnknowns(), 0);  // NOLINT(bugprone-use-after-move): this is the test
    EXPECT_THAT(original.fit(), IsEmpty());
    original.resize(1);
    original.update(std::array{2.0}, 6.0);
    EXPECT_THAT(original.fit(), ElementsAre(3));
    rxPsuedoInverse& self = original;
    original = std::move(self);
    EXPECT_THAT(original.fit(), ElementsAre(3));
}

}  // namespace
