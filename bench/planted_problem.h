#pragma once

#include <vector>

#include "foundation/vector.h"
#include "foundation/xform.h"
#include "ptmatch/ppmatch.h"

namespace ptmatch::bench {

using Points = std::vector<rxVector<2>>;

/// How the points of a model lie in their square.
enum class Spread {
    Spaced,  ///< at random, no two near each other: features as a detector resolves them
    Uniform  ///< at random, close pairs included: the closest one sets a very fine default grid
};

/// One set of data points that shows the model once, among clutter.
struct PlantedData {
    Points points;
    rxXform<2> dataFromModel;      ///< where it was planted
    std::vector<long> mapOfTruth;  ///< index of each model point's data point, -1 for a missing one
};

/// A model, and several sets of data for a benchmark to rotate through.
struct PlantedProblem {
    Points model;
    std::vector<PlantedData> data;
    rxPointMatcherRunParams params;  ///< the defaults, but for the rotation of a full turn
};

/// The points of a model of side 1000.
[[nodiscard]] Points makeModel(long numPoints, Spread spread);

/// Data sets of numData points in a square of side 1500 or a little more: nine tenths of the model,
/// each point displaced by up to a quarter of the default grid size along either axis, and clutter.
/// The planted rotations lie within 14 degrees, or anywhere for a full turn. The same arguments
/// always give the same problem.
[[nodiscard]] PlantedProblem makeProblem(long numModel, long numData, Spread spread,
                                         bool isFullTurn, long numSets);

/// Whether a result is the planted instance: nearly all of the points that are there are matched
/// with their own data points, and the pose is off by less than the grid size anywhere.
[[nodiscard]] bool isPlantedInstance(const rxPointMatcherResultSet& found, const Points& model,
                                     const PlantedData& data);

}  // namespace ptmatch::bench
