#pragma once

// Only for the sources of the contenders from PCL, each of which sees PCL on its own.
#include <memory>
#include <string>
#include <utility>

#include "contender.h"
#include "pcl_points.h"

namespace ptmatch::bench::peers {

/// An alignment by congruent sets of four points: 4PCS or K4PCS. Their bases are chosen in the
/// target, so the model is that: four of its points are all there more often than four of the data.
template <class Alignment>
class CongruentSets : public Contender {
  public:
    /// @param delta  the accuracy of the points, as parts of the jitter; all tolerances are
    ///               multiples of it.
    CongruentSets(std::string name, double delta) : name_(std::move(name)), delta_(delta) {}

    std::string name() const override { return name_; }
    bool findsScale() const override { return false; }

    void train(const Points& model, const SceneKind& kind) override {
        model_ = cloudOf(model);
        kind_ = kind;
    }

    std::optional<Similarity> find(const Points& data) override {
        Alignment alignment;
        alignment.setInputSource(cloudOf(data));
        alignment.setInputTarget(model_);
        alignment.setNumberOfThreads(1);
        alignment.setApproxOverlap(static_cast<float>(kind_.keptShare));
        alignment.setDelta(static_cast<float>(delta_ * kind_.jitter), false);
        alignment.setMaxComputationTime(kMaxSeconds);
        // A pose is scored by the share of the data that it leaves alone; this one would do.
        const double wanted = kind_.minCoverage() * static_cast<double>(kind_.numModel);
        alignment.setScoreThreshold(
            static_cast<float>(1.0 - wanted / static_cast<double>(data.size())));
        pcl::PointCloud<pcl::PointXYZ> aligned;
        alignment.align(aligned);
        return inverseOf(poseOf(alignment.getFinalTransformation()));
    }

  private:
    // Of the wall clock; below the limit of the process, so that the best pose so far is returned.
    // It is looked at between bases only.
    static constexpr int kMaxSeconds = 1;

    // From the pose that takes the data to the model. Rigid, so the turn back is the transpose.
    static Similarity inverseOf(const Similarity& pose) {
        return {pose.a, -pose.b, -(pose.a * pose.tx + pose.b * pose.ty),
                pose.b * pose.tx - pose.a * pose.ty};
    }

    std::string name_;
    double delta_;
    pcl::PointCloud<pcl::PointXYZ>::Ptr model_;
    SceneKind kind_;
};

}  // namespace ptmatch::bench::peers
