#include "ptmatch/matched_pairs.h"

#include <cstddef>
#include <utility>

#include "ptmatch/result_map.h"

rxMatchedPairs rfMatchedPairs(const rxPointMatcher& matcher, const std::vector<rxVector<2>>& data,
                              const rxPointMatcherResult& result) {
    rxMatchedPairs pairs;
    for (const auto& [place, dataIndex] : ptmatch::detail::matchedPlaces(matcher, result)) {
        if (std::cmp_greater_equal(dataIndex, data.size())) {
            throw rxPointMatcherDefs::BadParams("the result has an index beyond the data\n");
        }
        pairs.model.push_back(place.point);
        pairs.data.push_back(data[static_cast<std::size_t>(dataIndex)]);
        pairs.modelIndices.push_back(place.index);
        pairs.dataIndices.push_back(dataIndex);
    }
    return pairs;
}
