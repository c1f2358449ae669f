#include "point_spread.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "ptmatch/least_squares.h"

namespace ptmatch::tool {
namespace {

// Each point takes its share of the sum, which therefore stays in the range of double.
Coordinates meanOf(std::span<const Coordinates> points) {
    const auto n = static_cast<double>(points.size());
    Coordinates mean{};
    for (const Coordinates& p : points) {
        for (std::size_t k = 0; k < 3; ++k) mean[k] += p[k] / n;
    }
    return mean;
}

}  // namespace

double PointSpread::rms() const {
    double squares = 0.0;
    for (const double along : alongAxes) squares = std::hypot(squares, along);
    return squares;
}

double PointSpread::flatness() const {
    return alongAxes.front() > 0.0 ? alongAxes.back() / alongAxes.front() : 0.0;
}

double PointSpread::thinness() const {
    return alongAxes.front() > 0.0 ? alongAxes[1] / alongAxes.front() : 0.0;
}

PointSpread spreadOf(std::span<const Coordinates> points, std::size_t dimensions) {
    PointSpread spread;
    spread.mean = meanOf(points);
    spread.alongAxes.assign(dimensions, 0.0);
    const auto fromMean = [&](const Coordinates& p) {
        return Coordinates{p[0] - spread.mean[0], p[1] - spread.mean[1], p[2] - spread.mean[2]};
    };
    for (const Coordinates& p : points) {
        const Coordinates d = fromMean(p);
        spread.reach = std::max(spread.reach, std::hypot(d[0], d[1], d[2]));
    }
    if (!(spread.reach > 0.0)) return spread;

    // In units of the reach, so that no square leaves the range of double.
    const auto size = static_cast<long>(dimensions);
    const auto n = static_cast<double>(points.size());
    rxMatrixExt covariance(size, size);
    for (const Coordinates& p : points) {
        const Coordinates d = fromMean(p);
        for (long r = 0; r < size; ++r) {
            double* const row = covariance.pointToRow(r);
            for (long c = 0; c < size; ++c) {
                row[c] += (d[static_cast<std::size_t>(r)] / spread.reach) *
                          (d[static_cast<std::size_t>(c)] / spread.reach) / n;
            }
        }
    }
    const std::vector<double> squares = rfSingularValues(covariance);
    for (std::size_t k = 0; k < dimensions; ++k) {
        spread.alongAxes[k] = spread.reach * std::sqrt(squares[k]);
    }
    return spread;
}

std::string degeneracyOf(const PointSpread& spread, double largestShare, const std::string& word) {
    const std::string lie = word.empty() ? "lie " : "lie " + word + " ";
    if (!(spread.reach > 0.0)) return "lie in one place";
    if (spread.thinness() <= largestShare) return lie + "on one line";
    if (spread.flatness() <= largestShare) return lie + "in one plane";
    return {};
}

}  // namespace ptmatch::tool
