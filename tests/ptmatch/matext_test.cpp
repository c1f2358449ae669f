#include "ptmatch/matext.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

#include "ptmatch/small_matrix.h"
#include "reference/random_problems.h"
#include "reference/reference_matrix.h"
#include "support/allocation_meter.h"
#include "support/assertion_recorder.h"
#include "support/same_numbers.h"

namespace {

using ptmatch::reference::Random;
using ptmatch::testing::AllocationMeter;
using ptmatch::testing::AssertionRecorder;
using ptmatch::testing::elementsOf;
using ptmatch::testing::identityMatrix;
using ptmatch::testing::matrixOf;
using ptmatch::testing::randomMatrix;
using ptmatch::testing::randomVector;
using ptmatch::testing::referenceMatrix;
using ptmatch::testing::sameNumbers;
using ptmatch::testing::withEveryAllocationFailing;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

static_assert(std::is_empty_v<rxMatrixExt::NotSquareMatrix>);
static_assert(std::is_empty_v<rxMatrixExt::SingularMatrix>);
static_assert(std::is_nothrow_move_constructible_v<rxMatrixExt>);
static_assert(std::is_nothrow_move_assignable_v<rxMatrixExt>);

// Usable by whatever is built before main.
constinit rxMatrixExt sharedMatrix;

TEST(MatrixExt, NewOneHasNoElements) {
    EXPECT_EQ(sharedMatrix.rows(), 0);
    EXPECT_EQ(sharedMatrix.cols(), 0);
    EXPECT_EQ(sharedMatrix.isBound(), 0);
    const rxMatrixExt sized(2, 3);
    EXPECT_EQ(sized.rows(), 2);
    EXPECT_EQ(sized.cols(), 3);
    EXPECT_THAT(elementsOf(sized), Each(0.0));
}

TEST(MatrixExt, IsBoundWhenNeitherSizeIsZero) {
    EXPECT_EQ(rxMatrixExt(1, 1).isBound(), 1);
    EXPECT_EQ(rxMatrixExt(4, 7).isBound(), 1);
    EXPECT_EQ(rxMatrixExt(4, 0).isBound(), 0);
    EXPECT_EQ(rxMatrixExt(0, 7).isBound(), 0);
}

TEST(MatrixExt, ResizeToTheSameSizeZeroesAllElements) {
    rxMatrixExt matrix = matrixOf({{1, 2, 3}, {4, 5, 6}});
    matrix.resize(2, 3);
    EXPECT_EQ(matrix, rxMatrixExt(2, 3));
}

TEST(MatrixExt, ResizeTakesAnySizesWithoutElements) {
    const AllocationMeter meter;
    const rxMatrixExt wide(0, INT32_MAX);
    const rxMatrixExt high(INT32_MAX, 0);
    EXPECT_EQ(wide.cols(), INT32_MAX);
    EXPECT_EQ(high.rows(), INT32_MAX);
    EXPECT_EQ(meter.total(), 0U);
}

TEST(MatrixExt, ImpossibleSizesAreRefusedBeforeMemoryIsTaken) {
    const std::vector<std::pair<long, long>> sizes{{-1, 2},
                                                   {2, -1},
                                                   {-1, -1},
                                                   {LONG_MIN, 1},
                                                   {1L << 31, 1},
                                                   {1, 1L << 31},
                                                   {1L << 31, 0},
                                                   {0, LONG_MAX},
                                                   {46341, 46341},
                                                   {65536, 65536},
                                                   {1 << 16, 1 << 15},
                                                   {INT32_MAX, INT32_MAX},
                                                   {LONG_MAX, LONG_MAX}};
    rxMatrixExt matrix = matrixOf({{1, 2}});
    for (const auto& [rows, cols] : sizes) {
        SCOPED_TRACE(testing::Message() << rows << " x " << cols);
        const AllocationMeter meter;
        EXPECT_THROW(matrix.resize(rows, cols), std::length_error);
        EXPECT_THROW(rxMatrixExt(rows, cols), std::length_error);
        // The messages.
        EXPECT_LT(meter.largest(), 1000U);
    }
    EXPECT_EQ(matrix, matrixOf({{1, 2}}));
}

TEST(MatrixExt, IsWhatItWasWhenMemoryRunsOut) {
    const rxMatrixExt before = matrixOf({{1, 2}, {3, 4}});
    rxMatrixExt matrix = before;
    const rxMatrixExt large(20, 30);
    const auto expectUnchanged = [&] { EXPECT_EQ(matrix, before); };
    EXPECT_GT(withEveryAllocationFailing([&] { matrix.resize(20, 30); }, expectUnchanged), 0U);
    matrix = rxMatrixExt(before);
    EXPECT_GT(withEveryAllocationFailing([&] { matrix = large; }, expectUnchanged), 0U);
    EXPECT_EQ(matrix, large);
}

TEST(MatrixExt, CopyIsIndependent) {
    rxMatrixExt original = matrixOf({{1, 2}, {3, 4}});
    rxMatrixExt copy = original;
    copy.element(0, 0, 9.0);
    EXPECT_EQ(original, matrixOf({{1, 2}, {3, 4}}));
    original = copy;
    EXPECT_EQ(original, matrixOf({{9, 2}, {3, 4}}));
    const rxMatrixExt& self = original;
    original = self;
    EXPECT_EQ(original, copy);
}

TEST(MatrixExt, MovedFromOneIsEmptyAndUsable) {
    rxMatrixExt source = matrixOf({{1, 2}, {3, 4}});
    rxMatrixExt target(std::move(source));
    EXPECT_EQ(target, matrixOf({{1, 2}, {3, 4}}));
    EXPECT_EQ(source, rxMatrixExt());  // NOLINT(bugprone-use-after-move): this is the test
    source = std::move(target);
    EXPECT_EQ(source, matrixOf({{1, 2}, {3, 4}}));
    EXPECT_EQ(target, rxMatrixExt());  // NOLINT(bugprone-use-after-move)
    rxMatrixExt& self = source;
    source = std::move(self);
    EXPECT_EQ(source, matrixOf({{1, 2}, {3, 4}}));
}

TEST(MatrixExt, EqualMeansSizesAndElements) {
    EXPECT_EQ(matrixOf({{1, 2}}), matrixOf({{1, 2}}));
    EXPECT_NE(matrixOf({{1, 2}}), matrixOf({{1, 3}}));
    EXPECT_NE(matrixOf({{1, 2}}), matrixOf({{1}, {2}}));
    EXPECT_NE(rxMatrixExt(0, 3), rxMatrixExt(3, 0));
}

TEST(MatrixExt, ElementsInsideAreNotReported) {
    const AssertionRecorder recorder;
    rxMatrixExt matrix(2, 3);
    for (long r = 0; r < 2; ++r) {
        for (long c = 0; c < 3; ++c) {
            matrix.element(r, c, static_cast<double>(10 * r + c));
            (void)matrix.pointToRow(r);
        }
    }
    EXPECT_THAT(elementsOf(matrix), ElementsAre(0, 1, 2, 10, 11, 12));
    EXPECT_THAT(recorder.codes(), IsEmpty());
}

TEST(MatrixExt, ElementOutsideIsReportedAndSetWhereItsNumberFalls) {
    struct Case {
        long r;
        long c;
        long number;
    };
    for (const Case& at : {Case{0, 5, 5}, Case{1, -1, 2}, Case{-1, 4, 1}, Case{2, -6, 0}}) {
        SCOPED_TRACE(testing::Message() << at.r << ", " << at.c);
        const AssertionRecorder recorder;
        rxMatrixExt matrix(2, 3);
        matrix.element(at.r, at.c, 7.0);
        EXPECT_THAT(recorder.codes(), ElementsAre(88));
        std::vector<double> expected(6, 0.0);
        expected[static_cast<std::size_t>(at.number)] = 7.0;
        EXPECT_EQ(elementsOf(matrix), expected);
        EXPECT_EQ(std::as_const(matrix).element(at.r, at.c), 7.0);
        EXPECT_THAT(recorder.codes(), ElementsAre(88)) << "reading is not reported";
    }
}

TEST(MatrixExt, ElementBeyondTheSequenceIsNeverTouched) {
    const std::vector<std::pair<long, long>> places{
        {2, 0},
        {0, 6},
        {-1, 0},
        {0, -1},
        {1, 3},
        {-1, 2},
        {LONG_MAX, 0},
        {0, LONG_MAX},
        {LONG_MIN, 0},
        {0, LONG_MIN},
        {INT32_MAX, INT32_MAX},
        {INT32_MIN, INT32_MIN},
        // Row and column cancel, and are still no numbers of 32 bits.
        {1L << 40, -3 * (1L << 40)}};
    rxMatrixExt matrix = matrixOf({{1, 2, 3}, {4, 5, 6}});
    for (const auto& [r, c] : places) {
        SCOPED_TRACE(testing::Message() << r << ", " << c);
        const AssertionRecorder recorder;
        EXPECT_THROW((void)std::as_const(matrix).element(r, c), std::out_of_range);
        EXPECT_THAT(recorder.codes(), IsEmpty());
        EXPECT_THROW(matrix.element(r, c, 9.0), std::out_of_range);
        EXPECT_THAT(recorder.codes(), ElementsAre(88));
    }
    EXPECT_EQ(matrix, matrixOf({{1, 2, 3}, {4, 5, 6}}));
    EXPECT_THROW((void)rxMatrixExt().element(0, 0), std::out_of_range);
    EXPECT_THROW((void)rxMatrixExt(3, 0).element(1, 0), std::out_of_range);
}

std::uintptr_t addressOf(const double* place) {
    return reinterpret_cast<std::uintptr_t>(place);
}

TEST(MatrixExt, PointToRowGivesAccessToARow) {
    rxMatrixExt matrix = matrixOf({{1, 2}, {3, 4}, {5, 6}});
    matrix.pointToRow(1)[1] = 9.0;
    EXPECT_EQ(matrix, matrixOf({{1, 2}, {3, 9}, {5, 6}}));
    EXPECT_EQ(std::as_const(matrix).pointToRow(2), matrix.pointToRow(0) + 4);
}

TEST(MatrixExt, RowOutsideIsReportedAndItsAddressReturned) {
    rxMatrixExt matrix(2, 3);
    const std::uintptr_t base = addressOf(matrix.pointToRow(0));
    for (const long r : {-1L, 2L, 100L, -1000L, LONG_MAX, LONG_MIN}) {
        SCOPED_TRACE(r);
        const AssertionRecorder recorder;
        const auto row = static_cast<std::uintptr_t>(r);
        EXPECT_EQ(addressOf(matrix.pointToRow(r)), base + row * 3 * sizeof(double));
        EXPECT_EQ(addressOf(std::as_const(matrix).pointToRow(r)), base + row * 3 * sizeof(double));
        EXPECT_THAT(recorder.codes(), ElementsAre(82, 82));
    }
}

TEST(MatrixExt, RowsOfNoElementsAreNull) {
    const AssertionRecorder recorder;
    rxMatrixExt emptied(5, 5);
    emptied.resize(0, 0);
    EXPECT_EQ(emptied.pointToRow(0), nullptr);
    EXPECT_EQ(rxMatrixExt().pointToRow(0), nullptr);
    EXPECT_EQ(rxMatrixExt(0, 4).pointToRow(3), nullptr);
    EXPECT_THAT(recorder.codes(), ElementsAre(82, 82, 82));
    EXPECT_EQ(rxMatrixExt(4, 0).pointToRow(3), nullptr);
    EXPECT_EQ(recorder.codes().size(), 3U) << "there is a row 3";
}

TEST(MatrixExt, SubscriptCopiesARow) {
    rxMatrixExt matrix = matrixOf({{1, 2}, {3, 4}, {5, 6}});
    std::vector<double> row = matrix[1];
    EXPECT_THAT(row, ElementsAre(3, 4));
    row[0] = 9.0;
    EXPECT_EQ(matrix.element(1, 0), 3.0);
    for (const long r : {-1L, 3L, LONG_MAX, LONG_MIN}) {
        EXPECT_THROW((void)matrix[r], std::out_of_range) << r;
    }
    EXPECT_THAT(rxMatrixExt(3, 0)[1], IsEmpty());
    EXPECT_THROW((void)rxMatrixExt(0, 3)[0], std::out_of_range);
}

TEST(MatrixExt, InvertLeavesAnyMatrixBitForBitUnchanged) {
    for (const rxMatrixExt& original : {matrixOf({{2, 1}, {1, 1}}), matrixOf({{0, 0}, {0, 0}}),
                                        matrixOf({{-0.0, kNaN, kInfinity}}), rxMatrixExt()}) {
        rxMatrixExt matrix = original;
        matrix.invert();
        EXPECT_EQ(matrix.rows(), original.rows());
        EXPECT_TRUE(sameNumbers(elementsOf(matrix), elementsOf(original)));
    }
}

// A decomposition with its index.
struct Decomposed {
    explicit Decomposed(rxMatrixExt a)
        : lu(std::move(a)), index(static_cast<std::size_t>(lu.rows())) {
        lu.ludcmp(index);
    }
    std::vector<double> solve(std::vector<double> b) const {
        lu.lubksb(index, b);
        return b;
    }
    rxMatrixExt lu;
    std::vector<long> index;
};

TEST(MatrixExtLu, SwapsTheRowsOfAnExchangeAndSolvesExactly) {
    const Decomposed swap(matrixOf({{0, 1}, {1, 0}}));
    EXPECT_THAT(swap.index, ElementsAre(1, 1));
    EXPECT_EQ(swap.lu, identityMatrix(2));
    EXPECT_THAT(swap.solve({3, 4}), ElementsAre(4, 3));
}

TEST(MatrixExtLu, HoldsBothTriangles) {
    // Row 1 is the larger one in proportion to its own largest element.
    const Decomposed decomposed(matrixOf({{2, 8}, {4, 4}}));
    EXPECT_THAT(decomposed.index, ElementsAre(1, 1));
    EXPECT_EQ(decomposed.lu, matrixOf({{4, 4}, {0.5, 6}}));
    EXPECT_THAT(decomposed.solve({10, 8}), ElementsAre(1, 1));
}

TEST(MatrixExtLu, PivotIsMeasuredAgainstItsRow) {
    // 10 is the larger element, 1 the larger share.
    EXPECT_THAT(Decomposed(matrixOf({{10, 1000}, {1, 1}})).index, ElementsAre(1, 1));
}

TEST(MatrixExtLu, FirstOfEqualCandidatesWins) {
    EXPECT_THAT(Decomposed(matrixOf({{1, 1}, {-1, 1}})).index, ElementsAre(0, 1));
    EXPECT_THAT(Decomposed(matrixOf({{0, 0, 1}, {2, 0, 0}, {-8, 1, 0}})).index,
                ElementsAre(1, 2, 2));
}

TEST(MatrixExtLu, RowOfZerosIsSingular) {
    for (const rxMatrixExt& original :
         {matrixOf({{0}}), matrixOf({{1, 2}, {0, 0}}), matrixOf({{0, -0.0}, {1, 2}})}) {
        rxMatrixExt matrix = original;
        std::vector<long> index(2, -7);
        EXPECT_THROW(matrix.ludcmp(index), rxMatrixExt::SingularMatrix);
        EXPECT_EQ(matrix, original);
        EXPECT_THAT(index, Each(-7));
    }
}

TEST(MatrixExtLu, ColumnWithoutCandidateTakesThePivotRowOfTheLastOne) {
    const Decomposed ones(matrixOf({{1, 1}, {1, 1}}));
    EXPECT_THAT(ones.index, ElementsAre(0, 0));
    EXPECT_EQ(ones.lu, matrixOf({{1, 0}, {1, 1}}));
}

TEST(MatrixExtLu, FirstColumnWithoutCandidateTakesRowZeroAndATinyPivot) {
    const Decomposed column(matrixOf({{0, 1}, {0, 1}}));
    EXPECT_THAT(column.index, ElementsAre(0, 1));
    EXPECT_EQ(column.lu, matrixOf({{1e-40, 1}, {0, 1}}));
}

TEST(MatrixExtLu, ColumnWithoutCandidateMayTakeARowBelow) {
    // Column 0 takes row 2; column 1 then has no candidate and takes row 2 again.
    const Decomposed decomposed(matrixOf({{0, 0, 1}, {0, 0, 2}, {1, 0, 3}}));
    EXPECT_THAT(decomposed.index, ElementsAre(2, 2, 2));
    EXPECT_EQ(decomposed.lu, matrixOf({{1, 0, 3}, {0, 1e-40, 1}, {0, 0, 2}}));
}

TEST(MatrixExtLu, VanishingPivotIsSolvedWithALargeResult) {
    const Decomposed column(matrixOf({{0, 1}, {0, 1}}));
    EXPECT_GT(std::abs(column.solve({1, 2})[0]), 1e39);
}

TEST(MatrixExtLu, NotSquareMatrixIsRefusedBeforeItIsTouched) {
    for (const rxMatrixExt& original : {matrixOf({{1, 2, 3}, {4, 5, 6}}), matrixOf({{1}, {2}}),
                                        matrixOf({{0, 0}}), rxMatrixExt(0, 2)}) {
        rxMatrixExt matrix = original;
        std::vector<long> index(3, -7);
        std::vector<double> b(3, 1.0);
        EXPECT_THROW(matrix.ludcmp(index), rxMatrixExt::NotSquareMatrix);
        EXPECT_THROW(matrix.lubksb(std::vector<long>(3, 0), b), rxMatrixExt::NotSquareMatrix);
        EXPECT_THROW(matrix.lubksb({}, {}), rxMatrixExt::NotSquareMatrix);
        EXPECT_EQ(matrix, original);
        EXPECT_THAT(index, Each(-7));
        EXPECT_THAT(b, Each(1.0));
    }
}

TEST(MatrixExtLu, ShortOrForeignIndexIsRefusedBeforeAnythingIsTouched) {
    const rxMatrixExt original = matrixOf({{2, 8}, {4, 4}});
    rxMatrixExt matrix = original;
    std::vector<long> one(1, -7);
    EXPECT_THROW(matrix.ludcmp(one), std::out_of_range);
    EXPECT_EQ(matrix, original);
    EXPECT_THAT(one, ElementsAre(-7));

    std::vector<double> b{1.0, 2.0};
    for (const std::vector<long>& index :
         std::vector<std::vector<long>>{{}, {0}, {0, 2}, {-1, 0}, {0, LONG_MAX}, {LONG_MIN, 0}}) {
        EXPECT_THROW(matrix.lubksb(index, b), std::out_of_range);
    }
    EXPECT_THAT(b, ElementsAre(1.0, 2.0));
    std::vector<double> tooShort{1.0};
    EXPECT_THROW(matrix.lubksb(std::vector<long>{0, 1}, tooShort), std::out_of_range);
    EXPECT_THAT(tooShort, ElementsAre(1.0));
}

TEST(MatrixExtLu, WhatIsLongerThanTheMatrixKeepsItsEnd) {
    rxMatrixExt matrix = matrixOf({{0, 1}, {1, 0}});
    std::vector<long> index(4, -7);
    matrix.ludcmp(index);
    EXPECT_THAT(index, ElementsAre(1, 1, -7, -7));
    std::vector<double> b{3, 4, 5};
    matrix.lubksb(index, b);
    EXPECT_THAT(b, ElementsAre(4, 3, 5));
}

TEST(MatrixExtLu, NoEquationsHaveNoSolution) {
    rxMatrixExt matrix;
    matrix.ludcmp({});
    matrix.lubksb({}, {});
    EXPECT_EQ(matrix, rxMatrixExt());
}

double normOf(const std::vector<double>& values) {
    double largest = 0.0;
    for (const double value : values) largest = std::max(largest, std::abs(value));
    return largest;
}

// The largest sum of magnitudes of a row.
double normOf(const rxMatrixExt& a) {
    double largest = 0.0;
    for (long r = 0; r < a.rows(); ++r) {
        double sum = 0.0;
        for (const double value : a[r]) sum += std::abs(value);
        largest = std::max(largest, sum);
    }
    return largest;
}

std::vector<double> residualOf(const rxMatrixExt& a, const std::vector<double>& x,
                               const std::vector<double>& b) {
    std::vector<double> residual;
    for (long r = 0; r < a.rows(); ++r) {
        double sum = -b[static_cast<std::size_t>(r)];
        for (long c = 0; c < a.cols(); ++c) {
            sum += a.element(r, c) * x[static_cast<std::size_t>(c)];
        }
        residual.push_back(sum);
    }
    return residual;
}

// Substitution after a decomposition with partial pivoting is backward stable but for the growth of
// the elements, which stays small for random ones. The n roundings of a row add up like their root,
// in the solution as well as in the residual, which is computed in doubles, too.
TEST(MatrixExtLu, ResidualsOfRandomSystemsAreOfTheOrderOfRounding) {
    constexpr std::uint64_t kSeed = 41;
    SCOPED_TRACE(testing::Message() << "seed " << kSeed);
    Random random(kSeed);
    double worst = 0.0;
    for (long n = 1; n <= 64; ++n) {
        for (int repeat = 0; repeat < 8; ++repeat) {
            const rxMatrixExt a = randomMatrix(random, n, n);
            const std::vector<double> b = randomVector(random, n);
            const std::vector<double> x = Decomposed(a).solve(b);
            const double unit =
                std::sqrt(static_cast<double>(n)) * kEpsilon * normOf(a) * normOf(x);
            worst = std::max(worst, normOf(residualOf(a, x, b)) / unit);
        }
    }
    EXPECT_LE(worst, 1.0);
    EXPECT_GT(worst, 0.0) << "the systems are solved in rounded numbers";
}

// Around the widths of the kernels and far above, with columns that have no candidate in between.
TEST(MatrixExtLu, LargeSystemsEqualThePlainOnesBitForBit) {
    constexpr std::uint64_t kSeed = 42;
    Random random(kSeed);
    for (const long n : {7, 8, 9, 15, 16, 17, 96, 97, 127, 160}) {
        for (const long zeros : {0L, 1L, 5L, n / 2, n - 1}) {
            SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", " << n << " unknowns, "
                                            << zeros << " columns of zeros");
            rxMatrixExt a = randomMatrix(random, n, n);
            for (long k = 0; k < std::min(zeros, n - 1); ++k) {
                const long column = random.integer(1, n - 1);
                for (long r = 0; r < n; ++r) a.element(r, column, 0.0);
            }
            ptmatch::reference::Matrix expected = referenceMatrix(a);
            std::vector<long> expectedIndex(static_cast<std::size_t>(n));
            ptmatch::reference::decompose(expected, expectedIndex);
            const Decomposed actual(a);
            ASSERT_EQ(actual.index, expectedIndex);
            ASSERT_TRUE(sameNumbers(elementsOf(actual.lu), elementsOf(expected)));

            const std::vector<double> b = randomVector(random, n);
            std::vector<double> expectedX = b;
            ptmatch::reference::substitute(expected, expectedIndex, expectedX);
            ASSERT_TRUE(sameNumbers(actual.solve(b), expectedX));
        }
    }
}

