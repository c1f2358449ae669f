#include "reference/random_moves.h"

#include <array>
#include <cstddef>
#include <limits>
#include <numbers>
#include <utility>

namespace ptmatch::reference {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = std::numbers::pi;

// Coordinates.

double ordinary(Random& random) {
    return random.uniform(-10.0, 10.0);
}
double inPixels(Random& random) {
    return random.uniform(0.0, 4000.0);
}
double whole(Random& random) {
    return static_cast<double>(random.integer(-3, 3));
}
double mostlyZero(Random& random) {
    return random.chance(0.6) ? random.pick<double>({0.0, -0.0}) : whole(random);
}
double farAway(Random& random) {
    return 1e6 + random.uniform(-1.0, 1.0);
}
double huge(Random& random) {
    return random.uniform(-1.0, 1.0) * 1e120;
}
double tiny(Random& random) {
    return random.uniform(-1.0, 1.0) * 1e-90;
}
double sometimesNotFinite(Random& random) {
    return random.chance(0.02) ? random.pick<double>({kInfinity, -kInfinity, kNaN})
                               : ordinary(random);
}

// Factors and angles.

double moderate(Random& random) {
    return random.uniform(0.5, 2.0);
}
double signedPowerOfTwo(Random& random) {
    return random.pick<double>({0.5, 1.0, 2.0, -1.0, -2.0});
}
double oftenZero(Random& random) {
    return random.chance(0.5) ? random.pick<double>({0.0, -0.0}) : moderate(random);
}
double ofEverySize(Random& random) {
    return random.pick<double>({1e-200, 1e-100, 1e-10, 1.0, 1e10, 1e100, 1e200});
}
double anyAngle(Random& random) {
    return random.uniform(-kPi, kPi);
}
double quarterTurns(Random& random) {
    return static_cast<double>(random.integer(-4, 4)) * (kPi / 2.0);
}
double manyTurns(Random& random) {
    return random.uniform(-1e6, 1e6);
}
double seldomAnAngle(Random& random) {
    return random.chance(0.1) ? kNaN : anyAngle(random);
}

// How points lie.

void anywhere(double& /*x*/, double& /*y*/, double& /*z*/) {}
void onOneLine(double& x, double& y, double& z) {
    y = 2.0 * x;
    z = -x;
}
void onTheFirstAxis(double& /*x*/, double& y, double& z) {
    y = 0.0;
    z = 0.0;
}
void onTheSecondAxis(double& x, double& /*y*/, double& z) {
    x = 0.0;
    z = 0.0;
}
void inOnePlane(double& x, double& y, double& z) {
    z = x + y;
}
void inOnePlace(double& x, double& y, double& z) {
    x = 3.0;
    y = 4.0;
    z = 5.0;
}

/// The perspective transform behind the pairs of one sequence, in the plane or in space.
struct Scene {
    std::array<double, 12> rows;
    std::array<double, 3> depth;
    double noise;
};

Scene anyScene(Random& random, const MoveKind& kind) {
    Scene scene{};
    for (double& element : scene.rows) {
        element = kind.factor(random);
        if (random.chance(0.5)) element = -element;
    }
    for (const std::size_t i : {3U, 7U, 11U}) scene.rows[i] = kind.coordinate(random);
    if (random.chance(0.6)) {
        // A depth of 0 is met by whole numbers.
        for (double& d : scene.depth) d = random.pick<double>({0.0, 0.001, 0.02, 0.5});
    }
    scene.noise = random.chance(0.5) ? 0.0 : random.uniform(0.0, 0.5);
    return scene;
}

using Triple = std::array<double, 3>;

Triple anyPoint(Random& random, const MoveKind& kind) {
    Triple p{kind.coordinate(random), kind.coordinate(random), kind.coordinate(random)};
    kind.arrange(p[0], p[1], p[2]);
    return p;
}

Triple imageOf(Random& random, const MoveKind& kind, const Scene& scene, const Triple& p) {
    if (random.integer(0, 999) < kind.unrelatedPerMille) return anyPoint(random, kind);
    const double depth =
        scene.depth[0] * p[0] + scene.depth[1] * p[1] + scene.depth[2] * p[2] + 1.0;
    Triple image{};
    for (std::size_t i = 0; i < 3; ++i) {
        const double* const row = &scene.rows[4 * i];
        image[i] = (row[0] * p[0] + row[1] * p[1] + row[2] * p[2] + row[3]) / depth +
                   random.uniform(-scene.noise, scene.noise);
    }
    return image;
}

/// Pairs of points; now and then a list that is too long.
struct Pairs {
    std::vector<Triple> a;
    std::vector<Triple> b;
};

Pairs anyPairs(Random& random, const MoveKind& kind, const Scene& scene, bool inPlane) {
    Pairs pairs;
    for (long i = random.chance(0.04) ? random.integer(10, 60) : random.integer(1, 9); i > 0; --i) {
        Triple a = anyPoint(random, kind);
        if (inPlane) a[2] = 0.0;
        pairs.a.push_back(a);
        pairs.b.push_back(imageOf(random, kind, scene, a));
    }
    return pairs;
}

void spoilLengths(Random& random, std::vector<Triple>& a, std::vector<Triple>& b) {
    if (!random.chance(0.08)) return;
    std::vector<Triple>& list = random.chance(0.5) ? a : b;
    if (random.chance(0.5)) {
        list.pop_back();
    } else {
        list.push_back({1.0, 2.0, 3.0});
    }
}

Call anyCall(Random& random) {
    using enum Call;
    static const std::vector<std::pair<Call, long>> kWeights{
        {kUpdate, 14},
        {kUpdateLists, 12},
        {kFit, 14},
        {kFitLists, 8},
        {kReset, 2},
        {kIdentity, 3},
        {kTranslate, 8},
        {kRotate, 8},
        {kScale, 6},
        {kScaleEvenly, 4},
        {kAppend, 4},
        {kConcat, 4},
        {kAppendItself, 1},
        {kConcatItself, 1},
        {kSave, 3},
        {kRestore, 3},
        {kLoad, 3},
        {kLoadCutOff, 2},
        {kConstructFromLists, 3},
        {kConstructFromXform, 2},
    };
    long total = 0;
    for (const auto& [call, weight] : kWeights) total += weight;
    long left = random.integer(0, total - 1);
    for (const auto& [call, weight] : kWeights) {
        if (left < weight) return call;
        left -= weight;
    }
    return kIdentity;
}

bool takesLists(Call call) {
    return call == Call::kUpdateLists || call == Call::kFitLists ||
           call == Call::kConstructFromLists;
}

rxXform<2> anyXform(Random& random, const MoveKind& kind) {
    const double x = kind.coordinate(random);
    const double y = kind.coordinate(random);
    const rxRadian xRot(kind.angle(random));
    const rxRadian yRot = random.chance(0.5) ? xRot : rxRadian(0.25);
    const double xScale = kind.factor(random);
    return {rxVector<2>(x, y), xRot, yRot, xScale, kind.factor(random)};
}

rxVector<2> inPlane(const Triple& p) {
    return {p[0], p[1]};
}
rxVector<3> inSpace(const Triple& p) {
    return {p[0], p[1], p[2]};
}

}  // namespace

