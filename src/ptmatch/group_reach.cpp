#include "ptmatch/group_reach.h"

#include <algorithm>
#include <cmath>

namespace ptmatch::detail {
namespace {

// More layers make sharper bounds and more bitmaps to draw.
constexpr long kMaxLayers = 4;

// Room for the rounding of coordinates; see also GroupBounds::isWithinReach().
constexpr double kMargin = 1e-3;

// Two numbers no further apart than this round to pixels no further apart than the result. For
// whole numbers it is one more: halves are rounded away from zero, so -0.5 and 0.5 are two apart.
long pixelsApart(double distance) {
    return static_cast<long>(std::floor(distance)) + 1;
}

}  // namespace

GroupReach::GroupReach(const GroupSize& size, const std::vector<double>& radius) {
    const double displacement = size.displacement();
    const auto reachAt = [&](double r) { return pixelsApart(r * displacement + kMargin); };
    const long farthest = reachAt(1.0);
    const long numLayers = std::min(farthest, kMaxLayers);
    std::vector<long> reaches;
    std::vector<bool> isUsed;
    for (long k = 1; k <= numLayers; ++k) {
        reaches.push_back((farthest * k + numLayers - 1) / numLayers);
        isUsed.push_back(false);
    }
    layerOf.reserve(radius.size());
    for (const double r : radius) {
        const auto layer = std::lower_bound(reaches.begin(), reaches.end(), reachAt(r));
        layerOf.push_back(static_cast<std::size_t>(layer - reaches.begin()));
        isUsed[layerOf.back()] = true;
    }
    // Layers that nobody looks at are not drawn.
    std::vector<std::size_t> newLayer;
    for (std::size_t k = 0; k < reaches.size(); ++k) {
        newLayer.push_back(ofLayer.size());
        if (isUsed[k]) ofLayer.push_back(reaches[k]);
    }
    for (std::size_t& layer : layerOf) layer = newLayer[layer];
}

}  // namespace ptmatch::detail
