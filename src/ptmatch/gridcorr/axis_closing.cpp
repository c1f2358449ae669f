#include "ptmatch/gridcorr/axis_closing.h"

#include <algorithm>
#include <iterator>

namespace ptmatch::detail {

AxisClosing::AxisClosing(const std::vector<std::int64_t>& occupied, std::int64_t length,
                         std::int64_t window)
    : length_(length) {
    std::int64_t removed = 0;
    std::int64_t before = -1;
    const auto close = [&](std::int64_t next) {
        const std::int64_t excess = next - before - window;
        if (excess > 0) {
            cuts_.push_back({before, before - removed, removed + excess});
            removed += excess;
        }
        before = next;
    };
    for (const std::int64_t coordinate : occupied) close(coordinate);
    close(length);
    length_ -= removed;
}

std::int64_t AxisClosing::removedBefore(std::int64_t coordinate) const {
    const auto after = std::partition_point(
        cuts_.begin(), cuts_.end(), [&](const Cut& cut) { return cut.original < coordinate; });
    return after == cuts_.begin() ? 0 : std::prev(after)->removed;
}

std::int64_t AxisClosing::opened(std::int64_t translation) const {
    const auto after = std::partition_point(
        cuts_.begin(), cuts_.end(), [&](const Cut& cut) { return cut.closed < translation; });
    return after == cuts_.begin() ? translation : translation + std::prev(after)->removed;
}

}  // namespace ptmatch::detail
