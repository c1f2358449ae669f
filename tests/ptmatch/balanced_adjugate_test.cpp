#include "ptmatch/balanced_adjugate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "ptmatch/transform_world.h"

namespace {

using namespace ptmatch::testing;
using ptmatch::detail::balancedAdjugate;
using ptmatch::detail::BalancedAdjugate;
using Matrix = ptmatch::detail::SquareArray<3>;

Matrix transposed(const Matrix& m) {
    Matrix result;
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 3; ++c) result[r][c] = m[c][r];
    }
    return result;
}

Matrix randomMatrix(TransformWorld& world) {
    Matrix m;
    for (auto& row : m) {
        for (double& element : row) element = world.uniform(-1.0, 1.0);
    }
    return m;
}

/// Rows and columns in units of their own, up to 2^+-most.
Matrix inRandomUnits(TransformWorld& world, Matrix m, int most) {
    const auto exponent = [&] { return static_cast<int>(world.uniform(-most, most)); };
    for (std::size_t k = 0; k < 3; ++k) {
        const int ofRow = exponent();
        const int ofColumn = exponent();
        for (std::size_t i = 0; i < 3; ++i) {
            m[k][i] = std::scalbn(m[k][i], ofRow);
            m[i][k] = std::scalbn(m[i][k], ofColumn);
        }
    }
    return m;
}

TEST(BalancedAdjugate, SmallElementsDoNotTellTheUnitOfTheirColumn) {
    constexpr double kSmall = 0x1p-700;
    const Matrix m = {{{1, kSmall, kSmall}, {kSmall, 1, kSmall}, {kSmall, kSmall, 1}}};
    const BalancedAdjugate adjugate = balancedAdjugate(m);
    ASSERT_FALSE(adjugate.isSingular);
    for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_EQ(
            std::scalbn(adjugate.elements[k][k] / adjugate.determinant, adjugate.exponent(k, k)),
            1.0);
    }
}

TEST(BalancedAdjugate, GivesTheInverse) {
    const Matrix m = {{{2, 0, 3}, {1, 4, 5}, {0, 0.5, 1}}};
    const Matrix inverse = {{{1.5, 1.5, -12}, {-1, 2, -7}, {0.5, -1, 8}}};  // times 4.5
    const BalancedAdjugate adjugate = balancedAdjugate(m);
    ASSERT_FALSE(adjugate.isSingular);
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 3; ++c) {
            EXPECT_EQ(std::scalbn(adjugate.elements[r][c] / adjugate.determinant,
                                  adjugate.exponent(r, c)),
                      inverse[r][c] / 4.5);
        }
    }
}

TEST(BalancedAdjugate, IsTheSameInAllUnits) {
    for (unsigned seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(seed);
        TransformWorld world(seed);
        const Matrix m = randomMatrix(world);
        const BalancedAdjugate plain = balancedAdjugate(m);
        const BalancedAdjugate scaled = balancedAdjugate(inRandomUnits(world, m, 400));
        ASSERT_FALSE(plain.isSingular);
        ASSERT_FALSE(scaled.isSingular);
        // The powers of two that balance the rows and columns are not unique, their products are.
        const auto determinantOf = [](const BalancedAdjugate& adjugate) {
            int exponent = 0;
            return std::frexp(adjugate.determinant, &exponent);
        };
        EXPECT_EQ(determinantOf(plain), determinantOf(scaled));
        for (std::size_t k = 0; k < 9; ++k) {
            int exponent = 0;
            EXPECT_EQ(std::frexp(plain.elements[k / 3][k % 3], &exponent),
                      std::frexp(scaled.elements[k / 3][k % 3], &exponent));
        }
    }
}

