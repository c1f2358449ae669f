#include "grid_map_report.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "number_text.h"
#include "picture_frame.h"

namespace ptmatch::tool {
namespace {

using Positions = std::vector<rxPair<long>>;

bool rowsFirst(const rxPair<long>& a, const rxPair<long>& b) {
    return a.y() != b.y() ? a.y() < b.y() : a.x() < b.x();
}

GridBounds boundsOf(const Positions& positions) {
    GridBounds bounds{positions.front(), positions.front()};
    for (const rxPair<long>& p : positions) {
        bounds.low = {std::min(bounds.low.x(), p.x()), std::min(bounds.low.y(), p.y())};
        bounds.high = {std::max(bounds.high.x(), p.x()), std::max(bounds.high.y(), p.y())};
    }
    return bounds;
}

// The occupied positions, each once, row by row.
Positions occupied(const GridMapReport& report) {
    Positions positions;
    for (const GridPosition& position : report.positions) {
        if (position) positions.push_back(*position);
    }
    std::sort(positions.begin(), positions.end(), rowsFirst);
    positions.erase(std::unique(positions.begin(), positions.end()), positions.end());
    return positions;
}

long floorDivided(long numerator, long denominator) {
    const long quotient = numerator / denominator;
    return numerator % denominator != 0 && (numerator < 0) != (denominator < 0) ? quotient - 1
                                                                                : quotient;
}

struct Corner {
    long x;
    long y;
};

// The columns of row y inside the convex polygon, from first to last; none when first is the
// larger. Exact: edges are met in fractions of whole numbers.
std::pair<long, long> columnsInside(const std::vector<Corner>& polygon, long y) {
    long first = std::numeric_limits<long>::max();
    long last = std::numeric_limits<long>::min();
    for (std::size_t k = 0; k < polygon.size(); ++k) {
        const Corner& p = polygon[k];
        const Corner& q = polygon[(k + 1) % polygon.size()];
        if (y < std::min(p.y, q.y) || y > std::max(p.y, q.y)) continue;
        if (p.y == q.y) {
            first = std::min({first, p.x, q.x});
            last = std::max({last, p.x, q.x});
            continue;
        }
        const long run = (q.x - p.x) * (y - p.y);
        const long rise = q.y - p.y;
        first = std::min(first, p.x - floorDivided(-run, rise));  // rounded up
        last = std::max(last, p.x + floorDivided(run, rise));
    }
    return {first, last};
}

// The positions inside the hull of `nodes` that are none of them.
std::optional<Positions> missingNodes(const Positions& nodes, bool staggered) {
    constexpr long kLargestBox = 1L << 22;
    const auto [low, high] = boundsOf(nodes);
    const long width = high.x() - low.x() + 1;
    const long height = high.y() - low.y() + 1;
    if (width > kLargestBox || height > kLargestBox || width * height > kLargestBox) {
        return std::nullopt;
    }
    // Whole numbers of this size are exact as doubles, and so is the hull.
    std::vector<Corner> polygon;
    for (const rxVector<2>& corner :
         convexHull(std::vector<rxVector<2>>(nodes.begin(), nodes.end()))) {
        polygon.push_back({static_cast<long>(corner.x()), static_cast<long>(corner.y())});
    }
    Positions missing;
    for (long j = low.y(); j <= high.y(); ++j) {
        const auto [first, last] = columnsInside(polygon, j);
        for (long i = first; i <= last; ++i) {
            if (staggered && (i + j) % 2 != 0) continue;
            if (!std::binary_search(nodes.begin(), nodes.end(), rxPair<long>(i, j), rowsFirst)) {
                missing.emplace_back(i, j);
            }
        }
    }
    return missing;
}

void measureErrors(const GridMapReport& report, GridMapFigures& figures) {
    double sum = 0.0;
    double largest = 0.0;
    for (std::size_t k = 0; k < report.positions.size(); ++k) {
        if (!report.positions[k]) continue;
        const rxVector<2> node = *report.dataFromGrid * rxVector<2>(*report.positions[k]);
        const rxVector<2> off = report.data.points[k] - node;
        const double error = std::hypot(off.x(), off.y());
        largest = std::max(largest, error);
        sum += error * error;
    }
    figures.rmsError = std::sqrt(sum / static_cast<double>(figures.placed));
    figures.largestError = largest;
}

}  // namespace

GridMapFigures figuresOf(const GridMapReport& report) {
    GridMapFigures figures;
    figures.placed =
        static_cast<std::size_t>(std::count_if(report.positions.begin(), report.positions.end(),
                                               [](const auto& p) { return p.has_value(); }));
    if (figures.placed == 0) return figures;
    const Positions nodes = occupied(report);
    figures.nodes = nodes.size();
    figures.bounds = boundsOf(nodes);
    figures.missing = missingNodes(nodes, report.staggered);
    figures.goesOn = pointsThatGoOn(report.data.points, report.positions, report.staggered);
    if (report.dataFromGrid) measureErrors(report, figures);
    return figures;
}

void countFromZero(GridMapReport& report) {
    const Positions nodes = occupied(report);
    if (nodes.empty()) return;
    rxPair<long> low = boundsOf(nodes).low;
    if (report.staggered && (low.x() + low.y()) % 2 != 0) low = {low.x() - 1, low.y()};
    for (GridPosition& position : report.positions) {
        if (position) position = *position - low;
    }
    if (report.dataFromGrid) {
        report.dataFromGrid = *report.dataFromGrid * rxXform<2>(rxMatrix<2>(1, 0, 0, 1), low);
    }
}

std::string gridMapCsv(const GridMapReport& report) {
    std::string text = "x,y,i,j\n";
    for (std::size_t k = 0; k < report.data.points.size(); ++k) {
        const rxVector<2>& point = report.data.points[k];
        text += shortText(point.x());
        text += ',';
        text += shortText(point.y());
        text += ',';
        if (const GridPosition& position = report.positions[k]) {
            text += std::to_string(position->x()) + ',' + std::to_string(position->y());
        } else {
            text += ',';
        }
        text += '\n';
    }
    return text;
}

}  // namespace ptmatch::tool
