#include "ptmatch/farthest_points.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

#include "ptmatch/squared_distance.h"

namespace ptmatch::detail {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kEpsilon = std::numeric_limits<double>::epsilon();

using Points = std::span<const rxVector<2>>;

double largestSquaredDistance(const rxVector<2>& p, Points points) {
    double largest = 0.0;
    for (const rxVector<2>& q : points) largest = std::max(largest, squaredDistance(p, q));
    return largest;
}

/// The farthest of some points from one, and how far it is.
struct Farthest {
    std::size_t index = 0;
    double squared = 0.0;
};

Farthest farthestFrom(const rxVector<2>& p, Points points) {
    Farthest found;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double squared = squaredDistance(p, points[i]);
        if (squared > found.squared) found = {i, squared};
    }
    return found;
}

/// The smallest box around the points.
struct Box {
    explicit Box(Points points) {
        for (const rxVector<2>& p : points) {
            minX = std::min(minX, p.x());
            maxX = std::max(maxX, p.x());
            minY = std::min(minY, p.y());
            maxY = std::max(maxY, p.y());
        }
    }

    /// Not below any squared distance: differences, products and sums round monotonically.
    double squaredDiagonal() const { return squaredDistance({minX, minY}, {maxX, maxY}); }
    rxVector<2> center() const { return {minX / 2 + maxX / 2, minY / 2 + maxY / 2}; }

    double minX = kInfinity;
    double maxX = -kInfinity;
    double minY = kInfinity;
    double maxY = -kInfinity;
};

/// For sets so wide that squares overflow, where points may be left out.
double largestAmongFinite(Points points) {
    // Most points that are left out are found so by the ends of the set along the axes.
    const auto byX = [](const rxVector<2>& a, const rxVector<2>& b) { return a.x() < b.x(); };
    const auto byY = [](const rxVector<2>& a, const rxVector<2>& b) { return a.y() < b.y(); };
    const auto [left, right] = std::minmax_element(points.begin(), points.end(), byX);
    const auto [bottom, top] = std::minmax_element(points.begin(), points.end(), byY);
    const std::array<rxVector<2>, 4> ends = {*left, *right, *bottom, *top};
    double largest = 0.0;
    for (const rxVector<2>& p : points) {
        if (largestSquaredDistance(p, ends) == kInfinity) continue;
        const double squared = largestSquaredDistance(p, points);
        if (squared != kInfinity) largest = std::max(largest, squared);
    }
    return largest;
}

/// From end to end, beginning with the point at `from`: mostly the largest squared distance or
/// next to it.
double longWayAcross(Points points, std::size_t from) {
    // More turns gain little, and there are sets that would take very many.
    constexpr int kMostTurns = 6;

    double largest = 0.0;
    for (int turn = 0; turn < kMostTurns; ++turn) {
        const Farthest next = farthestFrom(points[from], points);
        if (next.squared <= largest) break;
        largest = next.squared;
        from = next.index;
    }
    return largest;
}

/// Points as seen from the centre, in sectors of equal steps along the square |x| + |y| = 1.
/// There is an even number of sectors, so that each lies opposite to another.
class Sectors {
  public:
    Sectors(Points points, const rxVector<2>& center)
        : count_(4 * ((points.size() + 15) / 16)), ends_(count_, 0), radii_(count_, 0.0) {
        addBorders();
        std::vector<std::size_t> sectors(points.size());
        for (std::size_t i = 0; i < points.size(); ++i) {
            const rxVector<2>& p = points[i];
            const std::size_t sector = sectorOf(p - center);
            sectors[i] = sector;
            ++ends_[sector];
            radii_[sector] = std::max(radii_[sector], squaredDistance(p, center));
        }
        for (double& radius : radii_) radius = std::sqrt(radius);
        std::size_t begin = 0;
        for (std::size_t& end : ends_) begin += std::exchange(end, begin);
        points_.resize(points.size());
        for (std::size_t i = 0; i < points.size(); ++i) points_[ends_[sectors[i]]++] = points[i];
        largestRadius_ = *std::max_element(radii_.begin(), radii_.end());
    }

    /// The largest squared distance if it is above `largest`; else that.
    double largestFarthest(double largest) const {
        for (std::size_t sector = 0; sector < count_; ++sector) {
            if (pointsOf(sector).empty()) continue;
            // Pairs whose other point comes before the opposite sector are met from there.
            for (std::size_t step = 0; step <= count_ / 2; ++step) {
                const double cosine = largestCosine(sector, step);
                if (mostSquared(radii_[sector], largestRadius_, cosine) <= largest) break;
                const std::size_t other = wrapped(sector + count_ / 2 + step);
                if (mostSquared(radii_[sector], radii_[other], cosine) <= largest) continue;
                for (const rxVector<2>& p : pointsOf(sector)) {
                    largest = std::max(largest, largestSquaredDistance(p, pointsOf(other)));
                }
            }
        }
        return largest;
    }

