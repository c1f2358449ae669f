#include "plate_grid.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <utility>

#include "foundation/angle.h"
#include "foundation/exception.h"
#include "foundation/image.h"
#include "foundation/image_functions.h"
#include "foundation/range.h"
#include "ptmatch/perspective_fit.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/ptgdmap.h"

namespace picture_to_pose {
namespace {

using Points = std::vector<rxVector<2>>;
using Position = std::pair<long, long>;  // (row, column): dots come row by row
using Placed = std::map<Position, std::size_t>;

constexpr std::size_t kFewestDots = 10;  // fewer lie on a grid by chance
constexpr double kDegreesToSpare = 5.0;  // the very ends of a range of rotations are not found

rxVector<2> onGrid(const Position& position) {
    return rxVector<2>(rxPair<long>(position.second, position.first));
}

Position neighbour(const Position& position, int k, bool staggered) {
    constexpr std::array<Position, 4> kStraight = {{{0, 1}, {1, 0}, {0, -1}, {-1, 0}}};
    constexpr std::array<Position, 4> kDiagonal = {{{1, 1}, {1, -1}, {-1, -1}, {-1, 1}}};
    const Position& step = (staggered ? kDiagonal : kStraight).at(static_cast<std::size_t>(k));
    return {position.first + step.first, position.second + step.second};
}

// How the plate may look in the picture.
struct View {
    double rowRatio = 1.0;  // distance of rows over distance of columns, as seen
    double snap = 0.0;      // share of the distance of neighbours
};

// 1. What one affine transform reaches.
Placed mapped(const Points& centres, double spacing, const View& view,
              const PlateOptions& options) {
    const double column = options.staggered ? spacing / std::hypot(1.0, view.rowRatio)
                                            : spacing / std::min(1.0, view.rowRatio);
    rxPtToGridMapRunParams params(rxVector<2>(column, 0.0),
                                  rxVector<2>(0.0, view.rowRatio * column));
    params.staggered(options.staggered);
    params.snapSize(view.snap * spacing);
    params.sizeTol(rxRange(1.0 - options.tolerance, 1.0 + options.tolerance));
    // Turned by 90 degrees, a square grid is the same again; any other after 180.
    const double turn = (view.rowRatio == 1.0 ? 45.0 : 90.0) + kDegreesToSpare;
    params.angleTol(rxAngleRange(rxDegree(-turn), rxDegree(turn)));
    rxPtToGridMapResult result;
    rfPtToGridMap(centres, params, result);

    Placed placed;
    if (!result.valid()) return placed;
    for (std::size_t k = 0; k < centres.size(); ++k) {
        const rxPair<long> position = result.map()[k];
        if (position.x() == rxPtToGridMapResult::kUnassigned) continue;
        placed.emplace(Position(position.y(), position.x()), k);
    }
    return placed;
}

// Clutter may lie on a position by chance: only the largest connected part is the plate.
Placed largestPart(const Placed& placed, bool staggered) {
    Placed rest = placed;
    Placed largest;
    while (!rest.empty()) {
        Placed part;
        std::vector<Position> open = {rest.begin()->first};
        while (!open.empty()) {
            const Position position = open.back();
            open.pop_back();
            const auto found = rest.find(position);
            if (found == rest.end()) continue;
            part.insert(*found);
            rest.erase(found);
            for (int k = 0; k < 4; ++k) open.push_back(neighbour(position, k, staggered));
        }
        if (part.size() > largest.size()) largest = std::move(part);
    }
    return largest;
}

struct Pairs {
    Points grid;
    Points picture;
};

Pairs pairsOf(const Placed& placed, const Points& centres) {
    Pairs pairs;
    for (const auto& [position, blob] : placed) {
        pairs.grid.push_back(onGrid(position));
        pairs.picture.push_back(centres[blob]);
    }
    return pairs;
}

// Nothing when the dots leave it open: too few of them, or all in a row.
std::optional<rx2PTm> perspectiveOf(const Placed& placed, const Points& centres) {
    if (placed.size() < kFewestDots) return std::nullopt;
    const Pairs pairs = pairsOf(placed, centres);
    try {
        return rfFitPerspectiveNormalized(pairs.grid, pairs.picture);
    } catch (const rxException&) {
        return std::nullopt;
    }
}

// A perspective transform as the rows of its matrix.
using Rows = std::array<std::array<double, 3>, 3>;

Rows rowsOf(const rx2PTm& tm) {
    const rx2PTm::Params& p = tm.a2bParams();
    return {{{p[0], p[1], p[2]}, {p[3], p[4], p[5]}, {p[6], p[7], 1.0}}};
}

// By how much the area around a place grows from plane a to plane b.
double areaScaleAt(const rx2PTm& tm, const rxVector<2>& place) {
    const Rows m = rowsOf(tm);
    const double determinant = m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
                               m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
                               m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
    const double w = m[2][0] * place.x() + m[2][1] * place.y() + m[2][2];
    return std::abs(determinant / (w * w * w));
}

// The blob nearest to where a position should be, if it is near enough.
std::optional<std::size_t> blobAt(const Position& position, const rx2PTm& pictureFromGrid,
                                  const Points& centres, const PlateOptions& options) {
    const rxVector<2> expected = pictureFromGrid.a2b(onGrid(position));
    double step = std::numeric_limits<double>::infinity();
    for (int k = 0; k < 4; ++k) {
        const rxVector<2> next =
            pictureFromGrid.a2b(onGrid(neighbour(position, k, options.staggered)));
        step = std::min(step, (next - expected).len());
    }
    double nearest = options.snap * step;
    std::optional<std::size_t> blob;
    for (std::size_t k = 0; k < centres.size(); ++k) {
        const double distance = (centres[k] - expected).len();
        if (distance >= nearest) continue;
        nearest = distance;
        blob = k;
    }
    return blob;
}

// 2. Takes in neighbours, and lets go what the transform no longer bears out.
Placed grown(Placed placed, const Points& centres, const PlateOptions& options) {
    constexpr int kMostRounds = 200;
    for (int round = 0; round < kMostRounds; ++round) {
        const std::optional<rx2PTm> pictureFromGrid = perspectiveOf(placed, centres);
        if (!pictureFromGrid) return {};
        Placed next;
        const auto look = [&](const Position& position) {
            if (next.contains(position)) return;
            if (const auto blob = blobAt(position, *pictureFromGrid, centres, options)) {
                next.emplace(position, *blob);
            }
        };
        for (const auto& [position, blob] : placed) {
            look(position);
            for (int k = 0; k < 4; ++k) look(neighbour(position, k, options.staggered));
        }
        next = largestPart(next, options.staggered);
        if (next == placed) break;
        placed = std::move(next);
    }
    return placed;
}

double medianOf(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// Without what lies further off than the other dots do: stains, or print beside the plate, that
// came close enough to a position.
Placed tidied(Placed placed, const Points& centres, const PlateOptions& options) {
    constexpr double kMedians = 6.0;
    constexpr double kShareOfStep = 0.01;  // the least that is too far, for plates without an error
    constexpr int kMostRounds = 20;
    for (int round = 0; round < kMostRounds; ++round) {
        const std::optional<rx2PTm> tm = perspectiveOf(placed, centres);
        if (!tm) return {};
        std::map<Position, double> off;  // in steps
        std::vector<double> all;
        for (const auto& [position, blob] : placed) {
            const double distance = (centres[blob] - tm->a2b(onGrid(position))).len();
            off[position] = distance / std::sqrt(areaScaleAt(*tm, onGrid(position)));
            all.push_back(off[position]);
        }
        const double tooFar = std::max(kMedians * medianOf(std::move(all)), kShareOfStep);
        const std::size_t before = placed.size();
        std::erase_if(placed, [&](const auto& dot) { return off[dot.first] > tooFar; });
        if (placed.size() == before) break;
    }
    return largestPart(placed, options.staggered);
}

// The largest plate in one of several views: a plate seen from the side shows one of its distances
// shortened, and one that bends away from its affine transform needs a wider snap.
Placed largestPlate(const Points& centres, double spacing, const PlateOptions& options) {
    constexpr double kForeshortened = 1.4;  // reaches from 1 to 2, by the tolerance
    Placed largest;
    for (const double factor : {1.0, kForeshortened, 1.0 / kForeshortened}) {
        for (const double snap : {0.25, 0.35}) {
            const View view{factor * options.rowRatio, snap};
            Placed placed = largestPart(mapped(centres, spacing, view, options), options.staggered);
            placed = tidied(grown(std::move(placed), centres, options), centres, options);
            if (placed.size() > largest.size()) largest = std::move(placed);
        }
    }
    return largest;
}

rxPair<long> quarterTurned(const rxPair<long>& p, int turns) {
    rxPair<long> turned = p;
    for (int k = 0; k < turns; ++k) turned = rxPair<long>(-turned.y(), turned.x());
    return turned;
}

// The pattern turned, moved to begin at (0, 0), in the order of the pattern.
std::vector<rxPair<long>> turnedPattern(const std::vector<rxPair<long>>& pattern, int turns) {
    std::vector<rxPair<long>> turned;
    rxPair<long> low = quarterTurned(pattern.front(), turns);
    for (const rxPair<long>& position : pattern) {
        turned.push_back(quarterTurned(position, turns));
        low = {std::min(low.x(), turned.back().x()), std::min(low.y(), turned.back().y())};
    }
    for (rxPair<long>& position : turned) position = position - low;
    return turned;
}

rxPelBuffer_const<unsigned char> imageOf(const std::vector<rxPair<long>>& positions) {
    rxPair<long> size;
    for (const rxPair<long>& p : positions) {
        size = {std::max(size.x(), p.x() + 1), std::max(size.y(), p.y() + 1)};
    }
    rxPelBuffer<unsigned char> image(size.x(), size.y(), 1);
    rfPelClear(image);
    for (const rxPair<long>& p : positions) image.put(p.x(), p.y(), 1);
    return image;
}

struct Placement {
    double coverage = 0.0;
    Placed placed;
};

// The best placement of the pattern, turned, among dots in the plane of the plate.
Placement placedAs(int turns, const Points& dots, const std::vector<std::size_t>& blobs,
                   const PlateOptions& options) {
    const std::vector<rxPair<long>> turned = turnedPattern(options.pattern, turns);
    rxPointMatcher matcher;
    matcher.train(imageOf(turned));  // in steps of the grid, which are those of the dots

    rxPointMatcherRunParams params(options.minCoverage);
    params.scaleUncertainty(rxRange(-0.2, 0.2));  // by default none, which measured points miss
    rxPointMatcherResultSet found;
    matcher.run(dots, params, found);
    Placement placement;
    if (found.results().empty()) return placement;
    const rxPointMatcherResult& best = found.results().front();
    placement.coverage = best.coverage();
    for (std::size_t k = 0; k < turned.size(); ++k) {
        const long dot = best.gridToDataMap(turned[k]);
        if (dot < 0) continue;
        const rxPair<long>& position = options.pattern[k];
        placement.placed.emplace(Position(position.y(), position.x()),
                                 blobs[static_cast<std::size_t>(dot)]);
    }
    return placement;
}

// 3. Which dot of the pattern is which.
Placed placedInPattern(const Placed& placed, const Points& centres, const PlateOptions& options) {
    const std::optional<rx2PTm> pictureFromGrid = perspectiveOf(placed, centres);
    if (!pictureFromGrid) return {};
    Points dots;
    std::vector<std::size_t> blobs;
    for (const auto& [position, blob] : placed) {
        dots.push_back(pictureFromGrid->b2a(centres[blob]));
        blobs.push_back(blob);
    }
    // A plate that looks the same after a turn is taken as turned the least: 0, 90, -90, 180.
    Placement best;
    for (const int turns : {0, 1, 3, 2}) {
        if (turns % 2 == 1 && options.rowRatio != 1.0) continue;
        Placement placement = placedAs(turns, dots, blobs, options);
        if (placement.coverage > best.coverage) best = std::move(placement);
    }

    // Dots that stood alone were left out as clutter; now their positions are known.
    const std::optional<rx2PTm> pictureFromPattern = perspectiveOf(best.placed, centres);
    if (!pictureFromPattern) return {};
    for (const rxPair<long>& p : options.pattern) {
        const Position position(p.y(), p.x());
        if (best.placed.contains(position)) continue;
        if (const auto blob = blobAt(position, *pictureFromPattern, centres, options)) {
            best.placed.emplace(position, *blob);
        }
    }
    return best.placed;
}

// The turns after which columns lead to the right, as nearly as they can.
int turnsUpright(const Placed& placed, const Points& centres, const PlateOptions& options) {
    const Pairs pairs = pairsOf(placed, centres);
    const rxXform<2> pictureFromGrid = rx2PtMatchTm(pairs.grid, pairs.picture, 6).a2bXform();
    int best = 0;
    double farthest = -2.0;
    for (const int turns : {0, 1, 2, 3}) {
        if (turns % 2 == 1 && options.rowRatio != 1.0) continue;
        const rxVector<2> column =
            pictureFromGrid.matrix() * rxVector<2>(quarterTurned({1, 0}, 4 - turns));
        const double toTheRight = column.x() / column.len();
        if (toTheRight <= farthest) continue;
        farthest = toTheRight;
        best = turns;
    }
    return best;
}

// Columns to the right, and both from 0; of a staggered plate, moved by an even sum.
Placed upright(const Placed& placed, const Points& centres, const PlateOptions& options) {
    const int turns = turnsUpright(placed, centres, options);
    std::vector<std::pair<rxPair<long>, std::size_t>> turned;
    rxPair<long> low =
        quarterTurned({placed.begin()->first.second, placed.begin()->first.first}, turns);
    for (const auto& [position, blob] : placed) {
        turned.emplace_back(quarterTurned({position.second, position.first}, turns), blob);
        const rxPair<long>& p = turned.back().first;
        low = {std::min(low.x(), p.x()), std::min(low.y(), p.y())};
    }
    if (options.staggered && (low.x() + low.y()) % 2 != 0) low = {low.x() - 1, low.y()};
    Placed result;
    for (const auto& [position, blob] : turned) {
        const rxPair<long> moved = position - low;
        result.emplace(Position(moved.y(), moved.x()), blob);
    }
    return result;
}

// The centre of the ellipse that a circle is seen as. Moved to the circle's centre, the transform
// takes the circle's line conic diag(r^2, r^2, -1) to that of the ellipse, whose last column is the
// ellipse's centre (Hartley and Zisserman, "Multiple view geometry", 2.2.3 and 2.3).
rxVector<2> ellipseCentre(const rx2PTm& tm, const rxVector<2>& centre, double radius) {
    Rows m = rowsOf(tm);
    for (std::array<double, 3>& row : m) row[2] += row[0] * centre.x() + row[1] * centre.y();
    const auto element = [&](std::size_t i) {
        return radius * radius * (m[i][0] * m[2][0] + m[i][1] * m[2][1]) - m[i][2] * m[2][2];
    };
    return {element(0) / element(2), element(1) / element(2)};
}

// The radius of the dots, in steps: the median of what their blobs say.
double dotRadius(const Placed& placed, const std::vector<Blob>& blobs, const rx2PTm& tm) {
    std::vector<double> radii;
    for (const auto& [position, blob] : placed) {
        radii.push_back(blobs[blob].radius / std::sqrt(areaScaleAt(tm, onGrid(position))));
    }
    return medianOf(std::move(radii));
}

// 4. Where the centres of the discs are seen, for the dots that are placed.
Points discCentres(const Placed& placed, const std::vector<Blob>& blobs, Points centres) {
    constexpr int kRounds = 3;  // each leaves a small part of the error of the one before
    for (int round = 0; round < kRounds; ++round) {
        const std::optional<rx2PTm> tm = perspectiveOf(placed, centres);
        if (!tm) break;
        const double radius = dotRadius(placed, blobs, *tm);
        for (const auto& [position, blob] : placed) {
            const rxVector<2> node = onGrid(position);
            const rxVector<2> shift = ellipseCentre(*tm, node, radius) - tm->a2b(node);
            centres[blob] = blobs[blob].centre - shift;
        }
    }
    return centres;
}

// Of each point the distance to its nearest neighbour, ascending.
std::vector<double> nearestDistances(const Points& points) {
    std::vector<double> distances;
    for (std::size_t i = 0; i < points.size(); ++i) {
        double nearest = std::numeric_limits<double>::infinity();
        for (std::size_t k = 0; k < points.size(); ++k) {
            if (k != i) nearest = std::min(nearest, (points[k] - points[i]).len());
        }
        if (std::isfinite(nearest) && nearest > 0.0) distances.push_back(nearest);
    }
    std::sort(distances.begin(), distances.end());
    return distances;
}

Plate plateOf(const Placed& placed, const Points& centres, const PlateOptions& options) {
    const Pairs pairs = pairsOf(placed, centres);
    Plate plate;
    const rx2PtMatchTm affine(pairs.grid, pairs.picture, 6);
    plate.affine = affine.a2bXform();
    plate.affineResidual = rfFitResidual(affine, pairs.grid, pairs.picture);
    plate.perspective = rfFitPerspectiveNormalized(pairs.grid, pairs.picture);
    plate.perspectiveResidual = rfFitResidual(plate.perspective, pairs.grid, pairs.picture);
    for (const auto& [position, blob] : placed) {
        const rxVector<2> expected = plate.perspective.a2b(onGrid(position));
        plate.dots.push_back({blob, rxPair<long>(position.second, position.first), centres[blob],
                              (centres[blob] - expected).len()});
    }
    for (const rxPair<long>& p : options.pattern) {
        if (!placed.contains(Position(p.y(), p.x()))) plate.missing.push_back(p);
    }
    return plate;
}

}  // namespace

std::vector<double> commonSpacings(const Points& points) {
    constexpr std::size_t kMost = 3;
    constexpr double kWidth = 1.2;
    std::vector<double> distances = nearestDistances(points);
    std::vector<double> common;
    while (common.size() < kMost && distances.size() >= kFewestDots) {
        // The window of this width that holds most: clutter has all kinds of distances, dots have
        // one.
        std::size_t most = 0;
        std::size_t start = 0;
        for (std::size_t first = 0, end = 0; first < distances.size(); ++first) {
            while (end < distances.size() && distances[end] <= kWidth * distances[first]) ++end;
            if (end - first <= most) continue;
            most = end - first;
            start = first;
        }
        common.push_back(distances[start + most / 2]);
        std::erase_if(distances, [&](double distance) {
            return distance >= common.back() / kWidth && distance <= kWidth * common.back();
        });
    }
    return common;
}

std::optional<Plate> findPlate(const std::vector<Blob>& blobs, const PlateOptions& options) {
    Points centres;
    for (const Blob& blob : blobs) centres.push_back(blob.centre);
    const std::vector<double> spacings =
        options.spacing > 0.0 ? std::vector<double>{options.spacing} : commonSpacings(centres);
    Placed placed;
    double spacing = 0.0;
    for (const double candidate : spacings) {
        Placed plate = largestPlate(centres, candidate, options);
        if (plate.size() <= placed.size()) continue;
        placed = std::move(plate);
        spacing = candidate;
        if (2 * placed.size() > centres.size()) break;
    }
    if (placed.empty()) return std::nullopt;
    placed = options.pattern.empty() ? upright(placed, centres, options)
                                     : placedInPattern(placed, centres, options);
    if (placed.empty()) return std::nullopt;
    Plate plate = plateOf(placed, discCentres(placed, blobs, centres), options);
    plate.spacing = spacing;
    return plate;
}

}  // namespace picture_to_pose
