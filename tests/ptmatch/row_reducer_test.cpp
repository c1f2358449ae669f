#include "ptmatch/row_reducer.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include "ptmatch/transform_world.h"

namespace {

using namespace ptmatch::testing;
using ptmatch::detail::RowReducer;
using ptmatch::detail::SquareArray;
using Row = std::array<double, 4>;

std::vector<Row> randomRows(unsigned seed, std::size_t count) {
    TransformWorld world(seed);
    std::vector<Row> rows(count);
    for (Row& row : rows) {
        for (double& v : row) v = world.uniform(-2, 2);
    }
    return rows;
}

SquareArray<4> triangleOf(const std::vector<Row>& rows) {
    RowReducer<4> reducer;
    for (const Row& row : rows) reducer.add(row);
    return reducer.triangle();
}

template <class Rows>
SquareArray<4> square(const Rows& rows) {
    SquareArray<4> sum{};
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < 4; ++i) {
            for (std::size_t j = 0; j < 4; ++j) sum[i][j] += row[i] * row[j];
        }
    }
    return sum;
}

TEST(RowReducer, TriangleHasTheSquareOfTheRows) {
    // Around the number of rows that one block holds, and several blocks.
    for (const std::size_t count : {0U, 1U, 3U, 4U, 5U, 63U, 64U, 65U, 128U, 129U, 1000U}) {
        SCOPED_TRACE(count);
        const auto rows = randomRows(static_cast<unsigned>(count), count);
        const SquareArray<4> triangle = triangleOf(rows);
        const SquareArray<4> expected = square(rows);
        const SquareArray<4> actual = square(triangle);
        const double tolerance = 64 * kEps * static_cast<double>(count + 1);
        for (std::size_t i = 0; i < 4; ++i) {
            for (std::size_t j = 0; j < 4; ++j) {
                EXPECT_NEAR(actual[i][j], expected[i][j], tolerance);
                EXPECT_TRUE(j >= i || triangle[i][j] == 0.0);
            }
        }
    }
}

TEST(RowReducer, KeepsTheDigitsThatSquaresLose) {
    // The last column is the first but for 1e-9, whose square no double beside 1 can hold.
    std::vector<Row> rows = randomRows(1, 200);
    double tail = 0.0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const double step = i % 2 == 0 ? 1e-9 : -1e-9;
        rows[i] = {1.0, 0.0, 0.0, 1.0 + step};
        const double held = rows[i][3] - 1.0;
        tail += held * held;
    }
    const SquareArray<4> triangle = triangleOf(rows);
    EXPECT_NEAR(std::abs(triangle[3][3]), std::sqrt(tail), 1e-6 * std::sqrt(tail));
}

TEST(RowReducer, CanBeAskedAgainAfterMoreRows) {
    const auto rows = randomRows(2, 100);
    RowReducer<4> reducer;
    for (std::size_t i = 0; i < 50; ++i) reducer.add(rows[i]);
    (void)reducer.triangle();
    for (std::size_t i = 50; i < 100; ++i) reducer.add(rows[i]);
    const SquareArray<4> expected = square(rows);
    const SquareArray<4> actual = square(reducer.triangle());
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t j = 0; j < 4; ++j) EXPECT_NEAR(actual[i][j], expected[i][j], 1e-11);
    }
}

}  // namespace
