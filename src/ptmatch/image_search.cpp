#include "ptmatch/image_search.h"

#include <optional>

#include "ptmatch/correspondence.h"
#include "ptmatch/group_search.h"
#include "ptmatch/label_image.h"
#include "ptmatch/lattice_vote.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/point_matcher_run_params.h"
#include "ptmatch/recentring.h"
#include "ptmatch/resolved_sizes.h"
#include "ptmatch/search_grid.h"
#include "ptmatch/search_memory.h"
#include "ptmatch/translation_search.h"
#include "ptmatch/vote_weights.h"

namespace ptmatch::detail {

void searchByImage_(std::span<const rxVector<2>> data, const rx_PointMatcherModel& model,
                    const rxPointMatcherRunParams& params, rx_PoseScoreStore& store) {
    const ResolvedSizes sizes = resolveSizes(params, model);
    checkLatticeSize(params, model, sizes.gridSize);
    const std::optional<SearchGrid> grid =
        makeSearchGrid(data, model, params.startPose(), sizes.gridSize);
    if (!grid) return;
    const std::optional<rxPelRect> window = translationWindow(*grid, model, params);
    if (!window) return;
    const std::optional<VoteWeights> weights =
        makeVoteWeights(model.points().size(), model.weights(), params.minCoverage());
    if (!weights) return;
    checkImageMemory(*grid, *window, weights->bytesPerVote());

    CoarseStore coarse(model.totalWeight(), params.maxNumResults());
    CoarseStore revoted(model.totalWeight(), params.maxNumResults());
    const LabelImage blocks(*grid, LabelImage::Extent::Block);
    {
        TranslationSearch search(*grid, model, *weights, *window);
        GroupSearch groups(*grid, model, params, *weights, *window, search);
        const OfferPeaks offerOverLattice = [&](double scale, double degrees, long threshold,
                                                CoarseStore& to) {
            groups.offerPeaks(scale, degrees, threshold, to);
        };
        voteOverLattice(model, params, sizes.gridSize, weights->minimumScore, offerOverLattice,
                        coarse);
        const OfferPeaks offerPeaks = [&](double scale, double degrees, long threshold,
                                          CoarseStore& to) {
            search.offerPeaks(scale, degrees, threshold, to);
        };
        recentre(*grid, model, blocks, weights->minimumScore, offerPeaks, coarse, revoted);
    }
    const LabelImage points(*grid, LabelImage::Extent::Point);
    findCorrespondences(data, *grid, model, sizes.captureRange, blocks, points, revoted, store);
}

}  // namespace ptmatch::detail
