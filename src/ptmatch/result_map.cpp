#include "ptmatch/result_map.h"

#include <cstddef>

#include "ptmatch/matcher_access.h"
#include "ptmatch/ppmatch.h"

namespace ptmatch::detail {
namespace {

using BadParams = rxPointMatcherDefs::BadParams;

bool isGridMode(rxPointMatcherDefs::Mode mode) {
    return mode == rxPointMatcherDefs::ePointToGrid;
}

bool isPointMode(rxPointMatcherDefs::Mode mode) {
    return mode == rxPointMatcherDefs::ePointToPoint || mode == rxPointMatcherDefs::eExhaustiveMode;
}

/// Calls visit(position, index) for each position of the pattern, row by row.
template <class Visit>
void forEachPosition(const rxPelBuffer<unsigned char>& pattern, Visit visit) {
    long index = 0;
    for (long y = 0; y < pattern.height(); ++y) {
        for (long x = 0; x < pattern.width(); ++x) {
            visit(pattern.offset() + rxPair<long>(x, y), index++);
        }
    }
}

std::vector<MatchedPlace> matchedPositions(const rxPointMatcher& matcher,
                                           const rxPointMatcherResult& result) {
    const rxXform<2> modelFromPosition = MatcherAccess::modelFromPosition(matcher);
    std::vector<MatchedPlace> matched;
    try {
        forEachPosition(matcher.pattern(), [&](const rxPair<long>& position, long index) {
            const long dataIndex = result.gridToDataMap(position);
            if (dataIndex < 0) return;
            matched.push_back({{modelFromPosition * rxVector<2>(position), index}, dataIndex});
        });
    } catch (const rx_PelBuffer::Errors&) {
        throw BadParams("the result is not one of this pattern\n");
    }
    return matched;
}

std::vector<MatchedPlace> matchedPoints(const rxPointMatcher& matcher,
                                        const rxPointMatcherResult& result) {
    const std::vector<rxVector<2>>& points = matcher.modelPoints();
    const std::vector<long>& map = result.modelToDataMap();
    if (map.size() != points.size()) {
        throw BadParams("the result has another number of model points than the matcher\n");
    }
    std::vector<MatchedPlace> matched;
    for (std::size_t i = 0; i < map.size(); ++i) {
        if (map[i] >= 0) matched.push_back({{points[i], static_cast<long>(i)}, map[i]});
    }
    return matched;
}

}  // namespace

std::vector<rxVector<2>> trainedPoints(const rxPointMatcher& matcher) {
    if (!isGridMode(matcher.trainMode())) return matcher.modelPoints();
    const rxPelBuffer<unsigned char>& pattern = matcher.pattern();
    const rxXform<2> modelFromPosition = MatcherAccess::modelFromPosition(matcher);
    std::vector<rxVector<2>> points;
    forEachPosition(pattern, [&](const rxPair<long>& position, long) {
        if (pattern.get(position.x(), position.y()) != 0) {
            points.push_back(modelFromPosition * rxVector<2>(position));
        }
    });
    return points;
}

std::vector<MatchedPlace> matchedPlaces(const rxPointMatcher& matcher,
                                        const rxPointMatcherResult& result) {
    const bool isGrid = isGridMode(matcher.trainMode());
    // A result that was loaded may be of no mode at all.
    if (!(isGrid ? isGridMode(result.runMode()) : isPointMode(result.runMode()))) {
        throw BadParams("the result was found in another mode than the matcher's\n");
    }
    return isGrid ? matchedPositions(matcher, result) : matchedPoints(matcher, result);
}

}  // namespace ptmatch::detail
