#include "ptmatch/condition_estimate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <vector>

#include "ptmatch/small_matrix.h"
#include "support/allocation_meter.h"

namespace {

using ptmatch::reference::Random;
using ptmatch::testing::AllocationMeter;
using ptmatch::testing::identityMatrix;
using ptmatch::testing::matrixOf;
using ptmatch::testing::randomMatrix;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr long kMostRows = 2147483647;

double estimateOf(rxMatrixExt a) {
    const double norm = rfOneNorm(a);
    std::vector<long> index(static_cast<std::size_t>(a.rows()));
    a.ludcmp(index);
    return rfConditionEstimate(a, index, norm);
}

double conditionOf(const rxMatrixExt& a) {
    rxMatrixExt inverse = a;
    rxMatrixExt none;
    inverse.gaussj(none);
    return rfOneNorm(a) * rfOneNorm(inverse);
}

TEST(ConditionEstimate, OneNormIsTheLargestSumOfAColumn) {
    EXPECT_EQ(rfOneNorm(matrixOf({{1, -5}, {-3, 2}, {0, 1}})), 8.0);
    EXPECT_EQ(rfOneNorm(rxMatrixExt()), 0.0);
    EXPECT_EQ(rfOneNorm(rxMatrixExt(3, 0)), 0.0);
    EXPECT_EQ(rfOneNorm(rxMatrixExt(0, 3)), 0.0);
}

TEST(ConditionEstimate, OneNormOfAMatrixWithoutElementsAllocatesNothing) {
    const AllocationMeter meter;
    EXPECT_EQ(rfOneNorm(rxMatrixExt(0, kMostRows)), 0.0);
    EXPECT_EQ(rfOneNorm(rxMatrixExt(kMostRows, 0)), 0.0);
    EXPECT_EQ(meter.total(), 0U);
}

TEST(ConditionEstimate, IsExactForSimpleMatrices) {
    EXPECT_EQ(estimateOf(rxMatrixExt()), 1.0);
    EXPECT_EQ(estimateOf(matrixOf({{-7}})), 1.0);
    EXPECT_EQ(estimateOf(identityMatrix(5)), 1.0);
    EXPECT_EQ(estimateOf(matrixOf({{0, 8}, {2, 0}})), 4.0);
}

TEST(ConditionEstimate, IsALowerBoundAndSeldomFarBelow) {
    constexpr std::uint64_t kSeed = 71;
    Random random(kSeed);
    int farBelow = 0;
    constexpr int kCases = 400;
    for (int repeat = 0; repeat < kCases; ++repeat) {
        const long n = random.integer(1, 40);
        SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", case " << repeat << ", " << n);
        rxMatrixExt a = randomMatrix(random, n, n);
        // Some of them nearly singular.
        for (long c = 0; c < n && repeat % 2 == 0 && n > 1; ++c) {
            a.element(0, c, a.element(1, c) + 1e-9 * a.element(0, c));
        }
        const double condition = conditionOf(a);
        const double estimate = estimateOf(a);
        // The inverse that it is compared with has errors of its own.
        EXPECT_LE(estimate, condition * (1.0 + 1e-12 * condition));
        EXPECT_GE(estimate, 0.1 * condition);
        if (estimate < condition / 3.0) ++farBelow;
    }
    EXPECT_LE(farBelow, kCases / 100);
}

TEST(ConditionEstimate, TellsAnIllConditionedMatrix) {
    rxMatrixExt hilbert(8, 8);
    for (long r = 0; r < 8; ++r) {
        for (long c = 0; c < 8; ++c) {
            hilbert.element(r, c, 1.0 / static_cast<double>(r + c + 1));
        }
    }
    // 3.387e10 in the 1-norm, a known value.
    EXPECT_NEAR(estimateOf(hilbert), 3.387e10, 0.001e10);
}

TEST(ConditionEstimate, IsNotBlindWhereEqualComponentsAreMappedToThemselves) {
    // The inverse is I + s v w^T with v = (1, 0, 0, -1) and w = (0, 1, -1, 0), which neither equal
    // components nor the first unit vector, nor their gradients, know of.
    const double s = 0x1p20;
    const rxMatrixExt a = matrixOf({{1, -s, s, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, s, -s, 1}});
    const double condition = (1 + 2 * s) * (1 + 2 * s);
    EXPECT_EQ(conditionOf(a), condition);
    EXPECT_LE(estimateOf(a), condition);
    EXPECT_GE(estimateOf(a), condition / 3.0);
}

TEST(ConditionEstimate, OfAMatrixWithoutAPivotIsInfinite) {
    // No pivot in the second column, which is exchanged with the first row.
    EXPECT_EQ(estimateOf(matrixOf({{1, 1}, {1, 1}})), kInfinity);
    // None in the first column: its pivot is the substitute for zero. Units decide nothing.
    for (const double unit : {1.0, 1e-30, 1e-38, 1e-40, 1e-42, 1e-200, 1e30}) {
        SCOPED_TRACE(unit);
        EXPECT_EQ(estimateOf(matrixOf({{0, unit}, {0, unit}})), kInfinity);
        EXPECT_EQ(estimateOf(matrixOf({{0, unit, 0}, {0, unit, unit}, {0, 0, unit}})), kInfinity);
        // In the last one.
        EXPECT_EQ(estimateOf(matrixOf({{unit, 0, unit}, {0, unit, unit}, {0, unit, unit}})),
                  kInfinity);
    }
}

TEST(ConditionEstimate, OfAMatrixOfSmallElementsIsThatOfItsMultiples) {
    for (const double unit : {1e-30, 1e-39, 1.0001e-40, 1e-41, 1e-200}) {
        EXPECT_NEAR(estimateOf(matrixOf({{unit, 0}, {unit, unit}})),
                    estimateOf(matrixOf({{1, 0}, {1, 1}})), 1e-12)
            << unit;
    }
    EXPECT_EQ(estimateOf(matrixOf({{1e-40}})), kInfinity) << "as the header says";
}

TEST(ConditionEstimate, TellsASingularMatrix) {
    // A pivot of pure rounding.
    EXPECT_GE(estimateOf(matrixOf({{0.1, 0.2, 0.3}, {0.4, 0.5, 0.6}, {0.7, 0.8, 0.9}})), 1e15);
    EXPECT_EQ(estimateOf(matrixOf({{1e-300, 0}, {0, 1e300}})), kInfinity) << "out of range";
}

TEST(ConditionEstimate, RefusesWhatSubstitutionRefuses) {
    const std::vector<long> index{0, 1, 2};
    EXPECT_THROW((void)rfConditionEstimate(rxMatrixExt(2, 3), index, 1.0),
                 rxMatrixExt::NotSquareMatrix);
    EXPECT_THROW((void)rfConditionEstimate(identityMatrix(4), index, 1.0), std::out_of_range);
    const std::vector<long> foreign{0, 5};
    EXPECT_THROW((void)rfConditionEstimate(identityMatrix(2), foreign, 1.0), std::out_of_range);
}

}  // namespace
