#include "ptmatch/resolved_sizes.h"

#include "ptmatch/point_matcher_model.h"
#include "ptmatch/point_matcher_run_params.h"

namespace ptmatch::detail {

ResolvedSizes resolveSizes(const rxPointMatcherRunParams& params,
                           const rx_PointMatcherModel& model) {
    ResolvedSizes sizes{params.gridSize(), params.captureRange()};
    // A grid size of 0 is legal while the automatic switch is on and stays when it is switched off.
    if (params.autoGridSize() || !(sizes.gridSize > 0.0)) sizes.gridSize = model.defaultGridSize();
    if (params.autoCaptureRange() || sizes.captureRange < 0.0) sizes.captureRange = sizes.gridSize;
    return sizes;
}

}  // namespace ptmatch::detail
