#include "ptmatch/translation_search.h"

#include "ptmatch/mark_image.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/vote_counter.h"
#include "ptmatch/vote_peaks.h"

namespace ptmatch::detail {
namespace {

template <class Vote>
PeakRule peakRule(const rxPelBuffer<Vote>& votes, const CoarseStore& store) {
    const bool hasNeighbours = votes.width() >= 2 && votes.height() >= 2;
    return store.capacity() >= 2 && hasNeighbours ? PeakRule::LocalMaxima : PeakRule::EveryVote;
}

}  // namespace

TranslationSearch::TranslationSearch(const SearchGrid& grid, const rx_PointMatcherModel& model,
                                     const VoteWeights& weights, const rxPelRect& window)
    : grid_(grid), model_(model), weights_(weights), window_(window), marks_(drawMarks(grid)) {
    const long width = window.width() + 1;
    const long height = window.height() + 1;
    if (weights.fitsShort) {
        votes_ = rxPelBuffer<short>(width, height, kRowAlignment);
    } else {
        votes_ = rxPelBuffer<std::int32_t>(width, height, kRowAlignment);
    }
    modelPixels_.reserve(model.points().size());
}

void TranslationSearch::offerPeaks(double scale, double rotationDegrees, long threshold,
                                   CoarseStore& store) {
    modelPixels(grid_, model_, scale, rotationDegrees, modelPixels_);
    std::visit(
        [&](auto& votes) {
            countVotes(rxPelBuffer_const<unsigned char>(marks_), window_, modelPixels_,
                       weights_.scaled, votes);
            forEachPeak(votes, threshold, peakRule(votes, store), [&](long x, long y, long vote) {
                const rxPair<long> ul = window_.ul();
                store.add(vote, {{ul.x() + x, ul.y() + y}, scale, rotationDegrees});
            });
        },
        votes_);
}

long voteThreshold(const CoarseStore& store, long whileRoomIsLeft) {
    return store.isFull() ? store.lowestScore() + 1 : whileRoomIsLeft;
}

void candidatePixels(const SearchGrid& grid, const rx_PointMatcherModel& model,
                     const CoarseCandidate& candidate, std::vector<rxPair<long>>& pixels) {
    modelPixels(grid, model, candidate.scale, candidate.rotationDegrees, pixels);
    for (rxPair<long>& pixel : pixels) {
        pixel = {pixel.x() + candidate.translation.x(), pixel.y() + candidate.translation.y()};
    }
}

}  // namespace ptmatch::detail
