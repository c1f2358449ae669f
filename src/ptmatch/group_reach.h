#pragma once

#include <cstddef>
#include <vector>

#include "ptmatch/pose_group.h"

namespace ptmatch::detail {

/// How far, in whole pixels along either axis, the pixels of the model points at a lattice point of
/// a group lie from those at its middle. Points of similar reach share a layer of marks.
struct GroupReach {
    std::vector<long> ofLayer;         ///< pixels, ascending; of its farthest points
    std::vector<std::size_t> layerOf;  ///< one per model point

    /// @param radius  distance of each model point from the model's centre, as parts of the
    /// largest.
    GroupReach(const GroupSize& size, const std::vector<double>& radius);
};

}  // namespace ptmatch::detail
