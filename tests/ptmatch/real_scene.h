#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "foundation/vector.h"
#include "foundation/xform.h"

namespace ptmatch::testing {

/// A measured scene and one pattern in it, with the true answer.
struct RealScene {
    std::vector<rxVector<2>> model;
    std::vector<rxVector<2>> data;
    rxXform<2> truePose;        ///< model to data; what it leaves at the true pairs is real
    std::vector<long> trueMap;  ///< line of the data point of each model point, -1 = none known

    long numTruePairs() const;
};

/// The points of a table `x,y[,...]` with one line of header.
/// @throws std::runtime_error  no such file, or a line that is not two numbers.
std::vector<rxVector<2>> readPointTable(const std::string& path);

/// The directories below `root` whose `truth.json` is of the kind, relative to it, with slashes.
std::set<std::string> setsOfKind(const std::filesystem::path& root, const std::string& kind);

/// Reads `model.csv`, `data.csv` and `truth.json` of a directory.
/// @param marker  in a scene of several patterns, the number of the one that is wanted; -1
/// otherwise.
/// @throws std::runtime_error  something is missing or malformed.
RealScene readScene(const std::string& directory, long marker = -1);

}  // namespace ptmatch::testing