TEST(MatrixExtLu, SubstitutionAllocatesNothing) {
    Random random(43);
    for (const long n : {1, 8, 40}) {
        const Decomposed decomposed(randomMatrix(random, n, n));
        std::vector<double> b = randomVector(random, n);
        const AllocationMeter meter;
        decomposed.lu.lubksb(decomposed.index, b);
        EXPECT_EQ(meter.total(), 0U);
    }
}

TEST(MatrixExtLu, SmallDecompositionAllocatesNothingAndALargeOneAPanel) {
    Random random(44);
    for (const long n : {1L, 4L, 8L, 9L, 64L}) {
        rxMatrixExt matrix = randomMatrix(random, n, n);
        std::vector<long> index(static_cast<std::size_t>(n));
        const AllocationMeter meter;
        matrix.ludcmp(index);
        EXPECT_LE(meter.total(), n <= 8 ? 0U : 34U * sizeof(double) * static_cast<std::size_t>(n));
    }
}

TEST(MatrixExtLu, DecompositionIsNotBegunWithoutMemory) {
    Random random(45);
    const rxMatrixExt original = randomMatrix(random, 40, 40);
    rxMatrixExt matrix = original;
    std::vector<long> index(40, -7);
    const auto expectUnchanged = [&] {
        EXPECT_EQ(matrix, original);
        EXPECT_THAT(index, Each(-7));
    };
    EXPECT_GT(withEveryAllocationFailing([&] { matrix.ludcmp(index); }, expectUnchanged), 0U);
}

