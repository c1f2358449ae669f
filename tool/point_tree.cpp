#include "point_tree.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace ptmatch::tool {
namespace {

double squaredDistance(const rxVector<2>& a, const rxVector<2>& b) {
    const rxVector<2> d = a - b;
    return d.x() * d.x() + d.y() * d.y();
}

}  // namespace

PointTree::PointTree(std::vector<rxVector<2>> points) : points_(std::move(points)) {
    arrange({0, points_.size(), true});
}

void PointTree::arrange(const Part& part) {
    if (part.end - part.begin < 2) return;
    const std::size_t middle = part.begin + (part.end - part.begin) / 2;
    const auto at = [this](std::size_t i) {
        return points_.begin() + static_cast<std::ptrdiff_t>(i);
    };
    std::nth_element(at(part.begin), at(middle), at(part.end),
                     [&](const rxVector<2>& a, const rxVector<2>& b) {
                         return part.splitsX ? a.x() < b.x() : a.y() < b.y();
                     });
    arrange({part.begin, middle, !part.splitsX});
    arrange({middle + 1, part.end, !part.splitsX});
}

// `reach2` shrinks while points are found; a side is left out when it lies beyond it.
template <typename Visit>
void PointTree::search(const Part& part, const rxVector<2>& place, const double& reach2,
                       Visit visit) const {
    if (part.begin == part.end) return;
    const std::size_t middle = part.begin + (part.end - part.begin) / 2;
    const rxVector<2>& divider = points_[middle];
    const double ahead = part.splitsX ? place.x() - divider.x() : place.y() - divider.y();
    const Part lower{part.begin, middle, !part.splitsX};
    const Part upper{middle + 1, part.end, !part.splitsX};
    search(ahead < 0.0 ? lower : upper, place, reach2, visit);
    const double distance2 = squaredDistance(divider, place);
    if (distance2 <= reach2) visit(divider, distance2);
    if (ahead * ahead <= reach2) search(ahead < 0.0 ? upper : lower, place, reach2, visit);
}

std::vector<rxVector<2>> PointTree::nearest(const rxVector<2>& place, std::size_t count) const {
    if (count == 0) return {};
    std::vector<std::pair<double, rxVector<2>>> found;  // nearest first
    double reach2 = std::numeric_limits<double>::infinity();
    search({0, points_.size(), true}, place, reach2,
           [&](const rxVector<2>& point, double distance2) {
               if (distance2 == 0.0 || (found.size() == count && distance2 == reach2)) return;
               const auto after = std::upper_bound(
                   found.begin(), found.end(), distance2,
                   [](double distance, const auto& entry) { return distance < entry.first; });
               found.emplace(after, distance2, point);
               if (found.size() > count) found.pop_back();
               if (found.size() == count) reach2 = found.back().first;
           });
    std::vector<rxVector<2>> points;
    points.reserve(found.size());
    for (const auto& entry : found) points.push_back(entry.second);
    return points;
}

std::optional<rxVector<2>> PointTree::nearestWithin(const rxVector<2>& place, double reach) const {
    std::optional<rxVector<2>> best;
    double reach2 = reach * reach;
    search({0, points_.size(), true}, place, reach2,
           [&](const rxVector<2>& point, double distance2) {
               if (best && distance2 == reach2) return;
               best = point;
               reach2 = distance2;
           });
    return best;
}

}  // namespace ptmatch::tool
