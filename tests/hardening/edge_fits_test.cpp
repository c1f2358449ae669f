#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "foundation/exception.h"
#include "foundation/fitter.h"
#include "foundation/geometry_archive.h"
#include "hardening/edge_world.h"
#include "ptmatch/least_squares.h"
#include "ptmatch/matext.h"
#include "ptmatch/perspective_fit.h"
#include "ptmatch/pinv.h"
#include "ptmatch/score_hashing.h"
#include "ptmatch/space_fit.h"
#include "ptmatch/tm.h"
#include "support/allocation_meter.h"
#include "support/archive_bytes.h"

// Fits and equations of nothing, of few and of very many pairs, and in units from 1e-300 to 1e300.
namespace ptmatch::testing {

namespace {

using SpacePoints = std::vector<rxVector<3>>;
using Numbers = std::vector<double>;

constexpr std::size_t kFitSizes[] = {0, 1, 2, 4, 65535, 65536};

/// Points over a plane, in units of the given length; no three of the first four on one line.
Points planePoints(std::size_t count, double unit = 1.0) {
    Points points;
    for (std::size_t i = 0; i < count; ++i) {
        const double x = static_cast<double>((i * 37 + i * i % 11) % 101);
        const double y = static_cast<double>((i * 53 + i * i * 3 % 17) % 97);
        points.emplace_back(x * unit, y * unit);
    }
    return points;
}

SpacePoints spacePoints(std::size_t count, double unit = 1.0) {
    SpacePoints points;
    for (std::size_t i = 0; i < count; ++i) {
        const double x = static_cast<double>((i * 37 + i * i % 11) % 101);
        const double y = static_cast<double>((i * 53 + i * i * 3 % 17) % 97);
        const double z = static_cast<double>((i * 29 + i * i * 5 % 13) % 89);
        points.emplace_back(x * unit, y * unit, z * unit);
    }
    return points;
}

/// A turn by 90 degrees and a move: exact.
rxVector<2> turnedPoint(const rxVector<2>& p, double unit) {
    return {-p.y() + 3 * unit, p.x() - 5 * unit};
}
rxVector<3> turnedPoint(const rxVector<3>& p, double unit) {
    return {-p.y() + 3 * unit, p.x() - 5 * unit, p.z() + 7 * unit};
}

template <class PointList>
PointList turnedPoints(const PointList& points, double unit = 1.0) {
    PointList turned;
    for (const auto& p : points) turned.push_back(turnedPoint(p, unit));
    return turned;
}

const Numbers kPlaneTurn = {0, -1, 1, 0, 3, -5};
const Numbers kSpaceTurn = {0, -1, 0, 3, 1, 0, 0, -5, 0, 0, 1, 7};

/// The parameters with translations counted in units.
Numbers inUnits(const rx3PtMatchTm& tm, double unit) {
    Numbers numbers(tm.a2bParams().begin(), tm.a2bParams().end());
    for (const std::size_t i : {3U, 7U, 11U}) numbers[i] /= unit;
    return numbers;
}
Numbers inUnits(const rxXform<2>& xform, double unit) {
    Numbers numbers = numbersOf(xform);
    numbers[4] /= unit;
    numbers[5] /= unit;
    return numbers;
}
Numbers inUnits(const rx2PTm& tm, double unit) {
    const rx2PTm::Params& p = tm.a2bParams();
    // p6 and p7 are per unit of length.
    return {p[0], p[1], p[3], p[4], p[2] / unit, p[5] / unit, p[6] * unit, p[7] * unit};
}

/// A fit of so many pairs in the given unit.
struct UnitFit {
    std::string name;
    std::size_t fewest;
    Numbers expected;
    double tolerance;
    /// The units in which there has to be an answer for coordinates up to a hundred of them; others
    /// may be refused.
    double smallest;
    double largest;
    std::function<Numbers(std::size_t count, double unit)> fit;
};

template <class Fit>
std::function<Numbers(std::size_t, double)> planeFit(Fit fit) {
    return [fit](std::size_t count, double unit) {
        const Points a = planePoints(count, unit);
        return inUnits(fit(a, turnedPoints(a, unit)), unit);
    };
}

template <class Fit>
std::function<Numbers(std::size_t, double)> spaceFit(Fit fit) {
    return [fit](std::size_t count, double unit) {
        const SpacePoints a = spacePoints(count, unit);
        return inUnits(fit(a, turnedPoints(a, unit)), unit);
    };
}

Numbers perspectiveTurn() {
    return {0, -1, 1, 0, 3, -5, 0, 0};
}

std::vector<UnitFit> unitFits() {
    std::vector<UnitFit> fits;
    for (const int dof : {3, 4, 5, 6}) {
        const std::size_t fewest = dof < 5 ? 2 : 3;
        const std::string name = " of " + std::to_string(dof);
        fits.push_back({"fitter" + name, fewest, kPlaneTurn, 1e-12, 1e-140, 1e140,
                        planeFit([dof](const Points& a, const Points& b) {
                            return rxLSPointToPointFitter(b, a).fit(dof);
                        })});
        fits.push_back({"transform" + name, fewest, kPlaneTurn, 1e-12, 1e-140, 1e140,
                        planeFit([dof](const Points& a, const Points& b) {
                            return rx2PtMatchTm(a, b, dof).a2bXform();
                        })});
    }
    // The normal equations of the plain one hold products of four coordinates.
    fits.push_back({"perspective", 4, perspectiveTurn(), 1e-6, 1e-70, 1e70,
                    planeFit([](const Points& a, const Points& b) { return rx2PTm(a, b); })});
    fits.push_back({"normalized perspective", 4, perspectiveTurn(), 1e-10, 1e-140, 1e140,
                    planeFit([](const Points& a, const Points& b) {
                        return rfFitPerspectiveNormalized(a, b);
                    })});
    fits.push_back(
        {"space", 4, kSpaceTurn, 1e-6, 1e-140, 1e140,
         spaceFit([](const SpacePoints& a, const SpacePoints& b) { return rx3PtMatchTm(a, b); })});
    fits.push_back(
        {"rigid space", 3, kSpaceTurn, 1e-12, 1e-140, 1e140,
         spaceFit([](const SpacePoints& a, const SpacePoints& b) { return rfFitRigid3D(a, b); })});
    fits.push_back({"similar space", 3, kSpaceTurn, 1e-12, 1e-140, 1e140,
                    spaceFit([](const SpacePoints& a, const SpacePoints& b) {
                        return rfFitSimilarity3D(a, b);
                    })});
    fits.push_back(
        {"affine space", 4, kSpaceTurn, 1e-10, 1e-140, 1e140,
         spaceFit([](const SpacePoints& a, const SpacePoints& b) { return rfFitAffine3D(a, b); })});
    return fits;
}

/// Those that solve normal equations of the coordinates as they are.
bool isPlain(const UnitFit& fit) {
    return fit.name == "perspective" || fit.name == "space";
}

/// The answer, or nothing where one of the errors was thrown that fits document.
std::optional<Numbers> answerOf(const UnitFit& fit, std::size_t count, double unit) {
    try {
        return fit.fit(count, unit);
    } catch (const rxLSPointToPointFitter::Errors&) {
    } catch (const rxMathError&) {
    } catch (const rxMatrixExt::SingularMatrix&) {
    }
    return std::nullopt;
}

void expectNear(const Numbers& actual, const Numbers& expected, double tolerance) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_NEAR(actual[i], expected[i], tolerance * (1.0 + std::abs(expected[i])));
    }
}

