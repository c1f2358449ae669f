#include "ptmatch/perspective_tm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <optional>
#include <type_traits>
#include <vector>

#include "foundation/exception.h"
#include "foundation/geometry_archive.h"
#include "foundation/memory_archive.h"
#include "ptmatch/hostile_equations.h"
#include "ptmatch/transform_world.h"
#include "support/allocation_meter.h"
#include "support/archive_bytes.h"
#include "support/archive_tampering.h"

namespace {

using namespace ptmatch::testing;
using Params = rx2PTm::Params;
using ::testing::Pointwise;

constexpr Params kIdentity = {1, 0, 0, 0, 1, 0, 0, 0};
constexpr Params kOblique = {0.9, 0.2, 3.0, -0.1, 1.1, -2.0, 0.03, -0.02};

/// Four points of which no three are on one line, with their images under kOblique.
const PlanePoints kFour = {{-4, -3}, {5, -4}, {4, 5}, {-3, 4}};
const PlanePoints kUnitSquare = {{-1, -1}, {1, -1}, {1, 1}, {-1, 1}, {0, 0}};
const PlanePoints kInverseSquare = {{-5, -5}, {5, -5}, {5, 5}, {-5, 5}, {0, 0}};

/// The formula of the eight parameters, written down once more.
rxVector<2> image(const Params& p, const rxVector<2>& v) {
    const double w = p[6] * v.x() + p[7] * v.y() + 1.0;
    return {(p[0] * v.x() + p[1] * v.y() + p[2]) / w, (p[3] * v.x() + p[4] * v.y() + p[5]) / w};
}

PlanePoints images(const Params& p, const PlanePoints& points) {
    PlanePoints result;
    for (const auto& point : points) result.push_back(image(p, point));
    return result;
}

rx2PTm oblique() {
    return rx2PTm(kFour, images(kOblique, kFour));
}

/// The normal equations of the pairs, as they must be accumulated: two observations a pair.
rxPsuedoInverse equationsOf(const PlanePoints& a, const PlanePoints& b) {
    rxPsuedoInverse equations(8);
    for (std::size_t i = 0; i < a.size(); ++i) {
        const double x = a[i].x();
        const double y = a[i].y();
        const double u = b[i].x();
        const double v = b[i].y();
        equations.update(std::vector{x, y, 1.0, 0.0, 0.0, 0.0, -x * u, -y * u}, u);
        equations.update(std::vector{0.0, 0.0, 0.0, x, y, 1.0, -x * v, -y * v}, v);
    }
    return equations;
}

Params solutionOf(const PlanePoints& a, const PlanePoints& b) {
    const std::vector<double> p = equationsOf(a, b).fit();
    return {p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7]};
}

/// A transform as no member makes it: the record of one is put together and loaded.
rx2PTm withParams(const Params& a2b, const Params& b2a = kIdentity) {
    ByteVector bytes = stored(1100L);
    for (std::size_t i = 0; i < a2b.size(); ++i) {
        bytes = joined({bytes, stored(a2b[i], b2a[i])});
    }
    return loaded<rx2PTm>(joined({bytes, stored(rxPsuedoInverse(8))}));
}

/// Reaches the protected operation.
class Synced : public rx2PTm {
  public:
    explicit Synced(const rx2PTm& tm) : rx2PTm(tm) {}
    using rx2PTm::sync_;
};

// --- Mapping

TEST(PerspectiveTm, IsTheIdentityAtFirst) {
    const rx2PTm tm;
    EXPECT_EQ(tm.a2bParams(), kIdentity);
    EXPECT_EQ(tm.b2aParams(), kIdentity);
    EXPECT_EQ(tm.a2b({3, -4}), rxVector<2>(3, -4));
    EXPECT_EQ(tm.b2a({3, -4}), rxVector<2>(3, -4));
}

TEST(PerspectiveTm, MapsByTheFormulaOfItsParametersInBothDirections) {
    const rx2PTm tm = withParams({1, 2, 3, 4, 5, 6, 0.5, 0.25}, {2, 0, 1, 0, 4, 2, 0, 1});
    // w = 0.5 * 2 + 0.25 * 4 + 1 = 3
    EXPECT_EQ(tm.a2b({2, 4}), rxVector<2>(13.0 / 3.0, 34.0 / 3.0));
    EXPECT_EQ(tm.b2a({2, 3}), rxVector<2>(5.0 / 4.0, 14.0 / 4.0));
}

