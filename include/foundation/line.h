#pragma once

#include "foundation/export.h"
#include "foundation/vector.h"

/// An infinite straight line in the plane.
class PTMATCH_EXPORT rxLine {
  public:
    /// The x axis.
    rxLine() = default;
    /// The line through point along direction, whose length does not matter.
    /// A null direction gives no line: the distance is then the one to the point.
    rxLine(const rxVector<2>& direction, const rxVector<2>& point);

    /// The perpendicular distance from p to the line, never negative; not finite when a
    /// coordinate of p or of the line is not finite.
    double distToPoint(const rxVector<2>& p) const;

  private:
    rxVector<2> direction_{1.0, 0.0};  // of length 1, or null
    rxVector<2> point_;
};