TEST(EdgeFits, FewPairsAndThoseAroundTheEndOf16BitsAreFittedOrRefused) {
    for (const UnitFit& fit : unitFits()) {
        for (const std::size_t size : kFitSizes) {
            SCOPED_TRACE(::testing::Message() << fit.name << ", " << size << " pairs");
            const std::optional<Numbers> answer = answerOf(fit, size, 1.0);
            // Equations that fewer pairs leave open are solved, and refused only when there is
            // none.
            if (!isPlain(fit) || size == 0) {
                EXPECT_EQ(answer.has_value(), size >= fit.fewest);
            }
            if (size < fit.fewest || !answer) continue;
            expectNear(*answer, fit.expected, size > 4 ? 1e-9 : fit.tolerance);
        }
    }
}

TEST(EdgeFits, ManyPairsAreTakenWithoutMemory) {
    const Points a = planePoints(65536);
    const Points b = turnedPoints(a);
    const SpacePoints c = spacePoints(65536);
    const SpacePoints d = turnedPoints(c);
    const AllocationMeter meter;
    (void)rxLSPointToPointFitter(b, a).fit(6);
    (void)rx2PtMatchTm(a, b, 0);
    EXPECT_EQ(meter.total(), 0U);
    (void)rfFitRigid3D(c, d);
    (void)rfFitSimilarity3D(c, d);
    (void)rfFitAffine3D(c, d);
    (void)rfFitPerspectiveNormalized(a, b);
    (void)rx3PtMatchTm(c, d);
    (void)rx2PTm(a, b);
    EXPECT_LE(meter.total(), 65536U);
}

