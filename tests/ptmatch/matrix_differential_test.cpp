#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "ptmatch/matext.h"
#include "ptmatch/pinv.h"
#include "reference/random_systems.h"
#include "reference/reference_accumulator.h"
#include "reference/reference_matrix.h"
#include "support/same_numbers.h"

// The solvers and the accumulator against the plain reference, on thousands of random systems:
// every element to the last bit, also of what an exception leaves behind.
// PTMATCH_DIFFERENTIAL_CASES sets the number of systems of each kind.
namespace {

using ptmatch::reference::Accumulator;
using ptmatch::reference::LinearSystem;
using ptmatch::reference::Matrix;
using ptmatch::reference::ObservationKind;
using ptmatch::reference::Random;
using ptmatch::reference::Refusals;
using ptmatch::reference::SystemKind;
using ptmatch::testing::sameNumbers;

constexpr long kCasesOfAKind = 120;
constexpr std::uint64_t kFirstSeed = 6'200'000;

long casesOfAKind() {
    const char* asked = std::getenv("PTMATCH_DIFFERENTIAL_CASES");
    return asked == nullptr ? kCasesOfAKind : std::max(1L, std::atol(asked));
}

/// Mostly small; now and then around the lengths at which blocked and vectorised loops change over.
long anySize(Random& random) {
    if (random.chance(0.5)) return random.integer(1, 5);
    if (random.chance(0.9)) return random.integer(1, 20);
    return random.pick<long>({31, 32, 33, 34, 40, 48, 63, 64, 65, 72, 97, 129});
}

enum class Outcome { kDone, kNotSquare, kSingular };

std::ostream& operator<<(std::ostream& out, Outcome outcome) {
    switch (outcome) {
        case Outcome::kDone:
            return out << "done";
        case Outcome::kNotSquare:
            return out << "not square";
        default:
            return out << "singular";
    }
}

template <class NotSquare, class Singular, class Call>
Outcome outcomeOf(const Call& call) {
    try {
        call();
    } catch (const NotSquare&) {
        return Outcome::kNotSquare;
    } catch (const Singular&) {
        return Outcome::kSingular;
    }
    return Outcome::kDone;
}

template <class Call>
Outcome libraryOutcome(const Call& call) {
    return outcomeOf<rxMatrixExt::NotSquareMatrix, rxMatrixExt::SingularMatrix>(call);
}

template <class Call>
Outcome referenceOutcome(const Call& call) {
    return outcomeOf<ptmatch::reference::NotSquareMatrix, ptmatch::reference::SingularMatrix>(call);
}

std::vector<double> flat(const Matrix& matrix) {
    std::vector<double> all;
    for (const std::vector<double>& row : matrix) all.insert(all.end(), row.begin(), row.end());
    return all;
}

std::vector<double> flat(const rxMatrixExt& matrix) {
    std::vector<double> all;
    for (long r = 0; r < matrix.rows(); ++r) {
        for (long c = 0; c < matrix.cols(); ++c) all.push_back(matrix.element(r, c));
    }
    return all;
}

rxMatrixExt libraryMatrix(const Matrix& matrix) {
    rxMatrixExt result(static_cast<long>(matrix.size()),
                       matrix.empty() ? 0 : static_cast<long>(matrix[0].size()));
    for (std::size_t r = 0; r < matrix.size(); ++r) {
        for (std::size_t c = 0; c < matrix[r].size(); ++c) {
            result.element(static_cast<long>(r), static_cast<long>(c), matrix[r][c]);
        }
    }
    return result;
}

std::vector<double> column(const Matrix& matrix, std::size_t c) {
    std::vector<double> result;
    for (const std::vector<double>& row : matrix) result.push_back(row[c]);
    return result;
}

void compareSubstitution(const rxMatrixExt& actual, const Matrix& expected,
                         const std::vector<long>& index, const Matrix& rightHandSides) {
    const std::size_t sides = rightHandSides.empty() ? 0 : rightHandSides[0].size();
    for (std::size_t c = 0; c < sides; ++c) {
        SCOPED_TRACE(testing::Message() << "right-hand side " << c);
        std::vector<double> actualX = column(rightHandSides, c);
        std::vector<double> expectedX = actualX;
        actual.lubksb(index, actualX);
        ptmatch::reference::substitute(expected, index, expectedX);
        EXPECT_TRUE(sameNumbers(actualX, expectedX));
    }
}

/// Decomposes and substitutes by both.
Outcome compareDecompositions(const LinearSystem& system) {
    // Longer than needed by two, which are to stay as they are.
    std::vector<long> actualIndex(system.a.size() + 2, -7);
    std::vector<long> expectedIndex = actualIndex;
    rxMatrixExt actual = libraryMatrix(system.a);
    Matrix expected = system.a;

    const Outcome outcome =
        referenceOutcome([&] { ptmatch::reference::decompose(expected, expectedIndex); });
    EXPECT_EQ(libraryOutcome([&] { actual.ludcmp(actualIndex); }), outcome);
    EXPECT_TRUE(sameNumbers(flat(actual), flat(expected)));
    EXPECT_EQ(actualIndex, expectedIndex);
    if (outcome == Outcome::kDone) compareSubstitution(actual, expected, expectedIndex, system.b);
    return outcome;
}

Outcome compareEliminations(const LinearSystem& system) {
    rxMatrixExt actual = libraryMatrix(system.a);
    rxMatrixExt actualB = libraryMatrix(system.b);
    Matrix expected = system.a;
    Matrix expectedB = system.b;

    const Outcome outcome =
        referenceOutcome([&] { ptmatch::reference::eliminate(expected, expectedB); });
    EXPECT_EQ(libraryOutcome([&] { actual.gaussj(actualB); }), outcome);
    EXPECT_TRUE(sameNumbers(flat(actual), flat(expected))) << "the inverse";
    EXPECT_TRUE(sameNumbers(flat(actualB), flat(expectedB))) << "the solutions";
    return outcome;
}

void expectRefusals(long refused, long cases, Refusals expected) {
    if (expected == Refusals::kNone) {
        EXPECT_EQ(refused, 0);
    } else if (expected == Refusals::kAll) {
        EXPECT_EQ(refused, cases);
    } else if (expected == Refusals::kSome && cases >= kCasesOfAKind) {
        EXPECT_GT(refused, 0);
        EXPECT_LT(refused, cases);
    }
}

/// Compares on many systems of the kind.
template <class Compare>
void compareMany(const SystemKind& kind, Refusals refusals, const Compare& compare) {
    long refused = 0;
    const long cases = casesOfAKind();
    for (long i = 0; i < cases; ++i) {
        const std::uint64_t seed = kFirstSeed + static_cast<std::uint64_t>(i);
        Random random(seed);
        const LinearSystem system = kind.make(random, anySize(random));
        SCOPED_TRACE(testing::Message()
                     << kind.name << ", seed " << seed << ", " << system.a.size() << " rows");
        if (compare(random, system) != Outcome::kDone) ++refused;
        if (testing::Test::HasFailure()) return;
    }
    expectRefusals(refused, cases, refusals);
}

template <class Kind>
std::string nameOf(const testing::TestParamInfo<Kind>& info) {
    return info.param.name;
}

class MatrixDifferential : public testing::TestWithParam<SystemKind> {};

TEST_P(MatrixDifferential, DecompositionAndSubstitutionEqualTheReference) {
    compareMany(GetParam(), GetParam().byDecomposition,
                [](Random&, const LinearSystem& system) { return compareDecompositions(system); });
}

TEST_P(MatrixDifferential, EliminationEqualsTheReference) {
    compareMany(GetParam(), GetParam().byElimination,
                [](Random&, const LinearSystem& system) { return compareEliminations(system); });
}

// Any matrix counts as a decomposition and any row numbers as pivots: also the order in which
// substitution exchanges and skips is then seen.
TEST_P(MatrixDifferential, SubstitutionWithAnyPivotRowsEqualsTheReference) {
    compareMany(GetParam(), Refusals::kNone, [](Random& random, const LinearSystem& system) {
        std::vector<long> index;
        for (std::size_t i = 0; i < system.a.size(); ++i) {
            index.push_back(random.integer(0, static_cast<long>(system.a.size()) - 1));
        }
        compareSubstitution(libraryMatrix(system.a), system.a, index, system.b);
        return Outcome::kDone;
    });
}

// Nothing checks that the matrix is square; what lies to the right of the square takes part in all
// exchanges of rows, and is scaled, but not reduced.
TEST_P(MatrixDifferential, WideMatrixIsLeftAsByTheReference) {
    compareMany(GetParam(), GetParam().byElimination,
                [](Random& random, const LinearSystem& system) {
                    LinearSystem wide = system;
                    const long more = random.integer(1, 5);
                    for (std::vector<double>& row : wide.a) {
                        for (long k = 0; k < more; ++k) row.push_back(random.uniform(-1.0, 1.0));
                    }
                    EXPECT_EQ(compareDecompositions(wide), Outcome::kNotSquare);
                    return compareEliminations(wide);
                });
}

INSTANTIATE_TEST_SUITE_P(Random, MatrixDifferential,
                         testing::ValuesIn(ptmatch::reference::squareSystems()),
                         nameOf<SystemKind>);

void expectSameSums(const rxPsuedoInverse& actual, const Accumulator& expected) {
    ASSERT_EQ(actual.numUnknowns(), static_cast<long>(expected.rhs.size()));
    ASSERT_EQ(actual.normalMatrix().rows(), actual.normalMatrix().cols());
    EXPECT_TRUE(sameNumbers(flat(actual.normalMatrix()), flat(expected.normal)));
    EXPECT_TRUE(sameNumbers(actual.rightHandSide(), expected.rhs));
}

Outcome compareFits(const rxPsuedoInverse& actual, const Accumulator& expected) {
    std::vector<double> actualP;
    std::vector<double> expectedP;
    const Outcome outcome = referenceOutcome([&] { expectedP = expected.fit(); });
    EXPECT_EQ(libraryOutcome([&] { actualP = actual.fit(); }), outcome);
    EXPECT_TRUE(sameNumbers(actualP, expectedP));
    return outcome;
}

class AccumulatorDifferential : public testing::TestWithParam<ObservationKind> {
  protected:
    /// One call on both. Fits are compared apart.
    static void change(Random& random, rxPsuedoInverse& actual, Accumulator& expected) {
        const long choice = random.integer(0, 99);
        if (choice < 2) {
            const long unknowns = random.integer(0, 12);
            actual.resize(unknowns);
            expected.resize(unknowns);
        } else if (choice < 4) {
            actual.reset();
            expected.reset();
        } else if (choice < 6) {
            const rxPsuedoInverse copy = actual;
            actual = rxPsuedoInverse(3);
            actual = copy;
        } else {
            std::vector<double> x;
            const long length = actual.numUnknowns() + random.integer(0, 2);
            for (long i = 0; i < length; ++i) x.push_back(GetParam().value(random));
            const double y = GetParam().value(random);
            actual.update(x, y);
            expected.update(x, y);
        }
    }

