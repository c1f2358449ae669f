#include "ptmatch/gridcorr/occupied_coordinates.h"

#include <algorithm>
#include <utility>

namespace ptmatch::detail {

std::vector<std::int64_t> OccupiedCoordinates::sorted() {
    std::sort(coordinates_.begin(), coordinates_.end());
    coordinates_.erase(std::unique(coordinates_.begin(), coordinates_.end()), coordinates_.end());
    return std::move(coordinates_);
}

}  // namespace ptmatch::detail
