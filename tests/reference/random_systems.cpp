#include "reference/random_systems.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace ptmatch::reference {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Values, by what hurts about them.

double ordinary(Random& random) {
    return random.uniform(-10.0, 10.0);
}
double smallInteger(Random& random) {
    return static_cast<double>(random.integer(-3, 3));
}
double zeroOrOne(Random& random) {
    return random.chance(0.6) ? 0.0 : 1.0;
}
double sign(Random& random) {
    return random.chance(0.5) ? -1.0 : 1.0;
}
double signedZeroOrOne(Random& random) {
    const double magnitude = zeroOrOne(random);
    return std::copysign(magnitude, sign(random));
}
double powerOfTwo(Random& random) {
    const double magnitude = std::ldexp(1.0, static_cast<int>(random.integer(-4, 4)));
    return std::copysign(magnitude, sign(random));
}
double huge(Random& random) {
    return random.uniform(-1.0, 1.0) * 1e160;
}
double nearTheLimit(Random& random) {
    return random.uniform(-1.0, 1.0) * std::numeric_limits<double>::max();
}
double tiny(Random& random) {
    return random.uniform(-1.0, 1.0) * 1e-160;
}
double subnormal(Random& random) {
    return static_cast<double>(random.integer(-40, 40)) * std::numeric_limits<double>::denorm_min();
}
double ofEverySize(Random& random) {
    const double magnitude = std::pow(10.0, random.uniform(-150.0, 150.0));
    return std::copysign(magnitude, sign(random));
}
double seldomFinite(Random& random) {
    return random.pick<double>({kInfinity, -kInfinity, kNaN, 0.0, 1.0, -2.0});
}
double sometimesNotFinite(Random& random) {
    return random.chance(0.02) ? seldomFinite(random) : ordinary(random);
}

Matrix filled(Random& random, long rows, long cols, double (*value)(Random&)) {
    Matrix matrix = zeroMatrix(rows, cols);
    for (std::vector<double>& row : matrix) {
        for (double& element : row) element = value(random);
    }
    return matrix;
}

long fewColumns(Random& random) {
    return random.integer(0, 3);
}

/// Matrix and right-hand sides of such values.
LinearSystem filledSystem(Random& random, long size, double (*value)(Random&)) {
    return {filled(random, size, size, value), filled(random, size, fewColumns(random), value)};
}

template <double (*Value)(Random&)>
LinearSystem of(Random& random, long size) {
    return filledSystem(random, size, Value);
}

void shuffleRows(Random& random, Matrix& matrix) {
    for (std::size_t i = matrix.size(); i > 1; --i) {
        std::swap(matrix[i - 1],
                  matrix[static_cast<std::size_t>(random.integer(0, static_cast<long>(i) - 1))]);
    }
}

std::size_t anyRow(Random& random, const Matrix& matrix) {
    return static_cast<std::size_t>(random.integer(0, static_cast<long>(matrix.size()) - 1));
}

LinearSystem permutation(Random& random, long size) {
    LinearSystem system = filledSystem(random, size, ordinary);
    system.a = zeroMatrix(size, size);
    for (std::size_t i = 0; i < system.a.size(); ++i) {
        system.a[i][i] = random.chance(0.5) ? 1.0 : powerOfTwo(random);
    }
    shuffleRows(random, system.a);
    return system;
}

LinearSystem triangular(Random& random, long size) {
    LinearSystem system = filledSystem(random, size, ordinary);
    const bool isLower = random.chance(0.5);
    for (std::size_t i = 0; i < system.a.size(); ++i) {
        for (std::size_t j = 0; j < system.a.size(); ++j) {
            if (isLower ? j > i : j < i) system.a[i][j] = 0.0;
        }
    }
    return system;
}

LinearSystem illConditioned(Random& random, long size) {
    LinearSystem system = filledSystem(random, size, ordinary);
    for (std::size_t i = 0; i < system.a.size(); ++i) {
        for (std::size_t j = 0; j < system.a.size(); ++j) {
            system.a[i][j] = 1.0 / static_cast<double>(i + j + 1);
        }
    }
    return system;
}

// Candidates that differ, and are the same in proportion to their rows.
LinearSystem rowsOfOtherUnits(Random& random, long size) {
    LinearSystem system = filledSystem(random, size, sign);
    for (std::vector<double>& row : system.a) {
        const double unit = powerOfTwo(random);
        for (double& element : row) element *= unit;
    }
    return system;
}

LinearSystem productOf(Random& random, long size, long rank, double (*value)(Random&)) {
    LinearSystem system = filledSystem(random, size, value);
    const Matrix left = filled(random, size, rank, value);
    const Matrix right = filled(random, rank, size, value);
    system.a = zeroMatrix(size, size);
    for (std::size_t i = 0; i < left.size(); ++i) {
        for (std::size_t j = 0; j < left.size(); ++j) {
            for (std::size_t k = 0; k < right.size(); ++k) {
                system.a[i][j] += left[i][k] * right[k][j];
            }
        }
    }
    return system;
}

