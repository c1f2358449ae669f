#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

#include "foundation/angle.h"
#include "foundation/exception.h"
#include "foundation/fitter.h"
#include "reference/reference_accumulator.h"
#include "reference/reference_matrix.h"
#include "reference/reference_perspective.h"
#include "reference/reference_planar.h"
#include "reference/reference_space.h"

// The reference for matrices and fitted transforms is what the library is held against, so here it
// is held against examples worked out by hand. Numbers are chosen so that every step is exact.
namespace ptmatch::reference {
namespace {

using ::testing::DoubleNear;
using ::testing::ElementsAre;
using ::testing::Pointwise;

constexpr double kEps = std::numeric_limits<double>::epsilon();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
const rxRadian kQuarterTurn(std::numbers::pi / 2.0);

struct Decomposed {
    Matrix lu;
    std::vector<long> index;
};

Decomposed decomposed(Matrix a) {
    std::vector<long> index(a.size(), -1);
    decompose(a, index);
    return {a, index};
}

TEST(ReferenceDecompose, SwapsRowsForAPivot) {
    const Decomposed d = decomposed({{0, 1}, {1, 0}});
    EXPECT_EQ(d.lu, (Matrix{{1, 0}, {0, 1}}));
    EXPECT_THAT(d.index, ElementsAre(1, 1));
}

TEST(ReferenceDecompose, MeasuresCandidatesAgainstTheirRows) {
    // 1 of 4 in the first row, 1 of 1 in the second.
    const Decomposed d = decomposed({{1, 4}, {1, 1}});
    EXPECT_EQ(d.lu, (Matrix{{1, 1}, {1, 3}}));
    EXPECT_THAT(d.index, ElementsAre(1, 1));
}

TEST(ReferenceDecompose, FirstOfEqualCandidatesWins) {
    // Each row has its largest element in front: three ties at 1.
    const Decomposed d = decomposed({{2, 1, 1}, {4, 3, 3}, {-8, 0, 4}});
    EXPECT_EQ(d.lu, (Matrix{{2, 1, 1}, {-4, 4, 8}, {2, 0.25, -1}}));
    EXPECT_THAT(d.index, ElementsAre(0, 2, 2));
}

TEST(ReferenceDecompose, ScaleTravelsWithTheRowThatMovedDown) {
    // The last row goes up with 8 of 8. Then the first row, now the last, has 1.5 of 2 left, the
    // middle one 6 of 16; against the 8 of the row that went up, 1.5 would be less.
    const Decomposed d = decomposed({{1, 2, 0}, {4, 8, 16}, {8, 4, 1}});
    EXPECT_THAT(d.index, ElementsAre(2, 2, 2));
    EXPECT_EQ(d.lu, (Matrix{{8, 4, 1}, {0.125, 1.5, -0.125}, {0.5, 4, 16}}));
}

TEST(ReferenceDecompose, ColumnWithoutCandidateKeepsThePivotRowBefore) {
    const Decomposed d = decomposed({{1, 1}, {1, 1}});
    EXPECT_EQ(d.lu, (Matrix{{1, 0}, {1, 1}}));
    EXPECT_THAT(d.index, ElementsAre(0, 0));
}

TEST(ReferenceDecompose, PivotRowBeforeMayBeBelow) {
    // The last row goes up in the first column; the second column has nothing left.
    const Decomposed d = decomposed({{1, 1, 2}, {0, 0, 1}, {2, 2, 2}});
    EXPECT_EQ(d.lu, (Matrix{{2, 2, 2}, {0.5, 1e-40, 1}, {0, 0, 1}}));
    EXPECT_THAT(d.index, ElementsAre(2, 2, 2));
}

TEST(ReferenceDecompose, FirstColumnWithoutCandidateGetsTheTinyPivot) {
    const Decomposed d = decomposed({{0, 1}, {0, 1}});
    EXPECT_EQ(d.lu, (Matrix{{1e-40, 1}, {0, 1}}));
    EXPECT_THAT(d.index, ElementsAre(0, 1));
}

TEST(ReferenceDecompose, RefusesBeforeItChangesAnything) {
    Matrix wide{{1, 2, 3}, {4, 5, 6}};
    Matrix withZeroRow{{1, 2}, {0, 0}};
    std::vector<long> index{7, 7};
    EXPECT_THROW(decompose(wide, index), NotSquareMatrix);
    EXPECT_THROW(decompose(withZeroRow, index), SingularMatrix);
    EXPECT_EQ(wide, (Matrix{{1, 2, 3}, {4, 5, 6}}));
    EXPECT_EQ(withZeroRow, (Matrix{{1, 2}, {0, 0}}));
    EXPECT_THAT(index, ElementsAre(7, 7));
}

TEST(ReferenceSubstitute, SolvesWithSwappedRows) {
    // Rows 1 and 2 of [[2,1,1],[4,3,9],[8,8,9]] change places; x = (1, 2, 3).
    const Decomposed d = decomposed({{2, 1, 1}, {4, 3, 9}, {8, 8, 9}});
    EXPECT_EQ(d.lu, (Matrix{{2, 1, 1}, {4, 4, 5}, {2, 0.25, 5.75}}));
    EXPECT_THAT(d.index, ElementsAre(0, 2, 2));
    std::vector<double> b{7, 37, 51};
    substitute(d.lu, d.index, b);
    EXPECT_THAT(b, ElementsAre(1, 2, 3));
}

TEST(ReferenceSubstitute, SkipsLeadingZerosOnly) {
    // Were the zeros in front not skipped, infinity * 0 would spread a not-a-number.
    const double inf = std::numeric_limits<double>::infinity();
    std::vector<double> b{0, 0, 6};
    substitute({{1, 0, 0}, {inf, 1, 0}, {inf, inf, 2}}, {0, 1, 2}, b);
    EXPECT_THAT(b, ElementsAre(0, 0, 3));
    // A zero after the first non-zero counts like any other.
    b = {1, 2, 8};
    substitute({{1, 0, 0}, {2, 1, 0}, {3, inf, 1}}, {0, 1, 2}, b);
    EXPECT_TRUE(std::isnan(b[2]));
}

TEST(ReferenceSubstitute, RefusesAMatrixThatIsNotSquare) {
    std::vector<double> b{1, 2};
    EXPECT_THROW(substitute({{1, 2, 3}, {4, 5, 6}}, {0, 1}, b), NotSquareMatrix);
}

TEST(ReferenceEliminate, InvertsAndSolves) {
    Matrix a{{0, 2}, {4, 0}};
    Matrix b{{2, 6}, {4, 8}};
    eliminate(a, b);
    EXPECT_EQ(a, (Matrix{{0, 0.25}, {0.5, 0}}));
    EXPECT_EQ(b, (Matrix{{1, 2}, {1, 3}}));
}

TEST(ReferenceEliminate, UnscramblesACycleOfColumns) {
    Matrix a{{0, 2, 0}, {0, 0, 4}, {8, 0, 0}};
    Matrix b{{2}, {8}, {24}};
    eliminate(a, b);
    EXPECT_EQ(a, (Matrix{{0, 0, 0.125}, {0.5, 0, 0}, {0, 0.25, 0}}));
    EXPECT_EQ(b, (Matrix{{3}, {1}, {2}}));
}

TEST(ReferenceEliminate, LastOfEqualPivotsWins) {
    // The remains after the exception show which: with (1, 1) first, row 0 is what was reduced.
    Matrix a{{1, 1}, {1, 1}};
    Matrix b{{5}, {7}};
    EXPECT_THROW(eliminate(a, b), SingularMatrix);
    EXPECT_EQ(a, (Matrix{{0, -1}, {1, 1}}));
    EXPECT_EQ(b, (Matrix{{-2}, {7}}));
}

TEST(ReferenceEliminate, MatrixOfZerosIsSingularAndUntouched) {
    Matrix a = zeroMatrix(2, 2);
    Matrix b{{5}, {7}};
    EXPECT_THROW(eliminate(a, b), SingularMatrix);
    EXPECT_EQ(a, zeroMatrix(2, 2));
    EXPECT_EQ(b, (Matrix{{5}, {7}}));
}

TEST(ReferenceEliminate, ColumnChosenTwiceIsSingular) {
    // No not-a-number is a candidate, so the pivot of the first pass stands in the second, too.
    Matrix a{{kNaN, kNaN, kNaN}, {kNaN, kNaN, kNaN}, {kNaN, kNaN, 1}};
    Matrix b = zeroMatrix(3, 1);
    EXPECT_THROW(eliminate(a, b), SingularMatrix);
}

TEST(ReferenceAccumulator, FindsTheLeastSquaresCompromise) {
    Accumulator agreeing(2);
    agreeing.update({1, 0}, 3);
    agreeing.update({0, 1}, 4);
    EXPECT_THAT(agreeing.fit(), ElementsAre(3, 4));
    Accumulator contradicted = agreeing;

    agreeing.update({1, 1}, 7);
    EXPECT_THAT(agreeing.fit(), ElementsAre(3, 4));

    contradicted.update({1, 1}, 8);
    EXPECT_EQ(contradicted.normal, (Matrix{{2, 1}, {1, 2}}));
    EXPECT_THAT(contradicted.rhs, ElementsAre(11, 12));
    EXPECT_THAT(contradicted.fit(),
                Pointwise(DoubleNear(4 * kEps), std::vector<double>{10.0 / 3.0, 13.0 / 3.0}));
}

TEST(ReferenceAccumulator, HasNothingToSolveWithoutObservations) {
    Accumulator three(3);
    EXPECT_THROW((void)three.fit(), SingularMatrix);
    EXPECT_TRUE(Accumulator(0).fit().empty());
    three.update({1, 2, 3}, 4);
    three.reset();
    EXPECT_EQ(three.normal, zeroMatrix(3, 3));
    EXPECT_THAT(three.rhs, ElementsAre(0, 0, 0));
}

void expectNear(const rxVector<2>& actual, const rxVector<2>& expected, double tolerance) {
    EXPECT_NEAR(actual.x(), expected.x(), tolerance);
    EXPECT_NEAR(actual.y(), expected.y(), tolerance);
}

void expectNear(const rxVector<3>& actual, const rxVector<3>& expected, double tolerance) {
    EXPECT_NEAR(actual.x(), expected.x(), tolerance);
    EXPECT_NEAR(actual.y(), expected.y(), tolerance);
    EXPECT_NEAR(actual.z(), expected.z(), tolerance);
}

TEST(ReferencePlanar, TurnsInFrontOfTheTransform) {
    PlanarTransform tm(rxXform<2>(rxMatrix<2>(), rxVector<2>(5, 0)));
    tm.rotate(kQuarterTurn);
    expectNear(tm.a2b(rxVector<2>(0, 0)), {5, 0}, kEps);
    expectNear(tm.a2b(rxVector<2>(1, 0)), {5, 1}, kEps);
    expectNear(tm.b2a(rxVector<2>(5, 1)), {1, 0}, 8 * kEps);
}

TEST(ReferencePlanar, TranslationIsMappedFirst) {
    PlanarTransform tm(rxXform<2>(rxMatrix<2>(2, 0, 0, 2), rxVector<2>(1, 1)));
    tm.translate(rxVector<2>(3, 4));
    EXPECT_EQ(tm.a2bXform, rxXform<2>(rxMatrix<2>(2, 0, 0, 2), rxVector<2>(7, 9)));
    EXPECT_EQ(tm.b2aXform, rxXform<2>(rxMatrix<2>(0.5, 0, 0, 0.5), rxVector<2>(-3.5, -4.5)));
}

TEST(ReferencePlanar, AppendsBehindAndConcatenatesInFront) {
    const rxXform<2> doubling(rxMatrix<2>(2, 0, 0, 2), rxVector<2>(0, 0));
    const rxXform<2> shearing(rxMatrix<2>(1, 1, 0, 1), rxVector<2>(5, 7));
    PlanarTransform appended(doubling);
    appended.append(PlanarTransform(shearing));
    EXPECT_EQ(appended.a2bXform, rxXform<2>(rxMatrix<2>(2, 2, 0, 2), rxVector<2>(5, 7)));
    PlanarTransform concatenated(doubling);
    concatenated.concat(PlanarTransform(shearing));
    EXPECT_EQ(concatenated.a2bXform, rxXform<2>(rxMatrix<2>(2, 2, 0, 2), rxVector<2>(10, 14)));
}

TEST(ReferencePlanar, OnlyTranslationAndFitKeepThePairs) {
    PlanarTransform fitted({{0, 0}, {1, 0}, {0, 1}}, {{5, 5}, {7, 5}, {5, 8}}, 6);
    expectNear(fitted.a2b(rxVector<2>(2, 3)), {9, 14}, 16 * kEps);
    fitted.translate(rxVector<2>(1, 1));
    EXPECT_EQ(fitted.fitter.numPairs(), 3);

    PlanarTransform rotated = fitted;
    rotated.rotate(kQuarterTurn);
    EXPECT_EQ(rotated.fitter.numPairs(), 0);
    PlanarTransform scaled = fitted;
    scaled.scale(rxVector<2>(2, 2));
    EXPECT_EQ(scaled.fitter.numPairs(), 0);
    PlanarTransform appended = fitted;
    appended.append(fitted);
    EXPECT_EQ(appended.fitter.numPairs(), 0);
    PlanarTransform concatenated = fitted;
    concatenated.concat(fitted);
    EXPECT_EQ(concatenated.fitter.numPairs(), 0);
}

TEST(ReferencePlanar, OpenModelIsTheRichestThatThePairsDetermine) {
    // Two pairs: neither 6 nor 5 parameters, but a similarity.
    PlanarTransform similar({{0, 0}, {1, 0}}, {{1, 1}, {1, 3}}, 0);
    expectNear(similar.a2b(rxVector<2>(0, 1)), {-1, 1}, 8 * kEps);

    PlanarTransform lost = similar;
    lost.reset();
    lost.update(rxVector<2>(1, 1), rxVector<2>(2, 2));
    try {
        lost.fit(0);
        ADD_FAILURE() << "one pair is no model";
    } catch (const rxLSPointToPointFitter::Errors& e) {
        EXPECT_THAT(e.message(), testing::HasSubstr("3 degrees"));
    }
    EXPECT_EQ(lost.a2bXform, similar.a2bXform);
}

TEST(ReferencePlanar, MapsDirections) {
    const PlanarTransform turned(
        rxXform<2>(rxVector<2>(3, 4), rxDegree(30.0), rxDegree(30.0), 2.0, 2.0));
    EXPECT_NEAR(turned.a2b(rxRadian(0.0)).toDouble(), std::numbers::pi / 6.0, 4 * kEps);
    EXPECT_NEAR(turned.b2a(rxRadian(0.0)).toDouble(), -std::numbers::pi / 6.0, 16 * kEps);
    const PlanarTransform mirrored(rxXform<2>(rxMatrix<2>(-1, 0, 0, 1), rxVector<2>(0, 0)));
    EXPECT_EQ(mirrored.a2b(rxRadian(0.0)).toDouble(), std::numbers::pi);
}

TEST(ReferencePlanar, RefusalsLeaveWhatWasThere) {
    PlanarTransform tm(rxXform<2>(rxMatrix<2>(2, 0, 0, 2), rxVector<2>(1, 1)));
    tm.update(rxVector<2>(1, 1), rxVector<2>(2, 2));
    const rxXform<2> before = tm.a2bXform;
    EXPECT_THROW(tm.update(PlanarTransform::Points(3), PlanarTransform::Points(2)), UnequalLists);
    EXPECT_THROW(tm.scale(rxVector<2>(0, 1)), rxMathError);
    EXPECT_EQ(tm.fitter.numPairs(), 1);
    EXPECT_EQ(tm.a2bXform, before);
    EXPECT_THROW(tm.fit(PlanarTransform::Points(1), {}, 6), UnequalLists);
    EXPECT_EQ(tm.fitter.numPairs(), 0);
    EXPECT_EQ(tm.a2bXform, rxXform<2>::I);
}

// Depth 1 + x / 2.
constexpr Perspective::Params kOblique{4, 0, 1, 0, 2, 0, 0.5, 0};

TEST(ReferencePerspective, DividesByTheDepth) {
    Perspective tm;
    tm.a2bParams = kOblique;
    tm.b2aParams = {1, 0, 0, 0, 1, 0, 0, 1};
    EXPECT_EQ(tm.a2b(rxVector<2>(0, 3)), rxVector<2>(1, 6));
    EXPECT_EQ(tm.a2b(rxVector<2>(2, 3)), rxVector<2>(4.5, 3));
    EXPECT_EQ(tm.a2b(rxVector<2>(6, 4)), rxVector<2>(6.25, 2));
    EXPECT_EQ(tm.b2a(rxVector<2>(6, 3)), rxVector<2>(1.5, 0.75));
}

TEST(ReferencePerspective, ObservesTheEquationsMultipliedOut) {
    Perspective tm;
    tm.update(rxVector<2>(2, 3), rxVector<2>(5, 7));
    const std::vector<double> first{2, 3, 1, 0, 0, 0, -10, -15};
    const std::vector<double> second{0, 0, 0, 2, 3, 1, -14, -21};
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(tm.solver.rhs[i], 5 * first[i] + 7 * second[i]);
        for (std::size_t j = 0; j < 8; ++j) {
            EXPECT_EQ(tm.solver.normal[i][j], first[i] * first[j] + second[i] * second[j]);
        }
    }
}

TEST(ReferencePerspective, FindsTheParametersOfExactPairs) {
    const Perspective::Points from{{0, 3}, {2, 3}, {6, 4}, {0, 0}};
    const Perspective::Points at{{1, 6}, {4.5, 3}, {6.25, 2}, {1, 0}};
    const Perspective fitted(from, at);
    EXPECT_THAT(fitted.a2bParams, Pointwise(DoubleNear(1e-11), kOblique));
    for (const rxVector<2>& p : from) expectNear(fitted.b2a(fitted.a2b(p)), p, 1e-10);
}

TEST(ReferencePerspective, InverseIsFittedToTheSquareOfFive) {
    // The rounding of the fit tells the points and their order.
    Perspective backwards;
    backwards.update(rxVector<2>(-15, -20), rxVector<2>(-5, -5));
    backwards.update(rxVector<2>(5, -10), rxVector<2>(5, -5));
    backwards.update(rxVector<2>(15, 20), rxVector<2>(5, 5));
    backwards.update(rxVector<2>(-5, 10), rxVector<2>(-5, 5));
    backwards.update(rxVector<2>(0, 0), rxVector<2>(0, 0));
    const Perspective tm(PlanarTransform(rxXform<2>(rxMatrix<2>(2, 1, 1, 3), rxVector<2>(0, 0))));
    EXPECT_THAT(tm.a2bParams, ElementsAre(2, 1, 0, 1, 3, 0, 0, 0));
    const std::vector<double> expected = backwards.solver.fit();
    EXPECT_EQ(std::vector<double>(tm.b2aParams.begin(), tm.b2aParams.end()), expected);
}

TEST(ReferencePerspective, TurnsInFrontAndKeepsThePairs) {
    Perspective tm(PlanarTransform(rxXform<2>(rxMatrix<2>(), rxVector<2>(5, 0))));
    tm.update(rxVector<2>(1, 2), rxVector<2>(3, 4));
    const Matrix sums = tm.solver.normal;
    tm.rotate(kQuarterTurn);
    expectNear(tm.a2b(rxVector<2>(1, 0)), {5, 1}, 1e-13);
    tm.translate(rxVector<2>(2, 0));
    expectNear(tm.a2b(rxVector<2>(-1, 0)), {5, 1}, 1e-13);
    tm.scale(rxVector<2>(3, 1));
    expectNear(tm.a2b(rxVector<2>(1, 0)), {5, 5}, 1e-12);
    expectNear(tm.b2a(rxVector<2>(5, 5)), {1, 0}, 1e-12);
    EXPECT_EQ(tm.solver.normal, sums);
}

TEST(ReferencePerspective, RefusalsLeaveTheParameters) {
    Perspective tm(PlanarTransform(rxXform<2>(rxMatrix<2>(2, 0, 0, 2), rxVector<2>(1, 1))));
    const Perspective before = tm;
    EXPECT_THROW(tm.fit(), SingularMatrix);
    EXPECT_THROW(tm.scale(rxVector<2>(0, 1)), rxMathError);
    EXPECT_THROW(tm.update(Perspective::Points(4), Perspective::Points(5)), UnequalLists);
    // Every image of a sample point has x = 0, so the inverse fit never sees that unknown.
    for (const double x : {-1.0, 1.0, 2.0}) {
        for (const double y : {-1.0, 1.0, 3.0}) tm.update(rxVector<2>(x, y), rxVector<2>(0, y));
    }
    EXPECT_THROW(tm.fit(), SingularMatrix);
    EXPECT_EQ(tm.a2bParams, before.a2bParams);
    EXPECT_EQ(tm.b2aParams, before.b2aParams);
}

TEST(ReferencePerspective, ApproximatesOverThirtySixPoints) {
    Perspective tm;
    tm.a2bParams = {2, 1, 3, 0, 4, 5, 0, 0};
    const PlanarTransform affine = tm.a2bTm();
    EXPECT_EQ(affine.fitter.numPairs(), 36);
    expectNear(affine.a2b(rxVector<2>(1, 1)), {6, 9}, 64 * kEps);
}

TEST(ReferenceSpace, InverseOfAxisScalesIsExact) {
    SpaceTransform tm;
    tm.translate(rxVector<3>(2, 4, 8));
    tm.scale(rxVector<3>(2, 4, 8));
    EXPECT_THAT(tm.a2bParams, ElementsAre(2, 0, 0, 2, 0, 4, 0, 4, 0, 0, 8, 8));
    EXPECT_THAT(tm.b2aParams, ElementsAre(0.5, 0, 0, -1, 0, 0.25, 0, -1, 0, 0, 0.125, -1));
}

TEST(ReferenceSpace, TranslationGoesThroughTheTransform) {
    SpaceTransform tm;
    tm.a2bParams = {1, 2, 0, 1, 0, 1, 3, 2, 0, 0, 2, 3};
    tm.translate(rxVector<3>(1, 10, 100));
    EXPECT_THAT(tm.a2bParams, ElementsAre(1, 2, 0, 22, 0, 1, 3, 312, 0, 0, 2, 203));
    const SpaceTransform::Params inverse{1, -2, 3, -7, 0, 1, -1.5, -7.5, 0, 0, 0.5, -101.5};
    EXPECT_THAT(tm.b2aParams, Pointwise(DoubleNear(1e-13), inverse));
}

TEST(ReferenceSpace, TurnsBehindTheLinearPartAndLeavesTheTranslation) {
    SpaceTransform start;
    start.translate(rxVector<3>(1, 2, 3));
    SpaceTransform aboutX = start;
    aboutX.rotateOnX(kQuarterTurn);
    expectNear(aboutX.a2b(rxVector<3>(0, 1, 0)), {1, 2, 4}, 4 * kEps);
    SpaceTransform aboutY = start;
    aboutY.rotateOnY(kQuarterTurn);
    expectNear(aboutY.a2b(rxVector<3>(0, 0, 1)), {2, 2, 3}, 4 * kEps);
    SpaceTransform aboutZ = start;
    aboutZ.rotateOnZ(kQuarterTurn);
    expectNear(aboutZ.a2b(rxVector<3>(1, 0, 0)), {1, 3, 3}, 4 * kEps);
    EXPECT_EQ(aboutZ.a2b(rxVector<3>(0, 0, 0)), rxVector<3>(1, 2, 3));
    // The turn comes after the scaling that is there.
    aboutZ = SpaceTransform();
    aboutZ.scale(rxVector<3>(2, 3, 1));
    aboutZ.rotateOnZ(kQuarterTurn);
    expectNear(aboutZ.a2b(rxVector<3>(1, 0, 0)), {0, 2, 0}, 4 * kEps);
}

TEST(ReferenceSpace, FindsTheParametersOfExactPairs) {
    const SpaceTransform::Points from{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    const SpaceTransform::Points at{{1, 2, 3}, {3, 2, 3}, {1, 6, 3}, {1, 3, 11}};
    const SpaceTransform tm(from, at);
    EXPECT_THAT(
        tm.a2bParams,
        Pointwise(DoubleNear(1e-13), SpaceTransform::Params{2, 0, 0, 1, 0, 4, 1, 2, 0, 0, 8, 3}));
    for (const rxVector<3>& p : from) expectNear(tm.b2a(tm.a2b(p)), p, 1e-14);
}

TEST(ReferenceSpace, SingularChangeStandsWithTheOldInverse) {
    SpaceTransform tm;
    EXPECT_THROW(tm.fit(), SingularMatrix);
    EXPECT_EQ(tm.a2bParams, SpaceTransform::kIdentity);
    EXPECT_THROW(tm.scale(rxVector<3>(0, 1, 1)), SingularMatrix);
    EXPECT_EQ(tm.a2bParams[0], 0.0);
    EXPECT_EQ(tm.b2aParams, SpaceTransform::kIdentity);
    EXPECT_THROW(tm.update(SpaceTransform::Points(2), SpaceTransform::Points(3)), UnequalLists);
    EXPECT_EQ(tm.solverX.rhs[3], 0.0);
    EXPECT_EQ(tm.solverX.normal[3][3], 0.0);
}

}  // namespace
}  // namespace ptmatch::reference
