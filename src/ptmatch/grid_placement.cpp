#include "ptmatch/grid_placement.h"

#include <cmath>
#include <limits>

#include "foundation/image_functions.h"
#include "ptmatch/try_fit.h"

namespace ptmatch::detail {
namespace {

constexpr long kRowAlignment = 32;  // bytes
constexpr long kNoData = -1;
constexpr int kAffine = 6;

double squaredLength(const rxVector<2>& v) {
    return v.x() * v.x() + v.y() * v.y();
}

}  // namespace

GridPlacement::GridPlacement(const rx_PelBuffer& pattern)
    : map_(pattern.width(), pattern.height(), kRowAlignment) {
    map_.offset(pattern.offset());
    rfPelSet(map_, kNoData);
}

void GridPlacement::put(const rxPair<long>& position, long dataIndex,
                        const rxVector<2>& dataPoint) {
    if (map_.get(position) == kNoData) {
        ++numCovered_;
        collinearity_.add(position);
    }
    map_.put(position.x(), position.y(), dataIndex);
    fitter_.update(dataPoint, position);
}

rxXform<2> GridPlacement::dataFromGrid() const {
    return fitOrIdentity(fitter_, collinearity_.holds() ? kSimilarity : kAffine);
}

double coverageOf(const GridPlacement& placement, long numGridPoints) {
    return static_cast<double>(placement.numCovered()) / static_cast<double>(numGridPoints);
}

double meanSquaredGridError(const rxPelBuffer<long>& map, std::span<const rxVector<2>> data,
                            const rxXform<2>& modelFromData) {
    double sum = 0.0;
    long count = 0;
    for (long y = 0; y < map.height(); ++y) {
        const long* row = map.pointToRow(y);
        for (long x = 0; x < map.width(); ++x) {
            if (row[x] < 0) continue;
            const rxVector<2> position = rxPair<long>(x, y) + map.offset();
            sum += squaredLength(modelFromData * data[static_cast<std::size_t>(row[x])] - position);
            ++count;
        }
    }
    // A difference of infinities is not a number, and could not be ordered.
    if (std::isnan(sum)) return std::numeric_limits<double>::infinity();
    return count > 0 ? sum / static_cast<double>(count) : 0.0;
}

}  // namespace ptmatch::detail
