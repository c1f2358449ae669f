#pragma once

#include <cstddef>
#include <optional>

#include "foundation/geometry_archive.h"
#include "ptmatch/certainty.h"
#include "ptmatch/fit_residual.h"
#include "ptmatch/least_squares.h"
#include "ptmatch/matched_pairs.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/refit.h"
#include "ptmatch/run_cost.h"
#include "ptmatch/vote_image.h"
#include "ptmatch/why_not.h"
#include "support/archive_bytes.h"

// Values as bytes: two that differ in what a caller can see have other bytes.
namespace ptmatch::testing {

/// Of what has a record, the record.
template <class T>
ByteVector describe(const T& value) {
    return stored(value);
}
inline ByteVector describe(const rxPointMatcher& matcher) {
    return joined({stored(matcher), stored(matcher.isTrained()),
                   stored(matcher.isTrained() ? static_cast<long>(matcher.trainMode()) : -1L)});
}
inline ByteVector describe(const rxLeastSquaresSolution& best) {
    return stored(best.x, best.rank, best.condition, best.residualNorm, best.numEquations);
}
inline ByteVector describe(const rxLeastSquares& system) {
    return describe(system.fit());
}
inline ByteVector describe(const rxFitResidual& residual) {
    return stored(residual.rms, residual.largest, static_cast<long>(residual.worst));
}
inline ByteVector describe(const rxPoseCovariance& covariance) {
    ByteVector all = stored(covariance.sigma, covariance.centre, covariance.centreVariance,
                            covariance.rotationSigma, covariance.scaleSigma);
    for (const auto& row : covariance.matrixCovariance) {
        all = joined({all, stored(row[0], row[1], row[2], row[3])});
    }
    return all;
}
inline ByteVector describe(const rxMatchedPairs& pairs) {
    return stored(pairs.model, pairs.data, pairs.modelIndices, pairs.dataIndices);
}
inline ByteVector describe(const rxRefit& refit) {
    return joined({stored(refit.dataFromModel, refit.numPairs), describe(refit.residual)});
}
inline ByteVector describe(const rxCertainty& sure) {
    return joined({describe(sure.pairs), stored(sure.residuals),
                   stored(sure.covariance.has_value()),
                   describe(sure.covariance.value_or(rxPoseCovariance())),
                   stored(sure.log10FalseAlarms.value_or(1e9),
                          sure.log10CloseFalseAlarms.value_or(1e9), sure.nextPose.has_value())});
}
inline ByteVector describe(const std::optional<rxVotePlace>& place) {
    if (!place) return stored(false);
    return stored(true, place->scale, place->rotationDegrees);
}
inline ByteVector describe(const rxVoteImage& image) {
    return stored(image.place.scale, image.width, image.height, image.votes, image.firstStep,
                  image.step, image.threshold, image.highestPossible);
}
inline ByteVector describe(const rxWhyNot& why) {
    return stored(static_cast<long>(why.reason), why.cost.work, why.isWidened, why.numReturned,
                  why.numCandidates, why.numBelowCoverage, why.numOutsideRotation, why.bestCoverage,
                  why.nearestMiss.has_value(),
                  why.nearestMiss.value_or(rxNearestMiss()).modelToDataXform);
}
inline ByteVector describe(const rxRunCost& cost) {
    return stored(static_cast<long>(cost.mode), cost.gridSize, cost.imageBytes, cost.work);
}

}  // namespace ptmatch::testing
