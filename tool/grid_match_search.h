#pragma once

#include <optional>

#include "grid_match_command.h"
#include "grid_match_report.h"
#include "pattern_source.h"
#include "trained_views.h"

// The steps of a grid match, for all commands that make one.
namespace ptmatch::tool {

/// What is common to all data: a report without data, and the steps to search it with.
struct GridMatchSetup {
    StepOptions steps;
    GridMatchReport report;
};

/// Checks the bounds of the options and reads the pattern. Steps given as options stand for those
/// that were trained.
/// @throws InputError  an option is out of bounds, or the pattern cannot be used.
GridMatchSetup readGridMatch(const GridMatchOptions& options);

/// Chooses steps and snap distance for the data of `report` and looks for its pattern among them.
/// @param snap     as GridMatchOptions::snap
/// @param trained  of this pattern, to be shared by searches with the same steps
/// @throws InputError  the steps cannot be used, or the matcher refuses the data.
void searchPattern(const std::optional<double>& snap, const StepOptions& steps,
                   GridMatchReport& report, TrainedViews& trained);

/// The same for a single search.
void searchPattern(const std::optional<double>& snap, const StepOptions& steps,
                   GridMatchReport& report);

}  // namespace ptmatch::tool
