#include "ptmatch/chance.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using ptmatch::detail::anyOf;
using ptmatch::detail::binomialTail;

// Added up term by term from C(n, k) p^k (1 - p)^(n - k).
double exactTail(int n, double p, int wanted) {
    double tail = 0.0;
    for (int k = wanted; k <= n; ++k) {
        double term = 1.0;
        for (int i = 1; i <= k; ++i) term *= p * (n - k + i) / i;
        for (int i = 0; i < n - k; ++i) term *= 1.0 - p;
        tail += term;
    }
    return tail;
}

TEST(Chance, TailOfABinomialDistributionIsGoodToAHundredth) {
    for (const int n : {5, 20, 100}) {
        for (const double p : {0.02, 0.2, 0.6}) {
            for (int wanted = static_cast<int>(n * p) + 1; wanted <= n; ++wanted) {
                const double exact = exactTail(n, p, wanted);
                EXPECT_NEAR(binomialTail(n, p, wanted) / exact, 1.0, 0.01)
                    << n << " " << p << " " << wanted;
            }
        }
    }
}

TEST(Chance, WhatIsExpectedAnywayIsTakenForCertain) {
    EXPECT_EQ(binomialTail(100, 0.5, 50), 1.0);
    EXPECT_EQ(binomialTail(100, 0.5, 101), 0.0);
}

TEST(Chance, AnyOfManyIsMoreProbableThanOne) {
    EXPECT_DOUBLE_EQ(anyOf(0.5, 1), 0.5);
    EXPECT_DOUBLE_EQ(anyOf(0.5, 2), 0.75);
    EXPECT_NEAR(anyOf(1e-20, 1e10), 1e-10, 1e-20);
    EXPECT_EQ(anyOf(1.0, 3), 1.0);
}

}  // namespace
