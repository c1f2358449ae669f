#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "foundation/vector.h"
#include "foundation/xform.h"
#include "ptmatch/fit_residual.h"
#include "ptmatch/perspective_tm.h"

namespace picture_to_pose {

/// What is known of a plate of dots.
struct PlateOptions {
    /// Distance of neighbouring dots in the picture, pixels, to within `tolerance`. 0: one of the
    /// distances that most blobs have from their nearest neighbour, that of the largest plate.
    double spacing = 0.0;
    double tolerance = 0.3;
    /// Every other position is empty, as the squares of one colour of a chessboard.
    bool staggered = false;
    /// Distance of rows over distance of columns.
    double rowRatio = 1.0;
    /// A blob belongs to a position when it is nearer to it than this share of a step.
    double snap = 0.25;
    /// The positions that carry a dot, 10 at least; empty: any plate. With a pattern that is not
    /// the same after a turn, columns and rows are those of the pattern, whichever way it lies.
    std::vector<rxPair<long>> pattern;
    double minCoverage = 0.6;  ///< of the pattern
};

/// A blob of the picture.
struct Blob {
    rxVector<2> centre;
    double radius = 0.0;
};

/// A blob with its position on the plate.
struct PlacedDot {
    std::size_t blob = 0;
    rxPair<long> position;  ///< column and row
    rxVector<2> centre;     ///< of the disc, not of the ellipse that is seen
    double residual = 0.0;  ///< of the centre, from where the perspective transform has it, pixels
};

struct Plate {
    std::vector<PlacedDot> dots;        ///< by rows, then columns
    std::vector<rxPair<long>> missing;  ///< positions of the pattern without a blob
    double spacing = 0.0;
    /// From (column, row) to the picture, and what each leaves over at the dots.
    rxXform<2> affine;
    rxFitResidual affineResidual;
    rx2PTm perspective;
    rxFitResidual perspectiveResidual;
};

/// The distances that most points have from their nearest neighbours, the commonest first, three at
/// most: dots of a plate have one, small print may have another.
std::vector<double> commonSpacings(const std::vector<rxVector<2>>& points);

/// Places the dots of a plate among blobs. The way:
/// 1. `rfPtToGridMap` places what one affine transform reaches.
/// 2. From there, a perspective transform is fitted and takes in neighbours until none is left.
/// 3. With a pattern, the dots are taken back to the plane of the plate, and `rxPointMatcher` in
///    grid mode tells where in the pattern they lie, in each of the ways that the plate may lie.
/// 4. The centres are put right: a disc seen from the side is an ellipse, and the centre of that is
///    not where the centre of the disc is seen.
/// @return nothing when no grid of 10 dots or more is found, or the pattern is not.
/// @throws rxPointMatcherDefs::Errors  the options make no sense.
std::optional<Plate> findPlate(const std::vector<Blob>& blobs, const PlateOptions& options);

}  // namespace picture_to_pose
