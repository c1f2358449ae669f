#pragma once

#include <cstddef>
#include <vector>

#include "foundation/export.h"
#include "ptmatch/ppmatch.h"

/// When two results of a run are two copies of the pattern, not two views of one.
struct PTMATCH_EXPORT rxDistinctness {
    /// The largest share of its matched data points, in [0, 1], that a copy may have in common with
    /// all better copies together. The default leaves room for copies that touch.
    double maxSharedShare = 0.2;
    /// Two copies lie more than this apart, data units: the root mean square, over the points of
    /// the model, of the distance between their images under the two poses. 0 or above.
    double minPoseDistance = 0.0;
};

/// The copies of the pattern among the results of a run, best first, each once: what otherwise
/// takes a run after the other, with the data points of each match taken away.
///
/// An addition beside the matcher, made of its results alone: no run depends on it.
///
///     params.maxNumResults(50);                              // room for near-doubles of each copy
///     matcher.run(data, params, found);
///     for (const std::size_t i : rfDistinctInstances(matcher, found)) use(found.results()[i]);
///
/// Results are taken in their order. One is a further copy when it has a data point, has no more
/// than the share of them in common with the copies before it, and lies more than the distance from
/// each of them. Sharing is what tells the views of one copy (turned by a symmetry, moved by a step
/// of the grid, or put together from parts of two copies); distance tells copies of doubled data,
/// where each dot was detected twice.
///
/// A copy can only be told when a result of the run is on it. A run keeps the results of highest
/// coverage, and views of a well-matched copy may come before a poorly matched one: ask for several
/// times as many results as there may be copies.
///
/// @return places in `found.results()`, ascending.
/// @throws rxPointMatcherDefs::NotTrained  the matcher is not trained.
/// @throws rxPointMatcherDefs::BadParams   the share is not in [0, 1] or the distance not 0 or
///         above; a result is not one of this matcher, trained as it is.
/// Laws: the first result with a data point is a copy. A result that is none has no influence on
/// what is said of the others.
/// Cost: results times model points times the logarithm of the data; the distance takes model
/// points for each pair of a result and a copy.
PTMATCH_EXPORT std::vector<std::size_t> rfDistinctInstances(
    const rxPointMatcher& matcher, const rxPointMatcherResultSet& found,
    const rxDistinctness& distinctness = rxDistinctness());
