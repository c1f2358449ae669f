#include "reference/random_grid_scenes.h"

#include <algorithm>
#include <cmath>

#include "foundation/angle.h"
#include "foundation/range.h"

namespace ptmatch::reference {
namespace {

using Points = std::vector<rxVector<2>>;

rxVector<2> times(double factor, const rxVector<2>& v) {
    return {factor * v.x(), factor * v.y()};
}

/// A grid as it lies there, and the steps that a mapping is told.
struct Plate {
    rxVector<2> xv{10.0, 0.0};
    rxVector<2> yv{0.0, 10.0};
    bool staggered = false;
    double turnDeg = 0.0;
    double scale = 1.0;
    rxVector<2> origin;
    long columns = 6;
    long rows = 6;
    double jitter = 0.0;
    double missing = 0.0;

    [[nodiscard]] rxVector<2> nodeAt(double i, double j) const {
        const rxRadian angle{rxDegree(turnDeg)};
        const rxXform<2> pose(origin, angle, angle, scale, scale);
        return pose * (times(i, xv) + times(j, yv));
    }
};

rxVector<2> displaced(Random& random, const rxVector<2>& p, double by) {
    const double x = random.uniform(-by, by);
    const double y = random.uniform(-by, by);
    return p + rxVector<2>(x, y);
}

Points pointsOf(Random& random, const Plate& plate) {
    Points points;
    for (long j = 0; j < plate.rows; ++j) {
        for (long i = 0; i < plate.columns; ++i) {
            if (plate.staggered && (i + j) % 2 != 0) continue;
            if (random.chance(plate.missing)) continue;
            const rxVector<2> node = plate.nodeAt(static_cast<double>(i), static_cast<double>(j));
            points.push_back(displaced(random, node, plate.jitter));
        }
    }
    return points;
}

/// How many of something a scene has.
struct Count {
    long least = 0;
    long most = 0;
};

void addClutter(Random& random, const Plate& plate, Points& points, const Count& count) {
    for (long k = random.integer(count.least, count.most); k > 0; --k) {
        const double i = random.uniform(-1.5, static_cast<double>(plate.columns));
        const double j = random.uniform(-1.5, static_cast<double>(plate.rows));
        points.push_back(plate.nodeAt(i, j));
    }
}

Plate somePlate(Random& random) {
    Plate plate;
    const double pitch = random.pick<double>({10.0, 7.3, 1.0, 24.5});
    plate.xv = {pitch, 0.0};
    plate.yv = {0.0, pitch};
    plate.turnDeg = random.uniform(-14.0, 14.0);
    plate.origin = {random.uniform(-50.0, 50.0), random.uniform(-50.0, 50.0)};
    plate.columns = random.integer(3, 9);
    plate.rows = random.integer(3, 9);
    plate.jitter = random.uniform(0.0, 0.08) * pitch;
    plate.missing = random.pick<double>({0.0, 0.1, 0.2});
    return plate;
}

MapScene sceneOf(Random& random, const Plate& plate, const Count& clutter = {}) {
    MapScene scene;
    scene.points = pointsOf(random, plate);
    addClutter(random, plate, scene.points, clutter);
    if (random.chance(0.7)) shuffle(random, scene.points);
    scene.params.xv(plate.xv);
    scene.params.yv(plate.yv);
    scene.params.staggered(plate.staggered);
    return scene;
}

double pitchOf(const Plate& plate) {
    return std::max(plate.xv.len(), plate.yv.len());
}

MapScene regular(Random& random) {
    return sceneOf(random, somePlate(random), {0, 4});
}

MapScene noiseFree(Random& random) {
    Plate plate = somePlate(random);
    plate.jitter = 0.0;
    return sceneOf(random, plate);
}

MapScene manyNodes(Random& random) {
    Plate plate = somePlate(random);
    plate.columns = random.integer(12, 20);
    plate.rows = random.integer(8, 20);
    return sceneOf(random, plate, {0, 30});
}

MapScene jitterUpToSnap(Random& random) {
    Plate plate = somePlate(random);
    plate.jitter = random.uniform(0.08, 0.2) * pitchOf(plate);
    return sceneOf(random, plate);
}

MapScene jitterBeyondSnap(Random& random) {
    Plate plate = somePlate(random);
    plate.jitter = random.uniform(0.2, 0.5) * pitchOf(plate);
    return sceneOf(random, plate);
}

MapScene missingNodes(Random& random) {
    Plate plate = somePlate(random);
    plate.columns = random.integer(5, 12);
    plate.rows = random.integer(5, 12);
    plate.missing = random.uniform(0.25, 0.6);
    return sceneOf(random, plate);
}

// A hole in the middle, and a gap that cuts the plate in two.
MapScene holes(Random& random) {
    Plate plate = somePlate(random);
    plate.columns = random.integer(8, 14);
    plate.rows = random.integer(6, 10);
    plate.jitter = 0.05 * pitchOf(plate);
    MapScene scene = sceneOf(random, plate);
    const double column = random.uniform(2.0, static_cast<double>(plate.columns) - 2.0);
    const rxVector<2> middle = plate.nodeAt(column, random.uniform(1.0, 5.0));
    const double radius = random.uniform(1.0, 3.0) * pitchOf(plate);
    const bool cuts = random.chance(0.3);
    std::erase_if(scene.points, [&](const rxVector<2>& p) {
        if (cuts) return std::abs(p.x() - middle.x()) < radius;
        return (p - middle).len() < radius;
    });
    return scene;
}

MapScene clutter(Random& random) {
    return sceneOf(random, somePlate(random), {15, 60});
}

MapScene pureNoise(Random& random) {
    Plate plate = somePlate(random);
    plate.missing = 1.1;
    return sceneOf(random, plate, {0, 60});
}

MapScene samePointsTwice(Random& random) {
    MapScene scene = regular(random);
    const Points once = scene.points;
    for (const rxVector<2>& p : once) {
        if (random.chance(0.3)) scene.points.push_back(p);
    }
    if (random.chance(0.5)) shuffle(random, scene.points);
    return scene;
}

MapScene twoPointsToANode(Random& random) {
    const Plate plate = somePlate(random);
    MapScene scene = sceneOf(random, plate);
    const Points once = scene.points;
    for (const rxVector<2>& p : once) {
        if (random.chance(0.4)) {
            scene.points.push_back(displaced(random, p, 0.15 * pitchOf(plate)));
        }
    }
    return scene;
}

// Whole coordinates, so that many distances, directions and residuals tie.
MapScene wholeCoordinates(Random& random) {
    Plate plate;
    const auto step = static_cast<double>(random.integer(1, 6));
    plate.xv = {step, 0.0};
    plate.yv = {0.0, random.chance(0.6) ? step : static_cast<double>(random.integer(1, 6))};
    plate.columns = random.integer(2, 9);
    plate.rows = random.integer(2, 9);
    plate.missing = random.pick<double>({0.0, 0.1, 0.3});
    MapScene scene = sceneOf(random, plate);
    for (long k = random.integer(0, 20); k > 0; --k) {
        scene.points.push_back(
            rxVector<2>(rxPair<long>{random.integer(0, 40), random.integer(0, 40)}));
    }
    if (random.chance(0.3)) scene.params.snapSize(1.0);
    return scene;
}

// No lattice at all, only ties.
MapScene crowdOfWholeCoordinates(Random& random) {
    MapScene scene;
    const long extent = random.integer(3, 14);
    for (long k = random.integer(5, 60); k > 0; --k) {
        scene.points.push_back(
            rxVector<2>(rxPair<long>{random.integer(0, extent), random.integer(0, extent)}));
    }
    scene.params.xv(rxVector<2>(static_cast<double>(random.integer(1, 4)), 0.0));
    scene.params.yv(rxVector<2>(0.0, static_cast<double>(random.integer(1, 4))));
    scene.params.sizeTol(
        random.pick<rxRange>({rxRange(), rxRange(1.0, 1.0), rxRange(0.0, 1.0), rxRange(0.5, 2.0)}));
    scene.params.snapSize(random.pick<double>({0.0, 0.5, 1.0}));
    return scene;
}

// Steps of 3-4-5 triangles: exact lengths in oblique directions.
MapScene wholeTriangles(Random& random) {
    Plate plate;
    plate.xv = random.pick<rxVector<2>>({{4.0, 3.0}, {12.0, 5.0}, {3.0, -4.0}, {24.0, 7.0}});
    plate.yv = {-plate.xv.y(), plate.xv.x()};
    plate.columns = random.integer(2, 8);
    plate.rows = random.integer(2, 8);
    plate.missing = random.pick<double>({0.0, 0.2});
    MapScene scene = sceneOf(random, plate, {0, 3});
    if (random.chance(0.5)) scene.params.sizeTol(rxRange(1.0, 1.0));
    return scene;
}

Plate staggeredPlate(Random& random) {
    Plate plate = somePlate(random);
    plate.staggered = true;
    plate.columns = random.integer(5, 12);
    plate.rows = random.integer(5, 12);
    return plate;
}

MapScene staggered(Random& random) {
    return sceneOf(random, staggeredPlate(random), {0, 5});
}

// One step longer than the other: the diagonals are not square to each other.
MapScene staggeredRectangles(Random& random) {
    Plate plate = staggeredPlate(random);
    plate.yv = times(random.uniform(0.6, 1.7), plate.yv);
    return sceneOf(random, plate, {0, 5});
}

MapScene staggeredWholeCoordinates(Random& random) {
    Plate plate = staggeredPlate(random);
    plate.xv = {static_cast<double>(random.integer(1, 5)), 0.0};
    plate.yv = {0.0, plate.xv.x()};
    plate.turnDeg = 0.0;
    plate.jitter = 0.0;
    plate.origin = {0.0, 0.0};
    return sceneOf(random, plate);
}

// Told to be staggered, but every node is there.
MapScene notReallyStaggered(Random& random) {
    MapScene scene = regular(random);
    scene.params.staggered(true);
    return scene;
}

MapScene staggeredWithoutAStep(Random& random) {
    MapScene scene = staggered(random);
    if (random.chance(0.5)) {
        scene.params.xv(rxVector<2>());
    } else {
        scene.params.yv(rxVector<2>());
    }
    return scene;
}

MapScene staggeredParallel(Random& random) {
    MapScene scene = staggered(random);
    scene.params.yv(times(random.pick<double>({1.0, -1.0, 2.0, -0.3}), scene.params.xv()));
    return scene;
}

MapScene noSteps(Random& random) {
    MapScene scene = regular(random);
    scene.params.xv(rxVector<2>());
    scene.params.yv(rxVector<2>());
    scene.params.staggered(random.chance(0.3));
    return scene;
}

MapScene parallelSteps(Random& random) {
    MapScene scene = regular(random);
    const rxVector<2> step{random.uniform(-9.0, 9.0), random.uniform(-9.0, 9.0)};
    scene.params.xv(step);
    scene.params.yv(times(random.pick<double>({1.0, -1.0, 3.0, 0.1, -0.7}), step));
    return scene;
}

Plate row(Random& random) {
    Plate plate = somePlate(random);
    plate.rows = 1;
    plate.columns = random.integer(3, 25);
    plate.missing = random.pick<double>({0.0, 0.0, 0.1});
    return plate;
}

MapScene singleRow(Random& random) {
    return sceneOf(random, row(random), {0, 2});
}

MapScene singleRowOneStep(Random& random) {
    MapScene scene = sceneOf(random, row(random), {0, 2});
    scene.params.yv(rxVector<2>());
    return scene;
}

Plate column(Random& random) {
    Plate plate = row(random);
    std::swap(plate.rows, plate.columns);
    return plate;
}

MapScene singleColumn(Random& random) {
    return sceneOf(random, column(random), {0, 2});
}

MapScene singleColumnOneStep(Random& random) {
    MapScene scene = sceneOf(random, column(random), {0, 2});
    scene.params.xv(rxVector<2>());
    return scene;
}

// One point beside the row decides between the models.
MapScene rowAndOnePoint(Random& random) {
    const Plate plate = row(random);
    MapScene scene = sceneOf(random, plate);
    const auto place = static_cast<double>(random.integer(0, plate.columns - 1));
    scene.points.push_back(plate.nodeAt(place, random.pick<double>({1.0, -1.0, 2.0, 0.24})));
    return scene;
}

// A whole plate, of which one step is told.
MapScene plateWithOneStep(Random& random) {
    MapScene scene = regular(random);
    if (random.chance(0.5)) {
        scene.params.xv(rxVector<2>());
    } else {
        scene.params.yv(rxVector<2>());
    }
    return scene;
}

MapScene obliqueSteps(Random& random) {
    Plate plate = somePlate(random);
    const double angle = random.pick<double>({60.0, 120.0, 45.0, 75.0, 130.0});
    const rxRadian direction{rxDegree(angle)};
    const double length = random.uniform(0.8, 1.3) * plate.xv.len();
    plate.yv = {length * std::cos(direction.toDouble()), length * std::sin(direction.toDouble())};
    return sceneOf(random, plate, {0, 3});
}

// Six neighbours at one distance: more than a point may have links.
MapScene hexagonal(Random& random) {
    Plate plate = somePlate(random);
    plate.yv = {0.5 * plate.xv.x(), std::sqrt(0.75) * plate.xv.x()};
    plate.columns = random.integer(4, 9);
    plate.missing = random.pick<double>({0.0, 0.1});
    if (random.chance(0.3)) plate.jitter = 0.0;
    return sceneOf(random, plate);
}

MapScene oneStepLonger(Random& random) {
    Plate plate = somePlate(random);
    const double factor = random.uniform(1.3, 2.5);
    if (random.chance(0.5)) {
        plate.xv = times(factor, plate.xv);
    } else {
        plate.yv = times(factor, plate.yv);
    }
    plate.jitter = random.uniform(0.0, 0.06) * std::min(plate.xv.len(), plate.yv.len());
    return sceneOf(random, plate, {0, 3});
}

MapScene oneStepMuchLonger(Random& random) {
    Plate plate = somePlate(random);
    const double factor = random.uniform(4.0, 30.0);
    const bool isX = random.chance(0.5);
    (isX ? plate.xv : plate.yv) = times(factor, isX ? plate.xv : plate.yv);
    (isX ? plate.columns : plate.rows) = random.integer(2, 4);
    (isX ? plate.rows : plate.columns) = random.integer(6, 40);
    plate.jitter = random.uniform(0.0, 0.05) * std::min(plate.xv.len(), plate.yv.len());
    return sceneOf(random, plate);
}

MapScene negativeDirections(Random& random) {
    Plate plate = somePlate(random);
    const long which = random.integer(0, 2);
    if (which != 0) plate.xv = times(-1.0, plate.xv);
    if (which != 1) plate.yv = times(-1.0, plate.yv);
    return sceneOf(random, plate, {0, 3});
}

// Axes in every direction, so that what the rotations add up to leaves the circle on either side.
MapScene anyDirection(Random& random) {
    Plate plate = somePlate(random);
    const double turn = random.uniform(-180.0, 180.0);
    const rxRadian angle{rxDegree(turn)};
    const rxXform<2> rotation(rxVector<2>(), angle, angle, 1.0, 1.0);
    plate.xv = rotation * plate.xv;
    plate.yv = rotation * plate.yv;
    if (random.chance(0.3)) std::swap(plate.xv, plate.yv);
    return sceneOf(random, plate, {0, 3});
}

// The second axis just beside 0 degrees: sums below 0 are not wrapped for it.
MapScene secondAxisNearZero(Random& random) {
    Plate plate = somePlate(random);
    std::swap(plate.xv, plate.yv);
    const double turn = random.uniform(-25.0, 25.0);
    const rxRadian angle{rxDegree(turn)};
    const rxXform<2> rotation(rxVector<2>(), angle, angle, 1.0, 1.0);
    plate.xv = rotation * plate.xv;
    plate.yv = rotation * plate.yv;
    MapScene scene = sceneOf(random, plate, {0, 3});
    if (random.chance(0.4)) scene.params.xv(rxVector<2>());
    if (random.chance(0.3)) scene.params.angleTol(degrees(-60.0, 60.0));
    return scene;
}

MapScene mirrored(Random& random) {
    Plate plate = somePlate(random);
    if (random.chance(0.5)) {
        plate.yv = times(-1.0, plate.yv);
    } else {
        std::swap(plate.xv, plate.yv);
    }
    return sceneOf(random, plate);
}

MapScene narrowRange(Random& random) {
    Plate plate = somePlate(random);
    plate.turnDeg = random.uniform(-3.0, 3.0);
    MapScene scene = sceneOf(random, plate);
    const double middle = random.pick<double>({0.0, 1.0, plate.turnDeg, -2.5});
    const double half = random.pick<double>({0.0, 0.0, 0.1, 0.5, 1.0, 1.7, 2.0});
    scene.params.angleTol(degrees(middle - half, middle + half));
    return scene;
}

MapScene fullRange(Random& random) {
    Plate plate = somePlate(random);
    plate.turnDeg = random.uniform(-180.0, 180.0);
    MapScene scene = sceneOf(random, plate, {0, 4});
    scene.params.angleTol(rxAngleRange::FullRange());
    return scene;
}

MapScene fullRangeStaggered(Random& random) {
    Plate plate = staggeredPlate(random);
    plate.turnDeg = random.uniform(-180.0, 180.0);
    MapScene scene = sceneOf(random, plate);
    scene.params.angleTol(rxAngleRange::FullRange());
    return scene;
}

// The turn is looked for where it is, with the limits near and far.
MapScene rangeAroundATurn(Random& random) {
    Plate plate = somePlate(random);
    plate.turnDeg = random.uniform(-170.0, 170.0);
    MapScene scene = sceneOf(random, plate);
    const double before = random.uniform(0.0, 30.0);
    const double after = random.uniform(0.0, 30.0);
    scene.params.angleTol(degrees(plate.turnDeg - before, plate.turnDeg + after));
    return scene;
}

MapScene rangeBeyondATurn(Random& random) {
    Plate plate = somePlate(random);
    plate.turnDeg = random.uniform(-180.0, 180.0);
    MapScene scene = sceneOf(random, plate);
    const double turns = random.pick<double>({-2.0, -1.0, 0.0, 1.0, 3.0});
    const double middle = plate.turnDeg + 360.0 * turns;
    const double half = random.pick<double>({5.0, 20.0, 200.0, 500.0});
    scene.params.angleTol(degrees(middle - half, middle + half));
    return scene;
}

MapScene rangeStartAboveEnd(Random& random) {
    MapScene scene = regular(random);
    const double middle = random.uniform(-20.0, 20.0);
    scene.params.angleTol(degrees(middle + random.uniform(0.01, 30.0), middle));
    return scene;
}

// The turn lies at the very ends, which are never chosen.
MapScene turnAtTheEnds(Random& random) {
    Plate plate = somePlate(random);
    const double end = static_cast<double>(random.integer(3, 25));
    plate.turnDeg = random.pick<double>({-end, end, end - 1.0, end - 2.0, 1.0 - end});
    plate.jitter = 0.0;
    MapScene scene = sceneOf(random, plate);
    scene.params.angleTol(degrees(-end, end));
    return scene;
}

MapScene sizeExact(Random& random) {
    MapScene scene = random.chance(0.5) ? wholeCoordinates(random) : wholeTriangles(random);
    scene.params.sizeTol(rxRange(1.0, 1.0));
    return scene;
}

MapScene sizeRanges(Random& random) {
    Plate plate = somePlate(random);
    plate.scale = random.uniform(0.6, 1.6);
    MapScene scene = sceneOf(random, plate, {0, 5});
    const double start = random.uniform(0.3, 1.2);
    scene.params.sizeTol(rxRange(start, start + random.uniform(0.0, 1.5)));
    return scene;
}

MapScene sizeFull(Random& random) {
    MapScene scene = regular(random);
    scene.params.sizeTol(random.chance(0.7) ? rxRange::FullRange()
                                            : rxRange(-std::numeric_limits<double>::infinity(),
                                                      random.uniform(0.5, 2.0)));
    return scene;
}

// From 0: each point is a neighbour of itself.
MapScene sizeFromZero(Random& random) {
    MapScene scene = random.chance(0.5) ? regular(random) : samePointsTwice(random);
    scene.params.sizeTol(rxRange(0.0, random.uniform(0.9, 1.6)));
    return scene;
}

// The square of a negative ratio is that of a positive one.
MapScene sizeFromBelowZero(Random& random) {
    MapScene scene = regular(random);
    scene.params.sizeTol(rxRange{-random.uniform(0.0, 1.0), random.uniform(0.9, 1.5)});
    return scene;
}

MapScene sizeStartAboveEnd(Random& random) {
    MapScene scene = regular(random);
    const double end = random.uniform(-1.5, 1.5);
    scene.params.sizeTol(rxRange(end + random.uniform(0.001, 1.0), end));
    return scene;
}

MapScene snapGiven(Random& random) {
    const Plate plate = somePlate(random);
    MapScene scene = sceneOf(random, plate, {0, 6});
    scene.params.snapSize(pitchOf(plate) * random.pick<double>({0.02, 0.05, 0.1, 0.3, 0.45}));
    return scene;
}

MapScene snapNegative(Random& random) {
    MapScene scene = regular(random);
    scene.params.snapSize(random.pick<double>({-1.0, -0.0, -1e9}));
    return scene;
}

// Every point is near enough to its node, wherever it lies.
MapScene snapHuge(Random& random) {
    MapScene scene = clutter(random);
    scene.params.snapSize(random.pick<double>({8.0, 50.0, 1e6}));
    return scene;
}

MapScene scaleOff(Random& random) {
    Plate plate = somePlate(random);
    plate.scale = random.uniform(0.85, 1.15);
    plate.columns = random.integer(5, 14);
    return sceneOf(random, plate, {0, 4});
}

// Seen obliquely: one affine map does not fit all of it, and grows with what it has seen.
MapScene perspective(Random& random) {
    Plate plate = somePlate(random);
    plate.columns = random.integer(6, 16);
    plate.rows = random.integer(6, 16);
    plate.jitter = 0.02 * pitchOf(plate);
    MapScene scene = sceneOf(random, plate);
    const double tilt = random.uniform(0.0005, 0.003) / pitchOf(plate) * 10.0;
    const double across = random.uniform(-0.001, 0.001) / pitchOf(plate) * 10.0;
    for (rxVector<2>& p : scene.points) {
        const rxVector<2> q = p - plate.origin;
        p = plate.origin + times(1.0 / (1.0 + tilt * q.x() + across * q.y()), q);
    }
    return scene;
}

// Few points to a ring, so that the first pass ends between two fits; and some so far from their
// nodes that the last digits of a fit decide.
MapScene longStrips(Random& random) {
    Plate plate = somePlate(random);
    plate.rows = random.integer(2, 3);
    plate.columns = random.integer(20, 40);
    plate.missing = 0.15;
    plate.jitter = random.uniform(0.1, 0.25) * pitchOf(plate);
    if (random.chance(0.3)) std::swap(plate.rows, plate.columns);
    MapScene scene = sceneOf(random, plate);
    scene.params.snapSize(0.25 * pitchOf(plate));
    return scene;
}

MapScene twoPlates(Random& random) {
    const Plate plate = somePlate(random);
    MapScene scene = sceneOf(random, plate);
    Plate other = somePlate(random);
    other.xv = plate.xv;
    other.yv = plate.yv;
    const double aside = random.uniform(-6.0, 12.0);
    other.origin = plate.nodeAt(aside, random.uniform(8.0, 14.0));
    const Points more = pointsOf(random, other);
    scene.points.insert(scene.points.end(), more.begin(), more.end());
    if (random.chance(0.5)) shuffle(random, scene.points);
    return scene;
}

MapScene fewPoints(Random& random) {
    MapScene scene = noiseFree(random);
    scene.points.resize(
        std::min<std::size_t>(scene.points.size(), static_cast<std::size_t>(random.integer(1, 5))));
    return scene;
}

MapScene pairOfPoints(Random& random) {
    MapScene scene;
    scene.points = {{0.0, 0.0}, {random.uniform(8.5, 11.5), random.uniform(-1.0, 1.0)}};
    scene.params.xv(rxVector<2>(10.0, 0.0));
    if (random.chance(0.5)) scene.params.yv(rxVector<2>(0.0, 10.0));
    return scene;
}

MapScene noPoints(Random& random) {
    MapScene scene = regular(random);
    scene.points.clear();
    return scene;
}

MapScene onePlace(Random& random) {
    MapScene scene = regular(random);
    std::fill(scene.points.begin(), scene.points.end(), rxVector<2>(3.0, random.uniform(0, 9)));
    if (random.chance(0.5)) scene.params.sizeTol(rxRange(0.0, 1.2));
    return scene;
}

// Neighbours by a band that reaches down to nothing, whose positions are all one.
MapScene nearlyOnePlace(Random& random) {
    MapScene scene;
    const double extent = random.uniform(0.5, 4.0);
    for (long k = random.integer(2, 12); k > 0; --k) {
        scene.points.push_back({random.uniform(0.0, extent), random.uniform(0.0, 0.3)});
    }
    scene.params.xv(rxVector<2>(10.0, 0.0));
    if (random.chance(0.5)) scene.params.yv(rxVector<2>(0.0, 10.0));
    scene.params.sizeTol(rxRange::FullRange());
    scene.params.snapSize(6.0);
    return scene;
}

// Outliers far from the plate: long empty stretches of buckets and of rings.
MapScene farFlung(Random& random) {
    const Plate plate = somePlate(random);
    MapScene scene = sceneOf(random, plate);
    for (long k = random.integer(1, 3); k > 0; --k) {
        const auto far = static_cast<double>(random.integer(40, 150));
        const double i = random.chance(0.5) ? far : -far;
        const double j = random.chance(0.5) ? far : 0.0;
        scene.points.push_back(displaced(random, plate.nodeAt(i, j), plate.jitter));
    }
    if (random.chance(0.5)) shuffle(random, scene.points);
    return scene;
}

MapScene hugeOffset(Random& random) {
    MapScene scene = regular(random);
    const double offset = random.pick<double>({1e6, -1e8, 1e11});
    for (rxVector<2>& p : scene.points) p = p + rxVector<2>(offset, -0.7 * offset);
    return scene;
}

MapScene extremeUnits(Random& random) {
    MapScene scene = regular(random);
    const double unit = random.pick<double>({1e-12, 1e-100, 1e9, 1e100});
    for (rxVector<2>& p : scene.points) p = times(unit, p);
    scene.params.xv(times(unit, scene.params.xv()));
    scene.params.yv(times(unit, scene.params.yv()));
    return scene;
}

}  // namespace

rxAngleRange degrees(double start, double end) {
    return {rxRadian(rxDegree(start)), rxRadian(rxDegree(end)), false};
}

const std::vector<SceneKind<MapScene>>& mapScenes() {
    using enum Outcome;
    static const std::vector<SceneKind<MapScene>> kinds{
        {"regular", regular},
        {"noiseFree", noiseFree},
        {"manyNodes", manyNodes},
        {"jitterUpToSnap", jitterUpToSnap},
        {"jitterBeyondSnap", jitterBeyondSnap, eSomeFind},
        {"missingNodes", missingNodes},
        {"holes", holes},
        {"clutter", clutter},
        {"pureNoise", pureNoise, eSomeFind},
        {"samePointsTwice", samePointsTwice},
        {"twoPointsToANode", twoPointsToANode},
        {"wholeCoordinates", wholeCoordinates},
        {"crowdOfWholeCoordinates", crowdOfWholeCoordinates},
        {"wholeTriangles", wholeTriangles},
        {"staggered", staggered},
        {"staggeredRectangles", staggeredRectangles},
        {"staggeredWholeCoordinates", staggeredWholeCoordinates},
        {"notReallyStaggered", notReallyStaggered, eSomeFind},
        {"staggeredWithoutAStep", staggeredWithoutAStep, eNothing},
        {"staggeredParallel", staggeredParallel, eNothing},
        {"noSteps", noSteps, eNothing},
        {"parallelSteps", parallelSteps, eNothing},
        {"singleRow", singleRow},
        {"singleRowOneStep", singleRowOneStep},
        {"singleColumn", singleColumn},
        {"singleColumnOneStep", singleColumnOneStep},
        {"rowAndOnePoint", rowAndOnePoint},
        {"plateWithOneStep", plateWithOneStep},
        {"obliqueSteps", obliqueSteps},
        {"hexagonal", hexagonal},
        {"oneStepLonger", oneStepLonger},
        {"oneStepMuchLonger", oneStepMuchLonger},
        {"negativeDirections", negativeDirections},
        {"anyDirection", anyDirection},
        {"secondAxisNearZero", secondAxisNearZero},
        {"mirrored", mirrored},
        {"narrowRange", narrowRange},
        {"fullRange", fullRange},
        {"fullRangeStaggered", fullRangeStaggered},
        {"rangeAroundATurn", rangeAroundATurn},
        {"rangeBeyondATurn", rangeBeyondATurn},
        {"rangeStartAboveEnd", rangeStartAboveEnd, eNothing},
        {"turnAtTheEnds", turnAtTheEnds},
        {"sizeExact", sizeExact},
        {"sizeRanges", sizeRanges, eSomeFind},
        {"sizeFull", sizeFull},
        {"sizeFromZero", sizeFromZero},
        {"sizeFromBelowZero", sizeFromBelowZero, eSomeFind},
        {"sizeStartAboveEnd", sizeStartAboveEnd, eNothing},
        {"snapGiven", snapGiven},
        {"snapNegative", snapNegative},
        {"snapHuge", snapHuge},
        {"scaleOff", scaleOff},
        {"perspective", perspective},
        {"longStrips", longStrips},
        {"twoPlates", twoPlates},
        {"fewPoints", fewPoints, eSomeFind},
        {"pairOfPoints", pairOfPoints, eNothing},
        {"noPoints", noPoints, eNothing},
        {"onePlace", onePlace, eNothing},
        {"nearlyOnePlace", nearlyOnePlace, eNothing},
        {"farFlung", farFlung},
        {"hugeOffset", hugeOffset},
        {"extremeUnits", extremeUnits},
    };
    return kinds;
}

}  // namespace ptmatch::reference