TEST(MatrixExtGaussJordan, IdentityLeavesEverythingUnchanged) {
    rxMatrixExt a = identityMatrix(3);
    rxMatrixExt b = matrixOf({{1, 2}, {3, 4}, {5, 6}});
    a.gaussj(b);
    EXPECT_EQ(a, identityMatrix(3));
    EXPECT_EQ(b, matrixOf({{1, 2}, {3, 4}, {5, 6}}));
}

TEST(MatrixExtGaussJordan, ZerosAreSingular) {
    rxMatrixExt a = matrixOf({{0, 0}, {0, 0}});
    rxMatrixExt b = matrixOf({{1}, {2}});
    EXPECT_THROW(a.gaussj(b), rxMatrixExt::SingularMatrix);
}

TEST(MatrixExtGaussJordan, InvertsAndSolves) {
    rxMatrixExt a = matrixOf({{0, 2, 0}, {0, 0, 4}, {1, 0, 0}});
    rxMatrixExt b = matrixOf({{6, 2}, {8, 4}, {5, 1}});
    a.gaussj(b);
    EXPECT_EQ(a, matrixOf({{0, 0, 1}, {0.5, 0, 0}, {0, 0.25, 0}}));
    EXPECT_EQ(b, matrixOf({{5, 1}, {3, 1}, {2, 1}}));
}

