#pragma once

#include "foundation/two_word.h"

namespace ptmatch::detail {

/// a b - c d, rounded as if once, however much of the products cancels. Not a number when a factor
/// is beyond 1e300.
constexpr double differenceOfProducts(double a, double b, double c, double d) {
    return (twoProduct(SplitDouble(a), SplitDouble(b)) - twoProduct(SplitDouble(c), SplitDouble(d)))
        .toDouble();
}

}  // namespace ptmatch::detail
