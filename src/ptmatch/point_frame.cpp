#include "ptmatch/point_frame.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "foundation/exception.h"

namespace ptmatch::detail {
namespace {

constexpr double kEps = std::numeric_limits<double>::epsilon();
/// Coordinates count as good to so many eps of their size, as with the fitter of the plane.
constexpr double kRoundings = 8.0;
/// Larger coordinates have squares that are not numbers.
constexpr double kLargest = 1e150;

/// The mean of the differences to `origin`, added to it: the mean itself, when origin is near it,
/// without the digits that a sum of large coordinates loses.
template <std::size_t D, class Point>
std::array<double, D> meanAbout(std::span<const Point> points,
                                const std::array<double, D>& origin) {
    std::array<double, D> sum{};
    for (const Point& point : points) {
        const std::array<double, D> p = coordinates(point);
        for (std::size_t k = 0; k < D; ++k) sum[k] += p[k] - origin[k];
    }
    std::array<double, D> mean = origin;
    for (std::size_t k = 0; k < D; ++k) mean[k] += sum[k] / static_cast<double>(points.size());
    return mean;
}

template <std::size_t D, class Point>
PointFrame<D> frameOf(std::span<const Point> points, const char* side) {
    double largest = 0.0;
    for (const Point& point : points) {
        for (const double value : coordinates(point)) {
            if (!(std::abs(value) <= kLargest)) {
                throw rxMathError(std::string("a coordinate of the points ") + side +
                                  " is not finite, or beyond 1e150\n");
            }
            largest = std::max(largest, std::abs(value));
        }
    }

    PointFrame<D> frame;
    frame.centroid = meanAbout<D>(points, meanAbout<D>(points, coordinates(points.front())));
    double distances = 0.0;
    for (const Point& point : points) {
        double squared = 0.0;
        for (const double offset : frame.inFrame(coordinates(point))) squared += offset * offset;
        distances += std::sqrt(squared);
    }
    const double meanDistance = distances / static_cast<double>(points.size());
    const double rounding = kRoundings * kEps * largest;
    if (!(meanDistance > rounding) || meanDistance < 1.0 / kLargest) {
        throw rxMathError(std::string("all points ") + side + " lie in one place\n");
    }
    frame.scale = std::sqrt(static_cast<double>(D)) / meanDistance;
    frame.noise = rounding * frame.scale + kRoundings * kEps;
    return frame;
}

}  // namespace

PointFrame<2> pointFrame(std::span<const rxVector<2>> points, const char* side) {
    return frameOf<2>(points, side);
}

PointFrame<3> pointFrame(std::span<const rxVector<3>> points, const char* side) {
    return frameOf<3>(points, side);
}

}  // namespace ptmatch::detail
