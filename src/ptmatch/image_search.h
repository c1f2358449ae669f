#pragma once

#include <span>

#include "foundation/vector.h"
#include "ptmatch/pose_score_store.h"

class rx_PointMatcherModel;
class rxPointMatcherRunParams;

namespace ptmatch::detail {

/// The pose search behind a run: every scale and rotation of a lattice around the start pose, and
/// for each of them every translation of a window at once, by voting in images; then the refinement
/// of the best into fitted poses with a correspondence.
///
/// Polls rxAttention::check() once per (scale, rotation) pair, once per coarse
/// candidate and once per candidate of the second vote.
/// @param params  as handed over by the run: half its minimum coverage, a multiple of its number of
///                results.
/// @param store   receives the fitted candidates; built with the model's total weight and
///                params.maxNumResults().
/// @throws rxPointMatcherDefs::BadParams  a grid size too small for the data or for the
///         uncertainties; the environment variable PTMATCH_KERNEL names no vote kernel of this
///         machine.
/// Cost O(lattice points x model points x window).
void searchByImage_(std::span<const rxVector<2>> data, const rx_PointMatcherModel& model,
                    const rxPointMatcherRunParams& params, rx_PoseScoreStore& store);

}  // namespace ptmatch::detail
