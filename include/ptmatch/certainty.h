#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "foundation/export.h"
#include "ptmatch/clutter_chance.h"
#include "ptmatch/matched_pairs.h"
#include "ptmatch/pose_covariance.h"
#include "ptmatch/ppmatch.h"

/// What `rfCertainty` may be told; all defaults are taken from the result and its run.
struct PTMATCH_EXPORT rxCertaintySettings {
    /// Standard deviation of a coordinate of a data point, data units; 0 estimates it from the
    /// residuals.
    double pointSigma = 0.0;
    /// Poses that lie further apart are different, in the measure of `rxDistinctness`, data units;
    /// 0: a tenth of the root mean square distance of the model's images from their mean.
    double minPoseDistance = 0.0;
    /// The area that the data are scattered over, data units squared; 0: their bounding box.
    double dataArea = 0.0;
};

/// The best result of a run that has another pose.
struct PTMATCH_EXPORT rxNextPose {
    std::size_t index = 0;        ///< in the results
    double coverageMargin = 0.0;  ///< the coverage of the result less that of this one
    double poseDistance = 0.0;    ///< data units
};

/// How sure a result is.
///
/// Plain members: an assignment that runs out of memory may leave some of them new.
struct PTMATCH_EXPORT rxCertainty {
    /// Which model point is matched to which data point.
    rxMatchedPairs pairs;
    /// Of each pair the distance between the mapped model point and the data point, data units.
    std::vector<double> residuals;
    /// Nothing when the pairs do not determine the pose.
    std::optional<rxPoseCovariance> covariance;
    /// Nothing when the run returned no other pose: ask for 10 results or more with a low minimum
    /// coverage. A margin of 0 or below means that the result is ambiguous.
    std::optional<rxNextPose> nextPose;
    /// The decimal logarithm of the number of poses to be expected in clutter of the density of
    /// these data (`rfLog10FalseAlarms`) that reach this coverage: as many points within the
    /// capture range. Nothing in grid mode, which finds results in another way, and for data or
    /// capture ranges without extent.
    std::optional<double> log10FalseAlarms;
    /// The same for poses that are as close: for one of several distances, as many points within
    /// it. The number of distances is counted in. Says more where points fit better than the
    /// capture range asks.
    std::optional<double> log10CloseFalseAlarms;

    /// An upper bound of the probability that clutter of this density would reach this coverage: 10
    /// to the power of `log10FalseAlarms`, at most 1; nothing where that is nothing.
    std::optional<double> clutterProbability() const;
    /// The same of `log10CloseFalseAlarms`: that clutter would come as close.
    std::optional<double> closeClutterProbability() const;
};

/// How sure a result is: residuals of its points, covariance of its pose, margin to the next
/// different pose, and the chance that it is an accident.
///
/// An addition beside the matcher, made of its results: no run depends on it.
///
///     params.maxNumResults(10);
///     matcher.run(data, params, found);
///     const rxCertainty sure = rfCertainty(matcher, data, params, found, 0);
///     if (sure.closeClutterProbability().value() > 1e-3) ask();
///     if (sure.nextPose && sure.nextPose->coverageMargin < 0.1) ask();
///     report(sure.covariance->positionAt(hole).rms());
///
/// The covariance is that of the similarity that a run fits; of exhaustive runs with a scale
/// uncertainty of (0, 0) that of the rigid transform; in grid mode that of the affine one, or of a
/// similarity when the points lie on one line. The pose of an exhaustive run was fitted to an
/// assignment that may hold fewer or other pairs than were matched in the end.
///
/// Chance counts matched points, whatever their weights, and takes all data points as clutter. The
/// capture range is the one in effect, or the largest residual where that is larger; poses are
/// those within the uncertainties, made wider where the result itself lies outside.
///
/// @param matcher   the one that made the run, trained as it was then.
/// @param data, params  those of the run.
/// @param found     what the run returned: all of it, as the margin is taken from the others.
/// @param index     of the result in `found.results()`.
/// @param settings  what is known of the data; by default nothing is.
/// @throws std::out_of_range  there is no such result.
/// @throws rxPointMatcherDefs::NotTrained, BadParams  as `rfMatchedPairs` and the run; BadParams
///         also for a setting that is negative or not finite, and a `pointSigma` that is neither 0
///         nor within 1e-150 to 1e150.
/// Cost: results times model points.
PTMATCH_EXPORT rxCertainty rfCertainty(const rxPointMatcher& matcher,
                                       const std::vector<rxVector<2>>& data,
                                       const rxPointMatcherRunParams& params,
                                       const rxPointMatcherResultSet& found, std::size_t index,
                                       const rxCertaintySettings& settings = rxCertaintySettings());