const std::vector<MoveKind>& moveKinds() {
    static const std::vector<MoveKind> kinds{
        {"ordinary", ordinary, moderate, anyAngle, anywhere, 20},
        {"unrelated", ordinary, moderate, anyAngle, anywhere, 1000},
        {"inPixels", inPixels, moderate, manyTurns, anywhere, 0},
        {"whole", whole, signedPowerOfTwo, quarterTurns, anywhere, 0},
        {"wholeAndUnrelated", whole, signedPowerOfTwo, quarterTurns, anywhere, 500},
        {"mostlyZero", mostlyZero, signedPowerOfTwo, quarterTurns, anywhere, 300},
        {"farAway", farAway, moderate, anyAngle, anywhere, 0},
        {"huge", huge, moderate, anyAngle, anywhere, 0},
        {"tiny", tiny, moderate, anyAngle, anywhere, 0},
        {"sometimesNotFinite", sometimesNotFinite, moderate, seldomAnAngle, anywhere, 0},
        {"flattened", ordinary, oftenZero, anyAngle, anywhere, 0},
        {"flattenedWhole", whole, oftenZero, quarterTurns, anywhere, 0},
        {"scalesOfEverySize", ordinary, ofEverySize, anyAngle, anywhere, 0},
        {"onOneLine", ordinary, moderate, anyAngle, onOneLine, 0},
        {"onTheFirstAxis", ordinary, moderate, anyAngle, onTheFirstAxis, 0},
        {"onTheSecondAxis", whole, signedPowerOfTwo, quarterTurns, onTheSecondAxis, 900},
        {"inOnePlane", ordinary, moderate, anyAngle, inOnePlane, 0},
        {"inOnePlace", ordinary, moderate, anyAngle, inOnePlace, 100},
    };
    return kinds;
}

std::vector<PlaneMove> planeMoves(Random& random, const MoveKind& kind, long count) {
    const Scene scene = anyScene(random, kind);
    std::vector<PlaneMove> moves;
    for (long i = 0; i < count; ++i) {
        PlaneMove move;
        move.call = anyCall(random);
        Pairs pairs = anyPairs(random, kind, scene, true);
        if (takesLists(move.call)) spoilLengths(random, pairs.a, pairs.b);
        for (const Triple& p : pairs.a) move.a.push_back(inPlane(p));
        for (const Triple& p : pairs.b) move.b.push_back(inPlane(p));
        move.dof = static_cast<int>(random.pick<long>({-1, 0, 2, 3, 4, 5, 6, 6, 6, 7}));
        move.angle = rxRadian(kind.angle(random));
        const bool isScaling = move.call == Call::kScale || move.call == Call::kScaleEvenly;
        double (*const value)(Random&) = isScaling ? kind.factor : kind.coordinate;
        const double x = value(random);
        move.vector = {x, value(random)};
        move.other = anyXform(random, kind);
        move.part = random.uniform(0.0, 1.0);
        moves.push_back(move);
    }
    return moves;
}

std::vector<SpaceMove> spaceMoves(Random& random, const MoveKind& kind, long count) {
    Scene scene = anyScene(random, kind);
    scene.depth = {0.0, 0.0, 0.0};
    std::vector<SpaceMove> moves;
    for (long i = 0; i < count; ++i) {
        SpaceMove move;
        move.call = anyCall(random);
        Pairs pairs = anyPairs(random, kind, scene, false);
        if (takesLists(move.call)) spoilLengths(random, pairs.a, pairs.b);
        for (const Triple& p : pairs.a) move.a.push_back(inSpace(p));
        for (const Triple& p : pairs.b) move.b.push_back(inSpace(p));
        move.axis = static_cast<int>(random.integer(0, 2));
        move.angle = rxRadian(kind.angle(random));
        const bool isScaling = move.call == Call::kScale || move.call == Call::kScaleEvenly;
        double (*const value)(Random&) = isScaling ? kind.factor : kind.coordinate;
        const double x = value(random);
        const double y = value(random);
        move.vector = {x, y, value(random)};
        move.part = random.uniform(0.0, 1.0);
        moves.push_back(move);
    }
    return moves;
}

}  // namespace ptmatch::reference
