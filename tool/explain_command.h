#pragma once

#include <iosfwd>
#include <optional>
#include <string>

#include "explain_points.h"
#include "grid_match_command.h"
#include "match_command.h"
#include "picture_output.h"

namespace ptmatch::tool {

/// What `ptmatch explain` was asked to do.
struct ExplainOptions {
    /// The run to explain: one of both, as its file tells. Their other outputs are not used.
    MatchOptions match;
    GridMatchOptions gridMatch;
    std::optional<ExpectedPose> expected;
    /// Seconds for each further search.
    double timeLimit = 10.0;
    bool json = false;
    PictureOptions picture;
};

/// Adds the command `explain` with all its options to `app`; parsing writes to `options`, which
/// must outlive `app`. Returns the command.
CLI::App* addExplainCommand(CLI::App& app, ExplainOptions& options);

/// Makes the run that `match` or `grid-match` would make, and others with its limits relaxed;
/// writes to `out` what they tell, and the best pose of them into the picture.
/// @return kExitFound when the run itself finds something, otherwise kExitNothingFound.
/// @throws InputError  the input or the options cannot be used.
int runExplain(const ExplainOptions& options, std::ostream& out, std::ostream& notes);

}  // namespace ptmatch::tool
