#pragma once

#include "foundation/line.h"
#include "foundation/vector.h"

namespace ptmatch::detail {

/// Tells, point by point, whether grid positions lie on one line, so that a fit to them has to do
/// with a similarity.
///
/// The line goes through the first position and the first later one that differs from it. A
/// position at `kOffLine` or more from that line ends the collinearity for good: on whole steps of
/// a grid, nothing nearer can be a position of another row.
class Collinearity {
  public:
    static constexpr double kOffLine = 0.25;

    void add(const rxVector<2>& position);

    /// True as well for no position, one, or one repeated.
    bool holds() const { return holds_; }

  private:
    enum class Known { kNothing, kPoint, kLine };

    Known known_ = Known::kNothing;
    bool holds_ = true;
    rxVector<2> first_;
    rxLine line_;
};

}  // namespace ptmatch::detail
