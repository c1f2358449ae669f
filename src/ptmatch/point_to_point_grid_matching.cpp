#include <utility>
#include <vector>

#include "ptmatch/grid_placement.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/search_params.h"

namespace {

using namespace ptmatch::detail;  // NOLINT: the run joins the pieces that live there

bool isWithinSize(const rxPair<long>& position, const rx_PelBuffer& pattern) {
    return position.x() >= 0 && position.x() < pattern.width() && position.y() >= 0 &&
           position.y() < pattern.height();
}

/// The data points that the model points were matched to, at the positions of those.
GridPlacement placementOf(const std::vector<long>& modelToData,
                          const std::vector<rxPair<long>>& gridPositions,
                          const rx_PelBuffer& pattern, const std::vector<rxVector<2>>& data) {
    GridPlacement placement(pattern);
    for (std::size_t i = 0; i < modelToData.size(); ++i) {
        const long match = modelToData[i];
        // The size is compared with the position before the offset is added, although the two
        // begin at different pixels when the training image has an empty margin: deliberate.
        if (match < 0 || !isWithinSize(gridPositions[i], pattern)) continue;
        placement.put(gridPositions[i] + pattern.offset(), match,
                      data[static_cast<std::size_t>(match)]);
    }
    return placement;
}

}  // namespace

void rxPointMatcher::pointToPointMatching_(const std::vector<rxVector<2>>& data,
                                           const rxPointMatcherRunParams& params,
                                           rxPointMatcherResultSet& resultSet) const {
    rxPointMatcherResultSet matches;
    gridMatcher_->run(data, nestedParams(params), matches);

    std::vector<rxPointMatcherResult> found;
    for (const rxPointMatcherResult& match : matches.results()) {
        const GridPlacement placement =
            placementOf(match.modelToDataMap(), gridPositions_, pattern(), data);
        rxPointMatcherResult result;
        result.runMode_ = rxPointMatcherDefs::ePointToGrid;
        result.setModelToDataXform_(placement.dataFromGrid());
        result.gridToDataMap_ = placement.map();
        result.setCoverage_(coverageOf(placement, numGridPoints_));
        result.setFitError_(match.fitError());
        found.push_back(std::move(result));
    }
    appendResults_(std::move(found), resultSet);
}
