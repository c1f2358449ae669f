#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "ptmatch/tile_extent.h"

namespace ptmatch::detail {

/// Neighbouring lattice points, all those within these scales and rotations, ends included, whose
/// votes are bounded together.
struct PoseGroup {
    double lowScale;
    double highScale;
    double lowDegrees;
    double highDegrees;

    double scale() const { return lowScale + (highScale - lowScale) / 2.0; }
    double degrees() const { return lowDegrees + (highDegrees - lowDegrees) / 2.0; }
};

/// How many lattice points a group has along each axis.
struct GroupSize {
    int numScales;
    int numRotations;

    constexpr int count() const { return numScales * numRotations; }

    /// How many pixels a point at the edge of the model (at modelRadius_ from the centre) moves at
    /// most between the middle of such a group and any of its lattice points. Steps of the lattice
    /// move it by 1.5 pixels outwards and by a little less than 2 pixels around the centre.
    double displacement() const {
        constexpr double kPixelsOfScaleStep = 1.5;
        constexpr double kPixelsOfRotationStep = 2.0;
        const double outwards = kPixelsOfScaleStep * (numScales - 1) / 2.0;
        const double around = kPixelsOfRotationStep * rotationSteps() / 2.0;
        return std::sqrt(outwards * outwards + around * around);
    }

    /// Steps from the lowest to the highest rotation. Rotations of several scales do not stand one
    /// above the other, so groups of several scales begin where the one before ends.
    double rotationSteps() const { return numScales == 1 ? numRotations - 1 : numRotations; }
};

/// The sizes that a search may choose from: squarish in pixels, so that lattice points lie near the
/// middle.
inline constexpr std::array<GroupSize, 12> kGroupSizes{{
    {1, 2},
    {1, 3},
    {1, 5},
    {1, 9},
    {2, 2},
    {3, 2},
    {3, 3},
    {4, 3},
    {5, 4},
    {7, 5},
    {9, 7},
    {13, 10},
}};

static_assert(std::is_sorted(kGroupSizes.begin(), kGroupSizes.end(),
                             [](const GroupSize& a, const GroupSize& b) {
                                 return a.numScales < b.numScales;
                             }));

/// The tiles of translations that are bounded for a group: indices into kTileShapes.
inline constexpr std::array<std::size_t, 5> kGroupTiles{0, 2, 3, 4, 5};

struct GroupShape {
    GroupSize size;
    std::size_t tile;  ///< an index into kTileShapes
};

/// Every size with every tile; those of one size follow one another.
inline constexpr std::size_t kNumGroupShapes = kGroupSizes.size() * kGroupTiles.size();
inline constexpr std::array<GroupShape, kNumGroupShapes> kGroupShapes = [] {
    std::array<GroupShape, kNumGroupShapes> shapes{};
    for (std::size_t i = 0; i < shapes.size(); ++i) {
        shapes[i] = {kGroupSizes[i / kGroupTiles.size()], kGroupTiles[i % kGroupTiles.size()]};
    }
    return shapes;
}();

}  // namespace ptmatch::detail
