#pragma once

#include "foundation/image.h"

namespace ptmatch::detail {

/// True when no neighbour of the vote at (x, y) is above it. Ties are broken towards the first in
/// raster order of a plateau's row: strictly greater than the neighbours to the left (three) and
/// above, not less than those to the right (three) and below. Neighbours outside are not compared.
template <class Vote>
bool isLocalMaximum(const rxPelBuffer<Vote>& votes, long x, long y) {
    const Vote* row = votes.pointToRow(y);
    const Vote value = row[x];
    const bool hasLeft = x > 0;
    const bool hasRight = x + 1 < votes.width();
    if (hasLeft && row[x - 1] >= value) return false;
    if (hasRight && row[x + 1] > value) return false;
    if (y > 0) {
        const Vote* above = votes.pointToRow(y - 1);
        if (above[x] >= value) return false;
        if (hasLeft && above[x - 1] >= value) return false;
        if (hasRight && above[x + 1] > value) return false;
    }
    if (y + 1 < votes.height()) {
        const Vote* below = votes.pointToRow(y + 1);
        if (below[x] > value) return false;
        if (hasLeft && below[x - 1] >= value) return false;
        if (hasRight && below[x + 1] > value) return false;
    }
    return true;
}

/// Which votes at or above the threshold count as candidates.
enum class PeakRule { LocalMaxima, EveryVote };

/// Calls offer(x, y, vote) for the candidates of a vote image, in raster order.
template <class Vote, class Offer>
void forEachPeak(const rxPelBuffer<Vote>& votes, long threshold, PeakRule rule, Offer&& offer) {
    for (long y = 0; y < votes.height(); ++y) {
        const Vote* row = votes.pointToRow(y);
        for (long x = 0; x < votes.width(); ++x) {
            if (row[x] < threshold) continue;
            if (rule == PeakRule::EveryVote || isLocalMaximum(votes, x, y)) offer(x, y, row[x]);
        }
    }
}

}  // namespace ptmatch::detail
