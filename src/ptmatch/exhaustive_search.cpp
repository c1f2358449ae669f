#include "ptmatch/exhaustive_search.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "foundation/fitter.h"
#include "foundation/range.h"
#include "ptmatch/best_assignments.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/point_matcher_run_params.h"
#include "ptmatch/pose_check.h"
#include "ptmatch/pose_prefilter.h"
#include "ptmatch/resolved_sizes.h"
#include "ptmatch/try_fit.h"

namespace ptmatch::detail {
namespace {

using Points = std::span<const rxVector<2>>;

constexpr long kMinWeight = 2;  // that a result captures

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

// Fits assignments. Keeps the fitter of every prefix of the last one, so that an assignment with
// the same first slots costs its other slots only. The pairs go in by ascending slot.
class PrefixFitter {
  public:
    PrefixFitter(const SetPair& sets, int dof)
        : sets_(sets),
          dof_(dof),
          fitters_(sets.assigned.size() + 1),
          partners_(sets.assigned.size(), -1) {}

    // Pose of an assignment: model to data. Nothing when its pairs do not determine one.
    std::optional<rxXform<2>> fit(const Partners& partners) {
        const auto [mine, its] =
            std::mismatch(partners_.begin(), partners_.end(), partners.begin());
        for (auto slot = static_cast<std::size_t>(mine - partners_.begin()); slot < partners.size();
             ++slot) {
            partners_[slot] = partners[slot];
            fitters_[slot + 1] = fitters_[slot];
            if (partners[slot] < 0) continue;
            fitters_[slot + 1].update(sets_.assigned[slot],
                                      sets_.partners[static_cast<std::size_t>(partners[slot])]);
        }
        const std::optional<rxXform<2>> fitted = tryFit(fitters_.back(), dof_);
        if (!fitted || !sets_.isModelAssigned) return fitted;
        return tryInverse(*fitted);
    }

  private:
    SetPair sets_;
    int dof_;
    std::vector<rxLSPointToPointFitter> fitters_;  // [k]: of the first k slots
    Partners partners_;
};

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

