#include "ptmatch/search_grid.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "foundation/angle.h"
#include "foundation/real.h"
#include "ptmatch/point_matcher_defs.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/point_matcher_run_params.h"
#include "ptmatch/search_memory.h"

namespace ptmatch::detail {
namespace {

using BadParams = rxPointMatcherDefs::BadParams;

constexpr double kMaxPixelCoordinate = 1073741824.0;  // 2^30: sums of two stay within 32 bits
constexpr double kMaxLatticePoints = 2147483648.0;    // 2^31
constexpr double kMaxPixel = 2147483647.0;
constexpr double kMinScale = 0.1;
constexpr long kWindowMargin = 8;  // pixels that a translation may lead beyond the data

// What the constructor from angles gives for angles of 0, to the sign of a zero, without their
// sines and cosines.
rxXform<2> withoutTurn(const rxVector<2>& shift, double scale) {
    return {rxMatrix<2>(scale, -scale * 0.0, scale * 0.0, scale), shift};
}

rxXform<2> translation(double x, double y) {
    return withoutTurn(rxVector<2>(x, y), 1.0);
}

rxXform<2> scaling(double s) {
    return withoutTurn(rxVector<2>(0.0, 0.0), s);
}

rxXform<2> rotationByDegrees(double degrees) {
    const double angle = rxRadian(rxDegree(degrees)).toDouble();
    const double sine = std::sin(angle);
    const double cosine = std::cos(angle);
    return {rxMatrix<2>(cosine, -sine, sine, cosine), rxVector<2>(0.0, 0.0)};
}

struct Box {
    double xMin, xMax, yMin, yMax;
};

Box boundingBox(std::span<const rxVector<2>> points) {
    Box box{points[0].x(), points[0].x(), points[0].y(), points[0].y()};
    for (const rxVector<2>& p : points) {
        box.xMin = std::min(box.xMin, p.x());
        box.xMax = std::max(box.xMax, p.x());
        box.yMin = std::min(box.yMin, p.y());
        box.yMax = std::max(box.yMax, p.y());
    }
    return box;
}

std::vector<rxVector<2>> normalise(std::span<const rxVector<2>> data, const rxXform<2>& startPose) {
    const rxXform<2> modelFromData = startPose.inverse();
    std::vector<rxVector<2>> normalised;
    normalised.reserve(data.size());
    for (const rxVector<2>& d : data) {
        normalised.push_back(modelFromData * d);
        if (!normalised.back().isFinite()) {
            throw BadParams("data overflow when they are seen from startPose\n");
        }
    }
    return normalised;
}

// Number of grid steps from one end of an extent to the other, rounded; not yet an integer type, so
// that an absurd one can be refused first.
double gridSteps(double extent, double pixelsPerUnit) {
    return std::trunc(extent * pixelsPerUnit + 0.5);
}

void checkModelPosition(const rxVector<2>& centrePixel) {
    const bool near = std::abs(centrePixel.x()) <= kMaxPixelCoordinate &&
                      std::abs(centrePixel.y()) <= kMaxPixelCoordinate;
    if (!near) {
        throw BadParams(
            "the data lie too far from the model for this gridSize: "
            "set a startPose that brings the model near the data\n");
    }
}

struct PixelInterval {
    double low, high;

    bool isEmpty() const { return low > high; }
};

PixelInterval intersect(const PixelInterval& a, const PixelInterval& b) {
    return {std::max(a.low, b.low), std::min(a.high, b.high)};
}

PixelInterval outerBounds(double centre, long extent) {
    return {std::floor(0.0 - centre) - kWindowMargin,
            std::ceil(static_cast<double>(extent - 1) - centre) + kWindowMargin};
}

Lattice single(double value) {
    return {value, value, std::numeric_limits<double>::infinity()};
}

// floor of the number of steps between low and high, plus one; may be infinite or not a number.
double numValues(const Lattice& lattice) {
    return std::floor((lattice.high - lattice.low) / lattice.step) + 1.0;
}

// A step below the spacing of the doubles would leave a value where it is.
bool stepsAreLost(const Lattice& lattice) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const double largest = std::max(std::abs(lattice.low), std::abs(lattice.high));
    return !(lattice.step >= std::nextafter(largest, kInfinity) - largest);
}

[[noreturn]] void refuseUncertainties() {
    throw BadParams(
        "the uncertainty ranges are too wide for this gridSize: "
        "more than 2^31 pairs of scale and rotation would have to be tried\n");
}

// iRound of a value below kMaxPixelCoordinate in magnitude, without a call: the part after the
// point is exact, so it can be compared with a half.
long roundedNear(double v) {
    const auto whole = static_cast<std::int32_t>(v);  // towards zero
    const double rest = v - static_cast<double>(whole);
    return whole + (rest >= 0.5 ? 1 : 0) - (rest <= -0.5 ? 1 : 0);
}

long checkedSteps(double steps) {
    if (!(std::abs(steps) < kMaxLatticePoints)) refuseUncertainties();
    return static_cast<long>(steps);  // towards zero
}

}  // namespace

std::optional<SearchGrid> makeSearchGrid(std::span<const rxVector<2>> data,
                                         const rx_PointMatcherModel& model,
                                         const rxXform<2>& startPose, double gridSize) {
    if (data.empty() || std::isinf(gridSize)) return std::nullopt;
    SearchGrid grid;
    grid.gridSize = gridSize;
    grid.data = normalise(data, startPose);
    const Box box = boundingBox(grid.data);
    const double pixelsPerUnit = 1.0 / gridSize;
    const double numColumns = gridSteps(box.xMax - box.xMin, pixelsPerUnit) + 1.0;
    const double numRows = gridSteps(box.yMax - box.yMin, pixelsPerUnit) + 1.0;
    checkImageBytes(imageBytes(numColumns + 2.0, numRows + 2.0, 1.0));
    grid.width = static_cast<long>(numColumns) + 2;
    grid.height = static_cast<long>(numRows) + 2;
    grid.imageFromModel =
        translation(1.0, 1.0) * scaling(pixelsPerUnit) * translation(-box.xMin, -box.yMin);
    checkModelPosition(grid.imageFromModel * model.center());
    return grid;
}

