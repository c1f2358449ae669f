#include "ptmatch/least_squares.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

#include "foundation/exception.h"
#include "ptmatch/jacobi_svd.h"
#include "ptmatch/pinv.h"
#include "ptmatch/small_matrix.h"
#include "support/allocation_meter.h"

namespace {

using ptmatch::reference::Random;
using ptmatch::testing::AllocationMeter;
using ptmatch::testing::elementsOf;
using ptmatch::testing::identityMatrix;
using ptmatch::testing::matrixOf;
using ptmatch::testing::randomMatrix;
using ptmatch::testing::randomVector;
using ptmatch::testing::withEveryAllocationFailing;
using testing::DoubleNear;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pointwise;

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

double lengthOf(const std::vector<double>& values) {
    double sum = 0.0;
    for (const double value : values) sum += value * value;
    return std::sqrt(sum);
}

std::vector<double> product(const rxMatrixExt& a, const std::vector<double>& x) {
    std::vector<double> result;
    for (long r = 0; r < a.rows(); ++r) {
        double sum = 0.0;
        for (long c = 0; c < a.cols(); ++c) {
            sum += a.element(r, c) * x[static_cast<std::size_t>(c)];
        }
        result.push_back(sum);
    }
    return result;
}

rxMatrixExt product(const rxMatrixExt& a, const rxMatrixExt& b) {
    rxMatrixExt result(a.rows(), b.cols());
    for (long r = 0; r < a.rows(); ++r) {
        for (long c = 0; c < b.cols(); ++c) {
            double sum = 0.0;
            for (long k = 0; k < a.cols(); ++k) sum += a.element(r, k) * b.element(k, c);
            result.element(r, c, sum);
        }
    }
    return result;
}

rxMatrixExt transposed(const rxMatrixExt& a) {
    rxMatrixExt result(a.cols(), a.rows());
    for (long r = 0; r < a.rows(); ++r) {
        for (long c = 0; c < a.cols(); ++c) result.element(c, r, a.element(r, c));
    }
    return result;
}

std::vector<double> difference(std::vector<double> a, const std::vector<double>& b) {
    for (std::size_t i = 0; i < a.size(); ++i) a[i] -= b[i];
    return a;
}

TEST(SolveLeastSquares, SolvesARegularSystem) {
    const std::vector<double> b{10, 8};
    const rxLeastSquaresSolution s = rfSolveLeastSquares(matrixOf({{2, 8}, {4, 4}}), b);
    EXPECT_THAT(s.x, Pointwise(DoubleNear(8 * kEpsilon), {1.0, 1.0}));
    EXPECT_EQ(s.rank, 2);
    EXPECT_TRUE(s.isDetermined());
    EXPECT_LE(s.residualNorm, 16 * kEpsilon);
    EXPECT_EQ(s.numEquations, 2);
}

TEST(SolveLeastSquares, GivesTheShortestSolutionOfAnOpenSystem) {
    const std::vector<double> b{2, 7};
    const rxLeastSquaresSolution s = rfSolveLeastSquares(matrixOf({{1, 1, 0}}), b);
    EXPECT_THAT(s.x, Pointwise(DoubleNear(4 * kEpsilon), {1.0, 1.0, 0.0}));
    EXPECT_EQ(s.rank, 1);
    EXPECT_FALSE(s.isDetermined());
    EXPECT_EQ(s.condition, kInfinity);
    EXPECT_EQ(s.numEquations, 1) << "the other right-hand side is not used";
}

TEST(SolveLeastSquares, GivesTheShortestBestSolutionOfADeficientSystem) {
    // Both columns are the same; the best sum of the unknowns is the mean, 3.
    const std::vector<double> b{1, 2, 6};
    const rxLeastSquaresSolution s = rfSolveLeastSquares(matrixOf({{1, 1}, {1, 1}, {1, 1}}), b);
    EXPECT_THAT(s.x, Pointwise(DoubleNear(16 * kEpsilon), {1.5, 1.5}));
    EXPECT_EQ(s.rank, 1);
    EXPECT_GT(s.condition, 1e15);
    EXPECT_NEAR(s.residualNorm, std::sqrt(14.0), 16 * kEpsilon);
    EXPECT_NEAR(s.rmsResidual(), std::sqrt(14.0 / 3.0), 16 * kEpsilon);
}

TEST(SolveLeastSquares, MatrixOfZerosDeterminesNothing) {
    const std::vector<double> b{3, 4};
    const rxLeastSquaresSolution s = rfSolveLeastSquares(rxMatrixExt(2, 3), b);
    EXPECT_THAT(s.x, ElementsAre(0, 0, 0));
    EXPECT_EQ(s.rank, 0);
    EXPECT_EQ(s.condition, kInfinity);
    EXPECT_DOUBLE_EQ(s.residualNorm, 5.0);
}

TEST(SolveLeastSquares, OneUnknownThatNoEquationHoldsIsOpen) {
    const rxLeastSquaresSolution ofZeros =
        rfSolveLeastSquares(rxMatrixExt(2, 1), std::vector<double>{3, 4});
    EXPECT_FALSE(ofZeros.isDetermined());
    EXPECT_EQ(ofZeros.condition, kInfinity);
    EXPECT_DOUBLE_EQ(ofZeros.residualNorm, 5.0);
    const rxLeastSquaresSolution ofNothing = rfSolveLeastSquares(rxMatrixExt(0, 1), {});
    EXPECT_FALSE(ofNothing.isDetermined());
    EXPECT_EQ(ofNothing.condition, kInfinity);
}

TEST(SolveLeastSquares, ProblemsWithoutEquationsOrUnknowns) {
    const rxLeastSquaresSolution open = rfSolveLeastSquares(rxMatrixExt(0, 2), {});
    EXPECT_THAT(open.x, ElementsAre(0, 0));
    EXPECT_FALSE(open.isDetermined());
    EXPECT_EQ(open.condition, kInfinity);
    EXPECT_EQ(open.rmsResidual(), 0.0);
    const std::vector<double> b{3, 4};
    const rxLeastSquaresSolution none = rfSolveLeastSquares(rxMatrixExt(2, 0), b);
    EXPECT_THAT(none.x, IsEmpty());
    EXPECT_TRUE(none.isDetermined());
    EXPECT_EQ(none.condition, 1.0);
    EXPECT_DOUBLE_EQ(none.residualNorm, 5.0);
    EXPECT_TRUE(rfSolveLeastSquares(rxMatrixExt(), {}).isDetermined());
}

TEST(SolveLeastSquares, MatrixWithoutElementsCostsNoMoreThanItsResult) {
    constexpr long kMost = 2147483647;
    {
        const AllocationMeter meter;
        EXPECT_TRUE(rfSingularValues(rxMatrixExt(0, kMost)).empty());
        EXPECT_TRUE(rfSingularValues(rxMatrixExt(kMost, 0)).empty());
        EXPECT_EQ(meter.total(), 0U);
    }
    {
        const AllocationMeter meter;
        EXPECT_THROW((void)rfSolveLeastSquares(rxMatrixExt(0, kMost), {}), std::length_error);
        EXPECT_THROW((void)rfSolveLeastSquares(rxMatrixExt(0, 46341), {}), std::length_error);
        EXPECT_THROW((void)rfSolveLeastSquares(rxMatrixExt(kMost, 0), {}), std::out_of_range);
        EXPECT_LT(meter.total(), 2000U) << "the messages";
    }
    {
        const AllocationMeter meter;
        EXPECT_EQ(rfSolveLeastSquares(rxMatrixExt(0, 46340), {}).x.size(), 46340U);
        EXPECT_EQ(meter.total(), 46340 * sizeof(double));
    }
    const std::vector<double> b(1000, -2e200);
    const AllocationMeter meter;
    const rxLeastSquaresSolution none = rfSolveLeastSquares(rxMatrixExt(1000, 0), b);
    EXPECT_EQ(meter.total(), 0U);
    EXPECT_NEAR(none.rmsResidual() / 2e200, 1.0, 100 * kEpsilon);
}

TEST(SolveLeastSquares, ToleranceDecidesWhatCountsAsZero) {
    const rxMatrixExt a = matrixOf({{1, 0}, {0, 1e-6}});
    const std::vector<double> b{1, 1};
    EXPECT_EQ(rfSolveLeastSquares(a, b).rank, 2);
    EXPECT_EQ(rfSolveLeastSquares(a, b, 0.0).rank, 2);
    const rxLeastSquaresSolution cut = rfSolveLeastSquares(a, b, 1e-5);
    EXPECT_EQ(cut.rank, 1);
    EXPECT_THAT(cut.x, ElementsAre(1.0, 0.0));
    EXPECT_DOUBLE_EQ(cut.residualNorm, 1.0);
    EXPECT_NEAR(cut.condition, 1e6, 1e6 * 8 * kEpsilon) << "of the matrix as it is";
    EXPECT_EQ(rfSolveLeastSquares(a, b, 1.0).rank, 0);
    EXPECT_EQ(rfSolveLeastSquares(matrixOf({{1, 0}, {0, 1e-200}}), b, 0.0).rank, 1);
}

TEST(SolveLeastSquares, RefusesWhatItCannotSolve) {
    const std::vector<double> one{1.0};
    EXPECT_THROW((void)rfSolveLeastSquares(identityMatrix(2), one), std::out_of_range);
    for (const double bad : {kNaN, kInfinity, -kInfinity}) {
        const std::vector<double> badB{bad};
        EXPECT_THROW((void)rfSolveLeastSquares(matrixOf({{bad}}), one), rxMathError);
        EXPECT_THROW((void)rfSolveLeastSquares(matrixOf({{1}}), badB), rxMathError);
        EXPECT_THROW((void)rfSolveLeastSquares(matrixOf({{1}}), one, bad), rxMathError);
        EXPECT_THROW((void)rfSingularValues(matrixOf({{1, bad}})), rxMathError);
    }
    // 1e300 / 1e-300
    const std::vector<double> huge{1e300};
    EXPECT_THROW((void)rfSolveLeastSquares(matrixOf({{1e-300}}), huge), rxMathError);
}

TEST(SolveLeastSquares, WorksAtTheEndsOfTheRange) {
    for (const double unit : {1e-307, 1e-160, 1e160, 1e307}) {
        SCOPED_TRACE(unit);
        const rxMatrixExt a = matrixOf({{unit, unit}, {unit, -unit}, {0, unit}});
        const std::vector<double> b{3 * unit, -unit, 2 * unit};
        const rxLeastSquaresSolution s = rfSolveLeastSquares(a, b);
        EXPECT_THAT(s.x, Pointwise(DoubleNear(16 * kEpsilon), {1.0, 2.0}));
        EXPECT_NEAR(s.condition, std::sqrt(1.5), 16 * kEpsilon);
        EXPECT_LE(s.residualNorm, 16 * kEpsilon * unit);
    }
}

// x is the best one when the residual is orthogonal to all columns, and the shortest of the best
// when it is a combination of the rows.
TEST(SolveLeastSquares, RandomProblemsOfAnyShapeAndRankAreSolved) {
    constexpr std::uint64_t kSeed = 61;
    Random random(kSeed);
    for (int repeat = 0; repeat < 300; ++repeat) {
        const long m = random.integer(1, 24);
        const long n = random.integer(1, 24);
        const long rank = random.integer(1, std::min(m, n));
        SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", case " << repeat << ": " << m
                                        << " x " << n << " of rank " << rank);
        const rxMatrixExt a = product(randomMatrix(random, m, rank), randomMatrix(random, rank, n));
        const std::vector<double> b = randomVector(random, m);
        const rxLeastSquaresSolution s = rfSolveLeastSquares(a, b, 1e-11);
        ASSERT_EQ(s.rank, rank);
        const std::vector<double> residual = difference(product(a, s.x), b);
        const double norm = rfSingularValues(a).front();
        const double unit = static_cast<double>(m + n) * kEpsilon;
        EXPECT_LE(lengthOf(product(transposed(a), residual)),
                  4 * unit * norm * (norm * lengthOf(s.x) + lengthOf(b)));
        EXPECT_NEAR(s.residualNorm, lengthOf(residual),
                    4 * unit * (norm * lengthOf(s.x) + lengthOf(b)));
        // x = A^T z has a solution z exactly when x is a combination of the rows.
        EXPECT_LE(rfSolveLeastSquares(transposed(a), s.x, 1e-11).residualNorm,
                  1e-10 * lengthOf(s.x));
    }
}

