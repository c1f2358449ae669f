#pragma once

#include <functional>

#include "ptmatch/translation_search.h"

class rx_PointMatcherModel;
class rxPointMatcherRunParams;

namespace ptmatch::detail {

/// Votes at a scale and a rotation (degrees), and offers the peaks at or above a threshold to a
/// store; what TranslationSearch::offerPeaks does.
using OfferPeaks =
    std::function<void(double scale, double rotationDegrees, long threshold, CoarseStore& store)>;

/// First vote: all translations at every scale and rotation of the lattice, in that nesting.
/// Polls rxAttention::check() once per (scale, rotation) pair.
/// @param minimumScore  smallest vote to keep while the store is not full.
void voteOverLattice(const rx_PointMatcherModel& model, const rxPointMatcherRunParams& params,
                     double gridSize, long minimumScore, const OfferPeaks& offerPeaks,
                     CoarseStore& coarse);

}  // namespace ptmatch::detail
