#include "foundation/line.h"

#include <algorithm>
#include <cmath>

namespace {

rxVector<2> unitVector(const rxVector<2>& v) {
    if (v.isNull()) return v;
    // Divided by its larger coordinate first, a vector of any finite length keeps its direction.
    const double largest = std::max(std::abs(v.x()), std::abs(v.y()));
    const rxVector<2> scaled(v.x() / largest, v.y() / largest);
    return rxVector<2>(scaled.x() / scaled.len(), scaled.y() / scaled.len());
}

}  // namespace

rxLine::rxLine(const rxVector<2>& direction, const rxVector<2>& point)
    : direction_(unitVector(direction)), point_(point) {}

double rxLine::distToPoint(const rxVector<2>& p) const {
    const rxVector<2> fromPoint = p - point_;
    if (direction_.isNull()) return fromPoint.len();
    return std::abs(direction_.x() * fromPoint.y() - direction_.y() * fromPoint.x());
}
