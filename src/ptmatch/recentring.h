#pragma once

#include "ptmatch/label_image.h"
#include "ptmatch/lattice_vote.h"

class rx_PointMatcherModel;

namespace ptmatch::detail {

/// Second vote. The lattice rarely holds the true scale and rotation, so each coarse candidate,
/// best first, is fitted to the data points under its model pixels, and the translations are voted
/// on again at the fitted scale and rotation, where the peak is found as sharp as it is.
/// A scale and rotation next to one that was voted on already is not voted on again.
///
/// Polls rxAttention::check() once per coarse candidate.
/// @param blocks        labels of the 3 x 3 blocks around the data points.
/// @param minimumScore  smallest vote to keep while `revoted` is not full.
void recentre(const SearchGrid& grid, const rx_PointMatcherModel& model, const LabelImage& blocks,
              long minimumScore, const OfferPeaks& offerPeaks, CoarseStore& coarse,
              CoarseStore& revoted);

}  // namespace ptmatch::detail