TEST(SolveLeastSquares, RegularSystemsUpTo64UnknownsAreSolvedToTheirResidual) {
    constexpr std::uint64_t kSeed = 62;
    Random random(kSeed);
    double worst = 0.0;
    for (long n = 1; n <= 64; n += 3) {
        const rxMatrixExt a = randomMatrix(random, n, n);
        const std::vector<double> b = randomVector(random, n);
        const rxLeastSquaresSolution s = rfSolveLeastSquares(a, b);
        EXPECT_TRUE(s.isDetermined()) << "seed " << kSeed << ", " << n << " unknowns";
        const double unit =
            static_cast<double>(n) * kEpsilon * rfSingularValues(a).front() * lengthOf(s.x);
        worst = std::max(worst, lengthOf(difference(product(a, s.x), b)) / unit);
    }
    EXPECT_LE(worst, 2.0);
}

TEST(SingularValues, AreThoseOfAKnownDecomposition) {
    EXPECT_THAT(rfSingularValues(matrixOf({{0, -3}, {2, 0}})), ElementsAre(3, 2));
    // Columns of length 5 and 10 at right angles.
    EXPECT_THAT(rfSingularValues(matrixOf({{3, -8}, {4, 6}})),
                Pointwise(DoubleNear(32 * kEpsilon), {10.0, 5.0}));
    EXPECT_THAT(rfSingularValues(rxMatrixExt(3, 2)), ElementsAre(0, 0));
    EXPECT_THAT(rfSingularValues(rxMatrixExt(3, 0)), IsEmpty());
    // [[1, 1], [0, 1]]: the golden ratio and its inverse.
    EXPECT_THAT(rfSingularValues(matrixOf({{1, 1}, {0, 1}})),
                Pointwise(DoubleNear(4 * kEpsilon), {std::numbers::phi, 1.0 / std::numbers::phi}));
}

