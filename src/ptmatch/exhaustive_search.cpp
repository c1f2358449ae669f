#include "ptmatch/exhaustive_search.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "foundation/fitter.h"
#include "foundation/range.h"
#include "ptmatch/assignment_odometer.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/point_matcher_run_params.h"
#include "ptmatch/pose_check.h"
#include "ptmatch/resolved_sizes.h"
#include "ptmatch/try_fit.h"

namespace ptmatch::detail {
namespace {

using Points = std::span<const rxVector<2>>;

// The smaller set is assigned to the larger one; equal sizes assign the model.
struct SetPair {
    Points assigned;
    Points partners;
    bool isModelAssigned;
};

SetPair orderBySize(Points model, Points data) {
    if (data.size() < model.size()) return {data, model, false};
    return {model, data, true};
}

// Pose of an assignment: model to data. Nothing when its pairs do not determine one.
std::optional<rxXform<2>> fitAssignment(const SetPair& sets, std::span<const long> partners,
                                        int dof) {
    rxLSPointToPointFitter assignedFromPartners;
    long numPairs = 0;
    for (std::size_t i = 0; i < partners.size(); ++i) {
        if (partners[i] < 0) continue;
        assignedFromPartners.update(sets.assigned[i],
                                    sets.partners[static_cast<std::size_t>(partners[i])]);
        ++numPairs;
    }
    if (numPairs < 2) return std::nullopt;
    const std::optional<rxXform<2>> fitted = tryFit(assignedFromPartners, dof);
    if (!fitted || !sets.isModelAssigned) return fitted;
    return tryInverse(*fitted);
}

// Tests a pose against all uncertainty ranges, as seen from the start pose.
bool isAllowed(const rxXform<2>& pose, const rxXform<2>& inverseStart,
               const rxPointMatcherRunParams& params) {
    const rxXform<2> change = pose * inverseStart;
    return params.xTranslationUncertainty().isWithin(change.trans().x()) &&
           params.yTranslationUncertainty().isWithin(change.trans().y()) &&
           isWithinLimits(params.rotationUncertainty(), change.xRot()) &&
           isWithinLimits(params.scaleUncertainty(), change.xScale() - 1.0);
}

// Gives each model point, in order, the nearest data point that is still free and closer than the
// capture range. An earlier model point keeps a data point that a later one is nearer to.
class CaptureScorer {
  public:
    CaptureScorer(Points data, const rx_PointMatcherModel& model, double captureRange)
        : data_(data),
          model_(model),
          squaredRange_(captureRange * captureRange),
          map_(model.points().size()),
          isTaken_(data.size()) {}

    // Nothing when the captured weight is below 2 or the weighted error negative.
    std::optional<RankedPose> score(const rxXform<2>& pose) {
        std::fill(map_.begin(), map_.end(), -1);
        std::fill(isTaken_.begin(), isTaken_.end(), false);
        long count = 0;
        double sum = 0.0;
        for (std::size_t i = 0; i < map_.size(); ++i) {
            double best = squaredRange_;
            const long k = nearestFree(pose * model_.points()[i], best);
            if (k < 0) continue;
            const long weight = model_.isWeighted() ? model_.weights()[i] : 1;
            count += weight;
            sum += best * static_cast<double>(weight);
            map_[i] = k;
            isTaken_[static_cast<std::size_t>(k)] = true;
        }
        if (count < 2 || !(sum >= 0.0)) return std::nullopt;
        const double numMatched = static_cast<double>(count);
        return RankedPose{pose, map_, numMatched / static_cast<double>(model_.totalWeight()),
                          std::sqrt(sum / numMatched)};
    }

  private:
    // Index of the free data point nearest to p and strictly within the squared distance `best`,
    // which it replaces; -1 when there is none. The lowest index wins a tie.
    long nearestFree(const rxVector<2>& p, double& best) const {
        long nearest = -1;
        for (std::size_t k = 0; k < data_.size(); ++k) {
            if (isTaken_[k]) continue;
            const double dx = p.x() - data_[k].x();
            const double dy = p.y() - data_[k].y();
            const double d2 = dx * dx + dy * dy;
            if (d2 < best) {
                best = d2;
                nearest = static_cast<long>(k);
            }
        }
        return nearest;
    }

    Points data_;
    const rx_PointMatcherModel& model_;
    double squaredRange_;
    std::vector<long> map_;
    std::vector<bool> isTaken_;
};

// Inserts behind everything that is at least as good, and drops what is beyond the limit.
void insertRanked(std::vector<RankedPose>& ranked, RankedPose pose, std::size_t limit) {
    const auto place = std::upper_bound(ranked.begin(), ranked.end(), pose, isBetter);
    ranked.insert(place, std::move(pose));
    if (ranked.size() > limit) ranked.pop_back();
}

}  // namespace

std::vector<RankedPose> searchExhaustively(Points data, const rx_PointMatcherModel& model,
                                           const rxPointMatcherRunParams& params) {
    const SetPair sets = orderBySize(model.points(), data);
    const ResolvedSizes sizes = resolveSizes(params, model);
    const int dof = params.scaleUncertainty() == rxRange(0.0, 0.0) ? 3 : 4;
    const rxXform<2> inverseStart = params.startPose().inverse();
    const std::size_t limit = static_cast<std::size_t>(params.maxNumResults());

    std::vector<RankedPose> ranked;
    CaptureScorer scorer(data, model, sizes.captureRange);
    AssignmentOdometer odometer(sets.assigned.size(), sets.partners.size());
    do {
        const std::optional<rxXform<2>> pose = fitAssignment(sets, odometer.partners(), dof);
        if (!pose || !isAllowed(*pose, inverseStart, params)) continue;
        std::optional<RankedPose> scored = scorer.score(*pose);
        if (scored) insertRanked(ranked, std::move(*scored), limit);
    } while (odometer.advance());
    return ranked;
}

}  // namespace ptmatch::detail
