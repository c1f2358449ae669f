#include "ptmatch/space_tm.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "foundation/memory_archive.h"
#include "ptmatch/hostile_equations.h"
#include "ptmatch/matext.h"
#include "ptmatch/transform_world.h"
#include "support/allocation_meter.h"
#include "support/archive_bytes.h"
#include "support/archive_tampering.h"

namespace {

using namespace ptmatch::testing;
using Params = rx3PtMatchTm::Params;

constexpr Params kIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
constexpr Params kSkewed = {2, 0.5, -1, 3, 0.25, -1.5, 0.5, -4, 1, 0.75, 3, 5};
constexpr Params kDoubled = {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0};

/// Four points that are not in one plane.
const SpacePoints kFour = {{1, 0, 0}, {0, 2, 1}, {-1, 1, 3}, {2, 2, -1}};

rxVector<3> image(const Params& p, const rxVector<3>& v) {
    return {p[0] * v.x() + p[1] * v.y() + p[2] * v.z() + p[3],
            p[4] * v.x() + p[5] * v.y() + p[6] * v.z() + p[7],
            p[8] * v.x() + p[9] * v.y() + p[10] * v.z() + p[11]};
}

SpacePoints images(const Params& p, const SpacePoints& points) {
    SpacePoints result;
    for (const auto& point : points) result.push_back(image(p, point));
    return result;
}

std::array<rxPsuedoInverse, 3> equationsOf(const SpacePoints& a, const SpacePoints& b) {
    std::array<rxPsuedoInverse, 3> equations{rxPsuedoInverse(4), rxPsuedoInverse(4),
                                             rxPsuedoInverse(4)};
    for (std::size_t i = 0; i < a.size(); ++i) {
        const std::vector row{a[i].x(), a[i].y(), a[i].z(), 1.0};
        equations[0].update(row, b[i].x());
        equations[1].update(row, b[i].y());
        equations[2].update(row, b[i].z());
    }
    return equations;
}

/// A transform as no member makes it: the record of one is put together and loaded.
rx3PtMatchTm withParams(const Params& a2b, const Params& b2a) {
    const rxPsuedoInverse none(4);
    ByteVector bytes = stored(1100L, none, none, none);
    for (std::size_t i = 0; i < a2b.size(); ++i) {
        bytes = joined({bytes, stored(a2b[i], b2a[i])});
    }
    return loaded<rx3PtMatchTm>(bytes);
}

/// Reaches the protected operation.
class Synced : public rx3PtMatchTm {
  public:
    explicit Synced(const rx3PtMatchTm& tm) : rx3PtMatchTm(tm) {}
    using rx3PtMatchTm::sync_;
};

rx3PtMatchTm withParams(const Params& a2b) {
    Synced tm(withParams(a2b, kIdentity));
    tm.sync_();
    return tm;
}

/// The inverse by elimination of the transposed matrix, as it must be made.
Params eliminatedInverse(const Params& p) {
    const std::array<std::array<double, 4>, 4> m = {{{p[0], p[1], p[2], p[3]},
                                                     {p[4], p[5], p[6], p[7]},
                                                     {p[8], p[9], p[10], p[11]},
                                                     {0, 0, 0, 1}}};
    rxMatrixExt transposed(4, 4);
    for (long r = 0; r < 4; ++r) {
        for (long c = 0; c < 4; ++c) {
            transposed.element(c, r, m[static_cast<std::size_t>(r)][static_cast<std::size_t>(c)]);
        }
    }
    rxMatrixExt column(4, 1);
    column.element(0, 0, 1);
    column.element(3, 0, 1);
    transposed.gaussj(column);
    Params inverse;
    for (long r = 0; r < 3; ++r) {
        for (long c = 0; c < 4; ++c) {
            inverse[static_cast<std::size_t>(4 * r + c)] = transposed.element(c, r);
        }
    }
    return inverse;
}

void expectInSync(const rx3PtMatchTm& tm) {
    EXPECT_EQ(tm.b2aParams(), eliminatedInverse(tm.a2bParams()));
}

// --- Mapping

TEST(SpaceTm, IsTheIdentityAtFirst) {
    const rx3PtMatchTm tm;
    EXPECT_EQ(tm.a2bParams(), kIdentity);
    EXPECT_EQ(tm.b2aParams(), kIdentity);
    EXPECT_EQ(tm.a2b({1, 2, 3}), rxVector<3>(1, 2, 3));
    EXPECT_EQ(tm.b2a({1, 2, 3}), rxVector<3>(1, 2, 3));
}

TEST(SpaceTm, MapsByItsTwelveParametersInBothDirections) {
    const rx3PtMatchTm tm = withParams({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12},
                                       {0, 1, 0, -1, 0, 0, 2, 0, 3, 0, 0, 0.5});
    EXPECT_EQ(tm.a2b({1, -1, 2}), rxVector<3>(9, 21, 33));
    EXPECT_EQ(tm.b2a({1, -1, 2}), rxVector<3>(-2, 4, 3.5));
}

TEST(SpaceTm, WritesImagesToWhereTheyAreWanted) {
    const rx3PtMatchTm tm = withParams(kSkewed);
    rxVector<3> p(1, 2, 3);
    rxVector<3> out;
    tm.a2b(p, out);
    EXPECT_EQ(out, tm.a2b(p));
    tm.b2a(p, out);
    EXPECT_EQ(out, tm.b2a(p));
    const rxVector<3> expected = tm.a2b(p);
    tm.a2b(p, p);  // onto itself
    EXPECT_EQ(p, expected);
}

// --- Fitting

TEST(SpaceTm, FourExactPairsGiveBackTheTwelveParameters) {
    const rx3PtMatchTm tm(kFour, images(kSkewed, kFour));
    // The normal equations square a condition of some 10; the values are of the order of 10.
    EXPECT_LT(difference(tm.a2bParams(), kSkewed), 1024 * kEps);
    EXPECT_LT(roundTripError(tm, kFour), 64 * kEps);
}

TEST(SpaceTm, RecoversRandomTransformsAndInvertsThem) {
    for (unsigned seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(seed);
        TransformWorld world(seed);
        Params truth = world.rotation().a2bParams();
        for (double& p : truth) p = 2.0 * p + world.uniform(-0.2, 0.2);
        SpacePoints a = {{-3, -3, -3}, {3, -2, -3}, {-2, 3, -2}, {-3, -3, 3}};
        const SpacePoints more = world.spacePoints({0, 0, 0}, 3.0, static_cast<int>(seed % 30));
        a.insert(a.end(), more.begin(), more.end());
        const rx3PtMatchTm tm(a, images(truth, a));
        EXPECT_LT(difference(tm.a2bParams(), truth), 512 * kEps);
        EXPECT_LT(roundTripError(tm, a), 64 * kEps);
    }
}

TEST(SpaceTm, FitSolvesTheEquationsOfEachCoordinate) {
    TransformWorld world(5);
    const SpacePoints a = world.spacePoints({1, 2, 3}, 4.0, 12);
    const SpacePoints b = world.spacePoints({-1, 0, 5}, 4.0, 12);
    const rx3PtMatchTm tm(a, b);
    const auto equations = equationsOf(a, b);
    for (std::size_t row = 0; row < 3; ++row) {
        const std::vector<double> solution = equations[row].fit();
        for (std::size_t k = 0; k < 4; ++k) EXPECT_EQ(tm.a2bParams()[4 * row + k], solution[k]);
    }
    expectInSync(tm);
}

TEST(SpaceTm, TheConstructorFromPairsIsUsable) {
    rx3PtMatchTm fitted;
    fitted.fit(kFour, images(kSkewed, kFour));
    EXPECT_EQ(stored(rx3PtMatchTm(kFour, images(kSkewed, kFour))), stored(fitted));
}

TEST(SpaceTm, FitKeepsThePairsForTheNextFit) {
    TransformWorld world(3);
    const SpacePoints a = world.spacePoints({0, 0, 0}, 5.0, 12);
    const SpacePoints b = world.spacePoints({0, 0, 0}, 5.0, 12);
    rx3PtMatchTm tm;
    tm.update(std::span(a).first(6), std::span(b).first(6));
    tm.fit();
    tm.update(std::span(a).last(6), std::span(b).last(6));
    tm.fit();
    EXPECT_EQ(stored(tm), stored(rx3PtMatchTm(a, b)));
}

TEST(SpaceTm, FitOfPairsForgetsTheOldOnesFirst) {
    rx3PtMatchTm tm;
    tm.update({1, 1, 1}, {100, 100, 100});
    tm.fit(kFour, kFour);
    EXPECT_EQ(stored(tm), stored(rx3PtMatchTm(kFour, kFour)));
}

TEST(SpaceTm, SequencesOfDifferentLengthsAreRefusedAndAddNothing) {
    rx3PtMatchTm tm(kFour, images(kSkewed, kFour));
    const ByteVector before = stored(tm);
    const SpacePoints two = {{1, 2, 3}, {4, 5, 6}};
    const SpacePoints three = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    EXPECT_THROW(tm.update(two, three), rx3PtMatchTm::BadArgs);
    EXPECT_THROW(tm.update(three, two), rx3PtMatchTm::BadArgs);
    EXPECT_EQ(stored(tm), before);
    EXPECT_THROW(rx3PtMatchTm(two, three), rx3PtMatchTm::BadArgs);
    EXPECT_THROW(tm.fit(two, three), rx3PtMatchTm::BadArgs);
    EXPECT_EQ(stored(tm), stored(rx3PtMatchTm())) << "identity, no pairs";
}

TEST(SpaceTm, BadArgsIsAnEmptyClassOfItsOwn) {
    static_assert(std::is_empty_v<rx3PtMatchTm::BadArgs>);
    static_assert(!std::is_convertible_v<rx3PtMatchTm::BadArgs*, std::exception*>);
}

TEST(SpaceTm, FitWithoutPairsThrowsAndChangesNothing) {
    rx3PtMatchTm tm = withParams(kSkewed);
    const ByteVector before = stored(tm);
    EXPECT_THROW(tm.fit(), rxMatrixExt::SingularMatrix);
    EXPECT_EQ(stored(tm), before);
    EXPECT_THROW(rx3PtMatchTm(SpacePoints(), SpacePoints()), rxMatrixExt::SingularMatrix);
}

TEST(SpaceTm, PointsWithACoordinateThatIsAlwaysZeroThrow) {
    rx3PtMatchTm tm = withParams(kSkewed);
    const SpacePoints flat = {{1, 2, 0}, {3, 5, 0}, {-1, 4, 0}, {2, -2, 0}, {7, 1, 0}};
    tm.update(flat, flat);
    const ByteVector before = stored(tm);
    EXPECT_THROW(tm.fit(), rxMatrixExt::SingularMatrix);
    EXPECT_EQ(stored(tm), before);
}

TEST(SpaceTm, FitOntoAPlaneChangesTheTransformButNotItsInverse) {
    rx3PtMatchTm tm = withParams(kSkewed);
    const Params inverse = tm.b2aParams();
    SpacePoints onPlane = kFour;
    for (auto& p : onPlane) p.z(0.0);
    tm.update(kFour, onPlane);
    EXPECT_THROW(tm.fit(), rxMatrixExt::SingularMatrix);
    EXPECT_LT(difference(tm.a2bParams(), Params{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0}), 64 * kEps);
    EXPECT_EQ(tm.b2aParams(), inverse);
}

TEST(SpaceTm, IdentityForgetsThePairsAndKeepsFourUnknowns) {
    rx3PtMatchTm tm(kFour, images(kSkewed, kFour));
    tm.identity();
    EXPECT_EQ(stored(tm), stored(rx3PtMatchTm()));
    tm.fit(kFour, images(kSkewed, kFour));
    EXPECT_EQ(stored(tm), stored(rx3PtMatchTm(kFour, images(kSkewed, kFour))));
}

// --- Changes

TEST(SpaceTm, RotationTurnsTheMatrixAndKeepsTheTranslation) {
    rx3PtMatchTm tm;
    tm.translate({1, 2, 3});
    tm.rotateOnZ(rxDegree(90));
    EXPECT_EQ(tm.a2b({0, 0, 0}), rxVector<3>(1, 2, 3));
    EXPECT_LT(distance(tm.a2b({1, 0, 0}), rxVector<3>(1, 3, 3)), 2 * kEps);
}

TEST(SpaceTm, RotationsTurnRightHandedAboutTheirAxes) {
    const double c = std::cos(0.3);
    const double s = std::sin(0.3);
    rx3PtMatchTm x;
    x.rotateOnX(rxRadian(0.3));
    EXPECT_EQ(x.a2bParams(), (Params{1, 0, 0, 0, 0, c, -s, 0, 0, s, c, 0}));
    rx3PtMatchTm y;
    y.rotateOnY(rxRadian(0.3));
    EXPECT_EQ(y.a2bParams(), (Params{c, 0, s, 0, 0, 1, 0, 0, -s, 0, c, 0}));
    rx3PtMatchTm z;
    z.rotateOnZ(rxRadian(0.3));
    EXPECT_EQ(z.a2bParams(), (Params{c, -s, 0, 0, s, c, 0, 0, 0, 0, 1, 0}));
    for (const auto& tm : {x, y, z}) expectInSync(tm);
}

TEST(SpaceTm, RotationsMultiplyTheMatrixFromTheLeft) {
    rx3PtMatchTm tm = withParams(kSkewed);
    tm.rotateOnX(rxDegree(90));  // (x, y, z) goes to (x, -z, y)
    const Params expected = {2, 0.5, -1, 3, -1, -0.75, -3, -4, 0.25, -1.5, 0.5, 5};
    EXPECT_LT(difference(tm.a2bParams(), expected), 4 * kEps);
    expectInSync(tm);
}

TEST(SpaceTm, ScaleMultipliesTheRowsAndKeepsTheTranslation) {
    rx3PtMatchTm tm = withParams(kSkewed);
    tm.scale(rxVector<3>(2, -1, 4));
    EXPECT_EQ(tm.a2bParams(), (Params{4, 1, -2, 3, -0.25, 1.5, -0.5, -4, 4, 3, 12, 5}));
    expectInSync(tm);
    tm.scale(0.5);
    EXPECT_EQ(tm.a2bParams(), (Params{2, 0.5, -1, 3, -0.125, 0.75, -0.25, -4, 2, 1.5, 6, 5}));
    expectInSync(tm);
}

TEST(SpaceTm, TranslateMovesInSpaceABeforeTheTransform) {
    rx3PtMatchTm doubled = withParams(kDoubled);
    doubled.translate({1, -2, 3});
    EXPECT_EQ(doubled.a2bParams(), (Params{2, 0, 0, 2, 0, 2, 0, -4, 0, 0, 2, 6}));

    const rx3PtMatchTm old = withParams(kSkewed);
    rx3PtMatchTm moved = old;
    moved.translate({1, -2, 3});
    for (const auto& p : kFour) {
        const rxVector<3> shifted(p.x() + 1, p.y() - 2, p.z() + 3);
        EXPECT_LT(distance(moved.a2b(p), old.a2b(shifted)), 64 * kEps);
    }
    expectInSync(moved);
}

TEST(SpaceTm, ChangesKeepThePairs) {
    const rx3PtMatchTm old(kFour, images(kSkewed, kFour));
    rx3PtMatchTm tm = old;
    tm.translate({1, 2, 3});
    tm.rotateOnX(rxRadian(1));
    tm.rotateOnY(rxRadian(1));
    tm.rotateOnZ(rxRadian(1));
    tm.scale(rxVector<3>(1, 2, 3));
    tm.scale(2.0);
    EXPECT_FALSE(tm == old);
    tm.fit();
    EXPECT_EQ(stored(tm), stored(old)) << "the fit is that of the pairs again";
}

TEST(SpaceTm, ScaleOfZeroChangesTheTransformButNotItsInverse) {
    rx3PtMatchTm tm = withParams(kSkewed);
    const Params inverse = tm.b2aParams();
    EXPECT_THROW(tm.scale(0.0), rxMatrixExt::SingularMatrix);
    EXPECT_EQ(tm.a2bParams(), (Params{0, 0, 0, 3, 0, 0, 0, -4, 0, 0, 0, 5}));
    EXPECT_EQ(tm.b2aParams(), inverse);
    EXPECT_THROW(tm.translate({1, 1, 1}), rxMatrixExt::SingularMatrix) << "still singular";
    EXPECT_EQ(tm.b2aParams(), inverse);
}

TEST(SpaceTm, InverseIsThatOfTheTransposedMatrixByElimination) {
    for (unsigned seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE(seed);
        TransformWorld world(seed);
        Params p;
        for (double& v : p) v = world.uniform(-10, 10);
        expectInSync(withParams(p));
    }
}

// --- Values

TEST(SpaceTm, IsAValueAlsoInWhatItAccumulated) {
    const rx3PtMatchTm original(kFour, images(kSkewed, kFour));
    rx3PtMatchTm copy = original;
    copy.update({1, 1, 1}, {9, 9, 9});
    copy.fit();
    EXPECT_FALSE(copy == original);
    EXPECT_EQ(stored(original), stored(rx3PtMatchTm(kFour, images(kSkewed, kFour))));
    copy = original;
    EXPECT_EQ(stored(copy), stored(original));
}

TEST(SpaceTm, AnAssignmentThatRunsOutOfMemoryChangesNothing) {
    rx3PtMatchTm target = rx3PtMatchTm::I;
    const ByteVector before = stored(target);
    const rx3PtMatchTm source(rx3PtMatchTm(kFour, images(kSkewed, kFour)));
    EXPECT_GT(withEveryAllocationFailing([&] { target = source; },
                                         [&] { EXPECT_EQ(stored(target), before); }),
              1U);
    EXPECT_EQ(stored(target), stored(source));
}

TEST(SpaceTm, AnObjectThatWasMovedFromIsWhatItWas) {
    rx3PtMatchTm source(kFour, images(kSkewed, kFour));
    const rx3PtMatchTm target = std::move(source);
    EXPECT_EQ(stored(source), stored(target));  // NOLINT(bugprone-use-after-move): the point
    source.fit();
    EXPECT_EQ(source, target);
}

TEST(SpaceTm, EqualityIsThatOfTheParametersAlone) {
    rx3PtMatchTm tm = withParams(kSkewed);
    tm.update({1, 1, 1}, {2, 2, 2});  // pairs do not count
    EXPECT_EQ(tm, withParams(kSkewed, kIdentity));
    Params other = kSkewed;
    for (double& p : other) {
        const double old = p;
        p = std::nextafter(p, 10.0);
        EXPECT_FALSE(withParams(other) == withParams(kSkewed));
        p = old;
    }
}

// --- Records

TEST(SpaceTmRecord, HoldsVersionEquationsAndInterleavedParameters) {
    rx3PtMatchTm tm(kFour, images(kSkewed, kFour));
    tm.rotateOnY(rxRadian(1));
    const auto equations = equationsOf(kFour, images(kSkewed, kFour));
    ByteVector expected =
        joined({{0x4c, 0x04, 0, 0}, stored(equations[0], equations[1], equations[2])});
    for (std::size_t i = 0; i < 12; ++i) {
        expected = joined({expected, stored(tm.a2bParams()[i], tm.b2aParams()[i])});
    }
    EXPECT_EQ(stored(tm), expected);
    EXPECT_EQ(expected.size(), rx_MinimalRecordSize<rx3PtMatchTm>::value);
}

TEST(SpaceTmRecord, LoadReversesStoreWithThePairs) {
    const rx3PtMatchTm fitted(kFour, images(kSkewed, kFour));
    rx3PtMatchTm tm = fitted;
    tm.rotateOnY(rxRadian(1));
    auto copy = loaded<rx3PtMatchTm>(stored(tm));
    EXPECT_EQ(stored(copy), stored(tm));
    copy.fit();
    EXPECT_EQ(copy, fitted);
}

TEST(SpaceTmRecord, AnotherVersionIsRefusedByName) {
    ByteVector bytes = stored(rx3PtMatchTm());
    bytes[0] ^= 1U;
    rx3PtMatchTm target = withParams(kSkewed);
    rxMemoryLoadArchive ar(bytes);
    try {
        ar || target;
        FAIL() << "version 1101 was accepted";
    } catch (const rxArchive::UnknownVersion& error) {
        EXPECT_STREQ(error.source(), "ptmatch/tm");
        EXPECT_EQ(error.line(), 688);
    }
    EXPECT_EQ(stored(target), stored(withParams(kSkewed)));
}

TEST(SpaceTmRecord, EquationsOfAnotherNumberOfUnknownsAreRefused) {
    for (const long n : {0L, 3L, 5L, 40L}) {
        for (std::size_t which = 0; which < 3; ++which) {
            SCOPED_TRACE(std::to_string(n) + " in equations " + std::to_string(which));
            std::array<rxPsuedoInverse, 3> e{rxPsuedoInverse(4), rxPsuedoInverse(4),
                                             rxPsuedoInverse(4)};
            e[which] = rxPsuedoInverse(n);
            ByteVector bytes = stored(1100L, e[0], e[1], e[2]);
            for (int i = 0; i < 24; ++i) bytes = joined({bytes, stored(1.0)});
            rx3PtMatchTm target = withParams(kSkewed);
            rxMemoryLoadArchive ar(bytes);
            EXPECT_THROW(ar || target, rxArchive::Errors);
            EXPECT_EQ(stored(target), stored(withParams(kSkewed)));
        }
    }
}

TEST(SpaceTmRecord, ContradictingEquationsAreRefusedWithoutMemory) {
    const ByteVector sound = stored(rxPsuedoInverse(4));
    ByteVector params;
    for (int i = 0; i < 24; ++i) params = joined({params, stored(1.0)});
    for (std::size_t which = 0; which < 3; ++which) {
        for (const ByteVector& hostile : hostileEquations(4)) {
            SCOPED_TRACE("equations " + std::to_string(which));
            std::array<ByteVector, 3> e{sound, sound, sound};
            e[which] = hostile;
            const ByteVector bytes = joined({stored(1100L), e[0], e[1], e[2], params});
            rx3PtMatchTm target = withParams(kSkewed);
            const AllocationMeter meter;
            rxMemoryLoadArchive ar(bytes);
            EXPECT_THROW(ar || target, rxArchive::Errors);
            EXPECT_LT(meter.largest(), 1000U);
            EXPECT_EQ(stored(target), stored(withParams(kSkewed)));
        }
    }
}

TEST(SpaceTmRecord, DamageIsNoticedOrHarmless) {
    const ByteVector bytes = stored(rx3PtMatchTm(kFour, images(kSkewed, kFour)));
    const std::size_t refused = expectTamperingHandled(bytes, [](rxArchive& ar) {
        rx3PtMatchTm fresh;
        ar || fresh;
        // What was accepted can be used.
        fresh.update({1, 2, 3}, {3, 4, 5});
        try {
            fresh.fit();
        } catch (const rxMatrixExt::SingularMatrix&) {
            // as it may
        }
    });
    // The version, and three times two versions, two sizes, and version and count of two sequences.
    EXPECT_EQ(refused, 9U * (4 + 3 * (2 * 4 + 2 * 4 + 2 * 5)));
}

TEST(SpaceTmRecord, ALoadThatFailsLeavesTheObject) {
    rx3PtMatchTm source;
    source.translate({5, 5, 5});
    const ByteVector bytes = stored(source);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        rx3PtMatchTm target = withParams(kSkewed);
        const std::span cut = std::span(bytes).first(length);
        rxMemoryLoadArchive ar(cut);
        EXPECT_THROW(ar || target, rxArchive::Errors);
        EXPECT_EQ(stored(target), stored(withParams(kSkewed)));
    }
}

}  // namespace