TEST(PerspectiveTm, WritesImagesToWhereTheyAreWanted) {
    const rx2PTm tm = oblique();
    rxVector<2> p(2, 3);
    rxVector<2> out;
    tm.a2b(p, out);
    EXPECT_EQ(out, tm.a2b(p));
    tm.b2a(p, out);
    EXPECT_EQ(out, tm.b2a(p));
    const rxVector<2> expected = tm.a2b(p);
    tm.a2b(p, p);  // onto itself
    EXPECT_EQ(p, expected);
}

TEST(PerspectiveTm, DividesByAVanishingWWithoutATest) {
    const rx2PTm tm = withParams({1, 0, 0, 0, 1, 0, 1, 0});
    EXPECT_EQ(tm.a2b({-1, 2}), rxVector<2>(-kInfinity, kInfinity));
    EXPECT_TRUE(std::isnan(tm.a2b({-1, 0}).y()));
}

// --- Fitting

TEST(PerspectiveTm, FourExactPairsGiveBackTheEightParameters) {
    const rx2PTm tm = oblique();
    // The normal equations square a condition of some 60; the values are of the order of 5.
    EXPECT_LT(difference(tm.a2bParams(), kOblique), 4096 * kEps);
    for (const auto& p : lattice(-5, 5, 11)) EXPECT_LT(distance(tm.b2a(tm.a2b(p)), p), 1e-11);
}

TEST(PerspectiveTm, RecoversRandomTransformsAndInvertsThem) {
    for (unsigned seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(seed);
        TransformWorld world(seed);
        const Params truth = world.perspective(5.0);
        PlanePoints a = kFour;
        const PlanePoints more = world.planePoints({0, 0}, 5.0, static_cast<int>(seed % 30));
        a.insert(a.end(), more.begin(), more.end());
        const rx2PTm tm(a, images(truth, a));
        EXPECT_LT(difference(tm.a2bParams(), truth), 256 * kEps);      // measured: 36
        EXPECT_LT(roundTripError(tm, lattice(-5, 5, 7)), 512 * kEps);  // measured: 77
    }
}

TEST(PerspectiveTm, FitSolvesTheTwoEquationsOfEachPairInTheirOrder) {
    TransformWorld world(7);
    const PlanePoints a = world.planePoints({1, 2}, 6.0, 9);
    const PlanePoints b = world.planePoints({-3, 4}, 6.0, 9);  // far from any transform: no matter
    const rx2PTm tm(a, b);
    EXPECT_EQ(tm.a2bParams(), solutionOf(a, b));
}

TEST(PerspectiveTm, InverseIsFittedToTheImagesOfFivePoints) {
    const rx2PTm tm = oblique();
    EXPECT_EQ(tm.b2aParams(), solutionOf(images(tm.a2bParams(), kInverseSquare), kInverseSquare));
}

TEST(PerspectiveTm, FitKeepsThePairsForTheNextFit) {
    TransformWorld world(3);
    const PlanePoints a = world.planePoints({0, 0}, 5.0, 12);
    const PlanePoints b = world.planePoints({0, 0}, 5.0, 12);
    rx2PTm tm;
    tm.update(std::span(a).first(6), std::span(b).first(6));
    tm.fit();
    tm.update(std::span(a).last(6), std::span(b).last(6));
    tm.fit();
    EXPECT_EQ(tm.a2bParams(), solutionOf(a, b));
}

TEST(PerspectiveTm, FitOfPairsForgetsTheOldOnesFirst) {
    rx2PTm tm = oblique();
    tm.update({1, 1}, {100, 100});
    tm.fit(kFour, images(kOblique, kFour));
    EXPECT_EQ(tm, oblique());
    EXPECT_EQ(stored(tm), stored(oblique()));
}

TEST(PerspectiveTm, SequencesOfDifferentLengthsAreRefusedAndAddNothing) {
    rx2PTm tm = oblique();
    const ByteVector before = stored(tm);
    const PlanePoints five(5, rxVector<2>(1, 2));
    EXPECT_THROW(tm.update(kFour, five), rx2PTm::BadArgs);
    EXPECT_THROW(tm.update(five, kFour), rx2PTm::BadArgs);
    EXPECT_EQ(stored(tm), before);
    EXPECT_THROW(rx2PTm(kFour, five), rx2PTm::BadArgs);
}

