#pragma once

#include <cstddef>

#include "ptmatch/vote_weights.h"

namespace ptmatch::detail {

/// What a plan of the vote goes by: how probable it is that a bound reaches the threshold, as if
/// every point met a mark by chance, and how many points will have been counted until blocks of
/// translations are done. Work is counted, never timed.
class VoteEstimates {
  public:
    /// @param density  part of the pixels that are marked.
    VoteEstimates(double density, std::size_t numPoints, const VoteWeights& weights);

    /// Probability that a window of so many pixels meets a mark.
    double densitySeen(double columns, double rows) const;

    /// Probability that points which meet a mark with this probability reach the threshold; never
    /// 0, so that a correction can make anything of it.
    double survival(double density, long threshold) const;

    /// Cost of counting blocks for one lattice point, in points counted for a block.
    double sweep(double density, double blocks, double strips, long threshold) const;

    /// Points (once for each binary digit of their weights) to be counted for a block at most.
    double viewsPerBlock() const { return viewsPerBlock_; }

  private:
    double viewsCounted_(double density, long threshold) const;

    double logOfFree_;  // ln of the probability that a pixel is not marked
    double viewsPerBlock_ = 0.0;
    double numPoints_ = 0.0;    // of equal weight that vary as much as the model's
    double pointWeight_ = 1.0;  // of one of them
};

}  // namespace ptmatch::detail
