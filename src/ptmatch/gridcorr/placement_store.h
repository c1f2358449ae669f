#pragma once

#include <memory>
#include <vector>

#include "foundation/vector.h"
#include "ptmatch/score_hashing.h"

namespace ptmatch::detail {

/// A translation of the pattern and the number of its probes that agree.
struct Placement {
    long score = 0;
    rxPair<long> translation;
};

/// Keeps the best placements of a stream.
///
/// For a single one it is the first of the best. For more they are those of `rxScoreHashing`, in
/// its order; but memory follows what is offered, so that room for 1e9 costs nothing by itself.
class PlacementStore {
  public:
    /// @param maxScore    at least 1.
    /// @param maxResults  at least 1.
    PlacementStore(long maxScore, long maxResults) : maxScore_(maxScore), maxResults_(maxResults) {}

    /// @param placement  of a score from 1 to maxScore.
    void offer(const Placement& placement);

    /// Drops those of a run of placements, offered row by row and each from the left, that cannot
    /// be kept whatever comes before and after: a store of n keeps the n best of all, the earlier
    /// of equal scores. Does nothing while the run is short, so that it may be asked often.
    void thinOut(std::vector<Placement>& run) const;

    /// What was kept, best first. The store is not to be offered anything more.
    std::vector<Placement> ranked();

  private:
    void pourIntoHashing(long capacity);

    long maxScore_;
    long maxResults_;
    std::vector<Placement> early_;  // in order, while there is room for every one
    std::unique_ptr<rxScoreHashing> hashing_;
};

}  // namespace ptmatch::detail
