#include "grid_match_report.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "grid_parts.h"
#include "number_text.h"
#include "point_tree.h"

namespace ptmatch::tool {
namespace {

bool xFirst(const rxVector<2>& a, const rxVector<2>& b) {
    return a.x() != b.x() ? a.x() < b.x() : a.y() < b.y();
}

}  // namespace

std::size_t GridPlacement::matched() const {
    return static_cast<std::size_t>(
        std::count_if(map.begin(), map.end(), [](long index) { return index >= 0; }));
}

void fitToMap(GridPlacement& placement, const GridPattern& pattern,
              const std::vector<rxVector<2>>& data) {
    std::vector<rxVector<2>> points;
    std::vector<GridPosition> positions;
    for (std::size_t k = 0; k < placement.map.size(); ++k) {
        if (placement.map[k] < 0) continue;
        points.push_back(data[static_cast<std::size_t>(placement.map[k])]);
        positions.emplace_back(pattern.positions[k]);
    }
    placement.dataFromPattern = fitToPositions(points, positions);
    placement.rmsError = 0.0;
    if (!placement.dataFromPattern) return;
    double sum = 0.0;
    for (std::size_t k = 0; k < points.size(); ++k) {
        const rxVector<2> off = *placement.dataFromPattern * rxVector<2>(*positions[k]) - points[k];
        sum += off.x() * off.x() + off.y() * off.y();
    }
    placement.rmsError = std::sqrt(sum / static_cast<double>(points.size()));
}

void preferNearest(GridPlacement& placement, const GridPattern& pattern,
                   const std::vector<rxVector<2>>& data) {
    if (!placement.dataFromPattern) return;
    const PointTree tree(data);
    // From a point of the tree back to the first of its number.
    std::vector<std::size_t> order(data.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return xFirst(data[a], data[b]); });
    for (std::size_t k = 0; k < placement.map.size(); ++k) {
        if (placement.map[k] < 0) continue;
        const rxVector<2>& taken = data[static_cast<std::size_t>(placement.map[k])];
        const rxVector<2> node = *placement.dataFromPattern * rxVector<2>(pattern.positions[k]);
        const double reach = (taken - node).len();
        const auto nearest = tree.nearestWithin(node, reach);
        if (!nearest || !((*nearest - node).len() < reach)) continue;
        const auto found = std::lower_bound(order.begin(), order.end(), *nearest,
                                            [&](std::size_t index, const rxVector<2>& point) {
                                                return xFirst(data[index], point);
                                            });
        placement.map[k] = static_cast<long>(*found);
    }
    fitToMap(placement, pattern, data);
}

std::string matchedText(const GridPlacement& placement, const std::string& separator) {
    return std::to_string(placement.matched()) + separator + std::to_string(placement.map.size());
}

std::string gridMatchCsv(const GridMatchReport& report) {
    std::string text = "column,row,data,x,y\n";
    if (report.placements.empty()) return text;
    const std::vector<long>& map = report.placements.front().map;
    for (std::size_t k = 0; k < map.size(); ++k) {
        const rxPair<long>& position = report.pattern.positions[k];
        text += std::to_string(position.x()) + ',' + std::to_string(position.y()) + ',';
        if (map[k] < 0) {
            text += ",,\n";
            continue;
        }
        const rxVector<2>& point = report.data.points[static_cast<std::size_t>(map[k])];
        text += std::to_string(map[k]) + ',' + shortText(point.x()) + ',';
        text += shortText(point.y());
        text += '\n';
    }
    return text;
}

}  // namespace ptmatch::tool
