#include "reference/reference_refinement.h"

#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "foundation/angle.h"
#include "foundation/exception.h"
#include "foundation/fitter.h"
#include "foundation/real.h"

namespace ptmatch::reference {
namespace {

constexpr int kSimilarity = 4;

std::optional<rxXform<2>> fitSimilarity(const rxLSPointToPointFitter& fitter) {
    try {
        const rxXform<2> fitted = fitter.fit(kSimilarity);
        if (fitted.isSingular()) return std::nullopt;
        return fitted;
    } catch (const rxLSPointToPointFitter::Errors&) {
        return std::nullopt;
    } catch (const rxMathError&) {
        return std::nullopt;
    }
}

// Labels are data indices plus one; 0 is no point. A later point covers an earlier one.
Image<long> labelImage(const SearchWorld& world, long reach) {
    Image<long> labels(world.marks.width, world.marks.height);
    long label = 0;
    for (const rxVector<2>& p : world.normalisedData) {
        ++label;
        const rxVector<2> q = world.imageFromPoint * p;
        const long px = static_cast<long>(q.x());
        const long py = static_cast<long>(q.y());
        for (long y = py - reach; y <= py + reach; ++y) {
            for (long x = px - reach; x <= px + reach; ++x) {
                if (labels.contains(x, y)) labels.at(x, y) = label;
            }
        }
    }
    return labels;
}

struct Pairing {
    rxPair<long> pixel;
    long modelIndex;
    long dataIndex;
};

/// The model points that fall onto a labelled pixel when they are placed as the candidate says.
std::vector<Pairing> pairByLabels(const Model& model, const SearchWorld& world,
                                  const Image<long>& blockLabels,
                                  const CoarseCandidate& candidate) {
    std::vector<Pairing> pairs;
    long modelIndex = 0;
    for (const rxPair<long>& m :
         modelPixels(model, world, candidate.scale, candidate.rotationDeg)) {
        const rxPair<long> pixel(m.x() + candidate.translation.x(),
                                 m.y() + candidate.translation.y());
        if (blockLabels.contains(pixel.x(), pixel.y())) {
            const long label = blockLabels.at(pixel.x(), pixel.y());
            if (label != 0) pairs.push_back({pixel, modelIndex, label - 1});
        }
        ++modelIndex;
    }
    return pairs;
}

const rxVector<2>& pointAt(const Points& points, long index) {
    return points[static_cast<std::size_t>(index)];
}

struct VisitedPose {
    double rotationDeg;
    double scale;
};

bool isVisited(const Model& model, const std::vector<VisitedPose>& visited, double scale,
               double rotationDeg) {
    // Measured in steps of the default grid, whatever grid the run uses.
    const double step = rotationStep_(model, scale, 0.0);
    for (const VisitedPose& v : visited) {
        const double ratio = scale / v.scale;
        if (ratio < 0.99 || ratio > 1.01) continue;
        if (!(std::fabs(rotationDeg - v.rotationDeg) / step > 0.1)) return true;
    }
    return false;
}

bool isUsed(const std::vector<long>& modelToData, long dataIndex) {
    for (const long used : modelToData) {
        if (used == dataIndex) return true;
    }
    return false;
}

/// One candidate on its way from a vote peak to a pose with its correspondences.
class Correspondence {
  public:
    Correspondence(const Model& model, const Points& data, double captureRange)
        : model_(model), data_(data), squaredCapture_(captureRange * captureRange) {}

    bool fitFirst(const std::vector<Pairing>& pairs) {
        if (pairs.size() < 2) return false;
        Points pixels;
        Points modelPoints;
        Points dataPoints;
        for (const Pairing& pair : pairs) {
            pixels.emplace_back(pair.pixel);
            modelPoints.push_back(pointAt(model_.points, pair.modelIndex));
            dataPoints.push_back(pointAt(data_, pair.dataIndex));
        }
        const auto toImage = fitSimilarity(rxLSPointToPointFitter(pixels, modelPoints));
        const auto toData = fitSimilarity(rxLSPointToPointFitter(dataPoints, modelPoints));
        if (!toImage || !toData) return false;
        pose_.imageFromModel = *toImage;
        pose_.dataFromModel = *toData;
        pose_.modelToData.assign(model_.points.size(), -1);
        return true;
    }

    /// Pairs model points with the nearest data point in the 5 x 5 pixels around them.
    void capture(const Image<long>& pointLabels) {
        for (std::size_t m = 0; m < model_.points.size(); ++m) {
            const auto [dataIndex, squared] = nearestLabelled(m, pointLabels);
            if (squared < squaredCapture_ && !isUsed(pose_.modelToData, dataIndex)) {
                addPair(m, dataIndex);
            }
        }
    }

