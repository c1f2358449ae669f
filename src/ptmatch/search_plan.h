#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "foundation/image.h"
#include "foundation/vector.h"
#include "ptmatch/point_matcher_run_params.h"
#include "ptmatch/resolved_sizes.h"

class rx_PointMatcherModel;
class rxPointMatcher;

namespace ptmatch::detail {

/// What a run by votes would look through, found as the run finds it.
struct SearchPlan {
    const rx_PointMatcherModel* model = nullptr;  ///< never null
    rxPointMatcherRunParams params;               ///< those of the search for points
    ResolvedSizes sizes{};
    /// False when the run would return without a search: too few data for the coverage, no data,
    /// no grid size, translations without data, or weights that leave nothing to vote with.
    bool isSearched = false;
    rxPelRect window;  ///< as `translationWindow`; only of a plan that is searched
    double imageBytes = 0.0;
};

/// The plan of a run, or nothing for one that does not vote: exhaustive, or in the grid mode of a
/// dense pattern.
/// @throws as the run, for its arguments.
std::optional<SearchPlan> planSearch(const rxPointMatcher& matcher,
                                     const std::vector<rxVector<2>>& data,
                                     const rxPointMatcherRunParams& params);

/// How many scales, and pairs of scale and rotation, a plan goes through.
struct LatticeSize {
    std::int64_t numScales = 0;
    std::int64_t numPoints = 0;
};

/// Counted as the search counts, by adding up steps: an addition for each.
LatticeSize latticeSize(const SearchPlan& plan);

}  // namespace ptmatch::detail
