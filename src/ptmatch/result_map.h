#pragma once

#include <vector>

#include "foundation/vector.h"

class rxPointMatcher;
class rxPointMatcherResult;

namespace ptmatch::detail {

/// A place of the trained model: a point of it, or a position of the pattern.
struct ModelPlace {
    rxVector<2> point;  ///< in the coordinates that poses start from
    long index = 0;     ///< as in rxMatchedPairs
};

/// The points of the model; in grid mode the points of the pattern.
/// @throws rxPointMatcherDefs::NotTrained.
std::vector<rxVector<2>> trainedPoints(const rxPointMatcher& matcher);

/// A model place with its data point.
struct MatchedPlace {
    ModelPlace place;
    long dataIndex = 0;
};

/// The places of a result that are matched, in ascending order of their indices.
/// @throws rxPointMatcherDefs::NotTrained; rxPointMatcherDefs::BadParams  the result is of another
///         mode or of a model of another size.
std::vector<MatchedPlace> matchedPlaces(const rxPointMatcher& matcher,
                                        const rxPointMatcherResult& result);

}  // namespace ptmatch::detail
