#include "grid_steps.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "plane_vectors.h"
#include "point_tree.h"

namespace ptmatch::tool {
namespace {

using Points = std::vector<rxVector<2>>;

constexpr std::size_t kMostLookedAt = 1000;
// The eight around a node of a grid, and room for clutter among them.
constexpr std::size_t kNeighbours = 14;
// A neighbour may be off by this share of the shorter step, for perspective and noise.
constexpr double kNeighbourTolerance = 0.2;
// Two pairs of steps span one lattice when the coordinates of the one in the other are whole to
// within this. Perspective changes the steps across a plate, so it is generous; 0.5 is chance.
constexpr double kLatticeTolerance = 0.25;
// Fewer points whose surroundings agree are chance.
constexpr std::size_t kFewestSupporters = 2;

// Two steps, how well the surroundings of their point bear them out.
struct LocalSteps {
    rxVector<2> a;
    rxVector<2> b;
    double weight = 0.0;
};

bool isUsable(const rxVector<2>& v) {
    constexpr double kFarOut = 1e150;  // squares of longer ones are infinite
    return !v.isNull() && std::abs(v.x()) < kFarOut && std::abs(v.y()) < kFarOut;
}

Points withoutDoubles(Points points) {
    std::sort(points.begin(), points.end(), [](const rxVector<2>& p, const rxVector<2>& q) {
        return p.x() != q.x() ? p.x() < q.x() : p.y() < q.y();
    });
    points.erase(std::unique(points.begin(), points.end()), points.end());
    return points;
}

// At most kMostLookedAt of the points, evenly over the list.
Points someOf(const Points& points) {
    if (points.size() <= kMostLookedAt) return points;
    Points some;
    some.reserve(kMostLookedAt);
    for (std::size_t k = 0; k < kMostLookedAt; ++k) {
        some.push_back(points[k * points.size() / kMostLookedAt]);
    }
    return some;
}

// The directions to the neighbours of a point, nearest first.
Points directionsAround(const PointTree& tree, const rxVector<2>& place) {
    Points directions = tree.nearest(place, kNeighbours);
    for (rxVector<2>& direction : directions) direction = direction - place;
    std::erase_if(directions, [](const rxVector<2>& d) { return !isUsable(d); });
    return directions;
}

// The shortest pair that spans the same lattice (reduction after Lagrange and Gauss), at 60 to 90
// degrees. Perspective and noise make no trouble: it ends as the lengths shrink, at the latest
// after kMostRounds.
void shorten(rxVector<2>& a, rxVector<2>& b) {
    constexpr int kMostRounds = 100;
    for (int round = 0; round < kMostRounds; ++round) {
        if (dot(b, b) < dot(a, a)) std::swap(a, b);
        const double times = std::floor(dot(a, b) / dot(a, a) + 0.5);
        if (times == 0.0 || !std::isfinite(times)) break;
        b = b - scaled(a, times);
    }
    if (dot(a, b) < 0.0) b = scaled(b, -1.0);
}

// How many of the other positions around `place` hold a point; 0 when those that do say nothing
// about one of the steps.
int hitsAround(const PointTree& tree, const rxVector<2>& place, const rxVector<2>& a,
               const rxVector<2>& b) {
    const double reach = kNeighbourTolerance * std::min(a.len(), b.len());
    const auto holdsPoint = [&](const rxVector<2>& offset) {
        return tree.nearestWithin(place + offset, reach) ? 1 : 0;
    };
    const rxVector<2> none;
    const int corners =
        holdsPoint(a + b) + holdsPoint(a - b) + holdsPoint(b - a) + holdsPoint(none - a - b);
    const int behindA = holdsPoint(none - a);
    const int behindB = holdsPoint(none - b);
    if (corners == 0 && behindA + behindB < 2) return 0;
    return corners + behindA + behindB;
}

// The pair of neighbours whose parallelograms hold most points; of equal ones the smallest.
std::optional<LocalSteps> stepsAround(const PointTree& tree, const rxVector<2>& place) {
    constexpr double kLeastSine = 0.5;
    const Points directions = directionsAround(tree, place);
    int mostHits = 0;
    double smallestArea = 0.0;
    LocalSteps best;
    for (std::size_t i = 0; i < directions.size(); ++i) {
        for (std::size_t k = i + 1; k < directions.size(); ++k) {
            const rxVector<2>& a = directions[i];
            const rxVector<2>& b = directions[k];
            const double area = std::abs(cross(a, b));
            if (!(area >= kLeastSine * a.len() * b.len())) continue;
            const int hits = hitsAround(tree, place, a, b);
            if (hits == 0 || hits < mostHits) continue;
            if (hits == mostHits && area >= smallestArea) continue;
            mostHits = hits;
            smallestArea = area;
            best = {a, b, 0.0};
        }
    }
    if (mostHits == 0) return std::nullopt;
    shorten(best.a, best.b);
    best.weight = mostHits * mostHits;  // all around bears witness, a lone parallelogram hardly
    return best;
}

// The pair (a, b) of `other`, expressed by whole multiples of which it comes close to `steps`.
// Nothing when the two span different lattices.
std::optional<LocalSteps> asMultiplesNear(const LocalSteps& steps, const LocalSteps& other) {
    // other = steps * K; K has to be whole, and its inverse, too.
    const double area = cross(steps.a, steps.b);
    const std::array<double, 4> k = {cross(other.a, steps.b) / area, cross(other.b, steps.b) / area,
                                     cross(steps.a, other.a) / area,
                                     cross(steps.a, other.b) / area};
    std::array<double, 4> whole{};
    for (std::size_t n = 0; n < k.size(); ++n) {
        whole[n] = std::floor(k[n] + 0.5);
        if (!(std::abs(k[n] - whole[n]) <= kLatticeTolerance)) return std::nullopt;
    }
    const double sign = whole[0] * whole[3] - whole[1] * whole[2];
    if (std::abs(sign) != 1.0) return std::nullopt;
    return LocalSteps{
        scaled(other.a, sign * whole[3]) - scaled(other.b, sign * whole[2]),
        scaled(other.b, sign * whole[0]) - scaled(other.a, sign * whole[1]),
        other.weight,
    };
}

// The same for points in a line, of which only `a` is set.
std::optional<LocalSteps> asMultipleNear(const LocalSteps& step, const LocalSteps& other) {
    const double sign = dot(step.a, other.a) < 0.0 ? -1.0 : 1.0;
    const rxVector<2> turned = scaled(other.a, sign);
    if (!((turned - step.a).len() <= kLatticeTolerance * step.a.len())) return std::nullopt;
    return LocalSteps{turned, {}, other.weight};
}

struct Family {
    LocalSteps mean;
    std::size_t members = 0;
};

// The mean of all that agree with `steps`; its weight is the sum of theirs.
template <typename Near>
Family familyOf(const LocalSteps& steps, const std::vector<LocalSteps>& all, Near near) {
    Family family;
    double weight = 0.0;
    rxVector<2> a;
    rxVector<2> b;
    for (const LocalSteps& other : all) {
        const auto member = near(steps, other);
        if (!member) continue;
        ++family.members;
        weight += member->weight;
        a = a + scaled(member->a, member->weight);
        b = b + scaled(member->b, member->weight);
    }
    if (weight > 0.0) family.mean = {scaled(a, 1.0 / weight), scaled(b, 1.0 / weight), weight};
    return family;
}

template <typename Near>
std::optional<Family> largestFamily(const std::vector<LocalSteps>& all, Near near) {
    Family largest;
    for (const LocalSteps& steps : all) {
        const Family family = familyOf(steps, all, near);
        if (family.mean.weight > largest.mean.weight) largest = family;
    }
    if (largest.members < kFewestSupporters) return std::nullopt;
    // Once more around the mean, which stands in the middle of the family, unlike the member that
    // the family was gathered around.
    const Family around = familyOf(largest.mean, all, near);
    return around.mean.weight >= largest.mean.weight ? around : largest;
}

// For points in one line: the nearest neighbour that has a counterpart on the other side.
std::optional<LocalSteps> stepAround(const PointTree& tree, const rxVector<2>& place) {
    for (const rxVector<2>& a : directionsAround(tree, place)) {
        if (!tree.nearestWithin(place - a, kNeighbourTolerance * a.len())) continue;
        return LocalSteps{a, {}, 1.0};
    }
    return std::nullopt;
}

// How much of a vector lies along the x axis, 0 to 1.
double alongX(const rxVector<2>& v) {
    return std::abs(v.x()) / v.len();
}

// Names and turns the two steps: the first goes more to the right than the second, the second lies
// on its side where y grows.
GridSteps upright(rxVector<2> a, rxVector<2> b) {
    if (alongX(b) > alongX(a)) std::swap(a, b);
    if (a.x() < 0.0 || (a.x() == 0.0 && a.y() < 0.0)) a = scaled(a, -1.0);
    if (cross(a, b) < 0.0) b = scaled(b, -1.0);
    return {a, b};
}

// The steps of the staggered grid whose points form the lattice of the shortest pair a and b. Any
// two of a, b and b - a can be the diagonals.
GridSteps staggeredSteps(const rxVector<2>& a, const rxVector<2>& b) {
    constexpr double kRadianOfTilt = 0.2;  // what a tilt costs against a lack of perpendicularity
    const rxVector<2> c = b - a;
    GridSteps best;
    double leastCost = std::numeric_limits<double>::infinity();
    for (const auto& [p, q] : {std::pair(a, b), std::pair(a, c), std::pair(b, c)}) {
        const GridSteps steps = upright(scaled(p - q, 0.5), scaled(p + q, 0.5));
        const double skew = std::abs(dot(steps.xv, steps.yv)) / (steps.xv.len() * steps.yv.len());
        const double cost = skew + kRadianOfTilt * std::acos(std::min(1.0, alongX(steps.xv)));
        if (cost < leastCost) {
            leastCost = cost;
            best = steps;
        }
    }
    return best;
}

template <typename Look>
std::vector<LocalSteps> lookAround(const Points& places, Look look) {
    std::vector<LocalSteps> all;
    for (const rxVector<2>& place : places) {
        if (const auto steps = look(place)) all.push_back(*steps);
    }
    return all;
}

}  // namespace

std::vector<rxVector<2>> linksOf(const GridSteps& steps, bool staggered) {
    if (staggered) return {steps.xv + steps.yv, steps.yv - steps.xv};
    std::vector<rxVector<2>> links = {steps.xv, steps.yv};
    std::erase_if(links, [](const rxVector<2>& link) { return link.isNull(); });
    return links;
}

double shortestLinkOf(const GridSteps& steps, bool staggered) {
    double shortest = std::numeric_limits<double>::infinity();
    for (const rxVector<2>& link : linksOf(steps, staggered)) {
        shortest = std::min(shortest, link.len());
    }
    return shortest;
}

GridSteps stepsOf(const rxXform<2>& dataFromGrid) {
    const rxMatrix<2> m = dataFromGrid.matrix();
    return {{m.element(0, 0), m.element(1, 0)}, {m.element(0, 1), m.element(1, 1)}};
}

std::optional<ProposedSteps> proposeSteps(const std::vector<rxVector<2>>& points, bool staggered) {
    const PointTree tree(withoutDoubles(points));
    const Points places = someOf(points);
    const auto pairs = lookAround(places, [&](const auto& p) { return stepsAround(tree, p); });
    if (const auto family = largestFamily(pairs, asMultiplesNear)) {
        rxVector<2> a = family->mean.a;
        rxVector<2> b = family->mean.b;
        shorten(a, b);
        return ProposedSteps{staggered ? staggeredSteps(a, b) : upright(a, b), family->members,
                             places.size()};
    }
    if (staggered) return std::nullopt;
    const auto singles = lookAround(places, [&](const auto& p) { return stepAround(tree, p); });
    const auto family = largestFamily(singles, asMultipleNear);
    if (!family) return std::nullopt;
    const rxVector<2> step = family->mean.a;
    const bool isRow = std::abs(step.x()) >= std::abs(step.y());
    const double sign = (isRow ? step.x() : step.y()) < 0.0 ? -1.0 : 1.0;
    GridSteps steps;
    (isRow ? steps.xv : steps.yv) = scaled(step, sign);
    return ProposedSteps{steps, family->members, places.size()};
}

}  // namespace ptmatch::tool
