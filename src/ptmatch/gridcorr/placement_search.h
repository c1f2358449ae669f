#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "ptmatch/gridcorr.h"
#include "ptmatch/gridcorr/agreement_counter.h"
#include "ptmatch/gridcorr/bit_image.h"
#include "ptmatch/gridcorr/placement_store.h"
#include "ptmatch/gridcorr/search_image.h"

namespace ptmatch::detail {

/// Moves the probes of a pattern over an image and finds the translations at which enough of them
/// agree: those whose score is at least `minScore`.
///
/// The score of a translation is the number of probes that agree there, but 0 when none of the
/// first k does, where k is the number of probes beyond `minScore` (1 if there is none).
///
/// 512 translations are scored at a time, one bit each (AgreementCounter). Which probes come first
/// matters for few of them. If none of the first k = N - minScore agrees, no more than minScore of
/// the others can: the translation has enough only if all of those agree, and then it has
/// exactly minScore. So the first probes are looked at only where the count is exactly minScore.
/// (With k = 1 because minScore is N, a translation that has enough agrees in every probe.)
class PlacementSearch {
  public:
    using ProbePt = rx_PointToGridCorresponder::ProbePt;

    /// @param image   as large as the pattern at least; has to outlive the search.
    /// @param probes  within the pattern.
    /// @param width, height  columns and rows of the pattern.
    /// @param minScore  from 1 to the number of probes.
    PlacementSearch(const SearchImage& image, std::span<const ProbePt> probes, std::size_t width,
                    std::size_t height, std::size_t minScore);

    /// Offers every translation with enough agreement to the store, row by row from the top and
    /// each from the left.
    void findAll(PlacementStore& store);

  private:
    /// A probe as a reader of the image: where the word is that holds its pixel for the translation
    /// (0, 0), and the bit of that pixel.
    struct Tap {
        const std::uint64_t* word;
        unsigned shift;
        std::uint64_t inverted;  // all ones for a probe that is not expected
    };

    BitBlock agreement(const Tap& tap, std::size_t step) const;
    bool count(std::size_t x, std::size_t y);
    bool canReach(std::size_t counted, const BitBlock& candidates) const;
    BitBlock withEnough(std::size_t x, std::size_t y, const BitBlock& candidates) const;
    BitBlock agreeingEarly(std::size_t x, std::size_t y, const BitBlock& candidates) const;
    BitBlock translationsFrom(std::size_t x, std::size_t y) const;
    void collect(std::size_t x, std::size_t y);

    const SearchImage& image_;
    TileCounts occupied_;
    std::vector<Tap> taps_;
    std::size_t numUnexpected_ = 0;
    std::size_t width_;
    std::size_t height_;
    std::size_t minScore_;
    std::size_t numColumns_;  // of translations
    std::size_t numRows_;
    AgreementCounter counter_;
    std::array<std::vector<Placement>, kBitBlockRows> found_;
};

}  // namespace ptmatch::detail
