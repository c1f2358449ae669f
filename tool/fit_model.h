#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace ptmatch::tool {

/// The transforms that can be fitted to pairs.
enum class FitModel {
    kRigid,
    kSimilarity,
    kAffine,
    kPerspective,
    kRigid3D,
    kSimilarity3D,
    kAffine3D
};

/// What a model is and what it takes to fit it.
struct FitModelTraits {
    FitModel model = FitModel::kRigid;
    /// As on the command line.
    const char* name = "";
    /// Of the points: 2 or 3.
    std::size_t dimensions = 2;
    /// Free parameters.
    std::size_t unknowns = 0;
    std::size_t fewestPairs = 0;
    /// Turns, scales and moves, and does nothing else.
    bool isSimilarity = false;
};

const FitModelTraits& traitsOf(FitModel model);

/// The model of this name.
std::optional<FitModel> modelNamed(std::string_view name);

/// All names: "rigid, similarity, ..." with another separator if wanted.
std::string modelNames(const std::string& separator = ", ");

}  // namespace ptmatch::tool
