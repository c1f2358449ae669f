#include "grid_matching.h"

#include <algorithm>

#include "foundation/angle.h"
#include "foundation/range.h"
#include "grid_mapping.h"
#include "grid_views.h"
#include "input_error.h"
#include "number_text.h"
#include "ptmatch/ppmatch.h"

namespace ptmatch::tool {
namespace {

rxPointMatcherRunParams paramsOf(const GridMatchReport& report, const GridView& view) {
    rxPointMatcherRunParams params;
    params.minCoverage(report.minCoverage);
    params.rotationUncertainty(
        rxAngleRange(rxRadian(rxDegree(view.lowDeg)), rxRadian(rxDegree(view.highDeg))));
    params.scaleUncertainty(rxRange(report.scale.low, report.scale.high));
    if (report.snap) {
        params.autoCaptureRange(false);
        params.captureRange(*report.snap);
    }
    params.maxNumResults(report.maxResults);
    return params;
}

// The mapping that the matcher makes of the data in a view, as a report of its own.
GridMapReport mappingOf(const GridMatchReport& report) {
    GridMapReport mapping;
    mapping.dataFile = report.dataFile;
    mapping.data = report.data;
    mapping.choice = report.choice;
    if (report.pattern.width == 1) mapping.choice.steps.xv = {};
    if (report.pattern.height == 1) mapping.choice.steps.yv = {};
    mapping.staggered = report.pattern.isStaggered();
    mapping.snap = report.snap.value_or(0.0);
    mapping.sizeTolerance = {1.0 + report.scale.low, 1.0 + report.scale.high};
    mapping.angleToleranceDeg = report.rotationDeg;
    mapping.keepsAll = true;
    return mapping;
}

// By how many rows or columns the placed pattern reaches beyond the positions with a data point.
// Both are compared on the grid of the mapping; the placed pattern is only shifted there.
std::optional<long> reachBeyond(const GridMatchReport& report, const GridView& view,
                                const std::vector<rxPair<long>>& map,
                                const GridPlacement& placement) {
    constexpr rxPair<long> kUnassigned(rxPtToGridMapResult::kUnassigned,
                                       rxPtToGridMapResult::kUnassigned);
    std::optional<rxPair<long>> shift;
    for (std::size_t k = 0; k < placement.map.size() && !shift; ++k) {
        if (placement.map[k] < 0) continue;
        const auto index = static_cast<std::size_t>(placement.map[k]);
        if (index >= map.size() || map[index] == kUnassigned) return std::nullopt;
        shift = map[index] - toTrainedImage(report.pattern, view, report.pattern.positions[k]);
    }
    if (!shift) return std::nullopt;
    rxPair<long> low = kUnassigned;
    rxPair<long> high(-kUnassigned.x(), -kUnassigned.y());
    for (const rxPair<long>& position : map) {
        if (position == kUnassigned) continue;
        low = {std::min(low.x(), position.x()), std::min(low.y(), position.y())};
        high = {std::max(high.x(), position.x()), std::max(high.y(), position.y())};
    }
    const rxPair<long> last =
        *shift + rxPair<long>(report.pattern.width - 1, report.pattern.height - 1);
    return std::max(
        {0L, low.x() - shift->x(), low.y() - shift->y(), last.x() - high.x(), last.y() - high.y()});
}

GridPlacement placementOf(const GridMatchReport& report, const GridView& view,
                          const rxPointMatcherResult& result) {
    GridPlacement placement;
    placement.coverage = result.coverage();
    placement.map.reserve(report.pattern.positions.size());
    for (const rxPair<long>& position : report.pattern.positions) {
        placement.map.push_back(
            result.gridToDataMap(toTrainedImage(report.pattern, view, position)));
    }
    fitToMap(placement, report.pattern, report.data.points);
    return placement;
}

void search(const GridView& view, GridMatchReport& report, TrainedViews& trained) {
    rxPointMatcherResultSet results;
    try {
        trained.matcherFor(report.pattern, view)
            ->run(report.data.points, paramsOf(report, view), results);
    } catch (const rxPointMatcherDefs::Errors& error) {
        throw InputError(std::string(trimmed(error.what())));
    }
    report.seconds += results.time();
    if (results.results().empty()) return;
    std::vector<rxPair<long>> map;
    if (!report.pattern.isSparse()) {
        GridMapReport mapping = mappingOf(report);
        GridView mappingView = view;
        if (report.pattern.width == 1) mappingView.steps.xv = {};
        if (report.pattern.height == 1) mappingView.steps.yv = {};
        map = mappedInView(mapping, mappingView).map();
    }
    for (const rxPointMatcherResult& result : results.results()) {
        GridPlacement placement = placementOf(report, view, result);
        if (placement.matched() == 0) continue;
        if (!map.empty()) placement.reachesBeyond = reachBeyond(report, view, map, placement);
        preferNearest(placement, report.pattern, report.data.points);
        report.placements.push_back(std::move(placement));
    }
}

// Views overlap, so a placement may have been found twice.
void rank(GridMatchReport& report) {
    std::vector<GridPlacement>& placements = report.placements;
    std::stable_sort(
        placements.begin(), placements.end(), [](const GridPlacement& a, const GridPlacement& b) {
            return a.coverage != b.coverage ? a.coverage > b.coverage : a.rmsError < b.rmsError;
        });
    std::vector<GridPlacement> different;
    for (GridPlacement& placement : placements) {
        if (different.size() >= static_cast<std::size_t>(report.maxResults)) break;
        const bool isKnown =
            std::any_of(different.begin(), different.end(),
                        [&](const GridPlacement& known) { return known.map == placement.map; });
        if (!isKnown) different.push_back(std::move(placement));
    }
    placements = std::move(different);
}

}  // namespace

void matchPattern(GridMatchReport& report, TrainedViews& trained) {
    report.placements.clear();
    report.seconds = 0.0;
    const std::vector<GridView> views = gridViews(report.choice.steps, report.rotationDeg);
    for (const GridView& view : views) search(view, report, trained);
    if (report.placements.empty()) {
        for (const GridView& view : withOtherSigns(views)) search(view, report, trained);
    }
    rank(report);
}

std::string whyNothingMatched(const GridMatchReport& report) {
    const std::size_t needed = static_cast<std::size_t>(
        report.minCoverage * static_cast<double>(report.pattern.positions.size()));
    if (report.data.points.size() < needed) {
        return "the data hold fewer points than --min-coverage asks for";
    }
    if (report.pattern.isSparse()) {
        return "the pattern has few neighbours and is matched point by point; a larger --snap or "
               "--scale allows more distortion";
    }
    GridMapReport mapping = mappingOf(report);
    mapToGrid(mapping);
    if (!mapping.dataFromGrid) return whyNothingPlaced(mapping, {"--scale", "--rotation"});
    return "the data lie on a grid of such steps, but nowhere is " +
           fixedText(100.0 * report.minCoverage, 0) +
           " % of the pattern seen; it may lie turned (--rotation full), or more than two rows or "
           "columns of it out of sight";
}

}  // namespace ptmatch::tool