TEST(EdgeFits, UnitsWhoseSquaresKeepTheirDigitsGiveTheRightAnswerOrTheDocumentedError) {
    for (const UnitFit& fit : unitFits()) {
        int numAnswers = 0;
        for (const double unit : {kDenormal, 1e-300, 1e-160, 1e-140, 1e-80, 1e-70, 1e-20, 1e-3, 1.0,
                                  1e3, 1e20, 1e70, 1e80, 1e140, 1e160, 1e300}) {
            SCOPED_TRACE(::testing::Message() << fit.name << " in units of " << unit);
            const std::optional<Numbers> answer = answerOf(fit, 8, unit);
            if (unit >= fit.smallest && unit <= fit.largest) {
                EXPECT_TRUE(answer.has_value());
            }
            // Far enough above that none of the products is a number.
            if (isPlain(fit) && unit > 1e5 * fit.largest) {
                EXPECT_FALSE(answer.has_value());
            }
            if (!answer) continue;
            for (const double number : *answer) EXPECT_TRUE(std::isfinite(number));
            // Where the products come near the least of double, they lose their digits.
            if (isPlain(fit) && unit < fit.smallest) continue;
            ++numAnswers;
            expectNear(*answer, fit.expected, fit.tolerance);
        }
        EXPECT_GE(numAnswers, 5) << fit.name;
    }
}

TEST(EdgeFits, PowersOfTwoScaleWhatIsFittedInThePlaneExactly) {
    for (const UnitFit& fit : unitFits()) {
        if (fit.largest < 1e100) continue;
        const bool isExact = fit.name.starts_with("fitter") || fit.name.starts_with("transform");
        const Numbers base = fit.fit(8, 1.0);
        for (const int exponent : {-400, -100, -30, -1, 1, 30, 100, 400}) {
            SCOPED_TRACE(::testing::Message() << fit.name << " in units of 2^" << exponent);
            const Numbers scaled = fit.fit(8, std::ldexp(1.0, exponent));
            if (isExact) {
                EXPECT_EQ(scaled, base);
            } else {
                expectNear(scaled, base, fit.tolerance);
            }
        }
    }
}

TEST(EdgeFits, NegativeZerosAreZeros) {
    Points a = {{0.0, 0.0}, {7, 0.0}, {0.0, 9}, {11, 13}};
    Points negative = {{-0.0, -0.0}, {7, -0.0}, {-0.0, 9}, {11, 13}};
    const Points b = turnedPoints(a);
    for (const int dof : {3, 4, 5, 6}) {
        EXPECT_EQ(rx2PtMatchTm(negative, b, dof).a2bXform(), rx2PtMatchTm(a, b, dof).a2bXform());
    }
    EXPECT_EQ(rx2PTm(negative, b), rx2PTm(a, b));
    EXPECT_EQ(rfFitPerspectiveNormalized(negative, b), rfFitPerspectiveNormalized(a, b));
}

TEST(EdgeFits, NegativeZerosAreZerosInSpace) {
    const SpacePoints a = {{0.0, 0.0, 0.0}, {7, 0.0, 0.0}, {0.0, 9, 0.0}, {11, 13, 5}};
    const SpacePoints negative = {
        {-0.0, -0.0, -0.0}, {7, -0.0, -0.0}, {-0.0, 9, -0.0}, {11, 13, 5}};
    const SpacePoints b = turnedPoints(a);
    EXPECT_EQ(rx3PtMatchTm(negative, b), rx3PtMatchTm(a, b));
    EXPECT_EQ(rfFitRigid3D(negative, b), rfFitRigid3D(a, b));
    EXPECT_EQ(rfFitSimilarity3D(negative, b), rfFitSimilarity3D(a, b));
    EXPECT_EQ(rfFitAffine3D(negative, b), rfFitAffine3D(a, b));
}

// Equations ---------------------------------------------------------------------------------------

