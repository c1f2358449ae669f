#include "ptmatch/correspondence.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <vector>

#include "foundation/attention.h"
#include "foundation/fitter.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/points_by_x.h"
#include "ptmatch/squared_distance.h"
#include "ptmatch/try_fit.h"

namespace ptmatch::detail {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr long kCaptureReach = 2;  // pixels around a model point's pixel that are looked at

// A data point near a model point.
struct Neighbour {
    long dataIndex = -1;
    double squaredDistance = kInfinity;
};

// One candidate on its way from a coarse pose to a pose with a correspondence.
class Correspondence {
  public:
    Correspondence(std::span<const rxVector<2>> data, const rx_PointMatcherModel& model,
                   double captureRange)
        : data_(data),
          model_(model),
          range_(std::abs(captureRange)),
          squaredRange_(captureRange * captureRange) {}

    // Steps that can fail return false: the candidate is to be dropped.

    bool fitToBlocks(const std::vector<rxPair<long>>& pixels, const LabelImage& blocks) {
        rxLSPointToPointFitter imageFromModel;
        rxLSPointToPointFitter dataFromModel;
        long numPairs = 0;
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            const long k = blocks.dataIndexAt(pixels[i].x(), pixels[i].y());
            if (k < 0) continue;
            const rxVector<2>& modelPoint = model_.points()[i];
            imageFromModel.update(rxVector<2>(pixels[i]), modelPoint);
            dataFromModel.update(dataPoint(k), modelPoint);
            ++numPairs;
        }
        return numPairs >= 2 && refit(imageFromModel, imageFromModel_) &&
               refit(dataFromModel, dataFromModel_);
    }

    // Pairs each model point with the nearest data point around its pixel, first come first served.
    bool capture(const LabelImage& points) {
        map_.assign(model_.points().size(), -1);
        modelIndexOf_.assign(data_.size(), -1);
        pairs_.reset();
        count_ = 0;
        for (std::size_t i = 0; i < map_.size(); ++i) {
            const Neighbour best = nearestAround(model_.points()[i], points);
            if (best.dataIndex >= 0 && best.squaredDistance < squaredRange_ &&
                !isTaken(best.dataIndex)) {
                pair(i, best.dataIndex);
            }
        }
        return refitToPairs();
    }

    // Gives model points that are still alone the nearest data point that is still free.
    void complete() {
        for (std::size_t i = 0; i < map_.size(); ++i) {
            if (map_[i] >= 0) continue;
            const Neighbour best = nearestFree(model_.points()[i]);
            if (best.dataIndex >= 0 && best.squaredDistance < squaredRange_)
                pair(i, best.dataIndex);
        }
    }

    bool refitToPairs() { return count_ <= 1 || refit(pairs_, dataFromModel_); }

    const std::vector<long>& map() const { return map_; }

    PoseCandidate candidate() const {
        const long score = model_.isWeighted() ? model_.matchedWeight(map_) : count_;
        return {score, dataFromModel_, imageFromModel_, map_};
    }

  private:
    static bool refit(const rxLSPointToPointFitter& fitter, rxXform<2>& xform) {
        const std::optional<rxXform<2>> fitted = tryFit(fitter, kSimilarity);
        if (fitted) xform = *fitted;
        return fitted.has_value();
    }

    const rxVector<2>& dataPoint(long k) const { return data_[static_cast<std::size_t>(k)]; }

    bool isTaken(long k) const { return modelIndexOf_[static_cast<std::size_t>(k)] >= 0; }

    void pair(std::size_t modelIndex, long k) {
        map_[modelIndex] = k;
        modelIndexOf_[static_cast<std::size_t>(k)] = static_cast<long>(modelIndex);
        pairs_.update(dataPoint(k), model_.points()[modelIndex]);
        ++count_;
    }

    Neighbour nearestAround(const rxVector<2>& modelPoint, const LabelImage& points) const {
        const rxPair<long> pixel = nearestPixel(imageFromModel_ * modelPoint);
        const rxVector<2> mapped = dataFromModel_ * modelPoint;
        Neighbour best;
        for (long y = pixel.y() - kCaptureReach; y <= pixel.y() + kCaptureReach; ++y) {
            for (long x = pixel.x() - kCaptureReach; x <= pixel.x() + kCaptureReach; ++x) {
                const long k = points.dataIndexAt(x, y);
                if (k < 0) continue;
                const double d2 = squaredDistance(mapped, dataPoint(k));
                if (d2 < best.squaredDistance) best = {k, d2};
            }
        }
        return best;
    }

    // Of the free data points within the capture range; the first of several that are equally near.
    Neighbour nearestFree(const rxVector<2>& modelPoint) {
        if (!dataByX_) dataByX_.emplace(data_);
        const rxVector<2> mapped = dataFromModel_ * modelPoint;
        Neighbour best;
        dataByX_->forEachNear(mapped, range_, [&](long k) {
            if (isTaken(k)) return;
            const double d2 = squaredDistance(mapped, dataPoint(k));
            const bool isFirst = d2 == best.squaredDistance && k < best.dataIndex;
            if (d2 < best.squaredDistance || isFirst) best = {k, d2};
        });
        return best;
    }

    std::span<const rxVector<2>> data_;
    const rx_PointMatcherModel& model_;
    std::optional<PointsByX> dataByX_;  // made when first needed
    double range_;
    double squaredRange_;
    rxXform<2> imageFromModel_;
    rxXform<2> dataFromModel_;
    std::vector<long> map_;           // model index -> data index, -1 = none
    std::vector<long> modelIndexOf_;  // data index -> model index, -1 = free
    rxLSPointToPointFitter pairs_;
    long count_ = 0;
};

bool holdsMap(const rx_PoseScoreStore& store, const std::vector<long>& map) {
    return store.anyOf([&](const PoseCandidate& held) { return held.map == map; });
}

}  // namespace

void findCorrespondences(std::span<const rxVector<2>> data, const SearchGrid& grid,
                         const rx_PointMatcherModel& model, double captureRange,
                         const LabelImage& blocks, const LabelImage& points, CoarseStore& revoted,
                         rx_PoseScoreStore& store) {
    Correspondence correspondence(data, model, captureRange);
    std::vector<rxPair<long>> pixels;
    for (long score = revoted.first(); score >= 0; score = revoted.next()) {
        rxAttention::check();
        candidatePixels(grid, model, *revoted.current(), pixels);
        if (!correspondence.fitToBlocks(pixels, blocks)) continue;
        if (!correspondence.capture(points)) continue;
        correspondence.complete();
        if (holdsMap(store, correspondence.map())) continue;
        if (!correspondence.refitToPairs()) continue;
        PoseCandidate pose = correspondence.candidate();
        const long poseScore = pose.score;
        store.add(poseScore, std::move(pose));
    }
}

}  // namespace ptmatch::detail
