#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "foundation/vector.h"

namespace ptmatch::detail {

/// A model point in the search image, seen from the first translation of the window.
struct PlacedPoint {
    std::int64_t x;
    std::int64_t y;
    std::size_t layer;  ///< of the marks that it looks at
};

/// The model points of one lattice point, as votes are counted: by the binary digits of their
/// weights, from the highest digit to the lowest, and within a digit from top to bottom.
/// Without weights there is one digit that all points have.
class PlacedPoints {
  public:
    /// @param weights  one per model point, or empty: each counts 1.
    PlacedPoints(std::size_t numPoints, std::span<const std::int16_t> weights);

    /// Which layer of the marks each point looks at; the first one unless this is called.
    void setLayers(std::span<const std::size_t> layers);

    /// Takes the pixels of the model points at a new lattice point.
    void place(std::span<const rxPair<long>> modelPixels, const rxPair<long>& firstTranslation);

    /// For each digit, the points that have it; points of negative weight are kept apart.
    using Digits = std::vector<std::vector<PlacedPoint>>;
    const Digits& positive() const { return positive_; }
    const Digits& negative() const { return negative_; }
    bool hasNegative() const { return !negative_.empty(); }

  private:
    /// A point with its weight.
    struct Weighed {
        PlacedPoint point;
        std::int32_t weight;
    };

    void sortCoarsely_();
    void sortNearlySorted_();
    void distribute_();

    std::vector<std::int32_t> weights_;  // all 1 without weights
    bool isWeighted_;
    std::vector<std::size_t> layers_;
    std::vector<Weighed> points_;
    std::vector<Weighed> sorted_;  // the same from top to bottom
    std::vector<std::uint32_t> numInBucket_;
    Digits positive_;
    Digits negative_;
};

}  // namespace ptmatch::detail
