#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>

#include "foundation/xform.h"

// For results that are to be equal to the last bit.

inline std::uint64_t bitsOf(double value) {
    return std::bit_cast<std::uint64_t>(value);
}

inline void expectSameNumber(double actual, double expected, const char* what) {
    EXPECT_EQ(bitsOf(actual), bitsOf(expected)) << what << ": " << actual << " and " << expected;
}

inline void expectSameXform(const rxXform<2>& actual, const rxXform<2>& expected) {
    for (long row = 0; row < 2; ++row) {
        for (long col = 0; col < 2; ++col) {
            expectSameNumber(actual.matrix().element(row, col), expected.matrix().element(row, col),
                             "matrix element");
        }
    }
    expectSameNumber(actual.trans().x(), expected.trans().x(), "x translation");
    expectSameNumber(actual.trans().y(), expected.trans().y(), "y translation");
}
