#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "scene.h"

namespace ptmatch::bench::peers {

/// What a pair alignment may find.
struct PairAlignmentLimits {
    double maxRotationRad = 0.0;  ///< pi or more: any rotation
    double scaleTolerance = 0.0;  ///< 0: rigid poses
    double minCoverage = 0.5;     ///< share of the model's points that a pose has to match
    double inlierDistance =
        3.0;  ///< three deviations of the jitter; data farther off match nothing
};

/// Finds a model among points by trying pairs: a pair of model points laid onto a pair of data
/// points of fitting length is a pose, and a pose that brings enough model points onto data points
/// is the answer. Which pairs are tried first is up to chance, so the answer is a good pose, not
/// provably the best.
///
/// The method is the textbook's: hypothesise and verify (Fischler & Bolles 1981), with Wald's
/// sequential test to drop a pose early (Chum & Matas 2008). What it needs to know, and the library
/// does not ask for, is the size of the jitter.
class PairAlignment {
  public:
    /// Chooses and describes the model pairs.
    PairAlignment(const Points& model, const PairAlignmentLimits& limits);

    /// The first pose found that matches minCoverage of the model, refitted by least squares;
    /// nothing when every model pair was tried in vain. The same data give the same pose.
    [[nodiscard]] std::optional<Similarity> find(const Points& data) const;

  private:
    /// A pair of model points and the points around it, seen from the pair: the point is where the
    /// complex number z takes the pair's first point, z = 0, and its second one, z = 1.
    struct ModelPair {
        std::size_t first = 0;
        std::size_t second = 0;
        double dx = 0.0;
        double dy = 0.0;
        double length = 0.0;
        std::vector<std::size_t> witnesses;
        std::vector<float> zx;
        std::vector<float> zy;
    };

    class Search;

    [[nodiscard]] ModelPair describe(std::size_t first, std::size_t second) const;

    Points model_;
    PairAlignmentLimits limits_;
    std::vector<ModelPair> pairs_;
    double shortest_ = 0.0;
    double longest_ = 0.0;
};

}  // namespace ptmatch::bench::peers
