#pragma once

#include <algorithm>
#include <cmath>

#include "ptmatch/chance.h"

namespace ptmatch::detail {

/// How many tiles of a kind survived, against the estimate by chance alone.
class SurvivalRecord {
  public:
    /// @param correction  to begin with.
    explicit SurvivalRecord(double correction = 1.0) : correction_(correction) {}

    /// What estimates are to be multiplied by.
    double correction() const { return correction_; }

    /// One use of such tiles.
    /// @param estimate     the probability that was expected for a tile to survive.
    /// @param blocksFound  blocks of the next smaller tiles in which any survived.
    void note(double estimate, long blocksFound) {
        isNoted_ = true;
        numUses_ += 1.0;
        estimates_ += estimate;
        blocksFound_ += static_cast<double>(blocksFound);
    }

    /// Takes what was noted since the last time into the correction, if anything was; what is older
    /// counts half with each time.
    /// @param numBlocks      blocks of the next smaller tiles, in all.
    /// @param tilesPerBlock  tiles of this kind that one of them covers.
    void correct(double numBlocks, double tilesPerBlock) {
        if (!isNoted_) return;
        isNoted_ = false;
        const double total = numUses_ * numBlocks;
        // A quarter of a block stands for none, which would be no ratio.
        const double least = std::min(0.25, 0.5 * total);
        const double share = std::clamp(blocksFound_, least, 0.999 * total) / total;
        const double survival = -std::expm1(std::log1p(-share) / tilesPerBlock);
        correction_ = survival / (estimates_ / numUses_);
        numUses_ /= 2.0;
        estimates_ /= 2.0;
        blocksFound_ /= 2.0;
    }

  private:
    double correction_;
    bool isNoted_ = false;
    double numUses_ = 0.0;
    double estimates_ = 0.0;
    double blocksFound_ = 0.0;
};

}  // namespace ptmatch::detail
