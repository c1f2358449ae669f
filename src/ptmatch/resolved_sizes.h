#pragma once

class rx_PointMatcherModel;
class rxPointMatcherRunParams;

namespace ptmatch::detail {

/// The two lengths that a run may leave to the library.
struct ResolvedSizes {
    double gridSize;      ///< model units per search pixel; +infinity when there is no default
    double captureRange;  ///< data units
};

/// Grid size: the caller's, or the model's default when it is automatic or not positive.
/// Capture range: the caller's, or the resolved grid size when it is automatic or negative.
ResolvedSizes resolveSizes(const rxPointMatcherRunParams& params,
                           const rx_PointMatcherModel& model);

}  // namespace ptmatch::detail
