#pragma once

#include <cstddef>
#include <optional>

#include "fit_report.h"

// What a fit would be if something about it were different: the ways in which pairs are wrong most
// often. Everything here fits anew.
namespace ptmatch::tool {

/// A pair that the others contradict.
struct OutstandingPair {
    std::size_t pair = 0;
    /// How far it is off a transform fitted to the other pairs alone.
    double distance = 0.0;
    /// The root mean square error that those are judged to have.
    double errorOfOthers = 0.0;
};

/// A pair stands out from here on: its distance, made up for the error of the transform, in errors
/// of the other pairs.
constexpr double kOutstandingFactor = 8.0;

/// Fits with fewer redundant equations than this say little about the size of errors: their
/// residuals can be small by chance.
constexpr std::size_t kEnoughRedundancy = 4;

/// The pair that stands out most, if there is one: of those with the largest residual and with the
/// largest one relative to what the fit shows of its error.
std::optional<OutstandingPair> outstandingPair(const FitReport& report);

/// A side counts as mirrored when a fit to its mirror image leaves less than this share of the
/// residuals.
constexpr double kMirroredShare = 0.1;

/// The root mean square residual that the similarity of the dimensions leaves when one side is
/// mirrored, if that explains the residuals. A similarity also of rigid fits: whoever lets an axis
/// run the other way round may use another unit, too.
std::optional<double> explainedByMirroring(const FitReport& report);

/// A rigid transform that a similarity beats by far.
struct OtherScale {
    FitModel model = FitModel::kSimilarity;
    double scale = 1.0;
    /// What the errors of the pairs are judged to be, root mean square.
    double error = 0.0;
};

/// The similarity that leaves less than half of the errors of a rigid fit, and of the spread of the
/// points b, if there is one.
std::optional<OtherScale> betterWithScale(const FitReport& report);

}  // namespace ptmatch::tool