    // Offers the pose to the best ones, unless the captured weight is below 2 or the weighted error
    // negative.
    void score(const rxXform<2>& pose, const Partners& partners, BestAssignments& best) {
        std::fill(map_.begin(), map_.end(), -1);
        std::fill(isTaken_.begin(), isTaken_.end(), false);
        long count = 0;
        double sum = 0.0;
        for (std::size_t i = 0; i < map_.size(); ++i) {
            double nearest = squaredRange_;
            const long k = nearestFree(pose * model_.points()[i], nearest);
            if (k < 0) continue;
            const long weight = model_.isWeighted() ? model_.weights()[i] : 1;
            count += weight;
            sum += nearest * static_cast<double>(weight);
            map_[i] = k;
            isTaken_[static_cast<std::size_t>(k)] = true;
        }
        if (count < kMinWeight || !(sum >= 0.0)) return;
        const double numMatched = static_cast<double>(count);
        best.offer(partners,
                   {pose, map_, numMatched / static_cast<double>(model_.totalWeight()),
                    std::sqrt(sum / numMatched)},
                   count);
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

// Walks over all one-to-one assignments, depth first with the first slot outermost, and hands them
// in batches through the prefilter to the exact code.
class AssignmentWalk {
  public:
    AssignmentWalk(Points data, const rx_PointMatcherModel& model,
                   const rxPointMatcherRunParams& params)
        : AssignmentWalk(data, model, params, orderBySize(model.points(), data),
                         params.scaleUncertainty() == rxRange(0.0, 0.0) ? 3 : 4) {}

    // By a loop: calls as deep as there are slots could overflow the stack.
    std::vector<RankedPose> run() {
        visitFrom(0);
        for (std::size_t slot = numSlots_ - 1; slot > 0;) {
            --slot;
            if (!takeNextPartner(slot)) continue;
            visitFrom(slot + 1);
            slot = numSlots_ - 1;
        }
        flush();
        return best_.take();
    }

  private:
    AssignmentWalk(Points data, const rx_PointMatcherModel& model,
                   const rxPointMatcherRunParams& params, const SetPair& sets, int dof)
        : params_(params),
          inverseStart_(params.startPose().inverse()),
          isModelAssigned_(sets.isModelAssigned),
          numSlots_(sets.assigned.size()),
          numPartners_(sets.partners.size()),
          fitter_(sets, dof),
          scorer_(data, model, resolveSizes(params, model).captureRange),
          prefilter_(data, model, params, resolveSizes(params, model).captureRange, inverseStart_,
                     sets.isModelAssigned, dof),
          best_(static_cast<std::size_t>(params.maxNumResults())),
          current_(numSlots_, -1),
          isTaken_(numPartners_, 0),
          sums_(numSlots_),
          batch_(PosePrefilter::kBatch * numSlots_) {
        if (numSlots_ > kMostTerms / numPartners_) return;
        terms_.reserve(numSlots_ * numPartners_);
        for (std::size_t slot = 0; slot < numSlots_; ++slot) {
            for (std::size_t k = 0; k < numPartners_; ++k) terms_.push_back(reckonTerm(slot, k));
        }
    }

    // What the pair of a slot and a partner adds to the sums.
    PairSums reckonTerm(std::size_t slot, std::size_t k) const {
        return isModelAssigned_ ? prefilter_.sumsOf(slot, k) : prefilter_.sumsOf(k, slot);
    }
    PairSums term(std::size_t slot, std::size_t k) const {
        return terms_.empty() ? reckonTerm(slot, k) : terms_[slot * numPartners_ + k];
    }

    // The slots from this one to the last but one have nobody, the last one everybody in turn.
    void visitFrom(std::size_t slot) {
        for (; slot + 1 < numSlots_; ++slot) sums_[slot + 1] = sums_[slot];
        visitLast(sums_[slot]);
    }

    // False when the slot has had all its partners; then it has nobody again.
    bool takeNextPartner(std::size_t slot) {
        std::int32_t& partner = current_[slot];
        std::size_t k = 0;
        if (partner >= 0) {
            k = static_cast<std::size_t>(partner);
            isTaken_[k] = 0;
            ++k;
        }
        for (; k < numPartners_; ++k) {
            if (isTaken_[k] != 0) continue;
            isTaken_[k] = 1;
            partner = static_cast<std::int32_t>(k);
            sums_[slot + 1] = sums_[slot];
            sums_[slot + 1] += term(slot, k);
            return true;
        }
        partner = -1;
        return false;
    }

    // Most assignments differ in the last slot alone.
    void visitLast(const PairSums& sums) {
        if (sums.numPairs + 1 < kMinPairs) return;
        const std::size_t slot = numSlots_ - 1;
        if (sums.numPairs >= kMinPairs) addToBatch(sums, PairSums{});
        for (std::size_t k = 0; k < numPartners_; ++k) {
            if (isTaken_[k] != 0) continue;
            current_[slot] = static_cast<std::int32_t>(k);
            addToBatch(sums, term(slot, k));
        }
        current_[slot] = -1;
    }

    void addToBatch(const PairSums& sums, const PairSums& last) {
        std::copy(current_.begin(), current_.end(), batch_.begin() + offsetOf(prefilter_.size()));
        prefilter_.add(sums, last);
        if (prefilter_.isFull()) flush();
    }

    void flush() {
        // A pose that captures less than the worst of a full list is worse than all of it.
        const long minWeight = best_.isFull() ? best_.worstCount() : kMinWeight;
        for (const std::uint32_t lane : prefilter_.takeSurvivors(minWeight)) {
            const auto first = batch_.begin() + offsetOf(lane);
            const Partners partners(first, first + offsetOf(1));
            const std::optional<rxXform<2>> pose = fitter_.fit(partners);
            if (!pose || !isAllowed(*pose, inverseStart_, params_)) continue;
            scorer_.score(*pose, partners, best_);
        }
    }

    // Where the assignment of a lane starts.
    std::ptrdiff_t offsetOf(std::size_t lane) const {
        return static_cast<std::ptrdiff_t>(lane * numSlots_);
    }

    static constexpr std::size_t kMinPairs = 2;
    // 64 MiB. Sets of more pairs are walked for ever anyway, and need not fill the memory first.
    static constexpr std::size_t kMostTerms = (std::size_t{64} << 20) / sizeof(PairSums);

    const rxPointMatcherRunParams& params_;
    rxXform<2> inverseStart_;
    bool isModelAssigned_;
    std::size_t numSlots_;
    std::size_t numPartners_;
    PrefixFitter fitter_;
    CaptureScorer scorer_;
    PosePrefilter prefilter_;
    BestAssignments best_;
    std::vector<PairSums> terms_;  // of each slot with each partner; none when there are too many
    Partners current_;
    std::vector<char> isTaken_;
    std::vector<PairSums> sums_;  // [slot]: of the slots before it
    Partners batch_;  // one assignment after another, as many as the prefilter's batch holds
};

}  // namespace

std::vector<RankedPose> searchExhaustively(Points data, const rx_PointMatcherModel& model,
                                           const rxPointMatcherRunParams& params) {
    if (data.empty() || model.points().empty()) return {};
    return AssignmentWalk(data, model, params).run();
}

}  // namespace ptmatch::detail
