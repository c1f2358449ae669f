#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "foundation/timer.h"
#include "ptmatch/grid_pattern.h"
#include "ptmatch/gridcorr.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/try_fit.h"

namespace {

/// Whether the transform can be turned round, and round again.
bool isInvertible(const rxXform<2>& xform) {
    const std::optional<rxXform<2>> inverse = ptmatch::detail::tryInverse(xform);
    return inverse && ptmatch::detail::tryInverse(*inverse);
}

}  // namespace

const rx_PointMatcherModel* rxPointMatcher::sparseModel_() const {
    return gridMatcher_ ? gridMatcher_->trainedModel_() : nullptr;
}

const char* rxPointMatcher::gridContradiction_() const {
    const rx_PointMatcherModel* sparse = sparseModel_();
    if (sparse && sparse->points().size() != gridPositions_.size()) {
        return "the numbers of grid positions and of grid points differ";
    }
    if (!corresponder_) return nullptr;
    if (!corresponder_->isTrained()) return "the grid corresponder is not trained";
    const long numPoints = ptmatch::detail::countGridPoints(corresponder_->pattern());
    if (numPoints < 1 || numPoints != numGridPoints_) {
        return "the number of grid points is not that of the pattern";
    }
    // A grid matcher comes with its positions; without one, as of a corresponder alone, none are
    // needed.
    if (gridMatcher_ && std::cmp_not_equal(gridPositions_.size(), numGridPoints_)) {
        return "the numbers of grid positions and of grid points differ";
    }
    // Points left behind by a sparse pattern, under a dense one of as many points.
    const bool staggered = corresponder_->trainParams().staggered();
    if (sparse && !ptmatch::detail::isSparsePattern(corresponder_->pattern(), staggered)) {
        return "the pattern is not one that is searched for as points";
    }
    return nullptr;
}

void rxPointMatcher::requireRunnableGrid_() const {
    if (const char* contradiction = gridContradiction_()) {
        throw rxPointMatcherDefs::NotTrained(std::string("rxPointMatcher tool is not trained: ") +
                                             contradiction + "\n");
    }
    if (!gridXform_.isFinite()) {
        throw rxPointMatcherDefs::BadParams("the transform of the grid must be finite\n");
    }
}

void rxPointMatcher::appendResults_(std::vector<rxPointMatcherResult> results,
                                    rxPointMatcherResultSet& resultSet) {
    std::vector<rxPointMatcherResult>& all = resultSet.getResults_();
    all.insert(all.end(), std::make_move_iterator(results.begin()),
               std::make_move_iterator(results.end()));
}

void rxPointMatcher::runPtToGrid_(const std::vector<rxVector<2>>& data,
                                  const rxPointMatcherRunParams& params,
                                  rxPointMatcherResultSet& resultSet) const {
    rxTimer timer(false);
    timer.start();
    resultSet.setTime_(0.0);
    resultSet.getResults_().clear();
    if (isInvertible(gridXform_)) {
        if (sparseModel_()) {
            pointToPointMatching_(data, params, resultSet);
        } else {
            pointToGridMatching_(data, params, resultSet);
        }
    }
    resultSet.setTime_(timer.sec());
}
