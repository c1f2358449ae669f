#include "reference/random_problems.h"

#include <algorithm>
#include <cmath>

#include "foundation/angle.h"
#include "foundation/range.h"

namespace ptmatch::reference {
namespace {

using Points = std::vector<rxVector<2>>;

constexpr double kExtent = 40.0;
constexpr double kSpacing = 6.0;
const rxVector<2> kMiddle(kExtent / 2.0, kExtent / 2.0);

rxAngleRange degrees(double start, double end) {
    return {rxRadian(rxDegree(start)), rxRadian(rxDegree(end)), false};
}

void shuffle(Random& random, Points& points) {
    for (std::size_t i = points.size(); i > 1; --i) {
        std::swap(points[i - 1],
                  points[static_cast<std::size_t>(random.integer(0, static_cast<long>(i) - 1))]);
    }
}

void addClutter(Random& random, Points& data, long count) {
    for (long i = 0; i < count; ++i) {
        data.emplace_back(random.uniform(-15.0, kExtent + 15.0),
                          random.uniform(-15.0, kExtent + 15.0));
    }
}

/// The model's points as the pose shows them: each displaced a little, some missing.
Points observe(Random& random, const Points& model, const rxXform<2>& pose, double jitter,
               double missing) {
    Points data;
    for (const rxVector<2>& m : model) {
        if (random.chance(missing)) continue;
        data.push_back(pose * m + rxVector<2>(random.uniform(-jitter, jitter),
                                              random.uniform(-jitter, jitter)));
    }
    return data;
}

Problem planted(Random& random, double maxRotationDeg, double minScale, double maxScale) {
    Problem problem;
    problem.model = spreadPoints(random, random.integer(4, 9), kExtent, kSpacing);
    const rxXform<2> pose =
        poseAbout(kMiddle, random.uniform(-maxRotationDeg, maxRotationDeg),
                  random.uniform(minScale, maxScale),
                  rxVector<2>(random.uniform(-12.0, 12.0), random.uniform(-12.0, 12.0)));
    problem.data = observe(random, problem.model, pose, random.uniform(0.0, 0.5), 0.15);
    addClutter(random, problem.data, random.integer(0, 10));
    shuffle(random, problem.data);
    problem.params.minCoverage(random.pick<double>({0.0, 0.3, 0.5, 0.5, 0.7, 1.0}));
    problem.params.maxNumResults(random.integer(1, 20));
    return problem;
}

Problem planted(Random& random) {
    return planted(random, 14.0, 1.0, 1.0);
}

Problem plantedInClutter(Random& random) {
    Problem problem = planted(random);
    addClutter(random, problem.data, random.integer(10, 30));
    return problem;
}

Problem noiseFree(Random& random) {
    Problem problem = planted(random, 14.0, 1.0, 1.0);
    const rxXform<2> pose = poseAbout(kMiddle, random.uniform(-15.0, 15.0), 1.0, {3.0, -4.0});
    problem.data = observe(random, problem.model, pose, 0.0, 0.0);
    return problem;
}

Problem twoInstances(Random& random) {
    Problem problem = planted(random);
    const Points more = observe(
        random, problem.model,
        poseAbout(kMiddle, random.uniform(-14.0, 14.0), 1.0, {random.uniform(5.0, 25.0), 10.0}),
        0.2, 0.2);
    problem.data.insert(problem.data.end(), more.begin(), more.end());
    return problem;
}

Problem pureNoise(Random& random) {
    Problem problem = planted(random);
    problem.data.clear();
    addClutter(random, problem.data, random.integer(0, 30));
    problem.params.minCoverage(random.pick<double>({0.0, 0.2, 0.4}));
    return problem;
}

// A lattice looks like itself at many places: equal scores everywhere.
Problem dotGrid(Random& random) {
    Problem problem = planted(random);
    const double pitch = random.pick<double>({5.0, 7.3, 8.0});
    problem.model.clear();
    problem.data.clear();
    const long columns = random.integer(2, 4);
    const long rows = random.integer(2, 3);
    for (long y = 0; y < rows; ++y) {
        for (long x = 0; x < columns; ++x) {
            problem.model.push_back(rxVector<2>(rxPair<long>(x, y)));
        }
    }
    for (long y = 0; y < rows + 2; ++y) {
        for (long x = 0; x < columns + 1; ++x) {
            problem.data.push_back(rxVector<2>(rxPair<long>(x, y)));
        }
    }
    for (rxVector<2>& p : problem.model) p = rxVector<2>(pitch * p.x(), pitch * p.y());
    for (rxVector<2>& p : problem.data) p = rxVector<2>(pitch * p.x(), pitch * p.y());
    if (random.chance(0.5)) shuffle(random, problem.data);
    if (random.chance(0.5)) problem.params.rotationUncertainty(rxAngleRange::FullRange());
    return problem;
}

// Whole coordinates and a grid size of one: pixels, votes and distances all tie.
Problem wholeCoordinates(Random& random) {
    Problem problem = planted(random);
    for (rxVector<2>& p : problem.model) p = {std::floor(p.x() / 2.0), std::floor(p.y() / 2.0)};
    problem.data.clear();
    const double shift = static_cast<double>(random.integer(-5, 5));
    for (const rxVector<2>& p : problem.model) problem.data.emplace_back(p.x() + shift, p.y());
    for (long i = random.integer(0, 12); i > 0; --i) {
        problem.data.push_back(
            rxVector<2>(rxPair<long>(random.integer(-5, 25), random.integer(-5, 25))));
    }
    problem.params.autoGridSize(false);
    problem.params.gridSize(random.pick<double>({0.5, 1.0, 2.0}));
    return problem;
}

Problem withWeights(Random& random, long low, long high) {
    Problem problem = planted(random);
    for (std::size_t i = 0; i < problem.model.size(); ++i) {
        problem.weights.push_back(random.integer(low, high));
    }
    // Training asks for two positive weights.
    problem.weights[0] = std::max(problem.weights[0], high / 2 + 1);
    problem.weights[1] = std::max(problem.weights[1], high / 2 + 1);
    problem.params.minCoverage(random.pick<double>({0.0, 0.2, 0.4, 0.6}));
    return problem;
}

Problem smallWeights(Random& random) {
    return withWeights(random, 0, 4);
}
Problem negativeWeights(Random& random) {
    return withWeights(random, -4, 6);
}
Problem weightsBeyondByte(Random& random) {
    return withWeights(random, -300, 600);
}
Problem weightsBeyondShort(Random& random) {
    return withWeights(random, -1000, 40000);
}
Problem weightsBeyondReach(Random& random) {
    return withWeights(random, 0, 200'000'000);
}

// Each on its side of a step in how a weight is counted.
Problem weightsAtTheSteps(Random& random) {
    Problem problem = planted(random);
    const std::vector<long> steps{0,  1,  2,  3,    254,  255,  256,  257,
                                  -1, -2, -3, -255, -256, -257, 8191, 16384};
    for (std::size_t i = 0; i < problem.model.size(); ++i) {
        problem.weights.push_back(random.pick(steps));
    }
    problem.weights[0] = 255;
    problem.weights[1] = 256;
    problem.params.minCoverage(random.pick<double>({0.0, 0.1, 0.5}));
    return problem;
}

// The scaled positive weights add up to 32767 or a little more or less.
Problem weightsAtTheLimit(Random& random) {
    Problem problem = planted(random);
    const long count = static_cast<long>(problem.model.size());
    const long total = 32767 + random.integer(-1, 2);
    problem.weights.assign(problem.model.size(), total / count);
    problem.weights[0] += total % count;
    if (random.chance(0.5)) problem.weights[2] -= 65536;
    return problem;
}

// The negative weights are so large that the positive ones vanish beside them.
Problem vanishingWeights(Random& random) {
    Problem problem = planted(random);
    problem.weights.assign(problem.model.size(), 1);
    problem.weights[2] = -random.integer(1'000'000, 2'000'000);
    return problem;
}

Problem windowInX(Random& random) {
    Problem problem = planted(random);
    const double middle = random.uniform(-14.0, 14.0);
    problem.params.xTranslationUncertainty(rxRange(middle - random.uniform(0.0, 6.0), middle + 1));
    return problem;
}

Problem windowInY(Random& random) {
    Problem problem = planted(random);
    const double middle = random.uniform(-14.0, 14.0);
    problem.params.yTranslationUncertainty(rxRange(middle - random.uniform(0.0, 6.0), middle + 1));
    return problem;
}

Problem windowInBoth(Random& random) {
    Problem problem = windowInX(random);
    problem.params.xTranslationUncertainty(rxRange(-random.uniform(0.0, 15.0), 12.0));
    problem.params.yTranslationUncertainty(rxRange(-12.0, random.uniform(0.0, 15.0)));
    return problem;
}

// One pixel wide: no maxima to be told, every pixel with enough votes is a candidate.
Problem windowOfOnePixel(Random& random) {
    Problem problem = planted(random);
    problem.data =
        observe(random, problem.model, poseAbout(kMiddle, 2.0, 1.0, {0.0, 0.0}), 0.3, 0.1);
    problem.params.xTranslationUncertainty(rxRange(0.0, 0.0));
    if (random.chance(0.5)) problem.params.yTranslationUncertainty(rxRange(0.0, 0.0));
    return problem;
}

Problem windowBeyondData(Random& random) {
    Problem problem = planted(random);
    problem.params.xTranslationUncertainty(rxRange(500.0, 600.0));
    return problem;
}

Problem windowAtTheRim(Random& random) {
    Problem problem = planted(random);
    problem.params.yTranslationUncertainty(
        rxRange(random.uniform(-5.0, 15.0), random.uniform(40.0, 1e12)));
    return problem;
}

Problem narrowRotation(Random& random) {
    Problem problem = planted(random, 1.0, 1.0, 1.0);
    const double half = random.pick<double>({0.0, 0.1, 0.5, 1.0, 2.0});
    problem.params.rotationUncertainty(degrees(-half, half));
    return problem;
}

Problem fullRotation(Random& random) {
    Problem problem = planted(random, 180.0, 1.0, 1.0);
    problem.params.rotationUncertainty(rxAngleRange::FullRange());
    return problem;
}

Problem rotationAcrossHalfTurn(Random& random) {
    Problem problem = planted(random);
    problem.data =
        observe(random, problem.model,
                poseAbout(kMiddle, random.uniform(165.0, 195.0), 1.0, {2.0, -3.0}), 0.3, 0.1);
    addClutter(random, problem.data, 5);
    problem.params.rotationUncertainty(degrees(165.0, 195.0));
    return problem;
}

Problem scaleRange(Random& random) {
    Problem problem = planted(random, 10.0, 0.8, 1.25);
    problem.params.scaleUncertainty(rxRange(-0.2, 0.25));
    problem.params.rotationUncertainty(degrees(-10.0, 10.0));
    return problem;
}

Problem scaleOffTheStart(Random& random) {
    Problem problem = planted(random, 5.0, 1.2, 1.4);
    problem.params.scaleUncertainty(rxRange(0.2, 0.4));
    return problem;
}

Problem scaleDownToATenth(Random& random) {
    Problem problem = planted(random, 5.0, 0.2, 1.0);
    problem.params.scaleUncertainty(rxRange(-0.9, random.pick<double>({-0.9, -0.5, 0.0})));
    problem.params.rotationUncertainty(degrees(-6.0, 6.0));
    return problem;
}

Problem explicitGrid(Random& random) {
    Problem problem = planted(random);
    problem.params.autoGridSize(false);
    problem.params.gridSize(random.pick<double>({0.9, 1.7, 3.0, 8.0, 25.0}));
    return problem;
}

Problem explicitCapture(Random& random) {
    Problem problem = planted(random);
    problem.params.autoCaptureRange(false);
    problem.params.captureRange(random.pick<double>({0.0, 0.1, 1.0, 5.0, 50.0}));
    return problem;
}

Problem coarseGridFineCapture(Random& random) {
    Problem problem = explicitGrid(random);
    problem.params.autoCaptureRange(false);
    problem.params.captureRange(random.uniform(0.1, 2.0));
    return problem;
}

Problem startPose(Random& random) {
    Problem problem = planted(random);
    const rxXform<2> pose = poseAbout(kMiddle, random.uniform(-180.0, 180.0),
                                      random.uniform(0.5, 2.0), {random.uniform(-50.0, 50.0), 7.0});
    for (rxVector<2>& d : problem.data) d = pose * d;
    problem.params.startPose(pose);
    if (random.chance(0.3)) problem.params.xTranslationUncertainty(rxRange(-10.0, 10.0));
    return problem;
}

Problem skewedStartPose(Random& random) {
    Problem problem = planted(random);
    problem.params.startPose(
        rxXform<2>(rxMatrix<2>(1.1, 0.1, -0.05, random.pick<double>({0.9, -1.0})),
                   rxVector<2>(2.0, random.uniform(-5.0, 5.0))));
    return problem;
}

Problem duplicatesInModel(Random& random) {
    Problem problem = planted(random);
    for (long i = random.integer(1, 3); i > 0; --i)
        problem.model.push_back(random.pick(problem.model));
    return problem;
}

Problem duplicatesInData(Random& random) {
    Problem problem = planted(random);
    for (long i = random.integer(1, 6); i > 0 && !problem.data.empty(); --i) {
        problem.data.push_back(random.pick(problem.data));
    }
    return problem;
}

Problem everyPointDoubled(Random& random) {
    Problem problem = planted(random);
    const Points once = problem.model;
    problem.model.insert(problem.model.end(), once.begin(), once.end());
    problem.params.minCoverage(random.pick<double>({0.0, 0.4}));
    problem.params.autoGridSize(false);
    problem.params.gridSize(1.5);
    return problem;
}

Problem everyPointDoubledWithoutGrid(Random& random) {
    Problem problem = everyPointDoubled(random);
    problem.params.autoGridSize(true);
    return problem;
}

Problem modelInOnePlace(Random& random) {
    Problem problem = planted(random);
    for (rxVector<2>& m : problem.model) m = kMiddle;
    problem.params.autoGridSize(false);
    problem.params.gridSize(2.0);
    problem.params.minCoverage(0.0);
    if (random.chance(0.5)) problem.params.scaleUncertainty(rxRange(-0.5, 0.5));
    return problem;
}

Problem dataInOnePlace(Random& random) {
    Problem problem = planted(random);
    problem.data.assign(problem.data.size(), rxVector<2>(random.uniform(0.0, 9.0), 5.0));
    problem.params.minCoverage(0.0);
    return problem;
}

Problem collinear(Random& random) {
    Problem problem = planted(random);
    for (rxVector<2>& m : problem.model) m.y(random.pick<double>({20.0, 20.0, 20.0, 20.5}));
    problem.model[0].x(-3.0);
    const rxXform<2> pose = poseAbout(kMiddle, random.uniform(-14.0, 14.0), 1.0, {4.0, 5.0});
    problem.data = observe(random, problem.model, pose, 0.2, 0.1);
    addClutter(random, problem.data, random.integer(0, 8));
    problem.params.autoGridSize(false);
    problem.params.gridSize(random.uniform(1.0, 2.0));
    if (random.chance(0.3)) {
        for (rxVector<2>& d : problem.data) d.y(7.0);
    }
    return problem;
}

Problem fewPoints(Random& random) {
    Problem problem = planted(random);
    problem.model.resize(3);
    problem.data =
        observe(random, problem.model, poseAbout(kMiddle, 3.0, 1.0, {1.0, 2.0}), 0.3, 0.2);
    addClutter(random, problem.data, random.integer(0, 4));
    problem.params.minCoverage(random.pick<double>({0.0, 0.3, 0.6, 1.0}));
    return problem;
}

Problem moreModelThanData(Random& random) {
    Problem problem = planted(random);
    problem.model = spreadPoints(random, random.integer(10, 16), kExtent, 5.0);
    const rxXform<2> pose = poseAbout(kMiddle, random.uniform(-14.0, 14.0), 1.0, {1.0, 2.0});
    problem.data = observe(random, problem.model, pose, 0.3, 0.6);
    problem.params.minCoverage(random.pick<double>({0.0, 0.1, 0.3, 0.5}));
    return problem;
}

Problem weightedMoreModelThanData(Random& random) {
    Problem problem = moreModelThanData(random);
    for (std::size_t i = 0; i < problem.model.size(); ++i) {
        problem.weights.push_back(random.integer(-2, 9));
    }
    problem.weights[0] = 5;
    problem.weights[1] = 5;
    return problem;
}

Problem crowdedData(Random& random) {
    Problem problem = planted(random);
    addClutter(random, problem.data, random.integer(60, 120));
    return problem;
}

Problem noData(Random& random) {
    Problem problem = planted(random);
    problem.data.clear();
    return problem;
}

Problem oneDataPoint(Random& random) {
    Problem problem = planted(random);
    problem.data.assign(1, kMiddle);
    problem.params.minCoverage(random.pick<double>({0.0, 0.1, 0.25}));
    return problem;
}

Problem hugeOffset(Random& random) {
    Problem problem = planted(random);
    const double offset = random.pick<double>({1e5, -1e6, 1e7});
    if (random.chance(0.5)) {
        for (rxVector<2>& m : problem.model) m = m + rxVector<2>(offset, -offset);
    }
    for (rxVector<2>& d : problem.data) d = d + rxVector<2>(offset, -offset);
    if (random.chance(0.5)) {
        problem.params.startPose(poseAbout({0.0, 0.0}, 0.0, 1.0, {offset, -offset}));
    }
    return problem;
}

Problem everythingAtOnce(Random& random) {
    Problem problem = planted(random, 180.0, 0.85, 1.15);
    problem.params.rotationUncertainty(random.chance(0.5)
                                           ? rxAngleRange::FullRange()
                                           : degrees(-30.0, random.uniform(-20.0, 90.0)));
    problem.params.scaleUncertainty(rxRange(random.uniform(-0.15, 0.0), random.uniform(0.0, 0.15)));
    if (random.chance(0.5)) problem.params.xTranslationUncertainty(rxRange(-30.0, 10.0));
    if (random.chance(0.5)) problem.params.yTranslationUncertainty(rxRange(-10.0, 30.0));
    if (random.chance(0.5)) {
        for (std::size_t i = 0; i < problem.model.size(); ++i) {
            problem.weights.push_back(i < 2 ? 3 : random.integer(-3, 300));
        }
    }
    if (random.chance(0.5)) {
        problem.params.autoGridSize(false);
        problem.params.gridSize(random.uniform(1.5, 4.0));
    }
    problem.params.startPose(poseAbout(kMiddle, random.uniform(-20.0, 20.0), 1.1, {1.0, -2.0}));
    return problem;
}

// The exhaustive search tries every assignment: the smaller side stays at five points or fewer.
Problem smallPlanted(Random& random) {
    Problem problem;
    problem.model = spreadPoints(random, random.integer(3, 5), kExtent, kSpacing);
    const rxXform<2> pose =
        poseAbout(kMiddle, random.uniform(-14.0, 14.0), 1.0, {random.uniform(-9.0, 9.0), 2.0});
    problem.data = observe(random, problem.model, pose, random.chance(0.5) ? 0.0 : 0.5, 0.1);
    addClutter(random, problem.data, random.integer(0, problem.model.size() < 5 ? 3 : 1));
    shuffle(random, problem.data);
    problem.params.maxNumResults(random.integer(1, 20));
    return problem;
}

Problem smallFullRotation(Random& random) {
    Problem problem = smallPlanted(random);
    problem.params.rotationUncertainty(rxAngleRange::FullRange());
    problem.params.autoCaptureRange(false);
    problem.params.captureRange(random.uniform(0.0, 12.0));
    return problem;
}

Problem smallScaleRange(Random& random) {
    Problem problem = smallPlanted(random);
    problem.params.scaleUncertainty(rxRange(-0.3, random.uniform(-0.2, 0.4)));
    return problem;
}

Problem smallWindow(Random& random) {
    Problem problem = smallPlanted(random);
    problem.params.xTranslationUncertainty(rxRange(-10.0, random.uniform(-10.0, 10.0)));
    if (random.chance(0.5)) problem.params.yTranslationUncertainty(rxRange(-10.0, 10.0));
    return problem;
}

Problem smallWeighted(Random& random) {
    Problem problem = smallPlanted(random);
    for (std::size_t i = 0; i < problem.model.size(); ++i) {
        problem.weights.push_back(i < 2 ? 2 : random.integer(-4, 5));
    }
    return problem;
}

// Equal coverage and equal error many times over: only the order of the assignments decides.
Problem smallSquare(Random& random) {
    Problem problem = smallPlanted(random);
    const double side = random.pick<double>({4.0, 5.0, 7.3});
    problem.model = {{0.0, 0.0}, {side, 0.0}, {side, side}, {0.0, side}};
    problem.data = problem.model;
    shuffle(random, problem.data);
    if (random.chance(0.5)) problem.data.emplace_back(2.0 * side, 0.0);
    problem.params.rotationUncertainty(rxAngleRange::FullRange());
    return problem;
}

Problem smallDuplicates(Random& random) {
    Problem problem = smallPlanted(random);
    problem.model[0] = problem.model[1];
    if (problem.data.size() > 1) problem.data[0] = problem.data[1];
    problem.params.rotationUncertainty(degrees(-60.0, 60.0));
    return problem;
}

Problem smallStartPose(Random& random) {
    Problem problem = smallPlanted(random);
    const rxXform<2> pose =
        poseAbout(kMiddle, random.uniform(-180.0, 180.0), 1.0, {random.uniform(-50.0, 50.0), 7.0});
    for (rxVector<2>& d : problem.data) d = pose * d;
    problem.params.startPose(pose);
    return problem;
}

Problem smallFewData(Random& random) {
    Problem problem = smallPlanted(random);
    problem.data.resize(
        std::min<std::size_t>(problem.data.size(), static_cast<std::size_t>(random.integer(2, 3))));
    problem.model = spreadPoints(random, 8, kExtent, kSpacing);
    problem.params.rotationUncertainty(rxAngleRange::FullRange());
    problem.params.scaleUncertainty(rxRange(-0.5, 0.5));
    return problem;
}

Problem smallOneDataPoint(Random& random) {
    Problem problem = smallPlanted(random);
    problem.data.assign(static_cast<std::size_t>(random.integer(0, 1)), kMiddle);
    return problem;
}

}  // namespace

// The 53 upper bits: every value is an exact double, and no platform's distribution is involved.
double Random::uniform(double low, double high) {
    const double unit = static_cast<double>(engine_() >> 11U) * 0x1p-53;
    return low + (high - low) * unit;
}

long Random::integer(long low, long high) {
    const auto span = static_cast<std::uint64_t>(high - low) + 1;
    return low + static_cast<long>(engine_() % span);
}

Points spreadPoints(Random& random, long count, double extent, double spacing) {
    Points points;
    for (long attempt = 0; attempt < 200 && static_cast<long>(points.size()) < count; ++attempt) {
        const rxVector<2> p(random.uniform(0.0, extent), random.uniform(0.0, extent));
        const bool isFree = std::all_of(points.begin(), points.end(), [&](const rxVector<2>& q) {
            return (p - q).len() >= spacing;
        });
        if (isFree) points.push_back(p);
    }
    return points;
}

rxXform<2> poseAbout(const rxVector<2>& centre, double rotationDeg, double scale,
                     const rxVector<2>& shift) {
    const rxRadian angle{rxDegree(rotationDeg)};
    const rxXform<2> turn(rxVector<2>(0.0, 0.0), angle, angle, scale, scale);
    return {turn.matrix(), centre - turn * centre + shift};
}

const std::vector<ProblemKind>& poseSearchProblems() {
    static const std::vector<ProblemKind> kinds{
        {"plantedInClutter", plantedInClutter},
        {"noiseFree", noiseFree},
        {"twoInstances", twoInstances},
        {"pureNoise", pureNoise},
        {"dotGrid", dotGrid},
        {"wholeCoordinates", wholeCoordinates},
        {"smallWeights", smallWeights},
        {"negativeWeights", negativeWeights},
        {"weightsBeyondByte", weightsBeyondByte},
        {"weightsBeyondShort", weightsBeyondShort},
        {"weightsBeyondReach", weightsBeyondReach},
        {"weightsAtTheSteps", weightsAtTheSteps},
        {"weightsAtTheLimit", weightsAtTheLimit},
        {"vanishingWeights", vanishingWeights, true},
        {"windowInX", windowInX},
        {"windowInY", windowInY},
        {"windowInBoth", windowInBoth},
        {"windowOfOnePixel", windowOfOnePixel},
        {"windowBeyondData", windowBeyondData, true},
        {"windowAtTheRim", windowAtTheRim},
        {"narrowRotation", narrowRotation},
        {"fullRotation", fullRotation},
        {"rotationAcrossHalfTurn", rotationAcrossHalfTurn},
        {"scaleRange", scaleRange},
        {"scaleOffTheStart", scaleOffTheStart},
        {"scaleDownToATenth", scaleDownToATenth},
        {"explicitGrid", explicitGrid},
        {"explicitCapture", explicitCapture},
        {"coarseGridFineCapture", coarseGridFineCapture},
        {"startPose", startPose},
        {"skewedStartPose", skewedStartPose},
        {"duplicatesInModel", duplicatesInModel},
        {"duplicatesInData", duplicatesInData},
        {"everyPointDoubled", everyPointDoubled},
        {"everyPointDoubledWithoutGrid", everyPointDoubledWithoutGrid, true},
        {"modelInOnePlace", modelInOnePlace, true},
        {"dataInOnePlace", dataInOnePlace, true},
        {"collinear", collinear},
        {"fewPoints", fewPoints},
        {"moreModelThanData", moreModelThanData},
        {"weightedMoreModelThanData", weightedMoreModelThanData},
        {"crowdedData", crowdedData},
        {"noData", noData, true},
        {"oneDataPoint", oneDataPoint, true},
        {"hugeOffset", hugeOffset},
        {"everythingAtOnce", everythingAtOnce},
    };
    return kinds;
}

const std::vector<ProblemKind>& exhaustiveProblems() {
    static const std::vector<ProblemKind> kinds{
        {"smallPlanted", smallPlanted},       {"smallFullRotation", smallFullRotation},
        {"smallScaleRange", smallScaleRange}, {"smallWindow", smallWindow},
        {"smallWeighted", smallWeighted},     {"smallSquare", smallSquare},
        {"smallDuplicates", smallDuplicates}, {"smallStartPose", smallStartPose},
        {"smallFewData", smallFewData},       {"smallOneDataPoint", smallOneDataPoint, true},
    };
    return kinds;
}

}  // namespace ptmatch::reference