TEST(SingularValues, AreThoseOfTheTransposedMatrixAndKeepTheSumOfSquares) {
    Random random(63);
    for (int repeat = 0; repeat < 60; ++repeat) {
        const rxMatrixExt a = randomMatrix(random, random.integer(1, 20), random.integer(1, 20));
        const std::vector<double> values = rfSingularValues(a);
        EXPECT_TRUE(std::is_sorted(values.rbegin(), values.rend()));
        const double tolerance = 64 * kEpsilon * values.front();
        EXPECT_THAT(values, Pointwise(DoubleNear(tolerance), rfSingularValues(transposed(a))));
        EXPECT_NEAR(lengthOf(values), lengthOf(elementsOf(a)), tolerance);
    }
}

// The small singular value of a graded matrix is as exact as the large one.
TEST(SingularValues, SmallOnesOfGradedRowsKeepTheirDigits) {
    const rxMatrixExt a = matrixOf({{1e10, 1e10}, {1e-10, -1e-10}});
    const std::vector<double> values = rfSingularValues(a);
    EXPECT_NEAR(values[0] / 1e10, std::numbers::sqrt2, 8 * kEpsilon);
    EXPECT_NEAR(values[1] / 1e-10, std::numbers::sqrt2, 8 * kEpsilon);
}