TEST(BalancedAdjugate, RowsOrColumnsThatAreParallelOnceRoundedAreSingular) {
    for (unsigned seed = 1; seed <= 2000; ++seed) {
        SCOPED_TRACE(seed);
        TransformWorld world(seed);
        const Matrix m = randomMatrix(world);
        const double factor = world.uniform(-1.0, 1.0);
        for (std::size_t row = 0; row < 3; ++row) {
            for (std::size_t other = 0; other < 3; ++other) {
                if (other == row) continue;
                Matrix dependent = m;
                for (std::size_t c = 0; c < 3; ++c) dependent[row][c] = factor * m[other][c];
                const Matrix scaled = inRandomUnits(world, dependent, 300);
                for (const Matrix& singular : {dependent, scaled}) {
                    ASSERT_TRUE(balancedAdjugate(singular).isSingular) << row << " || " << other;
                    ASSERT_TRUE(balancedAdjugate(transposed(singular)).isSingular);
                }
            }
        }
    }
}

TEST(BalancedAdjugate, ARowOrColumnThatIsACombinationOnceRoundedIsSingular) {
    for (unsigned seed = 1; seed <= 2000; ++seed) {
        SCOPED_TRACE(seed);
        TransformWorld world(seed);
        const Matrix m = randomMatrix(world);
        const double s = world.uniform(-1.0, 1.0);
        const double t = world.uniform(-1.0, 1.0);
        for (std::size_t row = 0; row < 3; ++row) {
            Matrix singular = m;
            for (std::size_t c = 0; c < 3; ++c) {
                singular[row][c] = s * m[(row + 1) % 3][c] + t * m[(row + 2) % 3][c];
            }
            ASSERT_TRUE(balancedAdjugate(singular).isSingular) << row;
            ASSERT_TRUE(balancedAdjugate(transposed(singular)).isSingular) << row;
        }
    }
}

TEST(BalancedAdjugate, AllRowsParallelOnceRoundedIsSingular) {
    for (unsigned seed = 1; seed <= 2000; ++seed) {
        TransformWorld world(seed);
        Matrix m = randomMatrix(world);
        const double s = world.uniform(-1.0, 1.0);
        const double t = world.uniform(-1.0, 1.0);
        for (std::size_t c = 0; c < 3; ++c) {
            m[1][c] = s * m[0][c];
            m[2][c] = t * m[0][c];
        }
        ASSERT_TRUE(balancedAdjugate(m).isSingular) << seed;
    }
}

// Rows that are parallel but for 1e-7: the determinant is of the size of the square of that, below
// the rounding of its terms, and yet no singular matrix is near.
TEST(BalancedAdjugate, RowsAreNotParallelAsLongAsTheyDifferByMoreThanRounding) {
    for (const double difference : {0x1p-10, 0x1p-20, 0x1p-26, 0x1p-40}) {
        const Matrix m = {{{1 + difference, 1, 1}, {1, 1 + difference, 1}, {1, 1, 1}}};
        const BalancedAdjugate adjugate = balancedAdjugate(m);
        ASSERT_FALSE(adjugate.isSingular) << difference;
        int exponent = 0;
        EXPECT_EQ(std::abs(std::frexp(adjugate.determinant, &exponent)), 0.5)
            << "the square of a power of two";
        // (1 / d, 0, -1 / d; 0, 1 / d, -1 / d; -1 / d, -1 / d, 1 + 2 / d)
        EXPECT_EQ(
            std::scalbn(adjugate.elements[0][0] / adjugate.determinant, adjugate.exponent(0, 0)),
            1 / difference);
    }
    const double last = kEps;
    EXPECT_TRUE(balancedAdjugate({{{1 + last, 1, 1}, {1, 1 + last, 1}, {1, 1, 1}}}).isSingular);
}

TEST(BalancedAdjugate, WhatIsZeroOrNotFiniteIsSingular) {
    EXPECT_TRUE(balancedAdjugate(Matrix{}).isSingular);
    EXPECT_TRUE(balancedAdjugate({{{1, 2, 3}, {4, 5, 7}, {0, 0, 0}}}).isSingular);
    EXPECT_TRUE(balancedAdjugate({{{1, 0, 3}, {4, 0, 7}, {1, 0, 0}}}).isSingular);
    for (const double bad : {kNaN, kInfinity, -kInfinity}) {
        for (std::size_t k = 0; k < 9; ++k) {
            Matrix m = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
            m[k / 3][k % 3] = bad;
            EXPECT_TRUE(balancedAdjugate(m).isSingular);
        }
    }
}

}  // namespace