TEST(PerspectiveTm, FitOfDifferentLengthsLeavesTheIdentityWithoutPairs) {
    rx2PTm tm = oblique();
    EXPECT_THROW(tm.fit(kFour, PlanePoints(5)), rx2PTm::BadArgs);
    EXPECT_EQ(stored(tm), stored(rx2PTm()));
}

TEST(PerspectiveTm, BadArgsIsAnEmptyClassOfItsOwn) {
    static_assert(std::is_empty_v<rx2PTm::BadArgs>);
    static_assert(!std::is_same_v<rx2PTm::BadArgs, rx2PtMatchTm::BadArgs>);
    static_assert(!std::is_convertible_v<rx2PTm::BadArgs*, std::exception*>);
}

TEST(PerspectiveTm, FitWithoutPairsThrowsAndChangesNothing) {
    rx2PTm tm = withParams(kOblique);
    const ByteVector before = stored(tm);
    EXPECT_THROW(tm.fit(), rxMatrixExt::SingularMatrix);
    EXPECT_EQ(stored(tm), before);
    EXPECT_THROW(rx2PTm(PlanePoints(), PlanePoints()), rxMatrixExt::SingularMatrix);
}

TEST(PerspectiveTm, PairsThatNeverTouchAnUnknownThrow) {
    // y is 0 in all of them, and with it what p1, p4 and p7 are multiplied by.
    const PlanePoints onXAxis = {{1, 0}, {2, 0}, {3, 0}, {4, 0}};
    EXPECT_THROW(rx2PTm(onXAxis, kFour), rxMatrixExt::SingularMatrix);
}

TEST(PerspectiveTm, FitWhoseInverseCannotBeFittedChangesNothing) {
    // Opposite images of the same points: the best numerators are exactly 0, the denominator is
    // not. Everything is mapped to (0, 0), and no inverse can be fitted to that.
    rx2PTm tm;
    tm.translate({1, 2});
    for (const rxVector<2>& a : {rxVector<2>(1, 0), rxVector<2>(0, 1), rxVector<2>(2, 3)}) {
        tm.update(a, {1, 2});
        tm.update(a, {-1, -2});
    }
    const ByteVector before = stored(tm);
    EXPECT_THROW(tm.fit(), rxMatrixExt::SingularMatrix);
    EXPECT_EQ(stored(tm), before);
}

TEST(PerspectiveTm, FailedFitOfPairsLeavesTheIdentityWithThem) {
    rx2PTm tm = oblique();
    const PlanePoints a = {{1, 0}, {2, 0}};
    EXPECT_THROW(tm.fit(a, a), rxMatrixExt::SingularMatrix);
    EXPECT_EQ(tm, rx2PTm());
    rx2PTm expected;
    expected.update(a, a);
    EXPECT_EQ(stored(tm), stored(expected));
}

TEST(PerspectiveTm, SyncThatFailsLeavesTheInverse) {
    Synced tm(withParams({0, 0, 0, 0, 0, 0, 0, 0}, kOblique));
    EXPECT_THROW(tm.sync_(), rxMatrixExt::SingularMatrix);
    EXPECT_EQ(tm.b2aParams(), kOblique);
}

TEST(PerspectiveTm, SyncFitsTheInverse) {
    Synced tm(withParams(kOblique));
    EXPECT_EQ(tm.b2aParams(), kIdentity);
    tm.sync_();
    EXPECT_EQ(tm.b2aParams(), solutionOf(images(kOblique, kInverseSquare), kInverseSquare));
}

TEST(PerspectiveTm, IdentityForgetsThePairsAndKeepsEightUnknowns) {
    rx2PTm tm = oblique();
    tm.identity();
    EXPECT_EQ(stored(tm), stored(rx2PTm()));
    tm.fit(kFour, images(kOblique, kFour));
    EXPECT_EQ(tm, oblique());
}

// --- From an affine transform

TEST(PerspectiveTm, OfAnAffineTransformMapsAsItDoes) {
    const rxXform<2> affine(rxMatrix<2>(2, 0.5, -1, 3), rxVector<2>(4, -5));
    const rx2PTm tm{rx2PtMatchTm(affine)};
    EXPECT_EQ(tm.a2bParams(), (Params{2, 0.5, 4, -1, 3, -5, 0, 0}));
    for (const auto& p : lattice(-50, 50, 5)) {
        EXPECT_EQ(tm.a2b(p), affine * p);
        EXPECT_LT(distance(tm.b2a(affine * p), p), 1e-12);
    }
    EXPECT_THROW(rx2PTm(tm).fit(), rxMatrixExt::SingularMatrix) << "there are no pairs";
}

