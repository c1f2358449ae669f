#pragma once

#include <vector>

#include "foundation/export.h"
#include "foundation/vector.h"
#include "ptmatch/ppmatch.h"

/// The matched points of a result, side by side: pair k is model[k] and data[k].
///
/// Plain members: an assignment that runs out of memory may leave some of them new.
struct PTMATCH_EXPORT rxMatchedPairs {
    /// In the coordinates that `modelToDataXform()` of the result starts from.
    std::vector<rxVector<2>> model;
    /// In the coordinates of the data.
    std::vector<rxVector<2>> data;
    /// Places in `modelPoints()`, ascending. In grid mode, those in the pattern, row by row:
    /// column + row * width, both counted from the first pixel of `pattern()`.
    std::vector<long> modelIndices;
    /// Places in the data of the run.
    std::vector<long> dataIndices;
};

/// Which point went where: the pairs of a result, in any mode.
///
/// An addition beside the matcher, made of a result alone: no run depends on it.
///
///     const rxMatchedPairs pairs = rfMatchedPairs(matcher, data, found.results().front());
///     for (std::size_t k = 0; k < pairs.model.size(); ++k) join(pairs.model[k], pairs.data[k]);
///
/// @param matcher  the one that found the result, trained as it was then.
/// @param data     the points that it was run on.
/// @param result   the one whose pairs are wanted.
/// @throws rxPointMatcherDefs::NotTrained  the matcher is not trained.
/// @throws rxPointMatcherDefs::BadParams   the result is not one of this matcher and these data:
///         another mode, another number of model points or positions, an index beyond the data.
/// Cost linear in the model; in grid mode, in the positions of the pattern.
PTMATCH_EXPORT rxMatchedPairs rfMatchedPairs(const rxPointMatcher& matcher,
                                             const std::vector<rxVector<2>>& data,
                                             const rxPointMatcherResult& result);
