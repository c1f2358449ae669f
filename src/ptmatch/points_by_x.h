#pragma once

#include <span>
#include <vector>

#include "foundation/vector.h"

namespace ptmatch::detail {

/// Points in the order of their x, to look for those near a place.
class PointsByX {
  public:
    explicit PointsByX(std::span<const rxVector<2>> points);

    /// Calls visit(index) for all points whose computed squared distance to a place,
    /// dx * dx + dy * dy, is below range * range, and some others; in order of x.
    template <class Visit>
    void forEachNear(const rxVector<2>& place, double range, Visit&& visit) const {
        const double last = above_(place.x(), range);
        for (std::size_t i = firstNotBelow_(place.x(), range);
             i < entries_.size() && entries_[i].x <= last; ++i) {
            visit(entries_[i].index);
        }
    }

  private:
    struct Entry {
        double x;
        long index;
    };

    static double above_(double x, double range);
    std::size_t firstNotBelow_(double x, double range) const;

    std::vector<Entry> entries_;
};

}  // namespace ptmatch::detail
