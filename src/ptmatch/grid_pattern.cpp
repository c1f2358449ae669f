#include "ptmatch/grid_pattern.h"

#include <algorithm>
#include <array>

namespace ptmatch::detail {
namespace {

constexpr long kFewestDensePoints = 10;

using Steps = std::array<rxPair<long>, 4>;
constexpr Steps kSides = {{{-1, 0}, {1, 0}, {0, -1}, {0, 1}}};
constexpr Steps kDiagonals = {{{-1, -1}, {1, -1}, {-1, 1}, {1, 1}}};

bool isPoint(const PatternImage& image, const rxPair<long>& p) {
    return p.x() >= 0 && p.x() < image.width() && p.y() >= 0 && p.y() < image.height() &&
           image.pointToRow(p.y())[p.x()] != 0;
}

/// Whether some point has at least so many neighbours among the given ones.
bool hasPointWithNeighbours(const PatternImage& image, const Steps& steps, long atLeast) {
    for (long y = 0; y < image.height(); ++y) {
        for (long x = 0; x < image.width(); ++x) {
            const rxPair<long> p(x, y);
            if (!isPoint(image, p)) continue;
            const auto neighbours = std::ranges::count_if(
                steps, [&](const rxPair<long>& step) { return isPoint(image, p + step); });
            if (neighbours >= atLeast) return true;
        }
    }
    return false;
}

}  // namespace

long countGridPoints(const PatternImage& image) {
    long count = 0;
    for (long y = 0; y < image.height(); ++y) {
        const unsigned char* row = image.pointToRow(y);
        count += image.width() - std::count(row, row + image.width(), 0);
    }
    return count;
}

std::vector<rxPair<long>> gridPointsOf(const PatternImage& image) {
    std::vector<rxPair<long>> points;
    points.reserve(static_cast<std::size_t>(countGridPoints(image)));
    for (long y = 0; y < image.height(); ++y) {
        const unsigned char* row = image.pointToRow(y);
        for (long x = 0; x < image.width(); ++x) {
            if (row[x] != 0) points.emplace_back(x, y);
        }
    }
    return points;
}

bool isStaggeredPattern(const PatternImage& image) {
    return !hasPointWithNeighbours(image, kSides, 1);
}

bool isSparsePattern(const PatternImage& image, bool staggered) {
    return countGridPoints(image) < kFewestDensePoints ||
           !hasPointWithNeighbours(image, staggered ? kDiagonals : kSides, 2);
}

}  // namespace ptmatch::detail
