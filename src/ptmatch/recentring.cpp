#include "ptmatch/recentring.h"

#include <cmath>
#include <optional>

#include "foundation/angle.h"
#include "foundation/attention.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/try_fit.h"

namespace ptmatch::detail {
namespace {

struct ScaleAndRotation {
    double scale;
    double rotationDegrees;
};

// Scales within 1 % and rotations within a tenth of a step give the same vote, for all practical
// purposes.
class VisitedList {
  public:
    bool holdsNeighbourOf(const ScaleAndRotation& pose, double rotationStep) const {
        for (const ScaleAndRotation& visited : visited_) {
            const double ratio = pose.scale / visited.scale;
            const double turn = std::abs(pose.rotationDegrees - visited.rotationDegrees);
            if (ratio >= 0.99 && ratio <= 1.01 && turn / rotationStep <= 0.1) return true;
        }
        return false;
    }

    void add(const ScaleAndRotation& pose) { visited_.push_back(pose); }

  private:
    std::vector<ScaleAndRotation> visited_;
};

// Fits the model to the normalised data points that lie under its pixels.
std::optional<ScaleAndRotation> fitToBlocks(const SearchGrid& grid,
                                            const rx_PointMatcherModel& model,
                                            const LabelImage& blocks,
                                            const std::vector<rxPair<long>>& pixels) {
    rxLSPointToPointFitter dataFromModel;
    long numPairs = 0;
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        const long k = blocks.dataIndexAt(pixels[i].x(), pixels[i].y());
        if (k < 0) continue;
        dataFromModel.update(grid.data[static_cast<std::size_t>(k)], model.points()[i]);
        ++numPairs;
    }
    if (numPairs < 2) return std::nullopt;
    const std::optional<rxXform<2>> fitted = tryFit(dataFromModel, kSimilarity);
    if (!fitted) return std::nullopt;
    return ScaleAndRotation{fitted->xScale(), rxDegree(fitted->xRot()).toDouble()};
}

}  // namespace

void recentre(const SearchGrid& grid, const rx_PointMatcherModel& model, const LabelImage& blocks,
              long minimumScore, const OfferPeaks& offerPeaks, CoarseStore& coarse,
              CoarseStore& revoted) {
    VisitedList visited;
    std::vector<rxPair<long>> pixels;
    for (long score = coarse.first(); score >= 0; score = coarse.next()) {
        rxAttention::check();
        candidatePixels(grid, model, *coarse.current(), pixels);
        const std::optional<ScaleAndRotation> fitted = fitToBlocks(grid, model, blocks, pixels);
        if (!fitted) continue;
        // The step of the default grid size, whatever grid size is searched: how close two poses
        // must be to count as one is a property of the model.
        const double rotationStep = model.rotationStep_(fitted->scale, 0.0);
        if (visited.holdsNeighbourOf(*fitted, rotationStep)) continue;
        visited.add(*fitted);
        offerPeaks(fitted->scale, fitted->rotationDegrees, voteThreshold(revoted, minimumScore),
                   revoted);
    }
}

}  // namespace ptmatch::detail
