#include "fit_model.h"

#include <array>

namespace ptmatch::tool {
namespace {

// In the order of the enumeration.
constexpr std::array kModels = {
    FitModelTraits{FitModel::kRigid, "rigid", 2, 3, 2, true},
    FitModelTraits{FitModel::kSimilarity, "similarity", 2, 4, 2, true},
    FitModelTraits{FitModel::kAffine, "affine", 2, 6, 3, false},
    FitModelTraits{FitModel::kPerspective, "perspective", 2, 8, 4, false},
    FitModelTraits{FitModel::kRigid3D, "rigid3d", 3, 6, 3, true},
    FitModelTraits{FitModel::kSimilarity3D, "similarity3d", 3, 7, 3, true},
    FitModelTraits{FitModel::kAffine3D, "affine3d", 3, 12, 4, false},
};

}  // namespace

const FitModelTraits& traitsOf(FitModel model) {
    return kModels[static_cast<std::size_t>(model)];
}

std::optional<FitModel> modelNamed(std::string_view name) {
    for (const FitModelTraits& traits : kModels) {
        if (name == traits.name) return traits.model;
    }
    return std::nullopt;
}

std::string modelNames(const std::string& separator) {
    std::string names;
    for (const FitModelTraits& traits : kModels) {
        if (!names.empty()) names += separator;
        names += traits.name;
    }
    return names;
}

}  // namespace ptmatch::tool