    /// Gives the model points left over the nearest of the data points left over.
    void complete() {
        for (std::size_t m = 0; m < model_.points.size(); ++m) {
            if (pose_.modelToData[m] != -1) continue;
            const rxVector<2> placed = pose_.dataFromModel * model_.points[m];
            double nearest = std::numeric_limits<double>::infinity();
            long nearestIndex = -1;
            for (std::size_t j = 0; j < data_.size(); ++j) {
                if (isUsed(pose_.modelToData, static_cast<long>(j))) continue;
                const double squared = squaredDistance(placed, data_[j]);
                if (squared < nearest) {
                    nearest = squared;
                    nearestIndex = static_cast<long>(j);
                }
            }
            if (nearest < squaredCapture_) addPair(m, nearestIndex);
        }
    }

    /// A single pair says too little for a fit: the pose then stays as it is.
    bool refit() {
        if (count_ <= 1) return true;
        const auto toData = fitSimilarity(fitter_);
        if (!toData) return false;
        pose_.dataFromModel = *toData;
        return true;
    }

    [[nodiscard]] const FittedPose& pose() const { return pose_; }

  private:
    [[nodiscard]] std::pair<long, double> nearestLabelled(std::size_t m,
                                                          const Image<long>& pointLabels) const {
        const rxVector<2> q = pose_.imageFromModel * model_.points[m];
        const rxVector<2> placed = pose_.dataFromModel * model_.points[m];
        const long px = iRound(q.x());
        const long py = iRound(q.y());
        long best = -1;
        double bestSquared = std::numeric_limits<double>::infinity();
        for (long y = py - 2; y <= py + 2; ++y) {
            for (long x = px - 2; x <= px + 2; ++x) {
                if (!pointLabels.contains(x, y) || pointLabels.at(x, y) == 0) continue;
                const long dataIndex = pointLabels.at(x, y) - 1;
                const double squared = squaredDistance(placed, pointAt(data_, dataIndex));
                if (squared < bestSquared) {
                    bestSquared = squared;
                    best = dataIndex;
                }
            }
        }
        return {best, bestSquared};
    }

    void addPair(std::size_t m, long dataIndex) {
        pose_.modelToData[m] = dataIndex;
        fitter_.update(pointAt(data_, dataIndex), model_.points[m]);
        ++count_;
    }

    const Model& model_;
    const Points& data_;
    double squaredCapture_;
    FittedPose pose_;
    rxLSPointToPointFitter fitter_;
    long count_ = 0;
};

bool hasMap(const PoseList& poses, const std::vector<long>& modelToData) {
    for (const auto& item : poses.bestFirst()) {
        if (item.entry.modelToData == modelToData) return true;
    }
    return false;
}

}  // namespace

CoarseList recentre(const Model& model, const SearchWorld& world, const CoarseList& coarse,
                    long& polls) {
    const Image<long> blockLabels = labelImage(world, 1);
    CoarseList revoted(model.totalWeight, world.capacity);
    std::vector<VisitedPose> visited;
    for (const auto& [score, candidate] : coarse.bestFirst()) {
        ++polls;
        Points dataPoints;
        Points modelPoints;
        for (const Pairing& pair : pairByLabels(model, world, blockLabels, candidate)) {
            dataPoints.push_back(pointAt(world.normalisedData, pair.dataIndex));
            modelPoints.push_back(pointAt(model.points, pair.modelIndex));
        }
        if (dataPoints.size() < 2) continue;
        const auto fitted = fitSimilarity(rxLSPointToPointFitter(dataPoints, modelPoints));
        if (!fitted) continue;

        const double scale = fitted->xScale();
        const double rotationDeg = rxDegree(fitted->xRot()).toDouble();
        if (isVisited(model, visited, scale, rotationDeg)) continue;
        visited.push_back({rotationDeg, scale});
        voteAndCollect(model, world, scale, rotationDeg, revoted);
    }
    return revoted;
}

PoseList correspond(const Model& model, const Points& data, const SearchWorld& world,
                    const CoarseList& revoted, long& polls) {
    const Image<long> blockLabels = labelImage(world, 1);
    const Image<long> pointLabels = labelImage(world, 0);
    PoseList poses(model.totalWeight, world.capacity);
    for (const auto& [score, candidate] : revoted.bestFirst()) {
        ++polls;
        Correspondence correspondence(model, data, world.captureRange);
        if (!correspondence.fitFirst(pairByLabels(model, world, blockLabels, candidate))) continue;
        correspondence.capture(pointLabels);
        if (!correspondence.refit()) continue;
        correspondence.complete();
        if (hasMap(poses, correspondence.pose().modelToData)) continue;
        if (!correspondence.refit()) continue;
        const FittedPose& pose = correspondence.pose();
        poses.add(matchedWeight(model, pose.modelToData), pose);
    }
    return poses;
}

}  // namespace ptmatch::reference
