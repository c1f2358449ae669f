#pragma once

#include "foundation/vector.h"

// The little arithmetic of vectors that the grid commands need beyond sums.
namespace ptmatch::tool {

inline rxVector<2> scaled(const rxVector<2>& v, double factor) {
    return {factor * v.x(), factor * v.y()};
}
inline double dot(const rxVector<2>& a, const rxVector<2>& b) {
    return a.x() * b.x() + a.y() * b.y();
}
/// Positive when the shorter turn from `a` to `b` goes from the x axis towards the y axis.
inline double cross(const rxVector<2>& a, const rxVector<2>& b) {
    return a.x() * b.y() - a.y() * b.x();
}

}  // namespace ptmatch::tool
