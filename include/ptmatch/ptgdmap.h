#pragma once

#include <vector>

#include "foundation/archive.h"
#include "foundation/export.h"
#include "foundation/range.h"
#include "foundation/vector.h"
#include "foundation/xform.h"
#include "ptmatch/point_matcher_defs.h"

/// What is known of a regular grid before points are mapped onto it with `rfPtToGridMap`.
///
///     rxPtToGridMapRunParams params(rxVector<2>(25, 0), rxVector<2>(0, 25));   // dots 25 px apart
///     params.sizeTol(rxRange(0.8, 1.2));
///     params.angleTol(rxAngleRange(rxDegree(-20), rxDegree(20)));
///
/// A plain value. The setters store everything as it is given and check nothing; what a value means
/// is decided by the mapping. Lengths are in the units of the points.
class PTMATCH_EXPORT rxPtToGridMapRunParams {
  public:
    /// As its arguments say; what is left out is not known, or takes its default in the mapping.
    explicit rxPtToGridMapRunParams(const rxVector<2>& xv = rxVector<2>(),
                                    const rxVector<2>& yv = rxVector<2>(), bool staggered = false,
                                    double snapSize = 0.0, const rxRange& sizeTol = rxRange(),
                                    const rxAngleRange& angleTol = rxAngleRange())
        : xv_(xv),
          yv_(yv),
          staggered_(staggered),
          snapSize_(snapSize),
          sizeTol_(sizeTol),
          angleTol_(angleTol) {}

    /// The step from grid position (i, j) to (i + 1, j). The null vector: not known, only `yv` is
    /// used, and the points lie in one column.
    const rxVector<2>& xv() const { return xv_; }
    /// Sets the step from (i, j) to (i + 1, j).
    void xv(const rxVector<2>& step) { xv_ = step; }

    /// The step from grid position (i, j) to (i, j + 1). The null vector: not known.
    const rxVector<2>& yv() const { return yv_; }
    /// Sets the step from (i, j) to (i, j + 1).
    void yv(const rxVector<2>& step) { yv_ = step; }

    /// Whether only the positions with an even i + j carry a point, as on a checkerboard. Needs
    /// both steps.
    bool staggered() const { return staggered_; }
    /// Sets whether only positions with an even i + j carry a point.
    void staggered(bool value) { staggered_ = value; }

    /// Largest distance between a point and its node. 0 or less: 0.2 times the shorter step (of a
    /// staggered grid, the shorter diagonal step).
    double snapSize() const { return snapSize_; }
    /// Sets the largest distance between a point and its node; 0 or less: automatic.
    void snapSize(double value) { snapSize_ = value; }

    /// Allowed ratio between the distance of two neighbours and the step. Empty: 0.8 to 1.2. A full
    /// range accepts every distance.
    const rxRange& sizeTol() const { return sizeTol_; }
    /// Sets the allowed ratio of distances to the step; empty: 0.8 to 1.2.
    void sizeTol(const rxRange& range) { sizeTol_ = range; }

    /// Allowed rotations of the grid against the directions of the steps. Empty: -20 to +20
    /// degrees. A full range: -180 to +180 degrees.
    const rxAngleRange& angleTol() const { return angleTol_; }
    /// Sets the allowed rotations; empty: -20 to +20 degrees.
    void angleTol(const rxAngleRange& range) { angleTol_ = range; }

    /// Stores or loads the parameters.
    /// @throws rxArchive::UnknownVersion: another version than 1100.
    /// @throws rxArchive::Errors for a record that cannot be read; the object keeps its values.
    friend PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxPtToGridMapRunParams& params);

  private:
    rxVector<2> xv_;
    rxVector<2> yv_;
    bool staggered_;
    double snapSize_;
    rxRange sizeTol_;
    rxAngleRange angleTol_;
};

namespace ptmatch::detail {
class GridMapping;
}

/// What `rfPtToGridMap` found. A plain value that only the mapping fills in.
class PTMATCH_EXPORT rxPtToGridMapResult {
  public:
    /// Either member of the position of a point that was not assigned.
    static constexpr long kUnassigned = 2147483647;

    /// Not valid, the identity, an empty map, time 0.
    rxPtToGridMapResult() = default;

