#include "ptmatch/ptgdmap/local_model.h"

#include <cmath>
#include <limits>

#include "foundation/exception.h"
#include "ptmatch/ptgdmap/distance_bands.h"

namespace ptmatch::detail {
namespace {

/// The best model so far, and how well it fits.
class Choice {
  public:
    Choice(const LocalModelMaker& maker, std::span<const PointNode> nodes, std::int32_t seed)
        : maker_(maker), nodes_(nodes) {
        const PointNode& node = nodes[static_cast<std::size_t>(seed)];
        best_.estimator = maker.at(node.point);
        best_.node = seed;
        residual_ = localResidual(best_.estimator, node, nodes);
    }

    void offer(std::int32_t candidate) {
        const PointNode& node = nodes_[static_cast<std::size_t>(candidate)];
        try {
            const rx2PtMatchTm model = maker_.at(node.point);
            const double residual = localResidual(model, node, nodes_);
            if (residual < residual_) {
                best_ = {model, candidate};
                residual_ = residual;
            }
        } catch (const rxLSPointToPointFitter::Errors&) {
            return;
        } catch (const rxMathError&) {
            return;
        }
    }

    const LocalModel& best() const { return best_; }

  private:
    const LocalModelMaker& maker_;
    std::span<const PointNode> nodes_;
    LocalModel best_;
    double residual_;
};

}  // namespace

LocalModelMaker::LocalModelMaker(const MapSetup& setup, double rotationDeg)
    : hasX_(!setup.xv.isNull()), hasY_(!setup.yv.isNull()), dof_(setup.dof()) {
    const rxRadian angle = rxDegree(rotationDeg);
    const rxXform<2> rotation(rxVector<2>(), angle, angle, 1.0, 1.0);
    xStep_ = rotation * setup.xv;
    yStep_ = rotation * setup.yv;
}

rx2PtMatchTm LocalModelMaker::at(const rxVector<2>& origin) const {
    rx2PtMatchTm model;
    model.update(rxVector<2>(0.0, 0.0), origin);
    if (hasX_) model.update(rxVector<2>(1.0, 0.0), origin + xStep_);
    if (hasY_) model.update(rxVector<2>(0.0, 1.0), origin + yStep_);
    model.fit(dof_);
    return model;
}

double localResidual(const rx2PtMatchTm& model, const PointNode& node,
                     std::span<const PointNode> nodes) {
    double sum = 0.0;
    int count = 0;
    for (const NeighbourLink& link : node.ownLinks()) {
        if (!link.used) continue;
        const rxVector<2>& point = nodes[static_cast<std::size_t>(link.neighbour)].point;
        sum += squaredLength(model.a2b(nearestNode(model.b2a(point))) - point);
        ++count;
    }
    return count == 0 ? std::numeric_limits<double>::infinity() : sum / count;
}

LocalModel bestLocalModel(const LocalModelMaker& maker, std::span<const PointNode> nodes,
                          std::int32_t seed) {
    Choice choice(maker, nodes, seed);
    const auto linksOf = [&](std::int32_t node) {
        return nodes[static_cast<std::size_t>(node)].ownLinks();
    };
    for (const NeighbourLink& link : linksOf(seed)) {
        if (!link.used) continue;
        choice.offer(link.neighbour);
        for (const NeighbourLink& further : linksOf(link.neighbour)) {
            if (further.used) choice.offer(further.neighbour);
        }
    }
    return choice.best();
}

rxVector<2> nearestNode(const rxVector<2>& onGrid) {
    return rxVector<2>(std::floor(onGrid.x() + 0.5), std::floor(onGrid.y() + 0.5));
}

}  // namespace ptmatch::detail
