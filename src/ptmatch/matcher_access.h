#pragma once

#include "ptmatch/ppmatch.h"

namespace ptmatch::detail {

/// What the additions beside the matcher read of it, and how they empty a result set; they change
/// nothing of the matcher.
struct MatcherAccess {
    /// The model that is searched for as points, or null: that of the matcher, in grid mode that of
    /// a sparse pattern.
    static const rx_PointMatcherModel* pointModel(const rxPointMatcher& matcher) {
        return isGrid(matcher) ? matcher.sparseModel_() : matcher.trainedModel_();
    }

    /// Whether the matcher was trained on an image. False for an untrained one.
    static bool isGrid(const rxPointMatcher& matcher) {
        return matcher.isTrained() && matcher.trainMode() == rxPointMatcherDefs::ePointToGrid;
    }

    /// In grid mode: from positions of the pattern to the coordinates that the pose of a result
    /// starts from. Those of a sparse pattern start from positions.
    static rxXform<2> modelFromPosition(const rxPointMatcher& matcher) {
        return matcher.sparseModel_() ? rxXform<2>::I : matcher.gridXform_;
    }

    /// @throws rxPointMatcherDefs::NotTrained, BadParams  as `run` does in grid mode.
    static void requireRunnableGrid(const rxPointMatcher& matcher) {
        matcher.requireRunnableGrid_();
    }

    /// As a run does before anything else; the time stays.
    static void emptyResults(rxPointMatcherResultSet& resultSet) {
        resultSet.getResults_().clear();
    }
};

}  // namespace ptmatch::detail