TEST(MatrixExtGaussJordan, LastOfEqualCandidatesWinsAndSingularMatrixIsLeftHalfway) {
    rxMatrixExt a = matrixOf({{1, 1}, {1, 1}});
    rxMatrixExt b = matrixOf({{3}, {5}});
    EXPECT_THROW(a.gaussj(b), rxMatrixExt::SingularMatrix);
    // Row 1 was subtracted from row 0; the first candidate would have done it the other way round.
    EXPECT_EQ(a, matrixOf({{0, -1}, {1, 1}}));
    EXPECT_EQ(b, matrixOf({{-2}, {5}}));
}

TEST(MatrixExtGaussJordan, WhatIsNotANumberCanUseAColumnTwice) {
    rxMatrixExt a(3, 3);
    for (long r = 0; r < 3; ++r) {
        for (long c = 0; c < 3; ++c) a.element(r, c, kNaN);
    }
    rxMatrixExt b(3, 1);
    EXPECT_THROW(a.gaussj(b), rxMatrixExt::SingularMatrix);
}

TEST(MatrixExtGaussJordan, InverseNeedsNoRightHandSide) {
    for (const rxMatrixExt& none : {rxMatrixExt(), rxMatrixExt(2, 0), rxMatrixExt(7, 0)}) {
        rxMatrixExt a = matrixOf({{2, 0}, {0, 4}});
        rxMatrixExt b = none;
        a.gaussj(b);
        EXPECT_EQ(a, matrixOf({{0.5, 0}, {0, 0.25}}));
        EXPECT_EQ(b, none);
    }
    rxMatrixExt empty;
    rxMatrixExt b(0, 3);
    empty.gaussj(b);
    EXPECT_EQ(empty, rxMatrixExt());
}

