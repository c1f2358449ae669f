#include "ptmatch/gridcorr/axis_closing.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace ptmatch::detail {

AxisClosing::AxisClosing(const std::vector<std::int64_t>& occupied, std::int64_t length,
                         std::int64_t window)
    : length_(length) {
    std::int64_t removed = 0;
    for (std::size_t i = 1; i < occupied.size(); ++i) {
        const std::int64_t before = occupied[i - 1];
        const std::int64_t excess = occupied[i] - before - window;
        if (excess <= 0) continue;
        cuts_.push_back({before, before - removed, removed + excess});
        removed += excess;
    }
    length_ -= removed;
}

std::int64_t AxisClosing::closed(std::int64_t coordinate) const {
    const auto after = std::partition_point(
        cuts_.begin(), cuts_.end(), [&](const Cut& cut) { return cut.original < coordinate; });
    return after == cuts_.begin() ? coordinate : coordinate - std::prev(after)->removed;
}

std::int64_t AxisClosing::opened(std::int64_t translation) const {
    const auto after = std::partition_point(
        cuts_.begin(), cuts_.end(), [&](const Cut& cut) { return cut.closed < translation; });
    return after == cuts_.begin() ? translation : translation + std::prev(after)->removed;
}

}  // namespace ptmatch::detail