/// Observations of p = (2, -3): coefficients in one unit, right-hand sides in another.
template <class Equations>
void observe(Equations& equations, std::size_t count, double unit, double unitOfRight) {
    for (std::size_t i = 0; i < count; ++i) {
        const double s = static_cast<double>(i % 7) + 1.0;
        const double t = static_cast<double>(i % 5) - 1.0;
        equations.update(std::array{s * unit, t * unit}, (2.0 * s - 3.0 * t) * unitOfRight);
    }
}

TEST(EdgeEquations, ManyObservationsTakeNoMemoryAndAreSolved) {
    for (const std::size_t size : {65535U, 65536U}) {
        rxLeastSquares system(2);
        rxPsuedoInverse normal(2);
        {
            const AllocationMeter meter;
            observe(system, size, 1.0, 1.0);
            observe(normal, size, 1.0, 1.0);
            EXPECT_EQ(meter.total(), 0U);
        }
        EXPECT_EQ(system.numObservations(), static_cast<long>(size));
        EXPECT_EQ(system.fit().rank, 2);
        expectNear(system.fit().x, {2, -3}, 1e-12);
        expectNear(normal.fit(), {2, -3}, 1e-12);
    }
}

/// A well-conditioned matrix in the given unit, and the right-hand sides that (2, -3) has in it.
rxMatrixExt matrixInUnits(double unit) {
    rxMatrixExt m(2, 2);
    m.element(0, 0, 4 * unit);
    m.element(0, 1, unit);
    m.element(1, 0, unit);
    m.element(1, 1, 3 * unit);
    return m;
}
std::array<double, 2> rightInUnits(double unit) {
    return {5 * unit, -7 * unit};
}

constexpr double kEquationUnits[] = {kDenormal, 1e-320, 1e-316, 1e-312, 1e-309, 1e-308, 1e-300,
                                     1e-200,    1e-100, 1.0,    1e100,  1e200,  1e300,  1e307};

/// What is left of the digits of numbers of a few units, when the least steps are those of
/// denormals.
double toleranceInUnits(double unit) {
    return 1e-12 + kDenormal / (4.0 * unit);
}

TEST(EdgeEquations, CoefficientsOfAllSizesAreSolvedWithTheDigitsTheyHaveOrRefused) {
    for (const double unit : kEquationUnits) {
        SCOPED_TRACE(unit);
        rxLeastSquares system(2);
        observe(system, 12, unit, unit);
        if (unit < 1e307) {
            expectNear(system.fit().x, {2, -3}, toleranceInUnits(unit));
        } else {
            EXPECT_THROW(system.fit(), rxMathError);
        }
        const rxLeastSquaresSolution best =
            rfSolveLeastSquares(matrixInUnits(unit), rightInUnits(unit));
        EXPECT_EQ(best.rank, 2);
        expectNear(best.x, {2, -3}, 1e-12);
    }
}

TEST(EdgeEquations, EliminationKeepsTheDigitsOfAllSizesThatHaveAReciprocal) {
    for (const double unit : kEquationUnits) {
        SCOPED_TRACE(unit);
        rxMatrixExt decomposed = matrixInUnits(unit);
        std::array<long, 2> index{};
        std::array<double, 2> x = rightInUnits(unit);
        decomposed.ludcmp(index);
        decomposed.lubksb(index, x);
        expectNear({x.begin(), x.end()}, {2, -3}, toleranceInUnits(unit));

        rxMatrixExt inverse = matrixInUnits(unit);
        rxMatrixExt right(2, 1);
        right.element(0, 0, rightInUnits(unit)[0]);
        right.element(1, 0, rightInUnits(unit)[1]);
        inverse.gaussj(right);
        if (unit >= 1e-308) {
            expectNear({right.element(0, 0), right.element(1, 0)}, {2, -3}, 1e-12);
            expectNear({inverse.element(0, 0) * unit}, {3.0 / 11.0}, 1e-12);
        } else {
            // Nothing that could be taken for an answer.
            EXPECT_TRUE(std::isnan(right.element(0, 0)) && std::isnan(right.element(1, 0)));
        }
    }
}