TEST(SingularValues, SmallOnesOfGradedColumnsKeepTheirDigits) {
    const double small = 0x1p-33;
    const double tiny = 0x1p-66;
    const std::vector<double> values =
        rfSingularValues(matrixOf({{tiny, 2 * small, 0}, {0, small, 1}, {tiny, 0, 3}}));
    // Their product is the determinant, 5 for columns that are not graded.
    EXPECT_NEAR(values[0] * (values[1] / small) * (values[2] / tiny), 5.0, 64 * kEpsilon);
    EXPECT_NEAR(values[0], std::sqrt(10.0), 16 * kEpsilon);
}

// What the exchanges of columns on the way to the triangle are for: with ten seeds the median error
// was 4e-15 to 6.3e-15, and 1.2e-14 to 1.5e-14 without them.
TEST(SingularValues, OfRowsAndColumnsGradedAgainstEachOtherKeepTheirDigits) {
    constexpr std::size_t kSize = 6;
    Random random(64);
    std::vector<double> errors;
    for (int repeat = 0; repeat < 300; ++repeat) {
        rxMatrixExt a(kSize, kSize);
        ptmatch::detail::SquareArray<kSize> same{};
        for (std::size_t i = 0; i < kSize; ++i) {
            for (std::size_t j = 0; j < kSize; ++j) {
                const int exponent = 20 * (static_cast<int>(j) - static_cast<int>(i));
                same[i][j] = std::ldexp(random.uniform(-1.0, 1.0), exponent);
                a.element(static_cast<long>(i), static_cast<long>(j), same[i][j]);
            }
        }
        const std::vector<double> values = rfSingularValues(a);
        const std::array<double, kSize> expected = ptmatch::detail::jacobiSvd(same).sigma;
        double error = 0.0;
        for (std::size_t k = 0; k < kSize; ++k) {
            error = std::max(error, std::abs(values[k] / expected[k] - 1.0));
        }
        errors.push_back(error);
    }
    std::ranges::nth_element(errors, errors.begin() + 150);
    EXPECT_LT(errors[150], 9e-15);
}