TEST(PerspectiveTm, OfATransformThatCannotBeInvertedThrows) {
    // Only a record can hold one.
    const ByteVector bytes = stored(1100L, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, rxXform<2>());
    const auto flat = loaded<rx2PtMatchTm>(bytes);
    EXPECT_THROW(rx2PTm{flat}, rxMatrixExt::SingularMatrix);
}

// --- Changes

TEST(PerspectiveTm, RotationOfTheIdentityIsTheRotationMatrix) {
    for (const double angle : {0.3, -2.0, std::numbers::pi}) {
        rx2PTm tm;
        tm.rotate(rxRadian(angle));
        const double c = std::cos(angle);
        const double s = std::sin(angle);
        EXPECT_LT(difference(tm.a2bParams(), Params{c, -s, 0, s, c, 0, 0, 0}), 16 * kEps);
    }
}

TEST(PerspectiveTm, ChangesActInPlaneABeforeTheTransform) {
    const rx2PTm old = oblique();
    const rxVector<2> p(0.5, -0.75);
    rx2PTm moved = old;
    moved.translate({2, 1});
    EXPECT_LT(distance(moved.a2b(p), old.a2b(p + rxVector<2>(2, 1))), 1e-12);
    rx2PTm turned = old;
    turned.rotate(rxDegree(90));
    EXPECT_LT(distance(turned.a2b(p), old.a2b({0.75, 0.5})), 1e-12);
    rx2PTm scaled = old;
    scaled.scale({2, -3});
    EXPECT_LT(distance(scaled.a2b(p), old.a2b({1, 2.25})), 1e-12);
}

TEST(PerspectiveTm, ChangesAreFittedToTheImagesOfFivePoints) {
    const rx2PTm old = oblique();
    const auto expected = [&](const rx2PtMatchTm& change) {
        PlanePoints q;
        for (const auto& p : kUnitSquare) q.push_back(old.a2b(change.a2b(p)));
        return rx2PTm(kUnitSquare, q);
    };
    const auto expectSame = [](const rx2PTm& changed, const rx2PTm& fitted) {
        EXPECT_EQ(changed.a2bParams(), fitted.a2bParams());
        EXPECT_EQ(changed.b2aParams(), fitted.b2aParams());
    };
    rx2PTm turned = old;
    turned.rotate(rxRadian(0.4));
    rx2PtMatchTm turn;
    turn.rotate(rxRadian(0.4));
    expectSame(turned, expected(turn));
    rx2PTm moved = old;
    moved.translate({3, -2});
    rx2PtMatchTm shift;
    shift.translate({3, -2});
    expectSame(moved, expected(shift));
    rx2PTm scaled = old;
    scaled.scale({0.5, 2});
    rx2PtMatchTm scaling;
    scaling.scale({0.5, 2});
    expectSame(scaled, expected(scaling));
}

TEST(PerspectiveTm, ChangesKeepThePairsOfAnEarlierTransform) {
    rx2PTm tm = oblique();
    const rx2PTm old = tm;
    tm.rotate(rxRadian(0.4));
    tm.translate({1, 2});
    tm.scale({2, 2});
    EXPECT_FALSE(tm == old);
    tm.fit();
    EXPECT_EQ(stored(tm), stored(old)) << "the fit is that of the pairs again";
}

TEST(PerspectiveTm, ChangesThatCannotBeMadeChangeNothing) {
    rx2PTm tm = oblique();
    const ByteVector before = stored(tm);
    EXPECT_THROW(tm.scale({0, 1}), rxMathError);
    EXPECT_THROW(tm.scale({1, kNaN}), rxMathError);
    EXPECT_THROW(tm.rotate(rxRadian(kInfinity)), rxMathError);
    EXPECT_THROW(tm.translate({kNaN, 0}), rxMathError);
    EXPECT_EQ(stored(tm), before);

    // All of plane a goes to the origin: no parameters fit the images.
    rx2PTm flat = withParams({0, 0, 0, 0, 0, 0, 0, 0}, kOblique);
    const ByteVector flatBefore = stored(flat);
    EXPECT_THROW(flat.translate({1, 1}), rxMatrixExt::SingularMatrix);
    EXPECT_EQ(stored(flat), flatBefore);
}

