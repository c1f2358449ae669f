#pragma once

#include <algorithm>
#include <limits>

#include "foundation/range.h"
#include "foundation/vector.h"

namespace ptmatch::detail {

/// The squared length, x^2 + y^2, each operation rounded.
inline double squaredLength(const rxVector<2>& v) {
    return v.x() * v.x() + v.y() * v.y();
}

/// An upright box around points; a new one is empty.
struct PointBox {
    double minX = std::numeric_limits<double>::infinity();
    double minY = std::numeric_limits<double>::infinity();
    double maxX = -std::numeric_limits<double>::infinity();
    double maxY = -std::numeric_limits<double>::infinity();

    void add(const rxVector<2>& p) {
        minX = std::min(minX, p.x());
        minY = std::min(minY, p.y());
        maxX = std::max(maxX, p.x());
        maxY = std::max(maxY, p.y());
    }
};

/// The squared distances at which a point counts as a neighbour: those of a step along x and of a
/// step along y, each stretched by the size tolerance; all bounds included.
class DistanceBands {
  public:
    /// @param sizeTol  not empty. A full range, or one from minus infinity, begins at distance 0;
    ///     one whose start lies above its end holds nothing.
    DistanceBands(double xLength, double yLength, const rxRange& sizeTol)
        : x_(bandOf(xLength, sizeTol)), y_(bandOf(yLength, sizeTol)) {}

    bool holds(double squaredDistance) const {
        return (x_.low <= squaredDistance && squaredDistance <= x_.high) ||
               (y_.low <= squaredDistance && squaredDistance <= y_.high);
    }

    /// Whether a point of the box may be a neighbour of `from`. Never false when one is: the bounds
    /// are computed as a distance is, operation by operation, and each rounded operation is
    /// monotonic, so that the computed distance of no point lies outside them.
    bool mayHold(const rxVector<2>& from, const PointBox& box) const {
        const Band x = squaredSpan(box.minX - from.x(), box.maxX - from.x());
        const Band y = squaredSpan(box.minY - from.y(), box.maxY - from.y());
        const Band reach{x.low + y.low, x.high + y.high};
        return meet(reach, x_) || meet(reach, y_);
    }

  private:
    struct Band {
        double low;
        double high;
    };

    static Band bandOf(double length, const rxRange& sizeTol) {
        constexpr double kInfinity = std::numeric_limits<double>::infinity();
        if (sizeTol.start() > sizeTol.end()) return {kInfinity, -kInfinity};
        const double low = sizeTol.start() == -kInfinity ? 0.0 : length * sizeTol.start();
        const double high = length * sizeTol.end();
        return {low * low, high * high};
    }

    /// Least and greatest square of the numbers from low to high.
    static Band squaredSpan(double low, double high) {
        const double a = low * low;
        const double b = high * high;
        const bool holdsZero = low <= 0.0 && high >= 0.0;
        return {holdsZero ? 0.0 : std::min(a, b), std::max(a, b)};
    }

    static bool meet(const Band& a, const Band& b) { return a.low <= b.high && b.low <= a.high; }

    Band x_;
    Band y_;
};

}  // namespace ptmatch::detail