TEST(MatrixExtGaussJordan, RowsOfTheRightHandSideBelowTheMatrixStay) {
    rxMatrixExt a = matrixOf({{0, 1}, {2, 0}});
    rxMatrixExt b = matrixOf({{1}, {4}, {9}});
    a.gaussj(b);
    EXPECT_EQ(b, matrixOf({{2}, {1}, {9}}));
}

TEST(MatrixExtGaussJordan, WhatWouldAddressMissingElementsIsRefusedUntouched) {
    const rxMatrixExt high = matrixOf({{1, 2}, {3, 4}, {5, 6}});
    rxMatrixExt a = high;
    rxMatrixExt b = matrixOf({{1}, {2}, {3}});
    EXPECT_THROW(a.gaussj(b), std::out_of_range);
    EXPECT_EQ(a, high);
    a = identityMatrix(4);
    EXPECT_THROW(a.gaussj(b), std::out_of_range);
    EXPECT_EQ(a, identityMatrix(4));
    EXPECT_EQ(b, matrixOf({{1}, {2}, {3}}));
    rxMatrixExt hostile(INT32_MAX, 0);
    EXPECT_THROW(hostile.gaussj(b), std::out_of_range);
}

TEST(MatrixExtGaussJordan, MatrixIsNotItsOwnRightHandSide) {
    rxMatrixExt a = matrixOf({{2, 1}, {1, 1}});
    EXPECT_THROW(a.gaussj(a), std::invalid_argument);
    EXPECT_EQ(a, matrixOf({{2, 1}, {1, 1}}));
}

