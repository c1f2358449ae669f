#pragma once

#include <cstddef>

#include "ptmatch/point_matcher_run_params.h"

class rx_PointMatcherModel;

namespace ptmatch::detail {

/// False when even a match of all the data could not reach the minimum coverage. A weighted model
/// with fewer points than data is always worth a search.
bool canReachCoverage(std::size_t numData, const rx_PointMatcherModel& model, double minCoverage);

/// What a run hands to its search: half the minimum coverage, a multiple of the number of results.
rxPointMatcherRunParams searchParams(const rxPointMatcherRunParams& params, std::size_t numModel,
                                     std::size_t numData);

/// What a run in grid mode hands to the nested matcher of a sparse pattern: the start pose turns to
/// the middle of the allowed rotations, and the pattern may lie anywhere.
rxPointMatcherRunParams nestedParams(const rxPointMatcherRunParams& params);

}  // namespace ptmatch::detail
