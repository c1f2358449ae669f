#pragma once

namespace ptmatch::detail {

/// A number as the unevaluated sum of two doubles, of about 106 significant bits.
///
/// The building blocks are exact for finite arguments as long as nothing leaves the range of
/// double: twoSum (Knuth, "The art of computer programming" 2, 4.2.2), quickTwoSum and twoProduct
/// (Dekker, "A floating-point technique for extending the available precision", 1971). They need
/// every operation rounded to double as written: no contraction, no reassociation.
struct TwoWord {
    double high = 0.0;
    double low = 0.0;

    constexpr double toDouble() const { return high + low; }
};

/// a + b and its rounding error.
constexpr TwoWord twoSum(double a, double b) {
    const double sum = a + b;
    const double bRounded = sum - a;
    return {sum, (a - (sum - bRounded)) + (b - bRounded)};
}

/// The same for |a| >= |b|.
constexpr TwoWord quickTwoSum(double a, double b) {
    const double sum = a + b;
    return {sum, b - (sum - a)};
}

/// A double cut into two halves of 26 bits, whose products with other halves are exact.
struct SplitDouble {
    double whole;
    double head;
    double tail;

    explicit constexpr SplitDouble(double value)
        : whole(value), head(kSplitter * value - (kSplitter * value - value)), tail(value - head) {}

  private:
    static constexpr double kSplitter = 134217729.0;  // 2^27 + 1
};

/// a b and its rounding error.
constexpr TwoWord twoProduct(const SplitDouble& a, const SplitDouble& b) {
    const double product = a.whole * b.whole;
    const double error =
        ((a.head * b.head - product) + a.head * b.tail + a.tail * b.head) + a.tail * b.tail;
    return {product, error};
}

// Sum, product and quotient are right to a few units of 2^-104, the sum and the difference relative
// to the larger operand.

constexpr TwoWord operator+(TwoWord a, TwoWord b) {
    const TwoWord sum = twoSum(a.high, b.high);
    return quickTwoSum(sum.high, sum.low + (a.low + b.low));
}

constexpr TwoWord operator-(TwoWord a, TwoWord b) {
    return a + TwoWord{-b.high, -b.low};
}

constexpr TwoWord operator*(TwoWord a, TwoWord b) {
    const TwoWord product = twoProduct(SplitDouble(a.high), SplitDouble(b.high));
    return quickTwoSum(product.high, product.low + (a.high * b.low + a.low * b.high));
}

constexpr TwoWord operator*(TwoWord a, double b) {
    return a * TwoWord{b, 0.0};
}

constexpr TwoWord operator/(TwoWord a, TwoWord b) {
    const double quotient = a.high / b.high;
    const TwoWord remainder = a - b * quotient;
    return quickTwoSum(quotient, remainder.high / b.high);
}

}  // namespace ptmatch::detail
