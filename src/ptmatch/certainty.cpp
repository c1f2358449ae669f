#include "ptmatch/certainty.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "foundation/exception.h"
#include "ptmatch/matcher_access.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/pose_distance.h"
#include "ptmatch/resolved_sizes.h"
#include "ptmatch/result_map.h"
#include "ptmatch/run_arguments.h"

namespace {

using namespace ptmatch::detail;  // NOLINT: joins pieces that live there
using Points = std::vector<rxVector<2>>;

void check(const rxCertaintySettings& settings) {
    for (const double value : {settings.pointSigma, settings.minPoseDistance, settings.dataArea}) {
        if (!(value >= 0.0 && std::isfinite(value))) {
            throw rxPointMatcherDefs::BadParams("the settings of a certainty must be 0 or above\n");
        }
    }
}

std::vector<double> residualsOf(const rxMatchedPairs& pairs, const rxXform<2>& dataFromModel) {
    std::vector<double> residuals;
    for (std::size_t k = 0; k < pairs.model.size(); ++k) {
        residuals.push_back((dataFromModel * pairs.model[k] - pairs.data[k]).len());
    }
    return residuals;
}

/// What the pose of a result was fitted with, richest first.
std::vector<int> fittedDofs(const rxPointMatcherResult& result,
                            const rxPointMatcherRunParams& params) {
    constexpr int kRigid = 3;
    constexpr int kSimilarity = 4;
    constexpr int kAffine = 6;
    if (result.runMode() == rxPointMatcherDefs::ePointToGrid) return {kAffine, kSimilarity};
    const bool holdsScale = result.runMode() == rxPointMatcherDefs::eExhaustiveMode &&
                            params.scaleUncertainty() == rxRange(0.0, 0.0);
    return {holdsScale ? kRigid : kSimilarity};
}

std::optional<rxPoseCovariance> covarianceOf(const rxMatchedPairs& pairs,
                                             const rxPointMatcherResult& result,
                                             const rxPointMatcherRunParams& params, double sigma) {
    for (const int dof : fittedDofs(result, params)) {
        try {
            return rfPoseCovariance(result.modelToDataXform(), pairs.model, pairs.data, dof, sigma);
        } catch (const rxMathError&) {
            continue;
        }
    }
    return std::nullopt;
}

/// Root of the mean square distance of the images from their mean.
double rmsExtent(const rxXform<2>& dataFromModel, const Points& model) {
    if (model.empty()) return 0.0;
    double x = 0.0;
    double y = 0.0;
    for (const rxVector<2>& p : model) {
        x += p.x() / static_cast<double>(model.size());
        y += p.y() / static_cast<double>(model.size());
    }
    // The pose that takes all points to the image of their mean.
    const rxXform<2> onePlace(rxMatrix<2>(0, 0, 0, 0), dataFromModel * rxVector<2>(x, y));
    return poseDistance(dataFromModel, onePlace, model);
}

std::optional<rxNextPose> nextPoseOf(const rxPointMatcher& matcher,
                                     const std::vector<rxPointMatcherResult>& results,
                                     std::size_t index, double minPoseDistance) {
    constexpr double kShareOfExtent = 0.1;
    const Points model = trainedPoints(matcher);
    const rxPointMatcherResult& result = results[index];
    const double least = minPoseDistance > 0.0
                             ? minPoseDistance
                             : kShareOfExtent * rmsExtent(result.modelToDataXform(), model);
    std::optional<rxNextPose> next;
    for (std::size_t i = 0; i < results.size(); ++i) {
        const double margin = result.coverage() - results[i].coverage();
        if (i == index || (next && margin >= next->coverageMargin)) continue;
        const double apart =
            poseDistance(result.modelToDataXform(), results[i].modelToDataXform(), model);
        if (apart > least) next = rxNextPose{i, margin, apart};
    }
    return next;
}

struct Lengths {
    double width;
    double height;
};

Lengths boxOf(const Points& points) {
    const auto [xMin, xMax] = std::ranges::minmax(points, {}, [](const auto& p) { return p.x(); });
    const auto [yMin, yMax] = std::ranges::minmax(points, {}, [](const auto& p) { return p.y(); });
    return {xMax.x() - xMin.x(), yMax.y() - yMin.y()};
}

double lengthWith(const rxRange& range, double value) {
    return std::max(range.end(), value) - std::min(range.start(), value);
}

/// How far the centre of the model may move. A pose that matches anything has the model over data.
/// @param moved  how far it has moved in the result, as translations are limited: the last fit may
///     leave it outside.
Lengths translations(const Points& data, double reach, const rxPointMatcherRunParams& params,
                     rxPointMatcherDefs::Mode mode, const rxVector<2>& moved) {
    const Lengths box = boxOf(data);
    const Lengths overData{box.width + 2.0 * reach, box.height + 2.0 * reach};
    const rxRange x = params.xTranslationUncertainty();
    const rxRange y = params.yTranslationUncertainty();
    const bool isLimited = x.range() == rxRangeDefs::Normal && y.range() == rxRangeDefs::Normal;
    // Exhaustive runs limit the translation of the origin, which says little about the centre.
    if (!isLimited || mode == rxPointMatcherDefs::eExhaustiveMode) return overData;
    const double scale = params.startPose().xScale();
    const Lengths allowed{lengthWith(x, moved.x()) * scale, lengthWith(y, moved.y()) * scale};
    // Not a number, of an infinite bound, does not choose the limits.
    return allowed.width * allowed.height < overData.width * overData.height ? allowed : overData;
}

double rotationLength(const rxPointMatcherRunParams& params) {
    constexpr double kTurn = 2.0 * std::numbers::pi;
    if (params.rotationUncertainty().range() == rxRangeDefs::Full) return kTurn;
    return std::clamp(params.rotationUncertainty().length().toDouble(), 0.0, kTurn);
}

rxClutterScene sceneOf(const rx_PointMatcherModel& model, const Points& data,
                       const rxPointMatcherRunParams& params, const rxPointMatcherResult& result,
                       double dataArea) {
    rxClutterScene scene;
    scene.numDataPoints = static_cast<double>(data.size());
    scene.captureRange = resolveSizes(params, model).captureRange;
    scene.numModelPoints = static_cast<double>(model.points().size());
    scene.modelRadius = model.radius();
    const double scale = result.modelToDataXform().xScale();
    const double start = params.startPose().xScale();
    scene.lowScale = std::min(scale, start * (1.0 + params.scaleUncertainty().start()));
    scene.highScale = std::max(scale, start * (1.0 + params.scaleUncertainty().end()));
    scene.rotationLength = rotationLength(params);
    const rxVector<2> centre = model.center();
    const rxVector<2> moved =
        params.startPose().inverse() * (result.modelToDataXform() * centre) - centre;
    const Lengths moves =
        translations(data, scene.highScale * scene.modelRadius, params, result.runMode(), moved);
    scene.translationWidth = moves.width;
    scene.translationHeight = moves.height;
    const Lengths box = boxOf(data);
    scene.area = dataArea > 0.0 ? dataArea : box.width * box.height;
    return scene;
}

/// Of poses that have so many points within a distance.
double falseAlarmsWithin(rxClutterScene scene, double distance, double numMatched) {
    scene.captureRange = distance;
    return rfLog10FalseAlarms(scene, numMatched);
}

/// Of the distances about the capture range the one that says most, for each of them.
double closeFalseAlarms(const rxClutterScene& scene, const std::vector<double>& residuals) {
    constexpr int kFinest = -6;  // 2^-6 of the capture range
    constexpr int kCoarsest = 2;
    double least = std::numeric_limits<double>::infinity();
    for (int exponent = kFinest; exponent <= kCoarsest; ++exponent) {
        const double distance = std::ldexp(scene.captureRange, exponent);
        const auto numWithin =
            std::ranges::count_if(residuals, [&](double r) { return r <= distance; });
        least = std::min(least, falseAlarmsWithin(scene, distance, static_cast<double>(numWithin)));
    }
    return least + std::log10(kCoarsest - kFinest + 1);
}

/// They stay nothing where a scene has no area, or lengths are beyond the range of squares.
void addFalseAlarms(const rxClutterScene& scene, rxCertainty& certainty) {
    const std::vector<double>& residuals = certainty.residuals;
    const double largest = *std::ranges::max_element(residuals);
    try {
        // The last fit may leave a point a little further away than the range it was found in.
        certainty.log10FalseAlarms = falseAlarmsWithin(scene, std::max(scene.captureRange, largest),
                                                       static_cast<double>(residuals.size()));
        certainty.log10CloseFalseAlarms = closeFalseAlarms(scene, residuals);
    } catch (const rxPointMatcherDefs::BadParams&) {
        certainty.log10FalseAlarms.reset();
    }
}

std::optional<double> probabilityOf(const std::optional<double>& log10FalseAlarms) {
    if (!log10FalseAlarms) return std::nullopt;
    return std::min(1.0, std::pow(10.0, *log10FalseAlarms));
}

}  // namespace