  private:
    // Along the square from its lower corner: -1 there, 0 at the right one, up to 3.
    void addBorders() {
        borders_.reserve(count_);
        for (std::size_t k = 0; k < count_; ++k) {
            const double along = -1 + static_cast<double>(k) / sectorsOfSide();
            const double y = along < 1 ? along : 2 - along;
            const double x = along < 1 ? 1 - std::abs(y) : std::abs(y) - 1;
            const double length = std::sqrt(x * x + y * y);
            borders_.emplace_back(x / length, y / length);
        }
    }

    /// @param sector  below twice the number of sectors.
    std::size_t wrapped(std::size_t sector) const {
        return sector < count_ ? sector : sector - count_;
    }

    double sectorsOfSide() const { return static_cast<double>(count_) / 4; }

    std::size_t sectorOf(const rxVector<2>& p) const {
        const double sum = std::abs(p.x()) + std::abs(p.y());
        if (!(sum > 0.0)) return 0;
        const double share = p.y() / sum;
        const double along = p.x() >= 0.0 ? share : 2 - share;
        const double place = (along + 1) * sectorsOfSide();
        return std::min(static_cast<std::size_t>(place), count_ - 1);
    }

    std::span<const rxVector<2>> pointsOf(std::size_t sector) const {
        const std::size_t begin = sector == 0 ? 0 : ends_[sector - 1];
        return std::span(points_).subspan(begin, ends_[sector] - begin);
    }

    /// Of the angles between a direction in a sector and the reverse of one that many sectors past
    /// the opposite one: the cosine of the least, or 0 when all are above 90 degrees.
    double largestCosine(std::size_t sector, std::size_t step) const {
        if (step <= 1) return 1.0;
        const rxVector<2>& end = borders_[wrapped(sector + 1)];
        const rxVector<2>& begin = borders_[wrapped(sector + step)];
        return std::max(0.0, end.x() * begin.x() + end.y() * begin.y());
    }

    /// No two points at these radii or below, with no smaller an angle, have a larger squared
    /// distance: |p - q|^2 = |p|^2 + |q|^2 + 2 |p| |q| cos(p, -q). The margin is far above the few
    /// eps of the terms' size by which radii, borders and sectors may be off.
    static double mostSquared(double radius, double otherRadius, double cosine) {
        const double exact =
            radius * radius + otherRadius * otherRadius + 2 * radius * otherRadius * cosine;
        return exact + 256 * kEpsilon * (radius + otherRadius) * (radius + otherRadius);
    }

    std::size_t count_;
    std::vector<rxVector<2>> borders_;  // directions in which sectors begin
    std::vector<std::size_t> ends_;
    std::vector<double> radii_;  // of the farthest point of each
    std::vector<rxVector<2>> points_;
    double largestRadius_ = 0.0;
};

/// The points that may have one at more than a known distance.
/// @param squaredRadius  the largest squared distance of a point from the centre.
std::vector<rxVector<2>> outerPoints(Points points, const rxVector<2>& center, double squaredRadius,
                                     double known) {
    // A computed squared distance above the known one means a true one above its root (1 - 4 eps),
    // and one of at most the sum of the two radii; each is computed to 4 eps. The last term covers
    // the digits that squares lose to underflow.
    const double least = std::sqrt(known) * (1 - 64 * kEpsilon) - std::sqrt(squaredRadius) - 1e-150;
    const double leastSquared = least > 0.0 ? least * least * (1 - 64 * kEpsilon) : -1.0;
    std::vector<rxVector<2>> outer;
    for (const rxVector<2>& p : points) {
        if (squaredDistance(p, center) > leastSquared) outer.push_back(p);
    }
    return outer;
}

double largestOfPairs(Points points, double largest) {
    for (std::size_t i = 0; i < points.size(); ++i) {
        largest = std::max(largest, largestSquaredDistance(points[i], points.subspan(i + 1)));
    }
    return largest;
}

}  // namespace

double largestFarthestSquared(Points points) {
    // So few are compared in pairs before sectors would have been made.
    constexpr std::size_t kFewOuter = 64;
    // The margins of the sectors are shares of squares, which underflow makes too small.
    constexpr double kLeastSquare = 1e-280;

    const Box box(points);
    const double most = box.squaredDiagonal();
    if (most == 0.0) return 0.0;
    if (most == kInfinity) return largestAmongFinite(points);

    const rxVector<2> center = box.center();
    const Farthest outermost = farthestFrom(center, points);
    const double known = longWayAcross(points, outermost.index);
    const std::vector<rxVector<2>> outer = outerPoints(points, center, outermost.squared, known);
    if (outer.size() <= kFewOuter || most < kLeastSquare) return largestOfPairs(outer, known);
    return Sectors(outer, center).largestFarthest(known);
}

}  // namespace ptmatch::detail
