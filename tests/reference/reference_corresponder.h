#pragma once

#include <vector>

#include "foundation/image.h"
#include "foundation/vector.h"
#include "ptmatch/gridcorr.h"
#include "reference/reference_search.h"

namespace ptmatch::reference {

using Positions = std::vector<rxPair<long>>;

struct Probe {
    rxPair<long> place;  ///< From the corner of the pattern.
    bool expected = false;

    friend bool operator==(const Probe&, const Probe&) = default;
};

/// A pattern of grid positions, and what a placement of it is asked.
struct Pattern {
    rxPair<long> corner;  ///< The smallest x and y.
    Image<int> marks;     ///< 1 at each position.
    std::vector<Probe> probes;

    [[nodiscard]] bool marksPosition(const rxPair<long>& position) const {
        const rxPair<long> place = position - corner;
        return marks.contains(place.x(), place.y()) && marks.at(place.x(), place.y()) != 0;
    }
};

/// @param positions  at least one.
[[nodiscard]] Pattern trainPattern(const Positions& positions,
                                   const rx_PointToGridCorresponderTrainParams& params);

/// The positions of the pixels that are not 0, row by row.
[[nodiscard]] Positions positionsOf(const rxPelBuffer_const<unsigned char>& image);

struct Placement {
    double score = 0.0;
    rxPair<long> position;

    friend bool operator==(const Placement&, const Placement&) = default;
};

/// Where the pattern lies among the positions, or in the image. The arguments are taken to be so
/// close together that one image of all of them can be held.
[[nodiscard]] std::vector<Placement> place(const Pattern& pattern, const Positions& data,
                                           const rx_PointToGridCorresponderRunParams& params);
[[nodiscard]] std::vector<Placement> place(const Pattern& pattern,
                                           const rxPelBuffer_const<unsigned char>& data,
                                           const rx_PointToGridCorresponderRunParams& params);

struct ScoredPosition {
    long score = 0;
    rxPair<long> position;

    friend bool operator==(const ScoredPosition&, const ScoredPosition&) = default;
};

/// What a store of that many entries, at least 2, holds after it was offered these in their order,
/// as it reads them back: of one score it keeps the earliest and returns the latest of them first.
[[nodiscard]] std::vector<ScoredPosition> keepBest(std::vector<ScoredPosition> offered,
                                                   long capacity);

}  // namespace ptmatch::reference
