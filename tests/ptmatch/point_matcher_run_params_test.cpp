#include "ptmatch/point_matcher_run_params.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <span>
#include <utility>

#include "foundation/geometry_archive.h"
#include "support/archive_bytes.h"
#include "support/archive_tampering.h"

namespace {

using ptmatch::testing::ByteVector;
using ptmatch::testing::joined;
using ptmatch::testing::loaded;
using ptmatch::testing::stored;
using Params = rxPointMatcherRunParams;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

template <class Call>
void expectBadParams(Call&& call, const char* message) {
    EXPECT_THAT(std::forward<Call>(call),
                ::testing::ThrowsMessage<rxPointMatcherDefs::BadParams>(::testing::StrEq(message)));
}

rxAngleRange degrees(double start, double end) {
    return rxAngleRange(rxRadian(rxDegree(start)), rxRadian(rxDegree(end)), false);
}

/// Every field differs from its default.
Params unusual() {
    const rxXform<2> pose(rxVector<2>(3.0, -4.0), rxRadian(0.5), rxRadian(0.25), 2.0, 1.5);
    return Params(0.75, pose, rxRange(-5.0, 6.0), rxRange(-7.0, 8.0), degrees(-20.0, 30.0),
                  rxRange(-0.125, 0.25), false, 1.5, false, 2.5, 12);
}

void expectSameFields(const Params& a, const Params& b) {
    EXPECT_EQ(a.minCoverage(), b.minCoverage());
    EXPECT_EQ(a.startPose(), b.startPose());
    EXPECT_EQ(a.rotationUncertainty(), b.rotationUncertainty());
    EXPECT_EQ(a.xTranslationUncertainty(), b.xTranslationUncertainty());
    EXPECT_EQ(a.yTranslationUncertainty(), b.yTranslationUncertainty());
    EXPECT_EQ(a.scaleUncertainty(), b.scaleUncertainty());
    EXPECT_EQ(a.autoGridSize(), b.autoGridSize());
    EXPECT_EQ(a.gridSize(), b.gridSize());
    EXPECT_EQ(a.autoCaptureRange(), b.autoCaptureRange());
    EXPECT_EQ(a.captureRange(), b.captureRange());
    EXPECT_EQ(a.maxNumResults(), b.maxNumResults());
}

TEST(PointMatcherRunParams, DefaultsSuitAPatternAtItsOwnScaleNearlyUpright) {
    const Params params;
    EXPECT_EQ(params.minCoverage(), 0.5);
    EXPECT_EQ(params.startPose(), rxXform<2>());
    EXPECT_EQ(params.rotationUncertainty(), degrees(-15.0, 15.0));
    EXPECT_EQ(params.xTranslationUncertainty().range(), rxRangeDefs::Full);
    EXPECT_EQ(params.yTranslationUncertainty().range(), rxRangeDefs::Full);
    EXPECT_EQ(params.scaleUncertainty(), rxRange(0.0, 0.0));
    EXPECT_TRUE(params.autoGridSize());
    EXPECT_EQ(params.gridSize(), 0.0);
    EXPECT_TRUE(params.autoCaptureRange());
    EXPECT_EQ(params.captureRange(), 0.0);
    EXPECT_EQ(params.maxNumResults(), 1);
}

TEST(PointMatcherRunParams, DefaultEqualsElevenDefaultArguments) {
    const Params eleven(0.5, rxXform<2>(), rxRange::FullRange(), rxRange::FullRange(),
                        degrees(-15.0, 15.0), rxRange(0.0, 0.0), true, 0.0, true, 0.0, 1);
    EXPECT_TRUE(Params() == eleven);
}

TEST(PointMatcherRunParams, ArgumentsReachTheirFields) {
    const Params params = unusual();
    EXPECT_EQ(params.minCoverage(), 0.75);
    EXPECT_EQ(params.startPose().trans(), rxVector<2>(3.0, -4.0));
    EXPECT_EQ(params.xTranslationUncertainty(), rxRange(-5.0, 6.0));
    EXPECT_EQ(params.yTranslationUncertainty(), rxRange(-7.0, 8.0));
    EXPECT_EQ(params.rotationUncertainty(), degrees(-20.0, 30.0));
    EXPECT_EQ(params.scaleUncertainty(), rxRange(-0.125, 0.25));
    EXPECT_FALSE(params.autoGridSize());
    EXPECT_EQ(params.gridSize(), 1.5);
    EXPECT_FALSE(params.autoCaptureRange());
    EXPECT_EQ(params.captureRange(), 2.5);
    EXPECT_EQ(params.maxNumResults(), 12);
}

TEST(PointMatcherRunParams, FirstArgumentRefusedEndsConstruction) {
    const rxXform<2> identity;
    const rxRange full = rxRange::FullRange();
    const rxRange none;
    expectBadParams([&] { Params(2.0, identity, none); }, "minCoverage must be in [0.0, 1.0]\n");
    expectBadParams([&] { Params(0.5, identity, none, none); },
                    "xTranslationUncertainty range must not be empty\n");
    expectBadParams([&] { Params(0.5, identity, full, none, rxAngleRange()); },
                    "yTranslationUncertainty range must not be empty\n");
    expectBadParams([&] { Params(0.5, identity, full, full, rxAngleRange(), none); },
                    "angleUncertainty range must not be empty\n");
    expectBadParams([&] { Params(0.5, identity, full, full, degrees(-1, 1), none, false, 0.0); },
                    "scaleUncertainty range must not be empty\n");
    expectBadParams(
        [&] {
            Params(0.5, identity, full, full, degrees(-1, 1), rxRange(0, 0), false, 0.0, false,
                   -1.0);
        },
        "if autoGridSize==false, gridSize must be >= 0.0\n");
    expectBadParams(
        [&] {
            Params(0.5, identity, full, full, degrees(-1, 1), rxRange(0, 0), true, 0.0, false, -1.0,
                   0);
        },
        "if autoCaptureRange==false, captureRange must be >= 0.0\n");
    expectBadParams(
        [&] {
            Params(0.5, identity, full, full, degrees(-1, 1), rxRange(0, 0), true, 0.0, true, 0.0,
                   0);
        },
        "maxNumResults must be >= 1\n");
}

TEST(PointMatcherRunParams, MinCoverageLiesInTheClosedUnitInterval) {
    const char* const message = "minCoverage must be in [0.0, 1.0]\n";
    Params params;
    params.minCoverage(0.0);
    EXPECT_EQ(params.minCoverage(), 0.0);
    params.minCoverage(1.0);
    EXPECT_EQ(params.minCoverage(), 1.0);
    expectBadParams([&] { params.minCoverage(1.0000001); }, message);
    expectBadParams([&] { params.minCoverage(-1e-300); }, message);
    expectBadParams([&] { params.minCoverage(kNaN); }, message);
    EXPECT_EQ(params.minCoverage(), 1.0);
}

TEST(PointMatcherRunParams, AnyStartPoseIsAccepted) {
    Params params;
    const rxXform<2> singular(rxMatrix<2>(1.0, 2.0, 2.0, 4.0), rxVector<2>(kInfinity, 0.0));
    params.startPose(singular);
    EXPECT_EQ(params.startPose(), singular);
}

TEST(PointMatcherRunParams, EmptyRangesAreRefusedAndFullOnesAccepted) {
    Params params = unusual();
    expectBadParams([&] { params.rotationUncertainty(rxAngleRange()); },
                    "angleUncertainty range must not be empty\n");
    expectBadParams([&] { params.xTranslationUncertainty(rxRange()); },
                    "xTranslationUncertainty range must not be empty\n");
    expectBadParams([&] { params.yTranslationUncertainty(rxRange()); },
                    "yTranslationUncertainty range must not be empty\n");
    expectSameFields(params, unusual());

    params.rotationUncertainty(rxAngleRange::FullRange());
    EXPECT_EQ(params.rotationUncertainty().range(), rxRangeDefs::Full);
    params.xTranslationUncertainty(rxRange::FullRange());
    EXPECT_EQ(params.xTranslationUncertainty().range(), rxRangeDefs::Full);
    params.yTranslationUncertainty(rxRange::FullRange());
    EXPECT_EQ(params.yTranslationUncertainty().range(), rxRangeDefs::Full);
}

TEST(PointMatcherRunParams, ScaleRangeIsNeitherEmptyNorFullNorBelowMinusNineTenths) {
    Params params;
    params.scaleUncertainty(rxRange(-0.9, 0.5));
    expectBadParams([&] { params.scaleUncertainty(rxRange()); },
                    "scaleUncertainty range must not be empty\n");
    expectBadParams([&] { params.scaleUncertainty(rxRange::FullRange()); },
                    "scaleUncertainty range must not be full\n");
    const char* const tooSmall = "start of scaleUncertainty scale must be >= -0.9\n";
    expectBadParams([&] { params.scaleUncertainty(rxRange(-0.95, 0.5)); }, tooSmall);
    expectBadParams([&] { params.scaleUncertainty(rxRange(kNaN, 0.5)); }, tooSmall);
    EXPECT_EQ(params.scaleUncertainty(), rxRange(-0.9, 0.5));
}

TEST(PointMatcherRunParams, GridSizeZeroNeedsTheAutomaticSwitch) {
    const char* const message = "if autoGridSize==false, gridSize must be >= 0.0\n";
    Params params;
    params.gridSize(-3.0);  // not looked at
    EXPECT_EQ(params.gridSize(), -3.0);
    params.gridSize(0.0);
    params.autoGridSize(false);
    EXPECT_EQ(params.gridSize(), 0.0);  // the switch checks nothing again
    params.gridSize(0.25);
    expectBadParams([&] { params.gridSize(0.0); }, message);
    expectBadParams([&] { params.gridSize(-1e-12); }, message);
    expectBadParams([&] { params.gridSize(kNaN); }, message);
    EXPECT_EQ(params.gridSize(), 0.25);
}

TEST(PointMatcherRunParams, CaptureRangeZeroIsAlwaysAccepted) {
    const char* const message = "if autoCaptureRange==false, captureRange must be >= 0.0\n";
    Params params;
    params.captureRange(-1e-12);  // not looked at
    EXPECT_EQ(params.captureRange(), -1e-12);
    params.captureRange(0.0);
    params.autoCaptureRange(false);
    params.captureRange(0.0);
    expectBadParams([&] { params.captureRange(-1e-12); }, message);
    expectBadParams([&] { params.captureRange(kNaN); }, message);
    EXPECT_EQ(params.captureRange(), 0.0);
}

TEST(PointMatcherRunParams, AtLeastOneResultIsWanted) {
    Params params;
    params.maxNumResults(2147483647);
    EXPECT_EQ(params.maxNumResults(), 2147483647);
    expectBadParams([&] { params.maxNumResults(0); }, "maxNumResults must be >= 1\n");
    expectBadParams([&] { params.maxNumResults(-1); }, "maxNumResults must be >= 1\n");
    EXPECT_EQ(params.maxNumResults(), 2147483647);
}

TEST(PointMatcherRunParams, ThreeNumbersAreComparedWithATolerance) {
    Params a;
    Params b;
    a.minCoverage(0.1);
    b.minCoverage(0.1 + 1e-16);
    ASSERT_NE(a.minCoverage(), b.minCoverage());
    EXPECT_TRUE(a == b);
    b.minCoverage(0.1 + 1e-14);
    EXPECT_FALSE(a == b);

    b = a;
    b.gridSize(1e-15);
    EXPECT_TRUE(a == b);
    b.gridSize(2e-15);
    EXPECT_FALSE(a == b);

    b = a;
    b.captureRange(1e-15);
    EXPECT_TRUE(a == b);
    b.captureRange(2e-15);
    EXPECT_FALSE(a == b);
}

TEST(PointMatcherRunParams, EveryOtherFieldIsComparedExactly) {
    const Params base;
    const auto differs = [&base](auto change) {
        Params changed;
        change(changed);
        return !(base == changed) && !(changed == base) && changed == changed;
    };
    const double tiny = 1e-16;
    EXPECT_TRUE(differs([](Params& p) {
        p.startPose(rxXform<2>(rxMatrix<2>(1, 0, 0, 1), rxVector<2>(1e-16, 0)));
    }));
    EXPECT_TRUE(differs([](Params& p) { p.xTranslationUncertainty(rxRange(-1, 1)); }));
    EXPECT_TRUE(differs([](Params& p) { p.yTranslationUncertainty(rxRange(-1, 1)); }));
    EXPECT_TRUE(differs([](Params& p) { p.rotationUncertainty(degrees(-15.0, 15.000000001)); }));
    EXPECT_TRUE(differs([&](Params& p) { p.scaleUncertainty(rxRange(0.0, tiny)); }));
    EXPECT_TRUE(differs([](Params& p) { p.autoGridSize(false); }));
    EXPECT_TRUE(differs([](Params& p) { p.autoCaptureRange(false); }));
    EXPECT_TRUE(differs([](Params& p) { p.maxNumResults(2); }));
}

TEST(PointMatcherRunParams, CopiesAreIndependent) {
    const Params source = unusual();
    Params copy(source);
    expectSameFields(copy, source);
    copy.maxNumResults(99);
    EXPECT_EQ(source.maxNumResults(), 12);
    copy = source;
    expectSameFields(copy, source);
}

TEST(PointMatcherRunParams, RecordHoldsVersionThenFieldsInOrder) {
    const Params params = unusual();
    const ByteVector expected = joined({
        stored(200009UL),
        stored(params.minCoverage(), params.startPose(), params.rotationUncertainty()),
        stored(params.xTranslationUncertainty(), params.yTranslationUncertainty()),
        stored(params.scaleUncertainty()),
        {0},
        stored(params.gridSize()),
        {0},
        stored(params.captureRange(), params.maxNumResults()),
    });
    EXPECT_EQ(stored(params), expected);
}

TEST(PointMatcherRunParams, DefaultRecordIsThisVeryOne) {
    const ByteVector zero(8, 0);
    const ByteVector one = {0, 0, 0, 0, 0, 0, 0xf0, 0x3f};
    const ByteVector expected = joined({
        {0x49, 0x0d, 0x03, 0x00},        // 200009
        {0, 0, 0, 0, 0, 0, 0xe0, 0x3f},  // 0.5
        one,
        zero,
        zero,
        one,
        zero,
        zero,          // identity
        {0, 0, 0, 0},  // Normal, from -15 to 15 degrees
        {0x65, 0x73, 0x2d, 0x38, 0x52, 0xc1, 0xd0, 0xbf},
        {0x65, 0x73, 0x2d, 0x38, 0x52, 0xc1, 0xd0, 0x3f},
        {2, 0, 0, 0},  // Full
        {2, 0, 0, 0},  // Full
        {0, 0, 0, 0},
        zero,
        zero,  // Normal, from 0 to 0
        {1},
        zero,
        {1},
        zero,          // automatic grid size, automatic capture range
        {1, 0, 0, 0},  // one result
    });
    EXPECT_EQ(stored(Params()), expected);
}

TEST(PointMatcherRunParams, LoadReversesStore) {
    expectSameFields(loaded<Params>(stored(unusual())), unusual());
    expectSameFields(loaded<Params>(stored(Params()), unusual()), Params());
}

TEST(PointMatcherRunParams, OlderVersionsHaveTheSameLayoutAndNewerOnesAreUnknown) {
    ByteVector bytes = stored(unusual());
    for (const unsigned long version : {0UL, 1UL, 200008UL}) {
        const ByteVector head = stored(version);
        std::copy(head.begin(), head.end(), bytes.begin());
        expectSameFields(loaded<Params>(bytes), unusual());
    }
    for (const unsigned long version : {200010UL, 4294967295UL}) {
        const ByteVector head = stored(version);
        std::copy(head.begin(), head.end(), bytes.begin());
        try {
            loaded<Params>(bytes);
            ADD_FAILURE() << "version " << version << " was read";
        } catch (const rxArchive::UnknownVersion& error) {
            EXPECT_STREQ(error.source(), "ptmatch/ppmatch");
            EXPECT_EQ(error.line(), 2232);
        }
    }
}

TEST(PointMatcherRunParams, LoadingDoesNotCheckAsTheSettersDo) {
    const rxRange empty;
    const ByteVector bytes = joined({
        stored(200009UL, 7.0, rxXform<2>(), rxAngleRange(), empty, empty, rxRange(-5.0, -4.0)),
        {0},
        stored(-1.0),
        {0},
        stored(-2.0, -3L),
    });
    const Params params = loaded<Params>(bytes);
    EXPECT_EQ(params.minCoverage(), 7.0);
    EXPECT_EQ(params.rotationUncertainty().range(), rxRangeDefs::Empty);
    EXPECT_EQ(params.scaleUncertainty(), rxRange(-5.0, -4.0));
    EXPECT_EQ(params.gridSize(), -1.0);
    EXPECT_EQ(params.captureRange(), -2.0);
    EXPECT_EQ(params.maxNumResults(), -3);
}

TEST(PointMatcherRunParams, DamagedRecordsAreRefusedOrLoaded) {
    const std::size_t refused =
        ptmatch::testing::expectTamperingHandled(stored(unusual()), [](rxArchive& ar) {
            Params fresh;
            ar || fresh;
        });
    EXPECT_GT(refused, 0U);
}

TEST(PointMatcherRunParams, FailedLoadLeavesEveryFieldAsItWas) {
    const ByteVector bytes = stored(Params());
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        rxMemoryLoadArchive ar{std::span(bytes).first(length)};
        Params target = unusual();
        EXPECT_THROW(ar || target, rxArchive::Errors);
        expectSameFields(target, unusual());
    }
}

}  // namespace
