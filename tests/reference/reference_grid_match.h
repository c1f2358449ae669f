#pragma once

#include <optional>
#include <vector>

#include "foundation/image.h"
#include "foundation/xform.h"
#include "ptmatch/point_matcher_run_params.h"
#include "reference/reference_corresponder.h"
#include "reference/reference_model.h"

namespace ptmatch::reference {

/// What a matcher trained on the image of a grid knows.
struct GridMatcher {
    rxXform<2> modelFromGrid;
    long numGridPoints = 0;
    bool isStaggered = false;
    bool isSparse = false;  ///< Runs match points to points.
    Pattern pattern;
    Positions columnsAndRows;  ///< Of the set pixels, from the corner of the image.
    Points modelPoints;        ///< The same in model coordinates.
};

/// Nothing for fewer than 3 set pixels.
[[nodiscard]] std::optional<GridMatcher> trainOnImage(
    const rxPelBuffer_const<unsigned char>& image);

struct GridResult {
    rxXform<2> modelToDataXform;
    Image<long> gridToData;  ///< Of the size of the pattern; -1 where no point fell.
    double coverage = 0.0;
    double fitError = 0.0;
    int dof = 0;  ///< Of the transform; 0: the pairs did not determine it.
};

/// A run in grid mode, by either method. The arguments are taken to be sound: finite, and of sizes
/// that can be held.
/// Throws what the fitter and the inverse of a transform throw while the points are mapped.
[[nodiscard]] std::vector<GridResult> runOnGrid(const GridMatcher& matcher, const Points& data,
                                                const rxPointMatcherRunParams& params);

}  // namespace ptmatch::reference
