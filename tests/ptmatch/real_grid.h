#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "foundation/vector.h"

namespace ptmatch::testing {

/// The centres that a detector found on a photograph of a plate, and what each of them is.
struct RealGrid {
    std::vector<rxVector<2>> points;
    /// The true position of each point; nothing where it is none of the plate's nodes.
    std::vector<std::optional<rxPair<long>>> positions;
    /// Points one step beyond the plate's nodes that stand where the lattice goes on (the outer
    /// corners of a checkerboard). To place them is right, to leave them out is, too.
    std::vector<std::optional<rxPair<long>>> outerRing;
    bool staggered = false;
    rxVector<2> xv;  ///< steps of the best affine map
    rxVector<2> yv;
    double affineMaxPx = 0.0;  ///< what that map leaves at the worst node

    std::size_t numNodes() const;
};

/// Reads `truth.json` of a directory and the table that it describes, `blobs.csv` or, on a
/// checkerboard, `features.csv`.
/// @throws std::runtime_error  something is missing or malformed.
RealGrid readGrid(const std::string& directory);

/// How positions agree with the truth, after the one shift that serves most of them: where the
/// origin of a mapping lies is up to the mapping.
struct GridAgreement {
    long right = 0;    ///< nodes placed as in the truth
    long wrong = 0;    ///< nodes placed elsewhere
    long missed = 0;   ///< nodes not placed
    long clutter = 0;  ///< points placed that are no nodes, points of the outer ring left out
    long outer = 0;    ///< points of the outer ring placed as the lattice goes on

    bool operator==(const GridAgreement&) const = default;
};

/// @param map  the positions as `rfPtToGridMap` gives them, one per point.
GridAgreement compare(const RealGrid& grid, const std::vector<rxPair<long>>& map);

}  // namespace ptmatch::testing
