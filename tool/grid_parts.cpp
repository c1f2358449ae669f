#include "grid_parts.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "foundation/fitter.h"
#include "plane_vectors.h"
#include "point_tree.h"

namespace ptmatch::tool {
namespace {

using Position = rxPair<long>;

constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();

// Whole steps to the positions around one: the four nearest with a point, then the four next ones.
std::vector<Position> stepsAround(bool staggered) {
    if (staggered) return {{1, 1}, {-1, -1}, {1, -1}, {-1, 1}, {2, 0}, {-2, 0}, {0, 2}, {0, -2}};
    return {{1, 0}, {-1, 0}, {0, 1}, {0, -1}, {1, 1}, {-1, -1}, {1, -1}, {-1, 1}};
}

// The occupied positions, each once, in the order of rows, so that one is found by halving.
class Nodes {
  public:
    explicit Nodes(const std::vector<GridPosition>& positions) {
        for (const GridPosition& position : positions) {
            if (position) nodes_.push_back(*position);
        }
        std::sort(nodes_.begin(), nodes_.end(), rowsFirst);
        nodes_.erase(std::unique(nodes_.begin(), nodes_.end()), nodes_.end());
    }

    std::size_t size() const { return nodes_.size(); }
    const Position& operator[](std::size_t index) const { return nodes_[index]; }
    // kNone when there is no point at the position.
    std::size_t find(const Position& position) const {
        const auto found = std::lower_bound(nodes_.begin(), nodes_.end(), position, rowsFirst);
        if (found == nodes_.end() || *found != position) return kNone;
        return static_cast<std::size_t>(found - nodes_.begin());
    }

  private:
    static bool rowsFirst(const Position& a, const Position& b) {
        return a.y() != b.y() ? a.y() < b.y() : a.x() < b.x();
    }

    std::vector<Position> nodes_;
};

// For each node whether it belongs to the largest connected part, of equal ones the first.
std::vector<bool> largestPart(const Nodes& nodes, bool staggered) {
    const std::vector<Position> steps = stepsAround(staggered);
    std::vector<bool> isSeen(nodes.size());
    std::vector<std::size_t> largest;
    for (std::size_t start = 0; start < nodes.size(); ++start) {
        if (isSeen[start]) continue;
        std::vector<std::size_t> part = {start};
        isSeen[start] = true;
        for (std::size_t k = 0; k < part.size(); ++k) {
            for (const Position& step : steps) {
                const std::size_t next = nodes.find(nodes[part[k]] + step);
                if (next == kNone || isSeen[next]) continue;
                isSeen[next] = true;
                part.push_back(next);
            }
        }
        if (part.size() > largest.size()) largest = std::move(part);
    }
    std::vector<bool> isIn(nodes.size());
    for (const std::size_t node : largest) isIn[node] = true;
    return isIn;
}

// For each node the point nearest to where `dataFromGrid` puts it, of equal ones the first.
std::vector<std::size_t> nearestPoints(const Nodes& nodes, const std::vector<rxVector<2>>& points,
                                       const std::vector<GridPosition>& positions,
                                       const rxXform<2>& dataFromGrid) {
    std::vector<std::size_t> nearest(nodes.size(), kNone);
    std::vector<double> least(nodes.size(), std::numeric_limits<double>::infinity());
    for (std::size_t k = 0; k < positions.size(); ++k) {
        if (!positions[k]) continue;
        const std::size_t node = nodes.find(*positions[k]);
        const double distance = (points[k] - dataFromGrid * rxVector<2>(*positions[k])).len();
        if (nearest[node] != kNone && !(distance < least[node])) continue;
        nearest[node] = k;
        least[node] = distance;
    }
    return nearest;
}

}  // namespace

std::optional<rxXform<2>> fitToPositions(const std::vector<rxVector<2>>& points,
                                         const std::vector<GridPosition>& positions) {
    rxLSPointToPointFitter fitter;
    for (std::size_t k = 0; k < positions.size(); ++k) {
        if (positions[k]) fitter.update(points[k], *positions[k]);
    }
    for (const int freedom : {6, 4}) {
        try {
            return fitter.fit(freedom);
        } catch (const rxLSPointToPointFitter::Errors&) {
            continue;
        }
    }
    return std::nullopt;
}

std::vector<PlacedAs> partsOf(const std::vector<rxVector<2>>& points,
                              const std::vector<GridPosition>& positions, bool staggered) {
    const Nodes nodes(positions);
    const std::vector<bool> isIn = largestPart(nodes, staggered);
    std::vector<PlacedAs> parts(positions.size(), PlacedAs::kNothing);
    std::vector<GridPosition> connected(positions.size());
    for (std::size_t k = 0; k < positions.size(); ++k) {
        if (!positions[k]) continue;
        const bool isConnected = isIn[nodes.find(*positions[k])];
        parts[k] = isConnected ? PlacedAs::kNode : PlacedAs::kStray;
        if (isConnected) connected[k] = positions[k];
    }
    const auto dataFromGrid = fitToPositions(points, connected);
    if (!dataFromGrid) return parts;
    const std::vector<std::size_t> nearest = nearestPoints(nodes, points, connected, *dataFromGrid);
    for (std::size_t k = 0; k < positions.size(); ++k) {
        if (connected[k] && nearest[nodes.find(*connected[k])] != k) parts[k] = PlacedAs::kDouble;
    }
    return parts;
}

std::size_t pointsThatGoOn(const std::vector<rxVector<2>>& points,
                           const std::vector<GridPosition>& positions, bool staggered) {
    constexpr double kTolerance = 0.2;
    const Nodes nodes(positions);
    std::vector<rxVector<2>> placeOf(nodes.size());
    std::vector<rxVector<2>> others;
    for (std::size_t k = 0; k < positions.size(); ++k) {
        if (positions[k]) {
            placeOf[nodes.find(*positions[k])] = points[k];
        } else {
            others.push_back(points[k]);
        }
    }
    const PointTree tree(std::move(others));
    std::vector<Position> steps = stepsAround(staggered);
    steps.resize(4);
    std::vector<rxVector<2>> found;
    for (std::size_t node = 0; node < nodes.size(); ++node) {
        for (const Position& step : steps) {
            const std::size_t before = nodes.find(nodes[node] - step);
            if (before == kNone || nodes.find(nodes[node] + step) != kNone) continue;
            const rxVector<2> link = placeOf[node] - placeOf[before];
            const auto next = tree.nearestWithin(placeOf[node] + link, kTolerance * link.len());
            if (next) found.push_back(*next);
        }
    }
    std::sort(found.begin(), found.end(), [](const rxVector<2>& a, const rxVector<2>& b) {
        return a.x() != b.x() ? a.x() < b.x() : a.y() < b.y();
    });
    return static_cast<std::size_t>(
        std::distance(found.begin(), std::unique(found.begin(), found.end())));
}

}  // namespace ptmatch::tool
