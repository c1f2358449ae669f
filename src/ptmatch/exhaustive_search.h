#pragma once

#include <span>
#include <vector>

#include "foundation/vector.h"
#include "ptmatch/ranked_pose.h"

class rx_PointMatcherModel;
class rxPointMatcherRunParams;

namespace ptmatch::detail {

/// Tries every one-to-one assignment between the smaller and the larger of the two point sets: fits
/// a pose to each, keeps poses within the uncertainties around the start pose, and scores them by
/// the model points that they bring within the capture range of a data point of their own.
/// @return at most params.maxNumResults() poses, best first; complete ties in the order of the
///         assignments, of which the partner of the first point of the smaller set changes fastest.
///         No minimum coverage is asked for.
/// Cost: about (larger set + 1) to the power of the smaller set; does not poll for interruption.
/// Memory: linear in the sets, and at most 64 MiB for what their pairs add to a fit.
std::vector<RankedPose> searchExhaustively(std::span<const rxVector<2>> data,
                                           const rx_PointMatcherModel& model,
                                           const rxPointMatcherRunParams& params);

}  // namespace ptmatch::detail
