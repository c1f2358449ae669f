#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "csv_points.h"
#include "foundation/xform.h"
#include "ptmatch/ppmatch.h"

namespace ptmatch::tool {

/// One place of the model among the data points.
struct FoundPose {
    rxXform<2> dataFromModel;
    /// For each model point the index of its data point, negative when it has none.
    std::vector<long> map;
    double coverage = 0.0;
    /// Root mean square distance between placed model points and their data points, data units.
    double fitError = 0.0;

    /// Degrees in (-180, 180], from the x axis towards the y axis.
    double rotationDeg() const;
    double scale() const;
    /// Number of model points that have a data point.
    std::size_t matched() const;
};

/// Everything that the table, the JSON text and the picture of a match are made from.
struct MatchReport {
    std::string modelFile;
    std::string dataFile;
    PointTable model;
    PointTable data;
    rxPointMatcherRunParams params;
    bool exhaustive = false;
    double seconds = 0.0;
    /// Best first.
    std::vector<FoundPose> poses;
};

/// A result as plain values. One of grid mode has no map of the model.
FoundPose foundPose(const rxPointMatcherResult& result);

/// The results of a run as plain values, in their order.
std::vector<FoundPose> foundPoses(const rxPointMatcherResultSet& results);

}  // namespace ptmatch::tool
