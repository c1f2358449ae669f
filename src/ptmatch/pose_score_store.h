#pragma once

#include <vector>

#include "foundation/xform.h"
#include "ptmatch/score_buckets.h"

namespace ptmatch::detail {

/// A fitted pose on its way from the search to the results.
struct PoseCandidate {
    long score = 0;           ///< matched weight, or matched points without weights
    rxXform<2> modelToData;   ///< model to the data points as the caller gave them
    rxXform<2> modelToImage;  ///< model to the pixels of the search image
    std::vector<long> map;    ///< data index of each model point, -1 where unmatched
};

/// Where a search leaves its candidates and a run takes them from, best first.
using rx_PoseScoreStore = ScoreBuckets<PoseCandidate>;

}  // namespace ptmatch::detail
