#include <algorithm>
#include <utility>
#include <vector>

#include "ptmatch/grid_placement.h"
#include "ptmatch/gridcorr.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/ptgdmap.h"
#include "ptmatch/try_fit.h"

namespace {

using namespace ptmatch::detail;  // NOLINT: the run joins the pieces that live there

using Positions = std::vector<rxPair<long>>;

// Fewer mapped points than these do not make a valid mapping.
constexpr long kFewestMapped = 3;
constexpr double kConfusion = 1.0;  // recorded with the parameters, read by nobody

double snapSizeOf(const rxPointMatcherRunParams& params) {
    constexpr double kAutomatic = 0.0;
    const bool isGiven = !params.autoCaptureRange() && params.captureRange() > 0.0;
    return isGiven ? params.captureRange() : kAutomatic;
}

// The steps are those of the training image, at the scales and rotations of the run. A pattern of
// one column says nothing about the step between columns, and neither about rows does one row.
rxPtToGridMapRunParams mappingParams(const rxXform<2>& modelFromGrid,
                                     const rx_PointToGridCorresponder& corresponder,
                                     const rxPointMatcherRunParams& params) {
    const rxVector<2> origin = modelFromGrid * rxVector<2>(0, 0);
    const rx_PelBuffer& pattern = corresponder.pattern();
    const rxRange scale = params.scaleUncertainty();
    rxPtToGridMapRunParams mapping;
    if (pattern.width() != 1) mapping.xv(modelFromGrid * rxVector<2>(1, 0) - origin);
    if (pattern.height() != 1) mapping.yv(modelFromGrid * rxVector<2>(0, 1) - origin);
    mapping.staggered(corresponder.trainParams().staggered());
    mapping.snapSize(snapSizeOf(params));
    mapping.sizeTol(rxRange(1.0 + scale.start(), 1.0 + scale.end()));
    mapping.angleTol(params.rotationUncertainty());
    return mapping;
}

bool isAssigned(const rxPair<long>& position) {
    constexpr long kUnassigned = rxPtToGridMapResult::kUnassigned;
    return position != rxPair<long>(kUnassigned, kUnassigned);
}

Positions assignedOnly(const Positions& map) {
    Positions assigned;
    std::ranges::copy_if(map, std::back_inserter(assigned), isAssigned);
    return assigned;
}

bool isPatternPoint(const rxPelBuffer<unsigned char>& pattern, const rxPair<long>& position) {
    const rxPair<long> place = position - pattern.offset();
    return place.x() >= 0 && place.x() < pattern.width() && place.y() >= 0 &&
           place.y() < pattern.height() && pattern.pointToRow(place.y())[place.x()] != 0;
}

/// The data points that lie on points of the pattern when it is moved by so many steps.
GridPlacement placementAt(const rxPair<long>& shift, const rxPelBuffer<unsigned char>& pattern,
                          const Positions& map, const std::vector<rxVector<2>>& data) {
    GridPlacement placement(pattern);
    for (std::size_t k = 0; k < map.size(); ++k) {
        if (!isAssigned(map[k])) continue;
        const rxPair<long> position = map[k] - shift;
        if (!isPatternPoint(pattern, position)) continue;
        placement.put(position, static_cast<long>(k), data[k]);
    }
    return placement;
}

struct Pose {
    rxXform<2> dataFromModel;
    rxXform<2> modelFromData;
};

/// The fitted pose. When it cannot be turned round, as one that takes the pattern to a line, the
/// one of an identity from grid to data.
Pose poseOf(const GridPlacement& placement, const rxXform<2>& gridFromModel) {
    const rxXform<2> fitted = placement.dataFromGrid() * gridFromModel;
    if (const auto inverse = tryInverse(fitted)) return {fitted, *inverse};
    return {gridFromModel, gridFromModel.inverse()};
}

bool isBetterResult(const rxPointMatcherResult& a, const rxPointMatcherResult& b) {
    if (a.coverage() != b.coverage()) return a.coverage() > b.coverage();
    return a.fitError() < b.fitError();
}

}  // namespace

void rxPointMatcher::pointToGridMatching_(const std::vector<rxVector<2>>& data,
                                          const rxPointMatcherRunParams& params,
                                          rxPointMatcherResultSet& resultSet) const {
    rxPtToGridMapResult mapped;
    const long numMapped =
        rfPtToGridMap(data, mappingParams(gridXform_, *corresponder_, params), mapped);
    if (numMapped < kFewestMapped) return;

    const rx_PointToGridCorresponderRunParams placing(params.minCoverage(), kConfusion,
                                                      params.maxNumResults());
    rx_PointToGridCorresponderResultSet placed;
    corresponder_->run(assignedOnly(mapped.map()), placing, placed);

    const rxXform<2> gridFromModel = gridXform_.inverse();
    std::vector<rxPointMatcherResult> found;
    for (const rx_PointToGridCorresponderResult& place : placed.results()) {
        const GridPlacement placement =
            placementAt(place.position(), pattern(), mapped.map(), data);
        const Pose pose = poseOf(placement, gridFromModel);
        rxPointMatcherResult result;
        result.runMode_ = rxPointMatcherDefs::ePointToGrid;
        result.setModelToDataXform_(pose.dataFromModel);
        result.gridToDataMap_ = placement.map();
        result.setCoverage_(coverageOf(placement, numGridPoints_));
        result.setFitError_(meanSquaredGridError(placement.map(), data, pose.modelFromData));
        found.push_back(std::move(result));
    }
    // Stable, so that placements that tie in both stay in the order of the corresponder.
    std::stable_sort(found.begin(), found.end(), isBetterResult);
    appendResults_(std::move(found), resultSet);
}
