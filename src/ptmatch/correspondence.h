#pragma once

#include <span>

#include "foundation/vector.h"
#include "ptmatch/label_image.h"
#include "ptmatch/pose_score_store.h"
#include "ptmatch/translation_search.h"

class rx_PointMatcherModel;

namespace ptmatch::detail {

/// Turns the candidates of the second vote, best first, into fitted poses with a model-to-data map,
/// and offers them to the caller's store: pairs model points with data points within the capture
/// range, refits, gives model points that are still alone the nearest free data point within that
/// range, drops a candidate whose map is in the store already.
///
/// Polls rxAttention::check() once per candidate.
/// @param data          the caller's data points (not seen from the start pose).
/// @param captureRange  data units; a pair must be closer than this.
/// @param blocks, points  labels of the data points' blocks and of their single pixels.
/// Cost per candidate O(model x (data + candidates in the store)) at most.
void findCorrespondences(std::span<const rxVector<2>> data, const SearchGrid& grid,
                         const rx_PointMatcherModel& model, double captureRange,
                         const LabelImage& blocks, const LabelImage& points, CoarseStore& revoted,
                         rx_PoseScoreStore& store);

}  // namespace ptmatch::detail
