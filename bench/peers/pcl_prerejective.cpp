// SampleConsensusPrerejective of PCL: triples of model points, each with one of the data points
// that look most alike by a descriptor; triangles that differ are dropped before a pose is tried.
#include <pcl/registration/sample_consensus_prerejective.h>
#include <pcl/registration/transformation_estimation_svd_scale.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "contender.h"
#include "pcl_points.h"

namespace ptmatch::bench::peers {
namespace {

using Cloud = pcl::PointCloud<pcl::PointXYZ>;
// PCL's descriptor of 33 numbers, which its search tree can handle; the numbers are ours.
using Descriptor = pcl::FPFHSignature33;
constexpr int kNumRings = 33;
using Descriptors = pcl::PointCloud<Descriptor>;

// Rings reach three mean spacings of the model's points.
constexpr double kReachInSpacings = 3.0;
constexpr int kNumSamples = 3;
constexpr int kNumAlike = 10;
// It has no early end: all of them are drawn.
constexpr int kNumIterations = 1'000'000;
// Least ratio of the sides of two triangles.
constexpr float kRigidSimilarity = 0.95F;
constexpr float kScaledSimilarity = 0.87F;

// Numbers of neighbours by distance, each shared between two rings: what clutter and missing points
// leave of a neighbourhood whose direction is unknown.
Descriptors::Ptr describe(const Points& points, double reach) {
    auto descriptors = pcl::make_shared<Descriptors>();
    for (const Point& p : points) {
        Descriptor descriptor;
        std::fill_n(descriptor.histogram, kNumRings, 0.0F);
        for (const Point& q : points) {
            const double ring = std::hypot(q.x - p.x, q.y - p.y) / reach * kNumRings - 0.5;
            if (&p == &q || ring >= kNumRings - 1 || ring < 0.0) continue;
            const auto lower = static_cast<int>(ring);
            const auto share = static_cast<float>(ring - lower);
            descriptor.histogram[lower] += 1.0F - share;
            descriptor.histogram[lower + 1] += share;
        }
        descriptors->push_back(descriptor);
    }
    return descriptors;
}

class Prerejective : public Contender {
  public:
    std::string name() const override { return "prerejective"; }

    void train(const Points& model, const SceneKind& kind) override {
        kind_ = kind;
        reach_ = kReachInSpacings * kSide / std::sqrt(static_cast<double>(kind.numModel));
        model_ = cloudOf(model);
        modelDescriptors_ = describe(model, reach_);
    }

    std::optional<Similarity> find(const Points& data) override {
        pcl::SampleConsensusPrerejective<pcl::PointXYZ, pcl::PointXYZ, Descriptor> search;
        search.setInputSource(model_);
        search.setSourceFeatures(modelDescriptors_);
        search.setInputTarget(cloudOf(data));
        search.setTargetFeatures(describe(data, reach_));
        search.setMaximumIterations(kNumIterations);
        search.setNumberOfSamples(kNumSamples);
        search.setCorrespondenceRandomness(std::min(kNumAlike, static_cast<int>(data.size())));
        search.setSimilarityThreshold(kind_.isScaled ? kScaledSimilarity : kRigidSimilarity);
        search.setMaxCorrespondenceDistance(4.5 * kind_.jitter);
        search.setInlierFraction(static_cast<float>(kind_.minCoverage()));
        if (kind_.isScaled) {
            search.setTransformationEstimation(
                pcl::make_shared<pcl::registration::TransformationEstimationSVDScale<
                    pcl::PointXYZ, pcl::PointXYZ>>());
        }
        Cloud aligned;
        search.align(aligned);
        if (!search.hasConverged()) return std::nullopt;
        return poseOf(search.getFinalTransformation());
    }

  private:
    SceneKind kind_;
    double reach_ = 0.0;
    Cloud::Ptr model_;
    Descriptors::Ptr modelDescriptors_;
};

}  // namespace

std::unique_ptr<Contender> makePrerejective() {
    return std::make_unique<Prerejective>();
}

}  // namespace ptmatch::bench::peers