TEST(PerspectiveTm, ATransformOntoALineHasAMeaninglessInverseAndNoError) {
    const rx2PTm line = withParams({1, 0, 0, 1, 0, 0, 0, 0});
    rx2PTm tm = line;
    EXPECT_NO_THROW(tm.translate({0, 0}));
    EXPECT_GT(roundTripError(tm, lattice(-5, 5, 3)), 1.0);
}

// --- Affine approximation

TEST(PerspectiveTm, AffineApproximationOfAnAffineTransformIsThatTransform) {
    const rxXform<2> affine(rxMatrix<2>(2, 0.5, -1, 3), rxVector<2>(4, -5));
    const rx2PtMatchTm approximation(rx2PTm{rx2PtMatchTm(affine)}.a2bXform());
    EXPECT_LT(difference(approximation, rx2PtMatchTm(affine), lattice(-5, 5, 3)), 64 * kEps);
}

TEST(PerspectiveTm, AffineApproximationIsFittedToThirtySixPoints) {
    const rx2PTm tm = oblique();
    rx2PtMatchTm expected;
    for (const double y : {-5, -3, -1, 1, 3, 5}) {
        for (const double x : {-5, -3, -1, 1, 3, 5}) expected.update({x, y}, tm.a2b({x, y}));
    }
    expected.fit(-1);
    EXPECT_EQ(tm.a2bTm(), expected);
    EXPECT_EQ(tm.a2bXform(), expected.a2bXform());
    // The pairs come with it: another model is fitted to the same ones.
    rx2PtMatchTm approximation = tm.a2bTm();
    approximation.fit(4);
    expected.fit(4);
    EXPECT_EQ(approximation, expected);
}

TEST(PerspectiveTm, AffineApproximationOfATransformOntoALineThrows) {
    EXPECT_THROW(withParams({1, 0, 0, 1, 0, 0, 0, 0}).a2bTm(), rxMathError);
}

TEST(PerspectiveTm, AffineApproximationAcrossTheHorizonThrows) {
    // w is 0 at x = 1, one of the sample points.
    EXPECT_THROW(withParams({1, 0, 0, 0, 1, 0, -1, 0}).a2bXform(), rxLSPointToPointFitter::Errors);
}

// --- Values

TEST(PerspectiveTm, IsAValueAlsoInWhatItAccumulated) {
    const rx2PTm original = oblique();
    rx2PTm copy = original;
    copy.update({1, 1}, {9, 9});
    copy.fit();
    EXPECT_FALSE(copy == original);
    EXPECT_EQ(stored(original), stored(oblique()));
    copy = original;
    EXPECT_EQ(stored(copy), stored(original));
    const rx2PTm& self = copy;
    copy = self;
    EXPECT_EQ(stored(copy), stored(original));
}

TEST(PerspectiveTm, AnAssignmentThatRunsOutOfMemoryChangesNothing) {
    rx2PTm target = rx2PTm::I;
    const ByteVector before = stored(target);
    const rx2PTm source(oblique());
    EXPECT_GT(withEveryAllocationFailing([&] { target = source; },
                                         [&] { EXPECT_EQ(stored(target), before); }),
              1U);
    EXPECT_EQ(stored(target), stored(source));
}

TEST(PerspectiveTm, AnObjectThatWasMovedFromIsWhatItWas) {
    rx2PTm source = oblique();
    const rx2PTm target = std::move(source);
    EXPECT_EQ(stored(target), stored(oblique()));
    EXPECT_EQ(stored(source), stored(oblique()));  // NOLINT(bugprone-use-after-move): the point
    source.fit();
    EXPECT_EQ(source, oblique());
}

TEST(PerspectiveTm, EqualityIsThatOfTheParametersAlone) {
    rx2PTm tm = oblique();
    tm.update({1, 1}, {2, 2});  // pairs do not count
    EXPECT_EQ(tm, oblique());
    EXPECT_EQ(withParams(kOblique, kIdentity), withParams(kOblique, kOblique));
    Params other = kOblique;
    for (double& p : other) {
        const double old = p;
        p = std::nextafter(p, 10.0);
        EXPECT_FALSE(withParams(other) == withParams(kOblique));
        p = old;
    }
}

// --- Records

TEST(PerspectiveTmRecord, HoldsVersionInterleavedParametersAndEquations) {
    rx2PTm tm = oblique();
    tm.translate({1, 2});
    ByteVector expected = {0x4c, 0x04, 0, 0};  // 1100
    for (std::size_t i = 0; i < 8; ++i) {
        expected = joined({expected, stored(tm.a2bParams()[i], tm.b2aParams()[i])});
    }
    expected = joined({expected, stored(equationsOf(kFour, images(kOblique, kFour)))});
    EXPECT_EQ(stored(tm), expected);
    EXPECT_EQ(expected.size(), rx_MinimalRecordSize<rx2PTm>::value);
}

