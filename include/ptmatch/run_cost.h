#pragma once

#include <cstdint>
#include <vector>

#include "foundation/export.h"
#include "ptmatch/ppmatch.h"

/// What a run would look through, known before it starts.
struct PTMATCH_EXPORT rxRunCost {
    /// The method. Of grid mode, a sparse pattern is searched for by votes, a dense one is not.
    rxPointMatcherDefs::Mode mode = rxPointMatcherDefs::ePointToPoint;
    /// Whether the run looks for interruption: only a search by votes does, `rxAttention`.
    bool isInterruptible = false;

    // Of a search by votes; 0 for other runs.
    double gridSize = 0.0;              ///< in effect, model units
    double captureRange = 0.0;          ///< in effect, data units
    std::int64_t numScales = 0;         ///< that are tried
    std::int64_t numLatticePoints = 0;  ///< pairs of a scale and a rotation; up to 2^31
    std::int64_t numTranslations = 0;   ///< tried at each of them, together
    /// Of the images of the search without those of tiles, which it adds where they save time: up
    /// to six times as much was measured. Together they never take more than 2 GiB.
    double imageBytes = 0.0;

    /// The work: votes to count (lattice points times translations times model points), or, of
    /// exhaustive runs, assignments of at least two pairs. 0 when the run returns without a search,
    /// and in the grid mode of dense patterns: that takes milliseconds as a rule, but seconds when
    /// data of thousands of points meet a pattern of 500 x 500 with a coverage far below 0.01.
    double work = 0.0;
};

/// The size of a run, without running it: to warn, to choose a grid size, or to show progress
/// (`rfRunWatched`).
///
/// An addition beside the matcher: a run neither needs it nor changes for it.
///
///     const rxRunCost cost = rfRunCost(matcher, data, params);
///     if (cost.work > 1e12) {
///         params.autoGridSize(false);
///         params.gridSize(2.0 * cost.gridSize);
///     }
///
/// Equal work takes about equal time on equal data: compare runs of one matcher on one kind of
/// data, and measure one of them. What a search leaves out, because bounds tell that no result can
/// come of it, is counted in: it may take much less time than its work, hardly more.
///
/// @throws as `rxPointMatcher::run` for its arguments, sizes and ranges.
/// Cost: a pass over the data, and an addition for each lattice point; a small part of the run.
/// Const: any number of threads.
PTMATCH_EXPORT rxRunCost rfRunCost(const rxPointMatcher& matcher,
                                   const std::vector<rxVector<2>>& data,
                                   const rxPointMatcherRunParams& params);
