#pragma once

#include <optional>

#include "explain_report.h"
#include "grid_match_search.h"

namespace ptmatch::tool {

/// A search for a grid pattern that is to be explained.
struct GridQuestion {
    /// With the data in its report.
    GridMatchSetup setup;
    /// As GridMatchOptions::snap.
    std::optional<double> snap;
    /// Seconds for each further search; has an effect on sparse patterns only, whose search looks
    /// for interruption.
    double timeLimit = 0.0;
};

/// Makes the search of `question`, and further ones with its limits relaxed: each alone, then, when
/// none of them brings out nearly the whole pattern, all together. Fills in everything of the
/// report.
///
/// A placement counts as found when it has the coverage that was asked for. Where the coverage
/// itself is relaxed it counts from a quarter of the pattern and six positions on.
/// @throws InputError  the search cannot be made.
void explainGrid(const GridQuestion& question, ExplainReport& report);

}  // namespace ptmatch::tool
