#include "ptmatch/points_by_x.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ptmatch::detail {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
// Covers the rounding of a computed distance, and is far above it.
constexpr double kMargin = 1.0 + 1e-12;

}  // namespace

PointsByX::PointsByX(std::span<const rxVector<2>> points) {
    entries_.reserve(points.size());
    for (const rxVector<2>& p : points) {
        entries_.push_back({p.x(), static_cast<long>(entries_.size())});
    }
    std::sort(entries_.begin(), entries_.end(),
              [](const Entry& a, const Entry& b) { return a.x < b.x; });
}

// One double farther, because the sum itself is rounded.
double PointsByX::above_(double x, double range) {
    return std::nextafter(x + range * kMargin, kInfinity);
}

std::size_t PointsByX::firstNotBelow_(double x, double range) const {
    const double first = std::nextafter(x - range * kMargin, -kInfinity);
    const auto found = std::lower_bound(entries_.begin(), entries_.end(), first,
                                        [](const Entry& e, double bound) { return e.x < bound; });
    return static_cast<std::size_t>(found - entries_.begin());
}

}  // namespace ptmatch::detail