TEST(EdgeEquations, NormalEquationsAreGoodWhereSquaresAre) {
    for (const double unit : {1e-150, 1e-100, 1.0, 1e100, 1e150}) {
        SCOPED_TRACE(unit);
        rxPsuedoInverse system(2);
        observe(system, 12, unit, unit);
        expectNear(system.fit(), {2, -3}, 1e-12);
    }
    for (const double unit : {kDenormal, 1e-300, 1e-200}) {
        rxPsuedoInverse system(2);
        observe(system, 12, unit, unit);
        EXPECT_THROW(system.fit(), rxMatrixExt::SingularMatrix);
    }
    for (const double unit : {1e154, 1e160, 1e300}) {
        rxPsuedoInverse system(2);
        observe(system, 12, unit, unit);
        const Numbers x = system.fit();
        EXPECT_TRUE(std::isnan(x[0]) && std::isnan(x[1]));
    }
}

TEST(EdgeEquations, PowersOfTwoScaleNormalEquationsAndEliminationExactly) {
    rxPsuedoInverse plain(2);
    observe(plain, 12, 1.0, 1.0);
    for (const int exponent : {-500, -100, -1, 1, 100, 500}) {
        SCOPED_TRACE(exponent);
        const double unit = std::ldexp(1.0, exponent);
        rxPsuedoInverse scaled(2);
        observe(scaled, 12, unit, unit);
        EXPECT_EQ(scaled.fit(), plain.fit());

        rxMatrixExt base = matrixInUnits(1.0);
        rxMatrixExt large = matrixInUnits(unit);
        std::array<long, 2> index{};
        base.ludcmp(index);
        large.ludcmp(index);
        std::array<double, 2> x = rightInUnits(1.0);
        std::array<double, 2> scaledX = rightInUnits(unit);
        base.lubksb(index, x);
        large.lubksb(index, scaledX);
        EXPECT_EQ(scaledX, x);

        rxMatrixExt inverse = matrixInUnits(1.0);
        rxMatrixExt inverseInUnits = matrixInUnits(unit);
        rxMatrixExt unused(2, 1);
        rxMatrixExt unusedToo(2, 1);
        inverse.gaussj(unused);
        inverseInUnits.gaussj(unusedToo);
        for (const long r : {0L, 1L}) {
            for (const long c : {0L, 1L}) {
                EXPECT_EQ(inverseInUnits.element(r, c) * unit, inverse.element(r, c));
            }
        }
    }
}

// Stores and archives -----------------------------------------------------------------------------

TEST(EdgeSizesOfStores, ScoresAndPositionsAroundTheEndOf16BitsAreKept) {
    for (const long size : {1L, 2L, 65535L, 65536L}) {
        SCOPED_TRACE(size);
        const AllocationMeter meter;
        rxScoreHashing store(size, size);
        EXPECT_LE(meter.total(), static_cast<std::size_t>(size) * 64U + 64U);
        for (long i = 0; i < size; ++i) EXPECT_TRUE(store.add(i + 1, {i, -i}));
        EXPECT_FALSE(store.add(0, {}));
        EXPECT_FALSE(store.add(size + 1, {}));
        rxPair<long> position;
        long score = store.first(position);
        for (long i = size; i > 0; --i, score = store.next(position)) {
            ASSERT_EQ(score, i);
            ASSERT_EQ(position, rxPair<long>(i - 1, 1 - i));
        }
        EXPECT_EQ(score, -1);
    }
}

TEST(EdgeSizesOfStores, RecordsAroundTheEndOf16BitsComeBackInTheMemoryTheyTake) {
    for (const std::size_t size : {0U, 1U, 2U, 65535U, 65536U}) {
        SCOPED_TRACE(size);
        std::vector<long> numbers(size, 7);
        if (size > 0) numbers.back() = -1;
        const std::string text(size, 'x');
        const Points points = planePoints(size);
        const auto record = stored(numbers, text, points);
        const AllocationMeter meter;
        rxMemoryLoadArchive ar(record);
        std::vector<long> numbersAgain;
        std::string textAgain;
        Points pointsAgain;
        ar || numbersAgain || textAgain || pointsAgain;
        EXPECT_EQ(ar.bytesLeft(), 0U);
        EXPECT_LE(meter.total(), 1024U + 128U * size);
        EXPECT_EQ(numbersAgain, numbers);
        EXPECT_EQ(textAgain, text);
        EXPECT_EQ(pointsAgain, points);

        const std::vector<rxPointMatcherResult> results(size);
        const auto set = stored(200009UL, 1.5, results);
        const auto loadedSet = loaded<rxPointMatcherResultSet>(set);
        EXPECT_EQ(loadedSet.results().size(), size);
        EXPECT_EQ(stored(loadedSet), set);
    }
}

}  // namespace

}  // namespace ptmatch::testing
