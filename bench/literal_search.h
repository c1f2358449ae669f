#pragma once

#include <vector>

#include "foundation/image.h"
#include "ptmatch/search_grid.h"
#include "ptmatch/translation_search.h"
#include "ptmatch/vote_weights.h"

namespace ptmatch::bench {

/// The translation search as it is usually written, against which the library is measured: marks of
/// 8 bits, and for each model point one addition of a shifted window of them into votes of 16 bits,
/// over the whole window of translations; then a look at every row that reaches the threshold.
/// It offers the same candidates as detail::TranslationSearch.
class LiteralSearch {
  public:
    LiteralSearch(const detail::SearchGrid& grid, const rx_PointMatcherModel& model,
                  const detail::VoteWeights& weights, const rxPelRect& window);

    void offerPeaks(double scale, double rotationDegrees, long threshold,
                    detail::CoarseStore& store);

  private:
    void addWindow_(const rxPair<long>& modelPixel, std::int16_t weight);
    bool isPeak_(long x, long y) const;

    const detail::SearchGrid& grid_;
    const rx_PointMatcherModel& model_;
    const detail::VoteWeights& weights_;
    rxPelRect window_;
    rxPelBuffer<unsigned char> marks_;
    rxPelBuffer<short> votes_;
    std::vector<rxPair<long>> modelPixels_;
};

}  // namespace ptmatch::bench