// Elimination is stable but for the condition, by which the roundings of a row grow.
TEST(MatrixExtGaussJordan, InversesOfRandomMatricesAreGoodToTheirCondition) {
    constexpr std::uint64_t kSeed = 46;
    SCOPED_TRACE(testing::Message() << "seed " << kSeed);
    Random random(kSeed);
    double worst = 0.0;
    for (long n = 1; n <= 64; ++n) {
        const rxMatrixExt a = randomMatrix(random, n, n);
        const std::vector<double> b = randomVector(random, n);
        rxMatrixExt inverse = a;
        rxMatrixExt x(n, 1);
        for (long i = 0; i < n; ++i) x.element(i, 0, b[static_cast<std::size_t>(i)]);
        inverse.gaussj(x);
        const double unit =
            std::sqrt(static_cast<double>(n)) * kEpsilon * normOf(a) * normOf(inverse);
        for (long c = 0; c < n; ++c) {
            std::vector<double> unitColumn(static_cast<std::size_t>(n));
            unitColumn[static_cast<std::size_t>(c)] = 1.0;
            std::vector<double> column;
            for (long r = 0; r < n; ++r) column.push_back(inverse.element(r, c));
            worst = std::max(worst, normOf(residualOf(a, column, unitColumn)) / unit);
        }
        worst = std::max(worst, normOf(residualOf(a, elementsOf(x), b)) / unit);
    }
    EXPECT_LE(worst, 1.0);
    EXPECT_GT(worst, 0.0);
}

