#include "ptmatch/tm.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <span>
#include <type_traits>
#include <vector>

#include "foundation/exception.h"
#include "foundation/geometry_archive.h"
#include "foundation/memory_archive.h"
#include "ptmatch/tm_before_main.h"
#include "support/archive_bytes.h"
#include "support/archive_tampering.h"

namespace {

using ptmatch::testing::ByteVector;
using ptmatch::testing::joined;
using ptmatch::testing::loaded;
using ptmatch::testing::stored;
using Points = std::vector<rxVector<2>>;

constexpr double kEps = std::numeric_limits<double>::epsilon();

rxRadian degrees(double d) {
    return rxRadian(rxDegree(d));
}

rxXform<2> linear(double m00, double m01, double m10, double m11, double tx = 0, double ty = 0) {
    return rxXform<2>(rxMatrix<2>(m00, m01, m10, m11), rxVector<2>(tx, ty));
}

/// Coordinates of a few units: a handful of roundings apart.
void expectNear(const rxVector<2>& actual, const rxVector<2>& expected) {
    EXPECT_NEAR(actual.x(), expected.x(), 64 * kEps);
    EXPECT_NEAR(actual.y(), expected.y(), 64 * kEps);
}

void expectNear(const rxXform<2>& actual, const rxXform<2>& expected) {
    for (const rxVector<2>& p : {rxVector<2>(0, 0), rxVector<2>(1, 0), rxVector<2>(0, 1)}) {
        expectNear(actual * p, expected * p);
    }
}

const Points kFour = {{0, 0}, {3, 0}, {0, 2}, {1, 5}};

Points images(const rxXform<2>& xform, const Points& points) {
    Points result;
    for (const rxVector<2>& p : points) result.push_back(xform * p);
    return result;
}

/// An affine transform that is no similarity, and its pairs.
const rxXform<2> kSheared = linear(2, 0.5, -0.25, 1.5, 7, -3);

rx2PtMatchTm withPairs() {
    rx2PtMatchTm tm(kSheared);
    tm.update(kFour, images(kSheared, kFour));
    return tm;
}

/// A fit throws for want of pairs alone.
bool hasPairs(rx2PtMatchTm tm) {
    try {
        tm.fit(6);
        return true;
    } catch (const rxLSPointToPointFitter::Errors&) {
        return false;
    }
}

/// Opens the protected functions.
class OpenTm : public rx2PtMatchTm {
  public:
    using rx2PtMatchTm::concat_;
    using rx2PtMatchTm::set_;
    using rx2PtMatchTm::sync_;
};

TEST(PtMatchTm, StartsAsTheIdentityWithoutPairs) {
    const rx2PtMatchTm tm;
    EXPECT_EQ(tm.a2bXform(), rxXform<2>::I);
    EXPECT_EQ(tm.b2aXform(), rxXform<2>::I);
    EXPECT_FALSE(hasPairs(tm));
}

TEST(PtMatchTm, SharedIdentityStandsBeforeOtherStaticObjectsAreBuilt) {
    // Filled in by a static constructor of another file.
    EXPECT_EQ(tmSeenBeforeMain().a2b(rxVector<2>(3, 4)), rxVector<2>(3, 4));
    EXPECT_EQ(tmSeenBeforeMain().b2a(rxVector<2>(3, 4)), rxVector<2>(3, 4));
    EXPECT_TRUE(rx2PtMatchTm::I == rxXform<2>::I);
    static_assert(!std::is_const_v<decltype(rx2PtMatchTm::I)>);
}

TEST(PtMatchTm, TakesOverATransformAndInvertsIt) {
    const rx2PtMatchTm tm(linear(2, 0, 0, 4, 6, 8));
    EXPECT_EQ(tm.a2b(rxVector<2>(1, 1)), rxVector<2>(8, 12));
    EXPECT_EQ(tm.b2a(rxVector<2>(8, 12)), rxVector<2>(1, 1));
    EXPECT_EQ(tm.b2aXform(), tm.a2bXform().inverse());
    EXPECT_FALSE(hasPairs(tm));
    EXPECT_THROW(rx2PtMatchTm(linear(1, 2, 2, 4)), rxMathError);
}

TEST(PtMatchTm, FitMapsTheFirstPointOfAPairOntoTheSecond) {
    rx2PtMatchTm tm;
    for (const rxVector<2>& a : kFour) tm.update(a, kSheared * a);
    tm.fit(6);
    expectNear(tm.a2bXform(), kSheared);
    EXPECT_EQ(tm.b2aXform(), tm.a2bXform().inverse());
}

TEST(PtMatchTm, FitsAreThoseOfTheFitterWithImagePointsFirst) {
    rxLSPointToPointFitter fitter;
    rx2PtMatchTm tm;
    const Points b = {{1, 1}, {4.5, 1.25}, {1.5, 3}, {2, 6.5}};
    for (std::size_t k = 0; k < b.size(); ++k) fitter.update(b[k], kFour[k]);
    tm.update(kFour, b);
    for (const int dof : {3, 4, 5, 6}) {
        tm.fit(dof);
        EXPECT_EQ(tm.a2bXform(), fitter.fit(dof)) << dof;
    }
}

TEST(PtMatchTm, SequencesSingleStepsAndTheConstructorFitAlike) {
    const Points b = images(kSheared, kFour);
    const rx2PtMatchTm constructed(kFour, b, 6);
    rx2PtMatchTm fitted(linear(9, 0, 0, 9, 9, 9));
    fitted.update(rxVector<2>(100, 100), rxVector<2>(-100, 50));  // forgotten
    fitted.fit(kFour, b, 6);
    EXPECT_EQ(constructed.a2bXform(), fitted.a2bXform());
    expectNear(fitted.a2bXform(), kSheared);
    EXPECT_TRUE(hasPairs(fitted));
}

TEST(PtMatchTm, GridOfAnOriginAndTwoStepsIsExact) {
    rx2PtMatchTm tm;
    const rxVector<2> origin(100, 200);
    tm.update(rxVector<2>(0, 0), origin);
    tm.update(rxVector<2>(1, 0), origin + rxVector<2>(8, 1));
    tm.update(rxVector<2>(0, 1), origin + rxVector<2>(-2, 16));
    tm.fit(6);
    EXPECT_EQ(tm.a2b(rxVector<2>(0, 0)), origin);
    EXPECT_EQ(tm.a2b(rxVector<2>(3, 2)), origin + rxVector<2>(20, 35));
}

TEST(PtMatchTm, GridOfAnOriginAndOneStepIsASimilarity) {
    rx2PtMatchTm tm;
    tm.update(rxVector<2>(0, 0), rxVector<2>(5, 5));
    tm.update(rxVector<2>(1, 0), rxVector<2>(5, 9));
    tm.fit(4);
    expectNear(tm.a2bXform(), linear(0, -4, 4, 0, 5, 5));
}

TEST(PtMatchTm, SequencesOfDifferentLengthAreRefusedBeforeAnyPair) {
    const Points b = {{1, 1}, {2, 2}};
    const Points a = {{0, 0}, {1, 0}, {0, 1}};
    rx2PtMatchTm tm(kSheared);
    EXPECT_THROW(tm.update(a, b), rx2PtMatchTm::BadArgs);
    EXPECT_THROW(tm.update(b, a), rx2PtMatchTm::BadArgs);
    EXPECT_EQ(tm.a2bXform(), kSheared);
    // Two pairs would do for a similarity, so none has been added.
    EXPECT_THROW(tm.fit(4), rxLSPointToPointFitter::Errors);
    EXPECT_THROW(rx2PtMatchTm(a, b, 4), rx2PtMatchTm::BadArgs);
}

TEST(PtMatchTm, BadArgsIsAnEmptyClassOfItsOwn) {
    static_assert(std::is_empty_v<rx2PtMatchTm::BadArgs>);
    static_assert(!std::is_base_of_v<std::exception, rx2PtMatchTm::BadArgs>);
    EXPECT_THROW(throw rx2PtMatchTm::BadArgs(), rx2PtMatchTm::BadArgs);
}

TEST(PtMatchTm, FitOfDifferentLengthsLeavesTheIdentityWithoutPairs) {
    rx2PtMatchTm tm = withPairs();
    EXPECT_THROW(tm.fit(kFour, Points(3), 6), rx2PtMatchTm::BadArgs);
    EXPECT_EQ(tm.a2bXform(), rxXform<2>::I);
    EXPECT_EQ(tm.b2aXform(), rxXform<2>::I);
    EXPECT_FALSE(hasPairs(tm));
}

TEST(PtMatchTm, FailedFitLeavesTheTransformAndThePairs) {
    rx2PtMatchTm tm(kSheared);
    tm.update(rxVector<2>(0, 0), rxVector<2>(1, 1));
    tm.update(rxVector<2>(1, 0), rxVector<2>(2, 1));
    EXPECT_THROW(tm.fit(6), rxLSPointToPointFitter::Errors);
    EXPECT_THROW(tm.fit(7), rxLSPointToPointFitter::Errors);
    EXPECT_EQ(tm.a2bXform(), kSheared);
    EXPECT_EQ(tm.b2aXform(), kSheared.inverse());
    tm.fit(3);
    expectNear(tm.a2bXform(), linear(1, 0, 0, 1, 1, 1));
}

TEST(PtMatchTm, FitWithoutAnInverseLeavesTheTransform) {
    rx2PtMatchTm tm(kSheared);
    // Flattens the plane: a good fit, but nothing that can be mapped back.
    const Points flat = {{0, 0}, {3, 0}, {0, 0}, {1, 0}};
    tm.update(kFour, flat);
    EXPECT_THROW(tm.fit(6), rxMathError);
    EXPECT_EQ(tm.a2bXform(), kSheared);
    EXPECT_EQ(tm.b2aXform(), kSheared.inverse());
}

TEST(PtMatchTm, OpenModelTakesTheRichestThatThePairsDetermine) {
    rx2PtMatchTm tm = withPairs();
    for (const int open : {0, 2, -7}) {
        tm.fit(open);
        expectNear(tm.a2bXform(), kSheared);
    }
}

TEST(PtMatchTm, OpenModelFallsBackToFourFreedomsOnALine) {
    rx2PtMatchTm tm;
    const rxXform<2> similarity = linear(0, -2, 2, 0, 1, 1);
    const Points line = {{0, 0}, {1, 0}, {3, 0}};
    tm.update(line, images(similarity, line));
    EXPECT_THROW(tm.fit(6), rxLSPointToPointFitter::Errors);
    EXPECT_THROW(tm.fit(5), rxLSPointToPointFitter::Errors);
    tm.fit(0);
    const rxXform<2> open = tm.a2bXform();
    tm.fit(4);
    EXPECT_EQ(open, tm.a2bXform());
    expectNear(open, similarity);
}

TEST(PtMatchTm, OpenModelReportsWhatThePoorestModelReports) {
    rx2PtMatchTm tm(kSheared);
    tm.update(rxVector<2>(1, 1), rxVector<2>(2, 2));
    std::string poorest;
    try {
        tm.fit(3);
    } catch (const rxLSPointToPointFitter::Errors& error) {
        poorest = error.message();
    }
    try {
        tm.fit(0);
        ADD_FAILURE() << "one pair determines no model";
    } catch (const rxLSPointToPointFitter::Errors& error) {
        EXPECT_EQ(error.message(), poorest);
        EXPECT_NE(poorest.find("3 degrees"), std::string::npos) << poorest;
    }
    EXPECT_EQ(tm.a2bXform(), kSheared);
    EXPECT_EQ(tm.b2aXform(), kSheared.inverse());
}

TEST(PtMatchTm, FitKeepsThePairsForFurtherOnes) {
    rx2PtMatchTm tm;
    const Points b = images(kSheared, kFour);
    tm.update(rxVector<2>(kFour[0]), b[0]);
    tm.update(rxVector<2>(kFour[1]), b[1]);
    tm.fit(4);
    tm.update(rxVector<2>(kFour[2]), b[2]);
    tm.fit(6);
    expectNear(tm.a2bXform(), kSheared);
}

TEST(PtMatchTm, ResetForgetsThePairsAlone) {
    rx2PtMatchTm tm = withPairs();
    tm.reset();
    EXPECT_FALSE(hasPairs(tm));
    EXPECT_EQ(tm.a2bXform(), kSheared);
    EXPECT_EQ(tm.b2aXform(), kSheared.inverse());
}

TEST(PtMatchTm, IdentityForgetsEverything) {
    rx2PtMatchTm tm = withPairs();
    tm.identity();
    EXPECT_FALSE(hasPairs(tm));
    EXPECT_EQ(tm.a2bXform(), rxXform<2>::I);
    EXPECT_EQ(tm.b2aXform(), rxXform<2>::I);
}

TEST(PtMatchTm, TranslateMovesBeforeTheTransform) {
    rx2PtMatchTm tm(linear(2, 0, 0, 2, 1, 1));
    tm.translate(rxVector<2>(3, -5));
    EXPECT_EQ(tm.a2bXform(), linear(2, 0, 0, 2, 1 + 2 * 3, 1 + 2 * -5));
    EXPECT_EQ(tm.b2aXform(), tm.a2bXform().inverse());

    rx2PtMatchTm sheared(kSheared);
    sheared.translate(rxVector<2>(0.5, 2));
    expectNear(sheared.a2b(rxVector<2>(1, 1)), kSheared * rxVector<2>(1.5, 3));
}

TEST(PtMatchTm, RotateTurnsBeforeTheTransform) {
    rx2PtMatchTm tm(linear(1, 0, 0, 1, 5, 0));
    tm.rotate(degrees(90));
    EXPECT_EQ(tm.a2b(rxVector<2>(0, 0)), rxVector<2>(5, 0));
    expectNear(tm.a2b(rxVector<2>(1, 0)), rxVector<2>(5, 1));
    EXPECT_EQ(tm.b2aXform(), tm.a2bXform().inverse());
}

TEST(PtMatchTm, ScaleActsBeforeTheTransform) {
    rx2PtMatchTm tm(kSheared);
    tm.scale(rxVector<2>(2, 4));
    EXPECT_EQ(tm.a2b(rxVector<2>(1, 1)), kSheared * rxVector<2>(2, 4));
    EXPECT_EQ(tm.b2aXform(), tm.a2bXform().inverse());

    rx2PtMatchTm even(kSheared);
    even.scale(0.5);
    EXPECT_EQ(even.a2b(rxVector<2>(6, 4)), kSheared * rxVector<2>(3, 2));
}

TEST(PtMatchTm, ScaleByZeroIsRefusedAndChangesNothing) {
    rx2PtMatchTm tm = withPairs();
    EXPECT_THROW(tm.scale(0.0), rxMathError);
    EXPECT_THROW(tm.scale(rxVector<2>(1, 0)), rxMathError);
    EXPECT_EQ(tm.a2bXform(), kSheared);
    EXPECT_EQ(tm.b2aXform(), kSheared.inverse());
    EXPECT_TRUE(hasPairs(tm));
}

TEST(PtMatchTm, AppendComesAfterAndConcatBefore) {
    const rx2PtMatchTm old(kSheared);
    const rx2PtMatchTm t(linear(0, 3, -1, 2, 4, 5));
    rx2PtMatchTm appended = old;
    appended.append(t);
    rx2PtMatchTm concatenated = old;
    concatenated.concat(t);
    for (const rxVector<2>& p : kFour) {
        expectNear(appended.a2b(p), t.a2b(old.a2b(p)));
        expectNear(concatenated.a2b(p), old.a2b(t.a2b(p)));
    }
    EXPECT_EQ(appended.b2aXform(), appended.a2bXform().inverse());
    EXPECT_EQ(concatenated.b2aXform(), concatenated.a2bXform().inverse());
}

TEST(PtMatchTm, TransformMayBeJoinedToItself) {
    rx2PtMatchTm appended(kSheared);
    appended.append(appended);
    rx2PtMatchTm concatenated(kSheared);
    concatenated.concat(concatenated);
    expectNear(appended.a2bXform(), kSheared * kSheared);
    EXPECT_EQ(appended.a2bXform(), concatenated.a2bXform());
}

TEST(PtMatchTm, OnlyTranslateAndFitKeepThePairs) {
    const rx2PtMatchTm t(linear(1, 0, 0, 2));
    const auto keeps = [](auto change) {
        rx2PtMatchTm tm = withPairs();
        change(tm);
        return hasPairs(tm);
    };
    EXPECT_TRUE(keeps([](rx2PtMatchTm& tm) { tm.translate(rxVector<2>(1, 1)); }));
    EXPECT_TRUE(keeps([](rx2PtMatchTm& tm) { tm.fit(6); }));
    EXPECT_FALSE(keeps([](rx2PtMatchTm& tm) { tm.rotate(degrees(10)); }));
    EXPECT_FALSE(keeps([](rx2PtMatchTm& tm) { tm.scale(rxVector<2>(2, 3)); }));
    EXPECT_FALSE(keeps([](rx2PtMatchTm& tm) { tm.scale(2.0); }));
    EXPECT_FALSE(keeps([&](rx2PtMatchTm& tm) { tm.append(t); }));
    EXPECT_FALSE(keeps([&](rx2PtMatchTm& tm) { tm.concat(t); }));
}

TEST(PtMatchTm, MapsIntoAnArgumentAsByReturn) {
    const rx2PtMatchTm tm(kSheared);
    const rxVector<2> p(3, -2);
    rxVector<2> out;
    tm.a2b(p, out);
    EXPECT_EQ(out, tm.a2b(p));
    tm.b2a(p, out);
    EXPECT_EQ(out, tm.b2a(p));
    rxVector<2> inPlace = p;
    tm.a2b(inPlace, inPlace);
    EXPECT_EQ(inPlace, tm.a2b(p));
}

TEST(PtMatchTm, AnglesIgnoreScaleAndFollowMirrors) {
    const rxXform<2> turned(rxVector<2>(10, 20), degrees(30), degrees(30), 2.0, 2.0);
    EXPECT_NEAR(rxDegree(rx2PtMatchTm(turned).a2b(rxRadian(0))).toDouble(), 30.0, 1e-12);
    EXPECT_NEAR(rxDegree(rx2PtMatchTm(turned).b2a(degrees(30))).toDouble(), 0.0, 1e-12);
    const rx2PtMatchTm mirrored(linear(-1, 0, 0, 1));
    EXPECT_EQ(mirrored.a2b(rxRadian(0)).toDouble(), std::numbers::pi);
    EXPECT_EQ(mirrored.b2a(rxRadian(0)).toDouble(), std::numbers::pi);
}

TEST(PtMatchTm, AnglesAreExactUnderShear) {
    const rx2PtMatchTm tm(linear(1, 1, 0, 1, -3, 8));
    EXPECT_EQ(tm.a2b(rxRadian(0)).toDouble(), 0.0);
    EXPECT_NEAR(tm.a2b(degrees(90)).toDouble(), std::numbers::pi / 4, 4 * kEps);
    EXPECT_NEAR(tm.b2a(degrees(45)).toDouble(), std::numbers::pi / 2, 8 * kEps);
}

TEST(PtMatchTm, ComparisonLooksAtTheForwardTransformAlone) {
    EXPECT_TRUE(withPairs() == rx2PtMatchTm(kSheared));
    EXPECT_TRUE(withPairs() == kSheared);
    rxXform<2> other = kSheared;
    other.trans(rxVector<2>(std::nextafter(7.0, 8.0), -3));
    EXPECT_FALSE(withPairs() == rx2PtMatchTm(other));
    EXPECT_FALSE(withPairs() == other);
    EXPECT_TRUE(withPairs() != other);
    OpenTm unsynchronised;
    unsynchronised.set_(2, 0.5, 7, -0.25, 1.5, -3);
    EXPECT_TRUE(unsynchronised == rx2PtMatchTm(kSheared));
}

TEST(PtMatchTm, CopiesCarryThePairsAndAreIndependent) {
    const rx2PtMatchTm source = withPairs();
    rx2PtMatchTm copy(source);
    EXPECT_TRUE(hasPairs(copy));
    rx2PtMatchTm assigned;
    assigned = source;
    EXPECT_TRUE(hasPairs(assigned));
    assigned.identity();
    EXPECT_TRUE(hasPairs(source));
    EXPECT_EQ(copy.b2aXform(), source.b2aXform());
}

TEST(PtMatchTm, ConcatOfTransformsIsWrittenOutFromTheLeft) {
    const rxXform<2> first = linear(1.1, 2.3, -0.7, 3.9, 5.3, -6.1);
    const rxXform<2> second = linear(0.3, -1.7, 2.9, 0.1, 7.7, 8.9);
    const rxXform<2> both = OpenTm::concat_(first, second);
    EXPECT_EQ(both.matrix().element(0, 0), 0.3 * 1.1 + -1.7 * -0.7);
    EXPECT_EQ(both.matrix().element(0, 1), 0.3 * 2.3 + -1.7 * 3.9);
    EXPECT_EQ(both.matrix().element(1, 0), 2.9 * 1.1 + 0.1 * -0.7);
    EXPECT_EQ(both.matrix().element(1, 1), 2.9 * 2.3 + 0.1 * 3.9);
    EXPECT_EQ(both.trans(), second * first.trans());
}

TEST(PtMatchTm, SetTakesRowsAndLeavesTheInverse) {
    OpenTm tm;
    tm.set_(1, 2, 3, 4, 5, 6);
    EXPECT_EQ(tm.a2bXform(), linear(1, 2, 4, 5, 3, 6));
    EXPECT_EQ(tm.b2aXform(), rxXform<2>::I);
}

TEST(PtMatchTm, SyncMakesTheInverseFitAgain) {
    OpenTm tm;
    tm.set_(1, 2, 3, 4, 5, 6);
    tm.sync_();
    EXPECT_EQ(tm.b2aXform(), tm.a2bXform().inverse());
    tm.set_(1, 2, 3, 2, 4, 6);
    EXPECT_THROW(tm.sync_(), rxMathError);
}

TEST(PtMatchTm, RecordHoldsVersionAndBothTransforms) {
    const rx2PtMatchTm tm(kSheared);
    EXPECT_EQ(stored(tm), joined({{0x4c, 0x04, 0, 0},
                                  stored(kSheared.matrix().element(0, 0), 0.5, -0.25, 1.5, 7.0),
                                  stored(-3.0),
                                  stored(kSheared.inverse())}));
}

TEST(PtMatchTm, LoadReversesStoreAndLeavesThePairs) {
    const ByteVector bytes = stored(rx2PtMatchTm(linear(2, 0, 0, 4, 6, 8)));
    const rx2PtMatchTm fresh = loaded<rx2PtMatchTm>(bytes);
    EXPECT_EQ(fresh.a2bXform(), linear(2, 0, 0, 4, 6, 8));
    EXPECT_EQ(fresh.b2aXform(), linear(2, 0, 0, 4, 6, 8).inverse());
    EXPECT_FALSE(hasPairs(fresh));

    rx2PtMatchTm target = loaded<rx2PtMatchTm>(bytes, withPairs());
    EXPECT_EQ(target.a2bXform(), linear(2, 0, 0, 4, 6, 8));
    target.fit(6);
    expectNear(target.a2bXform(), kSheared);
}

TEST(PtMatchTm, OtherVersionsAreUnknown) {
    ByteVector bytes = stored(rx2PtMatchTm(kSheared));
    for (const unsigned long version : {0UL, 1UL, 1099UL, 1101UL, 200009UL, 4294967295UL}) {
        const ByteVector head = stored(version);
        std::copy(head.begin(), head.end(), bytes.begin());
        rx2PtMatchTm target(linear(1, 0, 0, 1, 5, 5));
        rxMemoryLoadArchive ar(bytes);
        try {
            ar || target;
            ADD_FAILURE() << "version " << version << " was read";
        } catch (const rxArchive::UnknownVersion& error) {
            EXPECT_STREQ(error.source(), "ptmatch/tm");
            EXPECT_EQ(error.line(), 154);
        }
        EXPECT_EQ(ar.bytesLeft(), bytes.size() - head.size());
        EXPECT_EQ(target.a2bXform(), linear(1, 0, 0, 1, 5, 5));
    }
}

TEST(PtMatchTm, DamagedRecordsAreRefusedOrLoaded) {
    const std::size_t refused =
        ptmatch::testing::expectTamperingHandled(stored(withPairs()), [](rxArchive& ar) {
            rx2PtMatchTm fresh;
            ar || fresh;
        });
    EXPECT_EQ(refused, 4U * 9U) << "every damage of the version, and nothing else";
}

TEST(PtMatchTm, FailedLoadLeavesTheTransforms) {
    const ByteVector bytes = stored(rx2PtMatchTm());
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        rxMemoryLoadArchive ar{std::span(bytes).first(length)};
        rx2PtMatchTm target = withPairs();
        EXPECT_THROW(ar || target, rxArchive::Errors);
        EXPECT_EQ(target.a2bXform(), kSheared);
        EXPECT_EQ(target.b2aXform(), kSheared.inverse());
        EXPECT_TRUE(hasPairs(target));
    }
}

}  // namespace
