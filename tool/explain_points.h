#pragma once

#include <optional>

#include "explain_report.h"
#include "model_source.h"
#include "run_options.h"

namespace ptmatch::tool {

/// Where the user expects the model.
struct ExpectedPose {
    /// Where the centre of the model's bounding box lies in the data.
    rxVector<2> centre;
    /// Absent: any.
    std::optional<double> rotationDeg;
    /// Absent: half to double the scale of the expected pose of the run, and what the run allows.
    std::optional<double> scale;
};

/// A search of points that is to be explained.
struct PointQuestion {
    ModelSource model;
    RunOptions run;
    bool exhaustive = false;
    std::optional<ExpectedPose> expected;
    /// Seconds for each further search.
    double timeLimit = 0.0;
};

/// Makes the run of `question` on the data of `report.match`, and, as far as there is time, further
/// ones with its limits relaxed: each alone, then, when none of them is to blame, all together and
/// with the model mirrored. Fills in everything of the report but the names of files and the
/// wordings of the run.
///
/// A pose counts as found when it has the coverage that the run asks for. Where the coverage itself
/// is relaxed it counts when clutter would hardly offer as good a one.
/// @throws InputError  the run cannot be made.
void explainPoints(const PointQuestion& question, ExplainReport& report);

}  // namespace ptmatch::tool
