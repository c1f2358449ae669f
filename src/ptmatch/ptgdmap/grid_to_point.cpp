#include "ptmatch/ptgdmap/grid_to_point.h"

#include "foundation/fitter.h"
#include "ptmatch/collinearity.h"
#include "ptmatch/ptgdmap.h"

namespace ptmatch::detail {

rxPair<long> unassignedPosition() {
    return rxPair<long>(rxPtToGridMapResult::kUnassigned, rxPtToGridMapResult::kUnassigned);
}

void undoDiagonals(std::span<rxPair<long>> map) {
    for (rxPair<long>& entry : map) {
        if (entry == unassignedPosition()) continue;
        entry = rxPair<long>(entry.x() - entry.y(), entry.x() + entry.y());
    }
}

rxXform<2> fitGridToPoint(std::span<const rxVector<2>> points, std::span<const rxPair<long>> map,
                          bool bothSteps) {
    rxLSPointToPointFitter fitter;
    Collinearity collinearity;
    for (std::size_t k = 0; k < points.size(); ++k) {
        if (map[k] == unassignedPosition()) continue;
        const rxVector<2> position(map[k]);
        fitter.update(points[k], position);
        collinearity.add(position);
    }
    return fitter.fit(bothSteps && !collinearity.holds() ? 6 : 4);
}

}  // namespace ptmatch::detail