TEST(MatrixExtGaussJordan, LargeSystemsEqualThePlainOnesBitForBit) {
    constexpr std::uint64_t kSeed = 47;
    Random random(kSeed);
    for (const long n : {97, 128}) {
        for (const long m : {0L, 1L, 7L}) {
            SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", " << n << " x " << m);
            rxMatrixExt a = randomMatrix(random, n, n);
            rxMatrixExt b = randomMatrix(random, n, m);
            ptmatch::reference::Matrix expectedA = referenceMatrix(a);
            ptmatch::reference::Matrix expectedB = referenceMatrix(b);
            ptmatch::reference::eliminate(expectedA, expectedB);
            a.gaussj(b);
            ASSERT_TRUE(sameNumbers(elementsOf(a), elementsOf(expectedA)));
            ASSERT_TRUE(sameNumbers(elementsOf(b), elementsOf(expectedB)));
        }
    }
}

TEST(MatrixExtGaussJordan, IsNotBegunWithoutMemory) {
    const rxMatrixExt original = matrixOf({{2, 1}, {1, 1}});
    rxMatrixExt a = original;
    rxMatrixExt b = matrixOf({{1}, {2}});
    const auto expectUnchanged = [&] {
        EXPECT_EQ(a, original);
        EXPECT_EQ(b, matrixOf({{1}, {2}}));
    };
    EXPECT_GT(withEveryAllocationFailing([&] { a.gaussj(b); }, expectUnchanged), 0U);
}

}  // namespace
