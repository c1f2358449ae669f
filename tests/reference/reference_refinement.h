#pragma once

#include <vector>

#include "foundation/xform.h"
#include "reference/reference_model.h"
#include "reference/reference_search.h"
#include "reference/reference_store.h"

namespace ptmatch::reference {

struct FittedPose {
    rxXform<2> dataFromModel;
    rxXform<2> imageFromModel;
    std::vector<long> modelToData;
};
using PoseList = CandidateList<FittedPose>;

/// Fits each coarse candidate and votes again at the fitted scale and rotation.
/// @param polls counts the candidates taken.
[[nodiscard]] CoarseList recentre(const Model& model, const SearchWorld& world,
                                  const CoarseList& coarse, long& polls);

/// Gives each re-voted candidate its correspondences and its final pose.
/// @param polls counts the candidates taken.
[[nodiscard]] PoseList correspond(const Model& model, const Points& data, const SearchWorld& world,
                                  const CoarseList& revoted, long& polls);

}  // namespace ptmatch::reference
