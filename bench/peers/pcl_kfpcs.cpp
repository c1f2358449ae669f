// K4PCS of PCL. Its bases are chosen in the target, so the model is that: four of its points are
// all there more often than four of the data.
#include <pcl/registration/ia_kfpcs.h>

#include <cmath>

#include "contender.h"
#include "pcl_points.h"

namespace ptmatch::bench::peers {
namespace {

using Cloud = pcl::PointCloud<pcl::PointXYZ>;

// Of the wall clock; below the limit of the process, so that the best pose so far is returned. It
// is looked at between bases only.
constexpr int kMaxSeconds = 1;

// From the pose that takes the data to the model. Rigid, so the turn back is the transpose.
Similarity inverseOf(const Similarity& pose) {
    return {pose.a, -pose.b, -(pose.a * pose.tx + pose.b * pose.ty),
            pose.b * pose.tx - pose.a * pose.ty};
}

class KeypointFourPoints : public Contender {
  public:
    std::string name() const override { return "K4PCS"; }
    bool findsScale() const override { return false; }

    void train(const Points& model, const SceneKind& kind) override {
        model_ = cloudOf(model);
        kind_ = kind;
    }

    std::optional<Similarity> find(const Points& data) override {
        pcl::registration::KFPCSInitialAlignment<pcl::PointXYZ, pcl::PointXYZ> alignment;
        alignment.setInputSource(cloudOf(data));
        alignment.setInputTarget(model_);
        alignment.setNumberOfThreads(1);
        alignment.setApproxOverlap(static_cast<float>(kind_.keptShare));
        // The accuracy of the points; all its tolerances are multiples.
        alignment.setDelta(static_cast<float>(1.0 * kJitter), false);
        alignment.setMaxComputationTime(kMaxSeconds);
        // A pose is scored by the share of the data that it leaves alone; this one would do.
        const double wanted = kind_.minCoverage() * static_cast<double>(kind_.numModel);
        alignment.setScoreThreshold(
            static_cast<float>(1.0 - wanted / static_cast<double>(data.size())));
        Cloud aligned;
        alignment.align(aligned);
        return inverseOf(poseOf(alignment.getFinalTransformation()));
    }

  private:
    Cloud::Ptr model_;
    SceneKind kind_;
};

}  // namespace

std::unique_ptr<Contender> makeKeypointFourPoints() {
    return std::make_unique<KeypointFourPoints>();
}

}  // namespace ptmatch::bench::peers
