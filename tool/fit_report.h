#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "fit_model.h"
#include "fit_strength.h"
#include "fitted_transform.h"
#include "pair_table.h"
#include "point_spread.h"

namespace ptmatch::tool {

/// A reason not to trust a fit.
struct FitWarning {
    /// A word for programs: "fewest_pairs", "weak_geometry", "weak_inverse", "decisive_pairs",
    /// "large_residuals", "other_scale", "outlier" or "horizon".
    std::string kind;
    /// One line for people.
    std::string message;
};

/// Everything that the table, the JSON text, the CSV text and the picture of a fit are made from.
struct FitReport {
    std::string pairsFile;
    FitModel model = FitModel::kRigid;
    PairTable pairs;
    FittedTransform fitted;
    PointSpread spreadA;
    PointSpread spreadB;
    /// How firmly the points a hold the transform, and the points b its inverse.
    FitStrength strength;
    FitStrength strengthBack;
    /// As warningsFor.
    std::vector<FitWarning> warnings;

    const FitModelTraits& traits() const { return traitsOf(model); }
    /// How many pairs there are, identical ones counted once.
    std::size_t distinctPairs() const;
    std::size_t equations() const { return traits().dimensions * pairs.size(); }
    /// The distance of a point b from where the transform takes its partner a, by coordinates.
    Coordinates residualOf(std::size_t pair) const;
    /// As errorOfPairs.
    std::optional<double> estimatedError() const;
};

/// An estimate of the root mean square error of pairs from what a fit of the model leaves: made up
/// for what it follows of the errors. Absent when it follows all.
std::optional<double> errorOfPairs(const FitModelTraits& traits, std::size_t pairs,
                                   double rmsResidual);

/// Fits the model to the pairs and finds out what the fit is worth.
/// @throws InputError  there are too few pairs, or they do not determine the transform.
FitReport reportOnFit(FitModel model, PairTable pairs, const std::string& pairsFile);

/// The lines `ax,ay,bx,by,dx,dy,distance` of all pairs under a header of these names, for space
/// with az, bz and dz; d is the residual. Numbers read back to the same double.
std::string fitCsv(const FitReport& report);

}  // namespace ptmatch::tool
