#pragma once

#include <span>
#include <string>
#include <vector>

#include "pair_table.h"

namespace ptmatch::tool {

/// How far points reach about their mean.
struct PointSpread {
    Coordinates mean{};
    /// Largest distance from the mean.
    double reach = 0.0;
    /// Root mean square of the distances from the mean along their principal axes, the largest
    /// first, one for each dimension. Those below some 1e-8 of the largest are rounding.
    std::vector<double> alongAxes;

    /// Root mean square distance from the mean.
    double rms() const;
    /// How wide the points lie across a plane, or in the plane across a line, as share of their
    /// length: 0 to 1. Of points in one place: 0.
    double flatness() const;
    /// The same across a line, also in space.
    double thinness() const;
};

/// @param points  at least one, with finite coordinates within 1e150
PointSpread spreadOf(std::span<const Coordinates> points, std::size_t dimensions);

/// "lie in one place", "lie on one line" or "lie in one plane" when the points fill their space to
/// no more than `largestShare` of their length; otherwise empty. Puts `word` before "on" or "in".
std::string degeneracyOf(const PointSpread& spread, double largestShare,
                         const std::string& word = "");

}  // namespace ptmatch::tool