    static long compareOneSequence(Random& random) {
        long refused = 0;
        const long unknowns = random.integer(0, 12);
        rxPsuedoInverse actual(unknowns);
        Accumulator expected(unknowns);
        for (int step = 0; step < 30 && !HasFailure(); ++step) {
            SCOPED_TRACE(testing::Message() << "step " << step);
            change(random, actual, expected);
            if (compareFits(actual, expected) != Outcome::kDone) ++refused;
            expectSameSums(actual, expected);
        }
        return refused;
    }
};

TEST_P(AccumulatorDifferential, EqualsTheReferenceAfterEveryCall) {
    long refused = 0;
    const long cases = casesOfAKind();
    for (long i = 0; i < cases; ++i) {
        const std::uint64_t seed = kFirstSeed + static_cast<std::uint64_t>(i);
        SCOPED_TRACE(testing::Message() << GetParam().name << ", seed " << seed);
        Random random(seed);
        refused += compareOneSequence(random);
        if (HasFailure()) return;
    }
    expectRefusals(refused, 30 * cases, GetParam().refusals);
}

INSTANTIATE_TEST_SUITE_P(Random, AccumulatorDifferential,
                         testing::ValuesIn(ptmatch::reference::observations()),
                         nameOf<ObservationKind>);

}  // namespace
