#include "ptmatch/lattice_vote.h"

#include "foundation/attention.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/point_matcher_run_params.h"

namespace ptmatch::detail {

void voteOverLattice(const rx_PointMatcherModel& model, const rxPointMatcherRunParams& params,
                     double gridSize, long minimumScore, const OfferPeaks& offerPeaks,
                     CoarseStore& coarse) {
    long threshold = minimumScore;
    scaleLattice(params.scaleUncertainty(), model, gridSize).forEach([&](double scale) {
        rotationLattice(params.rotationUncertainty(), model, scale, gridSize)
            .forEach([&](double degrees) {
                rxAttention::check();
                threshold = voteThreshold(coarse, threshold);
                offerPeaks(scale, degrees, threshold, coarse);
            });
    });
}

}  // namespace ptmatch::detail
