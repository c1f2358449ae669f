#pragma once

#include <optional>
#include <string>
#include <vector>

#include "foundation/vector.h"
#include "grid_steps.h"
#include "option_text.h"

namespace ptmatch::tool {

/// The steps of a grid as the user gave them, or as the data suggest.
struct StepChoice {
    GridSteps steps;
    /// Set when they were not given.
    std::optional<ProposedSteps> proposal;
};

/// What the user said about the steps.
struct StepOptions {
    std::optional<rxVector<2>> xv;
    std::optional<rxVector<2>> yv;
};

/// Adds the options --xv and --yv to `app`; parsing writes to `options`, which must outlive `app`.
void addStepOptions(CLI::App& app, StepOptions& options);

/// A step that is not given becomes the other one, turned by a quarter: the grid is square. Without
/// any, nothing happens.
StepOptions squared(StepOptions options);
GridSteps squared(const GridSteps& steps);

/// The steps to use. One given alone stands alone: the other is null.
/// @param dataFile  what messages call the points
/// @throws InputError  the given steps are null, parallel or too long or short to compute with, a
///                     staggered grid lacks one; or none was given and none is seen in the points.
StepChoice chooseSteps(const StepOptions& options, const std::vector<rxVector<2>>& points,
                       bool staggered, const std::string& dataFile);

/// The steps as options, to be used again: "--xv 24.5,0.1 --yv 0,24.4"; a null step is left out.
std::string stepsText(const GridSteps& steps);

}  // namespace ptmatch::tool