// Exactly singular, so that column after column has no candidate above 0.
LinearSystem ofLowRank(Random& random, long size) {
    return productOf(random, size, std::max(1L, size / 2), smallInteger);
}
LinearSystem ofRankOne(Random& random, long size) {
    return productOf(random, size, 1, powerOfTwo);
}

LinearSystem normalEquations(Random& random, long size) {
    LinearSystem system = filledSystem(random, size, ordinary);
    const auto value = random.chance(0.5) ? ordinary : smallInteger;
    const Matrix rows = filled(random, random.integer(1, 2 * size), size, value);
    system.a = zeroMatrix(size, size);
    for (const std::vector<double>& x : rows) {
        for (std::size_t i = 0; i < x.size(); ++i) {
            for (std::size_t j = 0; j < x.size(); ++j) system.a[i][j] += x[i] * x[j];
        }
    }
    return system;
}

LinearSystem rowsThatRepeat(Random& random, long size) {
    LinearSystem system = filledSystem(random, size, random.chance(0.5) ? ordinary : powerOfTwo);
    for (long i = random.integer(1, size); i > 0; --i) {
        const std::size_t from = anyRow(random, system.a);
        system.a[anyRow(random, system.a)] = system.a[from];
    }
    return system;
}

LinearSystem columnOfZeros(Random& random, long size) {
    LinearSystem system = filledSystem(random, size, ordinary);
    const std::size_t column = anyRow(random, system.a);
    for (std::vector<double>& row : system.a) row[column] = 0.0;
    return system;
}

LinearSystem rowOfZeros(Random& random, long size) {
    LinearSystem system = filledSystem(random, size, ordinary);
    for (double& element : system.a[anyRow(random, system.a)]) element = 0.0;
    return system;
}

// Substitution passes over zeros until the first number, and over none after it.
LinearSystem zerosOnTheRight(Random& random, long size) {
    LinearSystem system = filledSystem(random, size, random.chance(0.5) ? ordinary : powerOfTwo);
    system.b = zeroMatrix(size, 3);
    system.b[anyRow(random, system.b)][1] = 1.0;
    system.b[anyRow(random, system.b)][2] = 2.0;
    system.b[anyRow(random, system.b)][2] = -0.0;
    return system;
}

}  // namespace

const std::vector<SystemKind>& squareSystems() {
    using enum Refusals;
    static const std::vector<SystemKind> kinds{
        {"ordinary", of<ordinary>},
        {"smallIntegers", of<smallInteger>, kSome, kSome},
        {"zerosAndOnes", of<zeroOrOne>, kSome, kSome},
        {"signedZerosAndOnes", of<signedZeroOrOne>, kSome, kSome},
        {"signs", of<sign>, kNone, kSome},
        {"powersOfTwo", of<powerOfTwo>, kNone, kFew},
        {"huge", of<huge>},
        {"nearTheLimit", of<nearTheLimit>, kNone, kSome},
        {"tiny", of<tiny>},
        {"subnormal", of<subnormal>, kFew, kSome},
        {"ofEverySize", of<ofEverySize>, kNone, kFew},
        {"sometimesNotFinite", of<sometimesNotFinite>, kFew, kSome},
        {"seldomFinite", of<seldomFinite>, kSome, kSome},
        {"permutation", permutation},
        {"triangular", triangular},
        {"illConditioned", illConditioned},
        {"rowsOfOtherUnits", rowsOfOtherUnits, kNone, kSome},
        {"ofLowRank", ofLowRank, kSome, kSome},
        {"ofRankOne", ofRankOne, kNone, kSome},
        {"normalEquations", normalEquations, kSome, kSome},
        {"rowsThatRepeat", rowsThatRepeat, kNone, kSome},
        {"columnOfZeros", columnOfZeros, kSome, kAll},
        {"rowOfZeros", rowOfZeros, kAll, kAll},
        {"zerosOnTheRight", zerosOnTheRight, kNone, kFew},
    };
    return kinds;
}

const std::vector<ObservationKind>& observations() {
    static const std::vector<ObservationKind> kinds{
        {"ordinary", ordinary},
        {"smallIntegers", smallInteger},
        {"zerosAndOnes", signedZeroOrOne},
        {"powersOfTwo", powerOfTwo},
        {"huge", huge},
        {"tiny", tiny},
        {"ofEverySize", ofEverySize},
        {"sometimesNotFinite", sometimesNotFinite},
    };
    return kinds;
}

}  // namespace ptmatch::reference