std::array<double, 2> line(double x) {
    return {x, 1.0};
}

TEST(LeastSquares, FitsALineAndTellsItsResidual) {
    rxLeastSquares accumulator(2);
    // y = 2 x + 1, but for errors of 1, -2 and 1, which are orthogonal to every line.
    accumulator.update(line(0.0), 1.0 + 1.0);
    accumulator.update(line(1.0), 3.0 - 2.0);
    accumulator.update(line(2.0), 5.0 + 1.0);
    const rxLeastSquaresSolution s = accumulator.fit();
    EXPECT_THAT(s.x, Pointwise(DoubleNear(16 * kEpsilon), {2.0, 1.0}));
    EXPECT_TRUE(s.isDetermined());
    EXPECT_NEAR(s.residualNorm, std::sqrt(6.0), 16 * kEpsilon);
    EXPECT_NEAR(s.rmsResidual(), std::numbers::sqrt2, 16 * kEpsilon);
    EXPECT_EQ(s.numEquations, 3);
    EXPECT_EQ(accumulator.numObservations(), 3);
    EXPECT_EQ(accumulator.numUnknowns(), 2);
}

TEST(LeastSquares, FitCanBeRepeatedAndContinued) {
    rxLeastSquares accumulator(1);
    accumulator.update(std::array{1.0}, 1.0);
    EXPECT_EQ(accumulator.fit().x, accumulator.fit().x);
    accumulator.update(std::array{1.0}, 3.0);
    EXPECT_DOUBLE_EQ(accumulator.fit().x[0], 2.0);
    EXPECT_DOUBLE_EQ(accumulator.fit().rmsResidual(), 1.0);
}

// A sum of squares of such values has no digit left for residuals of 1.
TEST(LeastSquares, ResidualSurvivesALargeOffset) {
    rxLeastSquares mean(1);
    for (const double y : {1.0, 2.0, 3.0, 4.0}) mean.update(std::array{1.0}, 1e9 + y);
    EXPECT_NEAR(mean.fit().x[0], 1e9 + 2.5, 4 * kEpsilon * 1e9);
    EXPECT_NEAR(mean.fit().rmsResidual(), std::sqrt(1.25), 8 * kEpsilon * 1e9);
}

TEST(LeastSquares, TellsThatPointsOnAVerticalLineDetermineNoSlope) {
    rxLeastSquares accumulator(2);
    for (const double y : {1.0, 2.0, 6.0}) accumulator.update(line(5.0), y);
    const rxLeastSquaresSolution s = accumulator.fit();
    EXPECT_EQ(s.rank, 1);
    EXPECT_FALSE(s.isDetermined());
    EXPECT_GT(s.condition, 1e15);
    EXPECT_NEAR(5.0 * s.x[0] + s.x[1], 3.0, 32 * kEpsilon) << "what it does determine";
    EXPECT_NEAR(s.rmsResidual(), std::sqrt(14.0 / 3.0), 32 * kEpsilon);
}

TEST(LeastSquares, TellsThatManyCollinearPointsDetermineNoPlane) {
    Random random(64);
    for (const double offset : {0.0, 1e3, 1e6}) {
        rxLeastSquares accumulator(3);
        for (int i = 0; i < 20000; ++i) {
            const double x = offset + random.uniform(-500.0, 500.0);
            accumulator.update(std::array{x, 0.3 * x + 7.1, 1.0}, random.uniform(-1.0, 1.0));
        }
        EXPECT_EQ(accumulator.fit().rank, 2) << offset;
    }
}

TEST(LeastSquares, WithoutObservationsNothingIsDetermined) {
    const rxLeastSquaresSolution s = rxLeastSquares(2).fit();
    EXPECT_THAT(s.x, ElementsAre(0, 0));
    EXPECT_EQ(s.rank, 0);
    EXPECT_EQ(s.condition, kInfinity);
    EXPECT_EQ(s.rmsResidual(), 0.0);
    rxLeastSquares noUnknowns;
    noUnknowns.update({}, 3.0);
    noUnknowns.update({}, 4.0);
    EXPECT_TRUE(noUnknowns.fit().isDetermined());
    EXPECT_DOUBLE_EQ(noUnknowns.fit().residualNorm, 5.0);
}