std::optional<double> rxCertainty::clutterProbability() const {
    return probabilityOf(log10FalseAlarms);
}

std::optional<double> rxCertainty::closeClutterProbability() const {
    return probabilityOf(log10CloseFalseAlarms);
}

rxCertainty rfCertainty(const rxPointMatcher& matcher, const std::vector<rxVector<2>>& data,
                        const rxPointMatcherRunParams& params, const rxPointMatcherResultSet& found,
                        std::size_t index, const rxCertaintySettings& settings) {
    check(settings);
    checkRunArguments(data, params);
    const rxPointMatcherResult& result = found.results().at(index);
    rxCertainty certainty;
    certainty.pairs = rfMatchedPairs(matcher, data, result);
    certainty.residuals = residualsOf(certainty.pairs, result.modelToDataXform());
    certainty.covariance = covarianceOf(certainty.pairs, result, params, settings.pointSigma);
    certainty.nextPose = nextPoseOf(matcher, found.results(), index, settings.minPoseDistance);
    const bool isGrid = result.runMode() == rxPointMatcherDefs::ePointToGrid;
    if (!isGrid && !certainty.pairs.model.empty()) {
        addFalseAlarms(
            sceneOf(*MatcherAccess::pointModel(matcher), data, params, result, settings.dataArea),
            certainty);
    }
    return certainty;
}
