#include "ptmatch/search_plan.h"

#include "ptmatch/matcher_access.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/run_arguments.h"
#include "ptmatch/search_grid.h"
#include "ptmatch/search_memory.h"
#include "ptmatch/search_params.h"
#include "ptmatch/vote_weights.h"

namespace ptmatch::detail {
namespace {

/// The door of the run.
void checkAsRun(const rxPointMatcher& matcher, const std::vector<rxVector<2>>& data,
                const rxPointMatcherRunParams& params) {
    if (matcher.trainMode() == rxPointMatcherDefs::ePointToGrid) {
        MatcherAccess::requireRunnableGrid(matcher);
    } else if (MatcherAccess::pointModel(matcher) == nullptr) {
        throw rxPointMatcherDefs::NotTrained("rxPointMatcher tool is not trained\n");
    }
    checkRunArguments(data, params);
}

/// The steps of the search before its first vote, in their order.
void layOut(const std::vector<rxVector<2>>& data, SearchPlan& plan) {
    const rx_PointMatcherModel& model = *plan.model;
    if (!canReachCoverage(data.size(), model, plan.params.minCoverage())) return;
    const rxPointMatcherRunParams search =
        searchParams(plan.params, model.points().size(), data.size());
    checkLatticeSize(search, model, plan.sizes.gridSize);
    const auto grid = makeSearchGrid(data, model, search.startPose(), plan.sizes.gridSize);
    if (!grid) return;
    const auto window = translationWindow(*grid, model, search);
    if (!window) return;
    const auto weights =
        makeVoteWeights(model.points().size(), model.weights(), search.minCoverage());
    if (!weights) return;
    checkImageMemory(*grid, *window, weights->bytesPerVote());
    plan.window = *window;
    plan.imageBytes = searchImageBytes(*grid, *window, TileSet{true});
    plan.isSearched = true;
}

}  // namespace

std::optional<SearchPlan> planSearch(const rxPointMatcher& matcher,
                                     const std::vector<rxVector<2>>& data,
                                     const rxPointMatcherRunParams& params) {
    checkAsRun(matcher, data, params);
    SearchPlan plan;
    plan.model = MatcherAccess::pointModel(matcher);
    const bool isGrid = matcher.trainMode() == rxPointMatcherDefs::ePointToGrid;
    const bool isExhaustive = matcher.trainMode() == rxPointMatcherDefs::eExhaustiveMode;
    if (plan.model == nullptr || isExhaustive) return std::nullopt;
    plan.params = isGrid ? nestedParams(params) : params;
    plan.sizes = resolveSizes(plan.params, *plan.model);
    layOut(data, plan);
    return plan;
}

LatticeSize latticeSize(const SearchPlan& plan) {
    LatticeSize size;
    if (!plan.isSearched) return size;
    scaleLattice(plan.params.scaleUncertainty(), *plan.model, plan.sizes.gridSize)
        .forEach([&](double scale) {
            ++size.numScales;
            rotationLattice(plan.params.rotationUncertainty(), *plan.model, scale,
                            plan.sizes.gridSize)
                .forEach([&](double) { ++size.numPoints; });
        });
    return size;
}

}  // namespace ptmatch::detail
