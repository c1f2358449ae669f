#pragma once

#include "explain_command.h"
#include "fit_command.h"
#include "grid_map_command.h"
#include "grid_match_command.h"
#include "info_command.h"
#include "match_command.h"
#include "train_command.h"

namespace ptmatch::tool {

/// What each command was asked to do.
struct AllOptions {
    MatchOptions match;
    GridMapOptions gridMap;
    GridMatchOptions gridMatch;
    ExplainOptions explain;
    FitOptions fit;
    TrainOptions train;
    InfoOptions info;
};

/// Gives `app` all commands with their options and, in their help, examples; parsing writes to
/// `options`, which must outlive `app`.
void addAllCommands(CLI::App& app, AllOptions& options);

/// What the tool does, in one sentence.
constexpr const char* kToolDescription =
    "Finds known patterns and grids among points in the plane, and fits transforms to pairs.";

}  // namespace ptmatch::tool