TEST(PerspectiveTmRecord, LoadReversesStoreWithThePairs) {
    rx2PTm tm = oblique();
    tm.rotate(rxRadian(1));
    auto copy = loaded<rx2PTm>(stored(tm));
    EXPECT_EQ(stored(copy), stored(tm));
    EXPECT_EQ(copy.a2b({1, 2}), tm.a2b({1, 2}));
    copy.fit();
    EXPECT_EQ(copy, oblique());
    EXPECT_EQ(stored(std::vector{tm, tm}),
              stored(loaded<std::vector<rx2PTm>>(stored(std::vector{tm, tm}))));
}

TEST(PerspectiveTmRecord, KeepsTheBitsOfWhatIsNotANumber) {
    const rx2PTm tm =
        withParams({kNaN, -0.0, kInfinity, 0, 1, 0, 0, 0}, {kNaN, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(stored(loaded<rx2PTm>(stored(tm))), stored(tm));
}

TEST(PerspectiveTmRecord, AnotherVersionIsRefusedByName) {
    ByteVector bytes = stored(oblique());
    bytes[0] ^= 1U;
    rx2PTm target = oblique();
    target.translate({1, 1});
    const ByteVector before = stored(target);
    rxMemoryLoadArchive ar(bytes);
    try {
        ar || target;
        FAIL() << "version 1101 was accepted";
    } catch (const rxArchive::UnknownVersion& error) {
        EXPECT_STREQ(error.source(), "ptmatch/tm");
        EXPECT_EQ(error.line(), 410);
    }
    EXPECT_EQ(stored(target), before);
}

TEST(PerspectiveTmRecord, EquationsOfAnotherNumberOfUnknownsAreRefused) {
    for (const long n : {0L, 1L, 7L, 9L, 40L}) {
        SCOPED_TRACE(n);
        ByteVector bytes = stored(1100L);
        for (int i = 0; i < 16; ++i) bytes = joined({bytes, stored(1.0)});
        bytes = joined({bytes, stored(rxPsuedoInverse(n))});
        rx2PTm target = oblique();
        rxMemoryLoadArchive ar(bytes);
        EXPECT_THROW(ar || target, rxArchive::Errors);
        EXPECT_EQ(stored(target), stored(oblique()));
    }
}

TEST(PerspectiveTmRecord, ContradictingEquationsAreRefusedWithoutMemory) {
    ByteVector head = stored(1100L);
    for (int i = 0; i < 16; ++i) head = joined({head, stored(1.0)});
    int number = 0;
    for (const ByteVector& equations : hostileEquations(8)) {
        SCOPED_TRACE(number++);
        const ByteVector bytes = joined({head, equations});
        rx2PTm target = oblique();
        const AllocationMeter meter;
        rxMemoryLoadArchive ar(bytes);
        EXPECT_THROW(ar || target, rxArchive::Errors);
        EXPECT_LT(meter.largest(), 1000U);
        EXPECT_EQ(stored(target), stored(oblique()));
    }
}

TEST(PerspectiveTmRecord, DamageIsNoticedOrHarmless) {
    rx2PTm tm = oblique();
    tm.rotate(rxRadian(1));
    const std::size_t refused = expectTamperingHandled(stored(tm), [](rxArchive& ar) {
        rx2PTm fresh;
        ar || fresh;
        // What was accepted can be used.
        fresh.update({1, 2}, {3, 4});
        try {
            fresh.fit();
        } catch (const rxMatrixExt::SingularMatrix&) {
            // as it may
        }
    });
    // The three versions, the sizes of the matrix, and version and count of its two sequences.
    EXPECT_EQ(refused, 9U * (3 * 4 + 2 * 4 + 2 * 5));
}

TEST(PerspectiveTmRecord, ALoadThatFailsLeavesTheObject) {
    rx2PTm source;
    source.translate({5, 5});
    const ByteVector bytes = stored(source);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        rx2PTm target = oblique();
        const std::span cut = std::span(bytes).first(length);
        rxMemoryLoadArchive ar(cut);
        EXPECT_THROW(ar || target, rxArchive::Errors);
        EXPECT_EQ(stored(target), stored(oblique()));
    }
}

}  // namespace
