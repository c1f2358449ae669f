#include "ptmatch/householder.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include "ptmatch/transform_world.h"

namespace {

using namespace ptmatch::testing;
using ptmatch::detail::reflectColumn;

constexpr std::size_t kWidth = 5;
using Rows = std::vector<double>;  // of kWidth elements

double columnProduct(const Rows& rows, std::size_t c, std::size_t d) {
    double sum = 0.0;
    for (std::size_t i = 0; i < rows.size(); i += kWidth) sum += rows[i + c] * rows[i + d];
    return sum;
}

void reflect(Rows& rows, std::size_t column) {
    std::array<double, kWidth> room{};
    reflectColumn(rows.data(), rows.data() + kWidth, rows.size() / kWidth - 1, column, kWidth,
                  room.data());
}

TEST(Householder, LeavesTheColumnToTheHeadAndKeepsAllScalarProducts) {
    for (unsigned seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE(seed);
        TransformWorld world(seed);
        const std::size_t column = seed % kWidth;
        Rows rows(kWidth * (2 + seed % 9));
        for (std::size_t i = 0; i < rows.size(); ++i) {
            rows[i] = i % kWidth < column ? 0.0 : world.uniform(-1, 1);
        }
        const Rows before = rows;
        reflect(rows, column);
        for (std::size_t i = kWidth; i < rows.size(); i += kWidth) EXPECT_EQ(rows[i + column], 0.0);
        const double unit = kEps * static_cast<double>(rows.size());
        for (std::size_t c = 0; c < kWidth; ++c) {
            for (std::size_t d = 0; d < kWidth; ++d) {
                EXPECT_NEAR(columnProduct(rows, c, d), columnProduct(before, c, d), 4 * unit);
            }
        }
    }
}

TEST(Householder, HeadChangesItsSignSoThatNothingCancels) {
    Rows positive{3, 1, 1, 1, 1, 4, 1, 1, 1, 1};
    reflect(positive, 0);
    EXPECT_EQ(positive[0], -5.0);
    Rows negative{-3, 1, 1, 1, 1, 4, 1, 1, 1, 1};
    reflect(negative, 0);
    EXPECT_EQ(negative[0], 5.0);
    // A tail that is a speck beside the head: its whole square is lost beside that of the head.
    Rows graded{1, 1, 0, 0, 0, 1e-9, 0, 1, 0, 0};
    reflect(graded, 0);
    EXPECT_EQ(graded[0], -1.0);
    EXPECT_NEAR(graded[2], -1e-9, 1e-9 * 8 * kEps);
}

TEST(Householder, ColumnThatIsDoneStays) {
    const Rows done{0, 2, 3, 4, 5, 0, 0, 6, 7, 8};
    Rows rows = done;
    reflect(rows, 1);
    EXPECT_EQ(rows, done);
    Rows one{1, 2, 3, 4, 5};
    reflect(one, 0);  // no tail
    EXPECT_EQ(one, (Rows{1, 2, 3, 4, 5}));
}

}  // namespace