TEST(LeastSquares, RankAndConditionDoNotDependOnTheUnits) {
    Random random(65);
    rxLeastSquares ordinary(3);
    rxLeastSquares otherUnits(3);
    for (int i = 0; i < 12; ++i) {
        const std::vector<double> x = randomVector(random, 3);
        const double y = random.uniform(-1.0, 1.0);
        ordinary.update(x, y);
        otherUnits.update(std::array{std::ldexp(x[0], 40), x[1], std::ldexp(x[2], -300)}, y);
    }
    const rxLeastSquaresSolution a = ordinary.fit();
    const rxLeastSquaresSolution b = otherUnits.fit();
    EXPECT_EQ(b.rank, 3);
    EXPECT_EQ(b.condition, a.condition);
    EXPECT_EQ(b.residualNorm, a.residualNorm);
    EXPECT_THAT(b.x, ElementsAre(std::ldexp(a.x[0], -40), a.x[1], std::ldexp(a.x[2], 300)));
}

TEST(LeastSquares, EqualsTheSolutionOfTheWholeSystem) {
    constexpr std::uint64_t kSeed = 66;
    Random random(kSeed);
    for (int repeat = 0; repeat < 50; ++repeat) {
        SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", case " << repeat);
        const long n = random.integer(1, 10);
        const long m = random.integer(n, 60);
        const rxMatrixExt a = randomMatrix(random, m, n);
        const std::vector<double> b = randomVector(random, m);
        rxLeastSquares accumulator(n);
        for (long i = 0; i < m; ++i) accumulator.update(a[i], b[static_cast<std::size_t>(i)]);
        const rxLeastSquaresSolution expected = rfSolveLeastSquares(a, b);
        const rxLeastSquaresSolution actual = accumulator.fit();
        const double error = 16 * static_cast<double>(m) * kEpsilon * expected.condition *
                             expected.condition * (1.0 + lengthOf(expected.x));
        EXPECT_THAT(actual.x, Pointwise(DoubleNear(error), expected.x));
        EXPECT_NEAR(actual.residualNorm, expected.residualNorm, error);
    }
}

// The errors that the headers of both accumulators state. They are the same on every platform.
TEST(LeastSquares, SlopeOfALineFarAwayErrsAsStated) {
    struct Stated {
        double offset;
        double normalError;
        double rotationError;
    };
    for (const Stated& stated :
         {Stated{1e4, 6e-10, 2e-12}, Stated{1e6, 1e-6, 8e-11}, Stated{1e8, 0.14, 2e-8}}) {
        SCOPED_TRACE(stated.offset);
        rxPsuedoInverse byNormalEquations(2);
        rxLeastSquares byRotations(2);
        for (int i = 0; i < 20; ++i) {
            const double x = stated.offset + i;
            byNormalEquations.update(line(x), 2.0 * x + 1.0);
            byRotations.update(line(x), 2.0 * x + 1.0);
        }
        const double normalError = std::abs(byNormalEquations.fit()[0] - 2.0);
        const double rotationError = std::abs(byRotations.fit().x[0] - 2.0);
        EXPECT_NEAR(normalError / stated.normalError, 1.0, 0.2);
        EXPECT_NEAR(rotationError / stated.rotationError, 1.0, 0.2);
    }
}

TEST(LeastSquares, PolynomialErrsAsStated) {
    rxPsuedoInverse byNormalEquations(10);
    rxLeastSquares byRotations(10);
    for (int i = 0; i <= 40; ++i) {
        const double x = i / 40.0;
        std::vector<double> powers{1.0};
        double y = 1.0;
        for (int k = 1; k < 10; ++k) {
            powers.push_back(powers.back() * x);
            y += powers.back();
        }
        byNormalEquations.update(powers, y);
        byRotations.update(powers, y);
    }
    const auto largestError = [](const std::vector<double>& p) {
        double largest = 0.0;
        for (const double value : p) largest = std::max(largest, std::abs(value - 1.0));
        return largest;
    };
    EXPECT_NEAR(byRotations.fit().condition / 2e6, 1.0, 0.2);
    EXPECT_NEAR(largestError(byRotations.fit().x) / 7e-11, 1.0, 0.2);
    EXPECT_NEAR(largestError(byNormalEquations.fit()) / 6e-4, 1.0, 0.2);
}