    rxPtToGridMapResult(const rxPtToGridMapResult&) = default;
    rxPtToGridMapResult(rxPtToGridMapResult&&) noexcept = default;
    /// When memory runs out, the result is what it was.
    rxPtToGridMapResult& operator=(const rxPtToGridMapResult& other);
    rxPtToGridMapResult& operator=(rxPtToGridMapResult&&) noexcept = default;
    ~rxPtToGridMapResult() = default;

    /// Whether at least 3 points were assigned. Only then was `grid2point` fitted.
    bool valid() const { return valid_; }

    /// Seconds that the mapping took.
    double time() const { return time_; }

    /// The least-squares transform from grid positions (i, j) to points.
    const rxXform<2>& grid2point() const { return grid2point_; }

    /// For each point, in the order of the input, its grid position (i, j), or
    /// (`kUnassigned`, `kUnassigned`). Two points within the snap distance of one node both have
    /// its position.
    const std::vector<rxPair<long>>& map() const { return map_; }

    /// Stores or loads a result.
    /// @throws rxArchive::UnknownVersion: another version than 1100.
    /// @throws rxArchive::Errors for a record that cannot be read; the object keeps its values.
    friend PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxPtToGridMapResult& result);

  private:
    friend class ptmatch::detail::GridMapping;

    bool valid_ = false;
    double time_ = 0.0;
    rxXform<2> grid2point_;
    std::vector<rxPair<long>> map_;
};

PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxPtToGridMapRunParams& params);
PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxPtToGridMapResult& result);

/// Assigns points that lie on a regular grid, with noise, gaps and clutter, to the nodes of it.
///
///     std::vector<rxVector<2>> dots = ...;                        // centres, in any order
///     rxPtToGridMapResult result;
///     if (rfPtToGridMap(dots, params, result) >= 3)
///         for (std::size_t k = 0; k < dots.size(); ++k) use(dots[k], result.map()[k]);
///
/// The rotation of the grid is taken from the directions between neighbours, a well-connected point
/// becomes position (0, 0), and from there the assignment grows ring by ring while one affine
/// transform is refined. Which node becomes (0, 0) is up to the points: positions are known up to a
/// shift (of a staggered grid, one with an even sum), and where the tolerances allow more than one
/// rotation, up to that.
///
/// @param points  the centres, in any units and order, also twice the same.
/// @param params  at least one step; with both, steps that are not parallel.
/// @param result  what was found. `valid` and `time` are set unless the arguments are refused; the
///     map when a seed was found; `grid2point` when `valid`. What is not set is left as it was.
/// @return the number of points that received a position; 0 as well when both steps are null, when
///     they are parallel, or when a staggered grid lacks a step. 1 and 2 do not make a valid
///     result, although the map holds them.
/// @throws rxPointMatcherDefs::BadParams before any work: a coordinate of a point or a step, or the
///     snap size, is not finite; a bound of a tolerance is not a number, or one of `angleTol` is
///     beyond a million degrees; a step, or a diagonal of a staggered grid, is not null and its
///     length not within 1e-150 to 1e150.
/// @throws rxLSPointToPointFitter::Errors, rxMathError: all points that were assigned have one and
///     the same position, or the points are so far out that no transform can be fitted to them;
///     std::bad_alloc. The result is then not valid and has the time; its map and its transform are
///     what they were.
///
/// Limits, all deliberate:
/// - One affine map has to place every node to within the snap distance: of a plate seen very
///   obliquely, or through a strong lens, only a part is placed.
/// - Only neighbours in the positive directions of the steps lead on to the seed. When both steps
///   point to smaller coordinates, nothing may be found: turn them round and negate the positions.
/// - A rotation at the very ends of `angleTol` is not found: of the whole degrees that are tried,
///   the first and (unless there are but three) the last two are never chosen. A range of fewer
///   than three whole degrees is widened by one on either side until it has them.
/// - A node farther than 2^30 - 1 steps from (0, 0) is not assigned.
/// - Points more than 2^31 steps beyond the smallest coordinates are not told apart well enough to
///   be mapped: one stray point so far to the lower side leaves a whole grid without positions.
///
/// Cost and memory are linear in the number of points on a grid, at most 400 bytes each. Neither
/// points in one place, nor steps of very different length, nor far-flung points make it quadratic.
/// Nothing is kept between calls; calls that fill different results may run at once.
PTMATCH_EXPORT long rfPtToGridMap(const std::vector<rxVector<2>>& points,
                                  const rxPtToGridMapRunParams& params,
                                  rxPtToGridMapResult& result);
