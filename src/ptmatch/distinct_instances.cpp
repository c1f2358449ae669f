#include "ptmatch/distinct_instances.h"

#include <algorithm>
#include <set>

#include "ptmatch/pose_distance.h"
#include "ptmatch/result_map.h"

namespace {

using Places = std::vector<ptmatch::detail::MatchedPlace>;

void check(const rxDistinctness& distinctness) {
    // Written so that what is not a number is refused.
    if (!(distinctness.maxSharedShare >= 0.0 && distinctness.maxSharedShare <= 1.0)) {
        throw rxPointMatcherDefs::BadParams("maxSharedShare must be in [0, 1]\n");
    }
    if (!(distinctness.minPoseDistance >= 0.0)) {
        throw rxPointMatcherDefs::BadParams("minPoseDistance must be 0 or above\n");
    }
}

double shareIn(const std::set<long>& claimed, const Places& matched) {
    const auto isClaimed = [&](const auto& match) { return claimed.contains(match.dataIndex); };
    return static_cast<double>(std::ranges::count_if(matched, isClaimed)) /
           static_cast<double>(matched.size());
}

}  // namespace

std::vector<std::size_t> rfDistinctInstances(const rxPointMatcher& matcher,
                                             const rxPointMatcherResultSet& found,
                                             const rxDistinctness& distinctness) {
    check(distinctness);
    const std::vector<rxVector<2>> model = ptmatch::detail::trainedPoints(matcher);
    const std::vector<rxPointMatcherResult>& results = found.results();
    std::vector<std::size_t> distinct;
    std::set<long> claimed;  // data points of the copies so far
    for (std::size_t i = 0; i < results.size(); ++i) {
        const Places matched = ptmatch::detail::matchedPlaces(matcher, results[i]);
        if (matched.empty() || shareIn(claimed, matched) > distinctness.maxSharedShare) continue;
        const bool isApart = std::ranges::all_of(distinct, [&](std::size_t k) {
            return ptmatch::detail::poseDistance(results[k].modelToDataXform(),
                                                 results[i].modelToDataXform(),
                                                 model) > distinctness.minPoseDistance;
        });
        if (!isApart) continue;
        distinct.push_back(i);
        for (const auto& match : matched) claimed.insert(match.dataIndex);
    }
    return distinct;
}
