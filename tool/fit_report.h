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

    const FitModelTraits& traits() const { return traitsOf(model); }
    std::size_t equations() const { return traits().dimensions * pairs.size(); }
    /// The distance of a point b from where the transform takes its partner a, by coordinates.
    Coordinates residualOf(std::size_t pair) const;
    /// An estimate of the root mean square error of the pairs: their residuals, made up for what
    /// the fit follows of the errors. Absent when it follows all.
    std::optional<double> estimatedError() const;
};

/// Fits the model to the pairs and finds out what the fit is worth.
/// @throws InputError  there are too few pairs, or they do not determine the transform.
FitReport reportOnFit(FitModel model, PairTable pairs, const std::string& pairsFile);

/// The lines `ax,ay,bx,by,dx,dy,distance` of all pairs under a header of these names, for space
/// with az, bz and dz; d is the residual. Numbers read back to the same double.
std::string fitCsv(const FitReport& report);

}  // namespace ptmatch::tool
