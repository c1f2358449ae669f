#include "ptmatch/jacobi_rotations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "ptmatch/transform_world.h"

namespace {

using namespace ptmatch::testing;
using ptmatch::detail::dot;
using ptmatch::detail::makeRowsOrthogonal;

TEST(JacobiRotations, DotTakesAllElements) {
    for (std::size_t n = 0; n <= 13; ++n) {
        std::vector<double> a;
        std::vector<double> b;
        double expected = 0.0;
        for (std::size_t k = 0; k < n; ++k) {
            a.push_back(static_cast<double>(k + 1));
            b.push_back(static_cast<double>(3 * k) - 7.0);
            expected += a[k] * b[k];
        }
        EXPECT_EQ(dot(a.data(), b.data(), n), expected) << n;
    }
}

/// Rows of n random elements, each followed by its row of the identity.
std::vector<double> randomRows(unsigned seed, std::size_t n) {
    TransformWorld world(seed);
    std::vector<double> rows(n * 2 * n);
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t k = 0; k < n; ++k) rows[i * 2 * n + k] = world.uniform(-1, 1);
        rows[i * 2 * n + n + i] = 1.0;
    }
    return rows;
}

TEST(JacobiRotations, RowsBecomeOrthogonalAndTheRestIsTurnedAlong) {
    for (const std::size_t n : {1U, 2U, 3U, 4U, 5U, 9U, 24U}) {
        for (unsigned seed = 1; seed <= 10; ++seed) {
            SCOPED_TRACE(testing::Message() << n << " rows, seed " << seed);
            const std::vector<double> before = randomRows(seed, n);
            std::vector<double> rows = before;
            const std::size_t width = 2 * n;
            makeRowsOrthogonal(rows.data(), n, n, width);
            const double unit = kEps * static_cast<double>(n);
            for (std::size_t i = 0; i < n; ++i) {
                const double* const p = &rows[i * width];
                for (std::size_t j = 0; j < n; ++j) {
                    const double* const q = &rows[j * width];
                    if (i != j) {
                        const double lengths = std::sqrt(dot(p, p, n) * dot(q, q, n));
                        EXPECT_LE(std::abs(dot(p, q, n)), 2 * unit * lengths);
                    }
                    EXPECT_NEAR(dot(p + n, q + n, n), i == j ? 1.0 : 0.0, 16 * unit);
                    // The carried rotation makes the rows of those that were given.
                    double made = 0.0;
                    for (std::size_t k = 0; k < n; ++k) made += p[n + k] * before[k * width + j];
                    EXPECT_NEAR(made, p[j], 16 * unit);
                }
            }
        }
    }
}

TEST(JacobiRotations, RowsOfZerosAndEqualRowsComeToAnEnd) {
    std::vector<double> rows{0, 0, 0, 1, 2, 3, 1, 2, 3, 1, 2, 3};
    makeRowsOrthogonal(rows.data(), 4, 3, 3);
    std::vector<double> lengths;
    for (std::size_t i = 0; i < 4; ++i) lengths.push_back(dot(&rows[3 * i], &rows[3 * i], 3));
    double sum = 0.0;
    double largest = 0.0;
    for (const double length : lengths) {
        sum += length;
        largest = std::max(largest, length);
    }
    EXPECT_NEAR(sum, 42.0, 256 * kEps);
    EXPECT_NEAR(largest, 42.0, 256 * kEps);
}

TEST(JacobiRotations, WhatIsNotANumberEndsTheSweeps) {
    std::vector<double> rows{kNaN, 1, 2, 3};
    makeRowsOrthogonal(rows.data(), 2, 2, 2);
    EXPECT_TRUE(std::isnan(rows[0]));
    EXPECT_EQ(rows[2], 2.0);
}

}  // namespace
