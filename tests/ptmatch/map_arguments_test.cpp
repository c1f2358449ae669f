#include "ptmatch/ptgdmap/map_arguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "grid_points.h"

namespace {

using ptmatch::detail::checkMapArguments;
using ptmatch::testing::degreeRange;
using Params = rxPtToGridMapRunParams;
using Points = std::vector<rxVector<2>>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

const Points kPoints = {{0, 0}, {10, 0}};

Params good() {
    return Params(rxVector<2>(10, 0), rxVector<2>(0, 10));
}

void expectAccepted(const Params& params, const Points& points = kPoints) {
    EXPECT_NO_THROW(checkMapArguments(points, params));
}

void expectRefused(const Params& params, const std::string& message,
                   const Points& points = kPoints) {
    EXPECT_THAT(
        [&] { checkMapArguments(points, params); },
        ::testing::ThrowsMessage<rxPointMatcherDefs::BadParams>("grid mapping: " + message + "\n"));
}

TEST(MapArguments, FinitePointsAnywhereAreAccepted) {
    expectAccepted(good());
    expectAccepted(good(), {});
    expectAccepted(good(), {{1.7e308, -1.7e308}, {-1.7e308, 4.9e-324}, {0, 0}, {0, 0}});
}

TEST(MapArguments, PointThatIsNotFiniteIsNamed) {
    expectRefused(good(), "point 1 is not finite", {{0, 0}, {kNaN, 0}, {kNaN, 0}});
    expectRefused(good(), "point 0 is not finite", {{0, kInfinity}});
    expectRefused(good(), "point 2 is not finite", {{0, 0}, {0, 0}, {-kInfinity, 0}});
}

TEST(MapArguments, StepsAreNullOrOfALengthWhoseSquareIsADouble) {
    Params params = good();
    params.xv(rxVector<2>());
    expectAccepted(params);
    params.yv(rxVector<2>(-0.0, 0.0));
    expectAccepted(params);  // no grid, but no error either
    for (const double length : {1e-150, 1e150}) {
        params.yv(rxVector<2>(0, -length));
        expectAccepted(params);
    }
    for (const double length : {9.9e-151, 1e-200, 4.9e-324, 1.1e150, 1e200, 1.7e308}) {
        params = good();
        params.xv(rxVector<2>(length, 0));
        expectRefused(params, "xv must be null or between 1e-150 and 1e150 long");
        params = good();
        params.yv(rxVector<2>(0, length));
        expectRefused(params, "yv must be null or between 1e-150 and 1e150 long");
    }
}

TEST(MapArguments, StepThatIsNotFiniteIsRefused) {
    for (const double bad : {kNaN, kInfinity, -kInfinity}) {
        Params params = good();
        params.xv(rxVector<2>(bad, 0));
        expectRefused(params, "xv must be finite");
        params = good();
        params.yv(rxVector<2>(0, bad));
        expectRefused(params, "yv must be finite");
    }
}

TEST(MapArguments, DiagonalsOfAStaggeredGridAreHeldToTheSameLengths) {
    Params params(rxVector<2>(1e-140, 1e-160), rxVector<2>(1e-140, -1e-160));
    expectAccepted(params);
    params.staggered(true);
    expectRefused(params,
                  "yv - xv of a staggered grid must be null or between 1e-150 and 1e150 "
                  "long");
    params.yv(rxVector<2>(-1e-140, 1e-160));
    expectRefused(params,
                  "xv + yv of a staggered grid must be null or between 1e-150 and 1e150 "
                  "long");
}

TEST(MapArguments, SnapSizeIsFinite) {
    Params params = good();
    for (const double value : {-1.0, 0.0, 1e300, 1e-300}) {
        params.snapSize(value);
        expectAccepted(params);
    }
    for (const double bad : {kNaN, kInfinity, -kInfinity}) {
        params.snapSize(bad);
        expectRefused(params, "snapSize must be finite");
    }
}

TEST(MapArguments, SizeTolIsAnyRangeOfNumbers) {
    Params params = good();
    for (const rxRange& range : {rxRange(), rxRange::FullRange(), rxRange(1, 1), rxRange(2, 1),
                                 rxRange(-kInfinity, kInfinity), rxRange(-1, 1e300)}) {
        params.sizeTol(range);
        expectAccepted(params);
    }
    for (const rxRange& range : {rxRange(kNaN, 1), rxRange(1, kNaN)}) {
        params.sizeTol(range);
        expectRefused(params, "sizeTol bounds must be numbers");
    }
}

TEST(MapArguments, AngleTolIsWithinAMillionDegrees) {
    Params params = good();
    for (const rxAngleRange& range : {rxAngleRange(), rxAngleRange::FullRange(), degreeRange(3, 3),
                                      degreeRange(20, -20), degreeRange(-999999, 999999)}) {
        params.angleTol(range);
        expectAccepted(params);
    }
    for (const rxAngleRange& range :
         {degreeRange(kNaN, 1), degreeRange(1, kNaN), degreeRange(-1000001, 0),
          degreeRange(0, 1000001), degreeRange(-kInfinity, 0), degreeRange(0, kInfinity)}) {
        params.angleTol(range);
        expectRefused(params, "angleTol bounds must be within a million degrees");
    }
}

}  // namespace
