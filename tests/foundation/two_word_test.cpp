#include "foundation/two_word.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

using ptmatch::detail::SplitDouble;
using ptmatch::detail::twoProduct;
using ptmatch::detail::twoSum;
using ptmatch::detail::TwoWord;

constexpr double kEps = std::numeric_limits<double>::epsilon();
constexpr double kRelative = 4.0 * kEps * kEps;  // what each operation may lose

TEST(TwoWord, SumAndProductAreExact) {
    const TwoWord sum = twoSum(1e16, 1.0);
    EXPECT_EQ(sum.high, 1e16);
    EXPECT_EQ(sum.low, 1.0);
    const TwoWord swapped = twoSum(1.0, 1e16);
    EXPECT_EQ(swapped.low, 1.0);
    // (1 + e)^2 = 1 + 2 e + e^2
    const TwoWord square = twoProduct(SplitDouble(1.0 + kEps), SplitDouble(1.0 + kEps));
    EXPECT_EQ(square.high, 1.0 + 2.0 * kEps);
    EXPECT_EQ(square.low, kEps * kEps);
}

TEST(TwoWord, ProductErrorIsThatOfAFusedMultiply) {
    const unsigned seed = 20051;
    SCOPED_TRACE(seed);
    std::mt19937 engine(seed);
    std::uniform_real_distribution<double> uniform(-1e8, 1e8);
    for (int round = 0; round < 10000; ++round) {
        const double a = uniform(engine);
        const double b = uniform(engine);
        const TwoWord product = twoProduct(SplitDouble(a), SplitDouble(b));
        EXPECT_EQ(product.high, a * b);
        EXPECT_EQ(product.low, std::fma(a, b, -(a * b)));
    }
}

TEST(TwoWord, QuotientTimesDivisorGivesBack) {
    const unsigned seed = 20052;
    SCOPED_TRACE(seed);
    std::mt19937 engine(seed);
    std::uniform_real_distribution<double> uniform(1.0, 2.0);
    for (int round = 0; round < 10000; ++round) {
        const TwoWord a = twoSum(uniform(engine), kEps * 0.4 * uniform(engine));
        const TwoWord b = twoSum(uniform(engine), -kEps * 0.4 * uniform(engine));
        const TwoWord back = (a / b) * b - a;
        EXPECT_LE(std::abs(back.toDouble()), 2.0 * 4.0 * kRelative);
    }
}

TEST(TwoWord, DifferenceKeepsWhatOneWordLoses) {
    const TwoWord third = TwoWord{1.0, 0.0} / TwoWord{3.0, 0.0};
    const TwoWord rest = TwoWord{1.0, 0.0} - third * 3.0;
    EXPECT_LE(std::abs(rest.toDouble()), kRelative);
    EXPECT_NE(third.low, 0.0);
    // 1 - (1 - e^2) = e^2
    const TwoWord below = TwoWord{1.0 - kEps, 0.0} * TwoWord{1.0 + kEps, 0.0};
    EXPECT_EQ((TwoWord{1.0, 0.0} - below).toDouble(), kEps * kEps);
}

}  // namespace
