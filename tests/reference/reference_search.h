#pragma once

#include <utility>
#include <vector>

#include "foundation/vector.h"
#include "foundation/xform.h"
#include "ptmatch/ppmatch.h"
#include "reference/reference_model.h"
#include "reference/reference_store.h"

namespace ptmatch::reference {

template <typename Pixel>
struct Image {
    long width = 0;
    long height = 0;
    std::vector<Pixel> pixels;

    Image() = default;
    Image(long w, long h)
        : width(w), height(h), pixels(static_cast<std::size_t>(w) * static_cast<std::size_t>(h)) {}

    [[nodiscard]] bool contains(long x, long y) const {
        return x >= 0 && y >= 0 && x < width && y < height;
    }
    Pixel& at(long x, long y) { return pixels[static_cast<std::size_t>(y * width + x)]; }
    [[nodiscard]] const Pixel& at(long x, long y) const {
        return pixels[static_cast<std::size_t>(y * width + x)];
    }
};

/// The translations that are voted on, both ends included.
struct Window {
    long lowX = 0;
    long highX = -1;
    long lowY = 0;
    long highY = -1;

    [[nodiscard]] bool isEmpty() const { return lowX > highX || lowY > highY; }
};

struct CoarseCandidate {
    rxPair<long> translation{0, 0};
    double scale = 0.0;
    double rotationDeg = 0.0;
};
using CoarseList = CandidateList<CoarseCandidate>;

/// Everything that stays the same while one pose search goes through its lattice.
struct SearchWorld {
    double gridSize = 0.0;
    double captureRange = 0.0;
    long capacity = 0;
    Points normalisedData;  ///< The data in the model's frame at the start pose.
    rxXform<2> imageFromPoint;
    Image<int> marks;
    Window window;
    std::vector<long> voteWeights;  ///< One per model point; all 1 without weights.
    bool canVote = true;            ///< False: the weights vanish when scaled, nothing is searched.
    long minimumScore = 2;
};

/// The grid size and the capture range that a run uses: its own, or the model's where automatic.
[[nodiscard]] double resolvedGridSize(const Model& model, const rxPointMatcherRunParams& params);
[[nodiscard]] double resolvedCaptureRange(const rxPointMatcherRunParams& params, double gridSize);

/// @param minCoverage, capacity  what the caller of the search allows it; for the runs of a matcher
///   half of the coverage asked for, and several times the number of results.
[[nodiscard]] SearchWorld prepareSearch(const Model& model, const Points& data,
                                        const rxPointMatcherRunParams& params, double minCoverage,
                                        long capacity);

/// The weights that vote, scaled down where their sums would not fit in 16 bits.
[[nodiscard]] std::vector<long> voteWeightsOf(const Model& model);

[[nodiscard]] std::vector<double> scaleLattice(const Model& model, const rxRange& uncertainty,
                                               double gridSize);
[[nodiscard]] std::vector<double> rotationLattice(const Model& model,
                                                  const rxAngleRange& uncertainty, double scale,
                                                  double gridSize);

/// The nearest pixel of each model point, scaled and turned about the model's centre.
[[nodiscard]] std::vector<rxPair<long>> modelPixels(const Model& model, const SearchWorld& world,
                                                    double scale, double rotationDeg);

[[nodiscard]] Image<long> countVotes(const SearchWorld& world,
                                     const std::vector<rxPair<long>>& pixels);

/// Positions of the local maxima at or above the threshold, in raster order.
/// Ties: a pixel equal to its left, upper, upper-left or lower-left neighbour is no maximum; one
/// equal to any of the other four is.
/// @param testMaxima  false: every pixel at or above the threshold.
[[nodiscard]] std::vector<rxPair<long>> findPeaks(const Image<long>& votes, long threshold,
                                                  bool testMaxima);

/// Votes at one scale and rotation, and offers the peaks to the list.
void voteAndCollect(const Model& model, const SearchWorld& world, double scale, double rotationDeg,
                    CoarseList& list);

/// The coarse candidates over the whole lattice. @param polls counts the (scale, rotation) pairs.
[[nodiscard]] CoarseList searchLattice(const Model& model, const SearchWorld& world,
                                       const rxPointMatcherRunParams& params, long& polls);

}  // namespace ptmatch::reference