std::optional<rxPelRect> translationWindow(const SearchGrid& grid,
                                           const rx_PointMatcherModel& model,
                                           const rxPointMatcherRunParams& params) {
    const rxXform<2>& toImage = grid.imageFromModel;
    const rxVector<2> centre = toImage * model.center();
    PixelInterval x = outerBounds(centre.x(), grid.width);
    PixelInterval y = outerBounds(centre.y(), grid.height);

    const rxRange xAllowed = params.xTranslationUncertainty();
    if (xAllowed.range() == rxRangeDefs::Normal) {
        const auto shifted = [&](double by) {
            return (toImage * (model.center() + rxVector<2>(by, 0.0))).x() - centre.x();
        };
        x = intersect(x,
                      {std::floor(shifted(xAllowed.start())), std::ceil(shifted(xAllowed.end()))});
    }
    const rxRange yAllowed = params.yTranslationUncertainty();
    if (yAllowed.range() == rxRangeDefs::Normal) {
        const auto shifted = [&](double by) {
            return (toImage * (model.center() + rxVector<2>(0.0, by))).y() - centre.y();
        };
        y = intersect(y,
                      {std::floor(shifted(yAllowed.start())), std::ceil(shifted(yAllowed.end()))});
    }
    if (x.isEmpty() || y.isEmpty()) return std::nullopt;
    return rxPelRect(static_cast<long>(x.low), static_cast<long>(y.low),
                     static_cast<long>(x.high - x.low), static_cast<long>(y.high - y.low));
}

Lattice scaleLattice(const rxRange& scaleUncertainty, const rx_PointMatcherModel& model,
                     double gridSize) {
    double low = std::max(1.0 + scaleUncertainty.start(), kMinScale);
    double high = 1.0 + scaleUncertainty.end();
    const double step = model.scaleStep_(gridSize);
    const double centre = (low + high) / 2.0;
    // A model without extent has no scale to search.
    if (std::isinf(step)) return single(centre);
    const long half = (checkedSteps((high - low) / step) + 1) / 2;
    low = centre - step * static_cast<double>(half);
    high = centre + step * static_cast<double>(half);
    // The upper end alone is kept away from 0: the lower one may run below.
    high = std::max(high, kMinScale);
    if (high - low < step) return single(centre);
    return {low, high, step};
}

Lattice rotationLattice(const rxAngleRange& rotationUncertainty, const rx_PointMatcherModel& model,
                        double scale, double gridSize) {
    double half = 180.0;
    double centre = 0.0;
    if (rotationUncertainty.range() != rxRangeDefs::Full) {
        half = rxDegree(rotationUncertainty.length() / 2.0).toDouble();
        centre = rxDegree(rotationUncertainty.middle()).toDouble();
    }
    const double step = model.rotationStep_(scale, gridSize);
    const long numSteps = checkedSteps(half / step) + 1;
    if (half * 2.0 < step) return single(centre);
    const double reach = step * static_cast<double>(numSteps);
    return {centre - reach, centre + reach, step};
}

void checkLatticeSize(const rxPointMatcherRunParams& params, const rx_PointMatcherModel& model,
                      double gridSize) {
    const Lattice scales = scaleLattice(params.scaleUncertainty(), model, gridSize);
    // The largest scale has the finest rotations: a bound for all of them.
    const Lattice rotations =
        rotationLattice(params.rotationUncertainty(), model, scales.high, gridSize);
    if (!(numValues(scales) * numValues(rotations) <= kMaxLatticePoints) || stepsAreLost(scales) ||
        stepsAreLost(rotations)) {
        refuseUncertainties();
    }
}

void modelPixels(const SearchGrid& grid, const rx_PointMatcherModel& model, double scale,
                 double rotationDegrees, std::vector<rxPair<long>>& pixels) {
    const rxVector<2> centre = model.center();
    const rxXform<2> imageFromModel = grid.imageFromModel * translation(centre.x(), centre.y()) *
                                      scaling(scale) * rotationByDegrees(rotationDegrees) *
                                      translation(-centre.x(), -centre.y());
    const std::vector<rxVector<2>>& points = model.points();
    pixels.resize(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        const rxVector<2> p = imageFromModel * points[i];
        const bool isNear =
            std::abs(p.x()) < kMaxPixelCoordinate && std::abs(p.y()) < kMaxPixelCoordinate;
        pixels[i] = isNear ? rxPair<long>(roundedNear(p.x()), roundedNear(p.y())) : nearestPixel(p);
    }
}

rxPair<long> pixelOf(const rxVector<2>& imagePoint) {
    // Far beyond the image a point may lie only by rounding, of coordinates enormous for the grid.
    const auto towardsZero = [](double v) {
        return static_cast<long>(std::clamp(v, -kMaxPixel, kMaxPixel));
    };
    return {towardsZero(imagePoint.x()), towardsZero(imagePoint.y())};
}

rxPair<long> nearestPixel(const rxVector<2>& imagePoint) {
    if (std::isnan(imagePoint.x()) || std::isnan(imagePoint.y())) {
        constexpr long kOutside = std::numeric_limits<std::int32_t>::min();
        return {kOutside, kOutside};
    }
    return {iRound(imagePoint.x()), iRound(imagePoint.y())};
}

}  // namespace ptmatch::detail
