#include "large_runs.h"

#include <array>
#include <cstddef>
#include <vector>

#include "foundation/fitter.h"
#include "foundation/image.h"
#include "foundation/image_functions.h"
#include "numbers.h"
#include "ptmatch/least_squares.h"
#include "ptmatch/matext.h"
#include "ptmatch/pinv.h"
#include "ptmatch/ptgdmap.h"

namespace ptmatch::determinism {
namespace {

using Defs = rxPointMatcherDefs;

/// A model of so many points, somewhere among other points.
struct Scene {
    Points model;
    Points data;
};

Scene scene(Numbers& numbers, long numModel, long numClutter) {
    Scene all;
    while (static_cast<long>(all.model.size()) < numModel) {
        const rxVector<2> p = numbers.point(100.0);
        bool isFree = true;
        for (const rxVector<2>& q : all.model) isFree = isFree && (p - q).len() > 10.0;
        if (isFree) all.model.push_back(p);
    }
    const rxXform<2> pose = anyPose(numbers, 0.2, 0.97, 1.03, 100.0);
    for (const rxVector<2>& p : all.model) {
        if (!numbers.oneOf(10)) all.data.push_back(pose * p + numbers.point(0.7));
    }
    const Points clutter = numbers.points(numClutter, 300.0);
    all.data.insert(all.data.end(), clutter.begin(), clutter.end());
    return all;
}

/// The grid size that training found, and the ranges that differ from run to run.
void searchScene(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    const long numModel = numbers.integer(8, 40);
    const Scene all = scene(numbers, numModel, numbers.integer(0, 200));
    rxPointMatcher matcher;
    if (numbers.oneOf(3)) {
        std::vector<long> weights;
        for (std::size_t i = 0; i < all.model.size(); ++i) {
            weights.push_back(numbers.integer(i < 2 ? 1 : -2, 20));
        }
        matcher.train(all.model, weights, Defs::eAutoDetect);
    } else {
        matcher.train(all.model, Defs::eAutoDetect);
    }
    rxPointMatcherRunParams params(numbers.real(0.6, 0.85));
    if (numbers.oneOf(2)) params.scaleUncertainty(rxRange(-0.04, 0.04));
    if (numbers.oneOf(2)) params.rotationUncertainty({rxDegree(-25.0), rxDegree(25.0)});
    if (numbers.oneOf(3)) {
        params.autoGridSize(false);
        params.gridSize(numbers.real(4.0, 8.0));
    }
    params.maxNumResults(numbers.integer(1, 4));
    rxPointMatcherResultSet found;
    matcher.run(all.data, params, found);
    add(digest, found);
}

/// One direction alone, on a fine grid: the widest images.
void searchFinely(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    const Scene all = scene(numbers, 30, 300);
    rxPointMatcher matcher;
    matcher.train(all.model, Defs::eAutoDetect);
    rxPointMatcherRunParams params(0.4);
    params.rotationUncertainty({rxDegree(0.0), rxDegree(0.0)});
    params.startPose(turned(numbers.real(-0.2, 0.2), 1.0, {}));
    params.autoGridSize(false);
    params.gridSize(numbers.real(0.4, 1.0));
    params.autoCaptureRange(false);
    params.captureRange(5.0);
    params.maxNumResults(10);
    rxPointMatcherResultSet found;
    matcher.run(all.data, params, found);
    add(digest, found);
}

rxXform<2> plateSteps(Numbers& numbers) {
    const double length = numbers.real(20.0, 30.0);
    const rxVector<2> step(length, numbers.real(-2.0, 2.0));
    return rxXform<2>(rxMatrix<2>(step.x(), -step.y(), step.y(), step.x()), numbers.point(50.0));
}

void findPlate(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    rxPelBuffer<unsigned char> image(17, 13, 32);
    rfPelClear(image);
    image.clientFromImageXform(plateSteps(numbers));
    const rxXform<2> pose = anyPose(numbers, 0.08, 1.0, 1.0, 200.0) * image.clientFromImageXform();
    Points dots = numbers.points(20, 600.0);
    for (long i = 0; i < 17 * 13; ++i) {
        const rxPair<long> position(i % 17, i / 17);
        if (numbers.oneOf(12)) continue;
        image.put(position.x(), position.y(), 1);
        if (!numbers.oneOf(30)) dots.push_back(pose * rxVector<2>(position) + numbers.point(1.0));
    }
    rxPointMatcher matcher;
    matcher.train(image);
    rxPointMatcherRunParams params(0.7);
    params.scaleUncertainty(rxRange(-0.2, 0.2));
    params.maxNumResults(3);
    rxPointMatcherResultSet found;
    matcher.run(dots, params, found);
    add(digest, found);
    for (const rxPointMatcherResult& result : found.results()) {
        for (long y = 0; y < 13; ++y) digest.add(result.gridToDataMap({y, y}));
    }
}

void mapPlate(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    const rxXform<2> steps = plateSteps(numbers);
    const rxXform<2> pose = anyPose(numbers, 0.1, 1.0, 1.0, 200.0) * steps;
    Points points = numbers.points(50, 800.0);
    for (long i = 0; i < 30 * 30; ++i) {
        if (numbers.oneOf(15)) continue;
        points.push_back(pose * rxVector<2>(rxPair<long>(i % 30, i / 30)) + numbers.point(1.5));
    }
    const rxMatrix<2>& m = steps.matrix();
    rxPtToGridMapResult result;
    digest.add(rfPtToGridMap(points,
                             rxPtToGridMapRunParams({m.element(0, 0), m.element(1, 0)},
                                                    {m.element(0, 1), m.element(1, 1)}),
                             result));
    digest.add(result.grid2point());
    digest.addAll(result.map());
}

void solveManyUnknowns(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    const long n = numbers.integer(20, 60);
    rxMatrixExt a(n, n);
    std::vector<double> b;
    rxPsuedoInverse sums(n);
    rxLeastSquares factor(n);
    for (long i = 0; i < n * n; ++i) a.element(i / n, i % n, numbers.real(-9.0, 9.0));
    for (long r = 0; r < n; ++r) {
        b.push_back(numbers.real(-5.0, 5.0));
        sums.update(a[r], b.back());
        factor.update(a[r], b.back());
    }
    digest.addAll(sums.fit());
    digest.addAll(factor.fit().x);
    digest.addAll(rfSolveLeastSquares(a, b).x);
    digest.addAll(rfSingularValues(a));
    rxMatrixExt inverse = a;
    rxMatrixExt none;
    inverse.gaussj(none);
    for (long r = 0; r < n; ++r) digest.addAll(inverse[r]);
    std::vector<long> index(static_cast<std::size_t>(n));
    a.ludcmp(index);
    a.lubksb(index, b);
    digest.addAll(b);
}

/// Sums of numbers of very different sizes.
void fitManyPairs(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    const rxXform<2> truth = turned(0.4, 1e-3, {1e9, -1e9});
    rxLSPointToPointFitter fitter;
    for (long i = 0; i < 500; ++i) {
        const rxVector<2> p = numbers.point(i % 7 == 0 ? 1e6 : 1e-3);
        fitter.update(truth * p, p);
    }
    for (int dof = 3; dof <= 6; ++dof) digest.add(fitter.fit(dof));
}

constexpr std::array kLargeRuns = {
    SmallRun{"large_votes", searchScene},
    SmallRun{"fine_votes", searchFinely},
    SmallRun{"large_grid", findPlate},
    SmallRun{"large_grid_map", mapPlate},
    SmallRun{"large_equations", solveManyUnknowns},
    SmallRun{"large_fit", fitManyPairs},
};

}  // namespace

std::span<const SmallRun> largeRuns() {
    return kLargeRuns;
}

}  // namespace ptmatch::determinism
