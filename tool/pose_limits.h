#pragma once

#include <vector>

#include "explain_report.h"
#include "relaxed_run.h"
#include "run_options.h"

namespace ptmatch::tool {

/// What the limits of a run of points are measured with.
struct RunFrame {
    RunOptions run;
    bool exhaustive = false;
    /// Of the model's bounding box: its centre, and half its diagonal, model units.
    rxVector<2> centre;
    double radius = 0.0;
    /// In effect; model units and data units.
    double gridSize = 0.0;
    double captureRange = 0.0;
};

/// A pose as seen from the expected one of a run.
struct PoseChange {
    double rotationDeg = 0.0;
    /// Relative: 0.1 is 10 percent larger.
    double scale = 0.0;
    /// Of the centre of the model before the expected pose is applied, model units; of an
    /// exhaustive run the translation of the whole change, data units.
    rxVector<2> shift;
};

/// The frame of a run on these model points; its sizes in effect are still to be filled in.
RunFrame runFrame(const RunOptions& run, bool exhaustive, const std::vector<rxVector<2>>& model);

PoseChange changeOf(const rxXform<2>& dataFromModel, const RunFrame& frame);

/// The limits on coverage, rotation, scale and translation that the pose does not keep. A search by
/// votes looks at poses a grid cell or so apart: what lies nearer to its scales and translations
/// than that is no breach.
std::vector<Breach> breachesOf(const FoundPose& pose, const RunFrame& frame);

/// What to say when a search that relaxes `limit` alone finds the pose, which by itself would not
/// break it.
Breach breachOf(Limit limit, const FoundPose& pose, const RelaxedRun& relaxed,
                const RunFrame& frame, const std::vector<rxVector<2>>& model,
                const std::vector<rxVector<2>>& data);

/// Widens the limit by just so much that the pose lies inside. Limits on sizes stay.
void include(RelaxedRun& run, Limit limit, const FoundPose& pose, const RunFrame& frame);

/// Whether two poses put the model to about the same place.
bool arePlacedAlike(const rxXform<2>& a, const rxXform<2>& b, const RunFrame& frame);

}  // namespace ptmatch::tool