TEST(LeastSquares, UpdateAndResetAllocateNothing) {
    rxLeastSquares accumulator(8);
    Random random(67);
    const std::vector<double> x = randomVector(random, 8);
    const AllocationMeter meter;
    accumulator.update(x, 1.0);
    accumulator.reset();
    accumulator.update(x, 2.0);
    EXPECT_EQ(meter.total(), 0U);
    EXPECT_EQ(accumulator.numObservations(), 1);
}

TEST(LeastSquares, ResetAndResizeForgetTheObservations) {
    rxLeastSquares accumulator(1);
    accumulator.update(std::array{2.0}, 6.0);
    accumulator.update(std::array{2.0}, 8.0);
    accumulator.reset();
    EXPECT_EQ(accumulator.fit().rank, 0);
    EXPECT_EQ(accumulator.fit().residualNorm, 0.0);
    accumulator.update(std::array{2.0}, 6.0);
    accumulator.resize(1);
    EXPECT_EQ(accumulator.numObservations(), 0);
    EXPECT_EQ(accumulator.fit().rank, 0);
}

TEST(LeastSquares, ObservationThatIsNotFiniteMakesEveryFitThrowUntilReset) {
    for (const double bad : {kNaN, kInfinity, -kInfinity}) {
        for (int place = 0; place < 3; ++place) {
            SCOPED_TRACE(testing::Message() << bad << " at " << place);
            rxLeastSquares accumulator(2);
            accumulator.update(line(1.0), 2.0);
            accumulator.update(std::array{place == 0 ? bad : 1.0, place == 1 ? bad : 2.0},
                               place == 2 ? bad : 3.0);
            EXPECT_THROW((void)accumulator.fit(), rxMathError);
            accumulator.update(line(2.0), 2.0);
            accumulator.update(line(3.0), 2.0);
            EXPECT_THROW((void)accumulator.fit(), rxMathError);
            accumulator.reset();
            EXPECT_NO_THROW((void)accumulator.fit());
        }
    }
    rxLeastSquares noUnknowns;
    noUnknowns.update({}, 1.0);
    noUnknowns.update({}, kNaN);
    noUnknowns.update({}, 1.0);
    EXPECT_THROW((void)noUnknowns.fit(), rxMathError);
    EXPECT_THROW((void)rxLeastSquares(1).fit(kNaN), rxMathError);
}

TEST(LeastSquares, TooFewCoefficientsAndImpossibleSizesAreRefused) {
    rxLeastSquares accumulator(2);
    accumulator.update(std::array{1.0, 0.0, 9.0}, 3.0);
    EXPECT_THROW(accumulator.update(std::array{1.0}, 3.0), std::out_of_range);
    EXPECT_EQ(accumulator.numObservations(), 1);
    for (const long n : {-1L, LONG_MIN, 46341L, 1L << 31, LONG_MAX}) {
        EXPECT_THROW(accumulator.resize(n), std::length_error) << n;
    }
    EXPECT_EQ(accumulator.fit().rank, 1);
}

TEST(LeastSquares, IsAPlainValue) {
    rxLeastSquares original(1);
    original.update(std::array{2.0}, 6.0);
    rxLeastSquares copy = original;
    copy.update(std::array{1.0}, 9.0);
    EXPECT_DOUBLE_EQ(original.fit().x[0], 3.0);
    original = copy;
    EXPECT_EQ(original.fit().x, copy.fit().x);
    const rxLeastSquares moved = std::move(original);
    EXPECT_EQ(moved.fit().x, copy.fit().x);
    EXPECT_EQ(original.numUnknowns(), 0);  // NOLINT(bugprone-use-after-move): this is the test
    EXPECT_EQ(original.numObservations(), 0);
    EXPECT_EQ(original.fit().residualNorm, 0.0);
    original.update({}, 1.0);
    EXPECT_THAT(original.fit().x, IsEmpty());
    rxLeastSquares& self = copy;
    copy = std::move(self);
    EXPECT_EQ(copy.numObservations(), moved.numObservations());
    EXPECT_EQ(copy.fit().x, moved.fit().x);

    const rxLeastSquares other(7);
    EXPECT_GT(withEveryAllocationFailing([&] { copy = other; },
                                         [&] { EXPECT_EQ(copy.numUnknowns(), 1); }),
              1U);
    EXPECT_EQ(copy.numUnknowns(), 7);
}

}  // namespace
