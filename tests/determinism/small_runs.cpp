#include "small_runs.h"

#include <array>
#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

#include "foundation/fitter.h"
#include "foundation/geometry_archive.h"
#include "foundation/image.h"
#include "foundation/image_functions.h"
#include "foundation/memory_archive.h"
#include "numbers.h"
#include "ptmatch/affine_approximation.h"
#include "ptmatch/certainty.h"
#include "ptmatch/clutter_chance.h"
#include "ptmatch/condition_estimate.h"
#include "ptmatch/distinct_instances.h"
#include "ptmatch/fit_residual.h"
#include "ptmatch/gridcorr.h"
#include "ptmatch/least_squares.h"
#include "ptmatch/matched_pairs.h"
#include "ptmatch/matext.h"
#include "ptmatch/perspective_fit.h"
#include "ptmatch/pinv.h"
#include "ptmatch/ptgdmap.h"
#include "ptmatch/refit.h"
#include "ptmatch/run_cost.h"
#include "ptmatch/run_watch.h"
#include "ptmatch/score_hashing.h"
#include "ptmatch/space_fit.h"
#include "ptmatch/tm.h"
#include "ptmatch/vote_image.h"
#include "ptmatch/why_not.h"

namespace ptmatch::determinism {
namespace {

using Defs = rxPointMatcherDefs;

/// Adds what the call throws of the library's own, by its message: a refusal is an answer too.
template <class Call>
void orRefusal(Digest& digest, const Call& call) {
    try {
        call();
    } catch (const rxException& refusal) {
        digest.add(std::string_view(refusal.what()));
    } catch (const rxMatrixExt::SingularMatrix&) {
        digest.add(std::string_view("singular"));
    }
}

/// The model moved, shaken, thinned out and surrounded by other points.
Points scene(Numbers& numbers, const Points& model, const rxXform<2>& pose) {
    Points data;
    for (const rxVector<2>& p : model) {
        if (!numbers.oneOf(8)) data.push_back(pose * p + numbers.point(0.2));
    }
    for (long n = numbers.integer(0, 4); n > 0; --n) data.push_back(numbers.point(15.0));
    return data;
}

std::vector<long> weights(Numbers& numbers, std::size_t count) {
    std::vector<long> all;
    while (all.size() < count) {
        all.push_back(all.size() < 2 ? numbers.integer(1, 9) : numbers.integer(-3, 9));
    }
    return all;
}

/// Trained with weights or without, run on the data with any settings.
void matchPoints(std::uint64_t seed, Digest& digest, Numbers& numbers, const Points& model,
                 const Points& data, Defs::Mode mode) {
    rxPointMatcher matcher;
    if (numbers.oneOf(2)) {
        matcher.train(model, mode);
    } else {
        matcher.train(model, weights(numbers, model.size()), mode);
    }
    rxPointMatcherResultSet found;
    orRefusal(digest, [&] { matcher.run(data, anySettings(seed), found); });
    add(digest, found);
}

void searchByVotes(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    const Points model = numbers.points(numbers.integer(3, 6), 10.0);
    const Points data = scene(numbers, model, anyPose(numbers, 0.1, 0.95, 1.05, 20.0));
    matchPoints(seed, digest, numbers, model, data, Defs::eAutoDetect);
}

void tryAllAssignments(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    const Points model = numbers.points(3, 10.0);
    const Points data = scene(numbers, model, anyPose(numbers, 0.5, 0.9, 1.1, 20.0));
    matchPoints(seed, digest, numbers, model, data, Defs::eExhaustiveMode);
}

/// Dots on a grid of columns by rows, of which one in so many is missing.
rxPelBuffer<unsigned char> plate(Numbers& numbers, long columns, long rows, long missing) {
    rxPelBuffer<unsigned char> image(columns, rows, 32);
    rfPelClear(image);
    for (long i = 0; i < columns * rows; ++i) {
        if (i < 3 || !numbers.oneOf(missing)) image.put(i % columns, i / columns, 1);
    }
    return image;
}

Points dotsOf(Numbers& numbers, const rxPelBuffer<unsigned char>& image, double noise) {
    const rxXform<2> pose = anyPose(numbers, 0.05, 1.0, 1.0, 30.0) * image.clientFromImageXform();
    Points dots;
    for (long i = 0; i < image.width() * image.height(); ++i) {
        const rxPair<long> position(i % image.width(), i / image.width());
        if (image.get(position) == 0) continue;
        dots.push_back(pose * rxVector<2>(position) + numbers.point(noise));
    }
    return dots;
}

void matchGrid(Digest& digest, Numbers& numbers, rxPelBuffer<unsigned char> image,
               rxPointMatcherRunParams params) {
    const double length = numbers.real(8.0, 12.0);
    const rxVector<2> step(length, numbers.real(-1.0, 1.0));
    const rxMatrix<2> steps(step.x(), -step.y(), step.y(), step.x());
    image.clientFromImageXform(rxXform<2>(steps, numbers.point(5.0)));
    rxPointMatcher matcher;
    matcher.train(image);
    params.scaleUncertainty(rxRange(-0.2, 0.2));
    rxPointMatcherResultSet found;
    orRefusal(digest, [&] { matcher.run(dotsOf(numbers, image, 0.3), params, found); });
    add(digest, found);
    for (const rxPointMatcherResult& result : found.results()) {
        orRefusal(digest, [&] { digest.add(result.gridToDataMap({1, 1})); });
    }
}

void matchDenseGrid(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    rxPointMatcherRunParams params(numbers.real(0.6, 0.9));
    params.maxNumResults(numbers.integer(1, 3));
    matchGrid(digest, numbers, plate(numbers, 4, 4, 9), params);
}

void matchSparseGrid(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    rxPointMatcherRunParams params(numbers.real(0.6, 0.9));
    params.maxNumResults(numbers.integer(1, 3));
    params.autoGridSize(false);
    params.gridSize(4.0);
    matchGrid(digest, numbers, plate(numbers, 3, 2, 5), params);
}

void mapPointsToGrid(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    const bool isStaggered = numbers.oneOf(3);
    const rxXform<2> steps(rxMatrix<2>(10.0, numbers.real(-1.0, 1.0), 0.5, 10.0), rxVector<2>());
    const rxXform<2> pose = anyPose(numbers, 0.1, 1.0, 1.0, 30.0) * steps;
    Points points = numbers.points(numbers.integer(0, 3), 30.0);
    for (long i = 0; i < 20; ++i) {
        const rxPair<long> position(i % 5, i / 5);
        if (isStaggered && (position.x() + position.y()) % 2 != 0) continue;
        if (!numbers.oneOf(10)) points.push_back(pose * rxVector<2>(position) + numbers.point(0.4));
    }
    rxPtToGridMapRunParams params({10.0, 0.5}, {0.0, 10.0}, isStaggered);
    if (numbers.oneOf(2)) params.snapSize(numbers.real(0.5, 3.0));
    if (numbers.oneOf(2)) params.sizeTol(rxRange(0.7, 1.3));
    if (numbers.oneOf(3)) params.angleTol(rxAngleRange::FullRange());
    rxPtToGridMapResult result;
    orRefusal(digest, [&] { digest.add(rfPtToGridMap(points, params, result)); });
    digest.add(result.valid());
    digest.add(result.grid2point());
    digest.addAll(result.map());
}

void placePattern(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    const auto position = [&](long reach) {
        const long x = numbers.integer(-reach, reach);
        return rxPair<long>(x, numbers.integer(-reach, reach));
    };
    std::vector<rxPair<long>> pattern;
    for (long n = numbers.integer(3, 12); n > 0; --n) pattern.push_back(position(3));
    const rxPair<long> shift = position(50);
    std::vector<rxPair<long>> data;
    for (const rxPair<long>& p : pattern) {
        if (!numbers.oneOf(10)) data.push_back(p + shift);
    }
    for (long n = numbers.integer(0, 6); n > 0; --n) data.push_back(position(6) + shift);
    rx_PointToGridCorresponder tool;
    const auto type =
        static_cast<rx_PointToGridCorresponderDefs::FeatureType>(numbers.integer(0, 2));
    tool.train(pattern, rx_PointToGridCorresponderTrainParams(numbers.oneOf(3), type),
               rxXform<2>());
    rx_PointToGridCorresponderResultSet found;
    rx_PointToGridCorresponderRunParams params(numbers.real(0.5, 1.0));
    params.maxNumResults(numbers.integer(1, 5));
    digest.add(tool.run(data, params, found));
    for (const auto& result : found.results()) {
        digest.add(result.score());
        digest.add(result.position());
    }
}

struct Correspondence {
    Points a;
    Points b;
};

Correspondence pairsOf(Numbers& numbers) {
    const rxXform<2> truth = anyPose(numbers, 3.0, 0.3, 3.0, 1000.0);
    Correspondence pairs;
    pairs.a = numbers.points(numbers.integer(2, 12), 100.0);
    for (const rxVector<2>& p : pairs.a) pairs.b.push_back(truth * p + numbers.point(1.0));
    return pairs;
}

void fitPlane(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    const Correspondence pairs = pairsOf(numbers);
    const rxLSPointToPointFitter fitter(pairs.b, pairs.a);
    for (int dof = 3; dof <= 6; ++dof) {
        orRefusal(digest, [&] { digest.add(fitter.fit(dof)); });
        orRefusal(digest, [&] {
            rx2PtMatchTm tm(pairs.a, pairs.b, dof);
            tm.translate(numbers.point(3.0));
            tm.scale(numbers.real(0.5, 2.0));
            tm.append(tm);
            digest.add(tm.b2aXform());
            digest.add(rfFitResidual(tm, pairs.a, pairs.b).rms);
            digest.add(rfPoseCovariance(fitter.fit(3), pairs.a, pairs.b, 3, 0.5).rotationSigma);
        });
    }
}

void fitPerspective(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    const Points a = numbers.points(numbers.integer(4, 9), 10.0);
    Points b;
    for (const rxVector<2>& p : a) {
        const double w = 1.0 + 0.01 * p.x() - 0.02 * p.y();
        b.emplace_back((2.0 * p.x() - 0.3 * p.y() + 5.0) / w + numbers.real(-0.01, 0.01),
                       (0.1 * p.x() + 1.5 * p.y() - 7.0) / w);
    }
    orRefusal(digest, [&] {
        const rx2PTm tm(a, b);
        for (const double value : tm.a2bParams()) digest.add(value);
        for (const double value : tm.b2aParams()) digest.add(value);
        digest.add(rfAffineApproximation(tm, {-5.0, -5.0, 10.0, 10.0}).a2bXform());
        const rx2PTm better = rfFitPerspectiveNormalized(a, b);
        const rx2PTm both = rfConcatPerspective(tm, better);
        for (const double value : both.a2bParams()) digest.add(value);
        digest.add(rfPerspectiveConditioning(a, b));
        digest.add(rfFitResidual(better, a, b).rms);
    });
}

void fitSpace(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    std::vector<rxVector<3>> a;
    std::vector<rxVector<3>> b;
    for (long n = numbers.integer(4, 9); n > 0; --n) {
        const rxVector<3> p = numbers.spacePoint(10.0);
        a.push_back(p);
        const rxVector<3> noise = numbers.spacePoint(0.1);
        b.emplace_back(0.6 * p.x() - 0.8 * p.y() + noise.x(), 0.8 * p.x() + 0.6 * p.y() + noise.y(),
                       p.z() + noise.z() + 3.0);
    }
    const auto addTransform = [&](const rx3PtMatchTm& tm) {
        for (const double value : tm.a2bParams()) digest.add(value);
        for (const double value : tm.b2aParams()) digest.add(value);
        digest.add(rfFitResidual(tm, a, b).largest);
    };
    orRefusal(digest, [&] { addTransform(rx3PtMatchTm(a, b)); });
    orRefusal(digest, [&] { addTransform(rfFitRigid3D(a, b)); });
    orRefusal(digest, [&] { addTransform(rfFitSimilarity3D(a, b)); });
    orRefusal(digest, [&] { addTransform(rfFitAffine3D(a, b)); });
}

void turnTransforms(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    rx2PtMatchTm plane(turned(0.3, 2.0, numbers.point(9.0)));
    plane.rotate(rxRadian(numbers.real(-7.0, 7.0)));
    digest.add(plane.b2aXform());
    digest.add(plane.a2b(rxRadian(numbers.real(-7.0, 7.0))));
    rx2PTm perspective(plane);
    perspective.rotate(rxDegree(numbers.real(-400.0, 400.0)));
    for (const double value : perspective.b2aParams()) digest.add(value);
    rx3PtMatchTm space;
    space.rotateOnX(rxRadian(numbers.real(-7.0, 7.0)));
    space.rotateOnY(rxRadian(numbers.real(-7.0, 7.0)));
    space.rotateOnZ(rxRadian(numbers.real(-7.0, 7.0)));
    for (const double value : space.b2aParams()) digest.add(value);
    const rxDegree xRot(numbers.real(-180.0, 180.0));
    const rxDegree yRot(numbers.real(-180.0, 180.0));
    const rxXform<2> made(numbers.point(5.0), xRot, yRot, 1.5, 0.5);
    digest.add(made.inverse());
    digest.add(made.xRot());
    digest.add(made.xScale());
    digest.add(rxAngleRange(rxDegree(10.0), rxDegree(80.0)).isWithin(made.xRot()));
}

rxMatrixExt matrixOf(Numbers& numbers, long rows, long columns) {
    rxMatrixExt a(rows, columns);
    for (long i = 0; i < rows * columns; ++i) {
        a.element(i / columns, i % columns, numbers.oneOf(6) ? 0.0 : numbers.real(-9.0, 9.0));
    }
    return a;
}

void addMatrix(Digest& digest, const rxMatrixExt& a) {
    for (long r = 0; r < a.rows(); ++r) digest.addAll(a[r]);
}

void solveEquations(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    const long n = numbers.integer(1, 9);
    const rxMatrixExt a = matrixOf(numbers, n, n);
    std::vector<double> b;
    for (long i = 0; i < n; ++i) b.push_back(numbers.real(-5.0, 5.0));
    orRefusal(digest, [&] {
        rxMatrixExt lu = a;
        std::vector<long> index(static_cast<std::size_t>(n));
        lu.ludcmp(index);
        std::vector<double> x = b;
        lu.lubksb(index, x);
        addMatrix(digest, lu);
        digest.addAll(index);
        digest.addAll(x);
        digest.add(rfConditionEstimate(lu, index, rfOneNorm(a)));
    });
    orRefusal(digest, [&] {
        rxMatrixExt inverse = a;
        rxMatrixExt right = matrixOf(numbers, n, 2);
        inverse.gaussj(right);
        addMatrix(digest, inverse);
        addMatrix(digest, right);
    });
    orRefusal(digest, [&] { digest.addAll(rfSolveLeastSquares(a, b).x); });
    orRefusal(digest, [&] { digest.addAll(rfSingularValues(matrixOf(numbers, n + 3, n))); });
}

void accumulateEquations(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    const long unknowns = numbers.integer(1, 6);
    rxPsuedoInverse sums(unknowns);
    rxLeastSquares factor(unknowns);
    std::vector<double> row(static_cast<std::size_t>(unknowns));
    for (long n = unknowns + numbers.integer(0, 9); n > 0; --n) {
        for (double& value : row) value = numbers.real(-3.0, 3.0);
        const double y = numbers.real(-3.0, 3.0);
        sums.update(row, y);
        factor.update(row, y);
    }
    orRefusal(digest, [&] { digest.addAll(sums.fit()); });
    const rxLeastSquaresSolution best = factor.fit();
    digest.addAll(best.x);
    digest.add(best.residualNorm);
    digest.add(best.condition);
}

template <class T>
std::vector<unsigned char> bytesOf(T& value) {
    rxMemoryStoreArchive storing;
    storing || value;
    return storing.takeStored();
}

/// Stores, loads, stores again and uses what was loaded.
void storeAndLoad(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    const Points model = numbers.points(4, 10.0);
    const Points data = scene(numbers, model, anyPose(numbers, 0.1, 1.0, 1.0, 20.0));
    rxPointMatcher matcher;
    matcher.train(model, weights(numbers, model.size()), Defs::eAutoDetect);
    const std::vector<unsigned char> bytes = bytesOf(matcher);
    digest.add(bytes);
    rxPointMatcher loaded;
    rxMemoryLoadArchive loading(bytes);
    loading || loaded;
    digest.add(bytesOf(loaded) == bytes);
    rxPointMatcherRunParams params = anySettings(seed);
    digest.add(bytesOf(params));
    rxPointMatcherResultSet found;
    orRefusal(digest, [&] { loaded.run(data, params, found); });
    for (rxPointMatcherResult result : found.results()) digest.add(bytesOf(result));
    orRefusal(digest, [&] {
        rxMemoryLoadArchive cut(std::span<const unsigned char>(bytes).first(bytes.size() / 2));
        cut || loaded;
    });
}

void storeGrid(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    rxPointMatcher matcher;
    matcher.train(plate(numbers, 4, 3, numbers.oneOf(2) ? 3 : 9));
    const std::vector<unsigned char> bytes = bytesOf(matcher);
    digest.add(bytes);
    rxPointMatcher loaded;
    rxMemoryLoadArchive loading(bytes);
    loading || loaded;
    digest.add(bytesOf(loaded) == bytes);
}

void combineImages(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    const long width = numbers.integer(1, 40);
    rxPelBuffer<unsigned char> marks(width, 5, 32);
    for (long i = 0; i < width * 5; ++i) {
        marks.put(i % width, i / width, static_cast<unsigned char>(numbers.integer(0, 255)));
    }
    std::array<short, 256> table{};
    for (short& value : table) value = static_cast<short>(numbers.integer(-30'000, 30'000));
    rxPelBuffer<short> sums(width, 5, 64);
    rfPelMap(marks, std::span<const short>(table), sums);
    rfPelAdd(marks, sums, sums);
    rfPelSub(sums, sums, sums);
    rfPelAdd(marks, sums, sums);
    sums.window(0, 1, (width + 1) / 2, 3, true);
    digest.add(bytesOf(sums));
}

void addCost(Digest& digest, const rxRunCost& cost) {
    digest.add(cost.gridSize);
    digest.add(cost.captureRange);
    digest.add(cost.numLatticePoints);
    digest.add(cost.numTranslations);
    digest.add(cost.imageBytes);
    digest.add(cost.work);
}

void addCertainty(Digest& digest, const rxCertainty& sure) {
    digest.addAll(sure.residuals);
    digest.addAll(sure.pairs.dataIndices);
    if (sure.covariance) digest.add(sure.covariance->rotationSigma);
    if (sure.nextPose) digest.add(sure.nextPose->poseDistance);
    if (sure.log10FalseAlarms) digest.add(*sure.log10FalseAlarms);
    if (sure.log10CloseFalseAlarms) digest.add(*sure.log10CloseFalseAlarms);
    if (const auto chance = sure.clutterProbability()) digest.add(*chance);
}

/// What there is to ask about a run besides its results.
void askAboutRun(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    const Points model = numbers.points(5, 10.0);
    const Points data = scene(numbers, model, anyPose(numbers, 0.1, 1.0, 1.0, 20.0));
    rxPointMatcher matcher;
    matcher.train(model, Defs::eAutoDetect);
    rxPointMatcherRunParams params(numbers.real(0.4, 1.0));
    params.autoGridSize(false);
    params.gridSize(numbers.real(5.0, 8.0));
    params.rotationUncertainty({rxDegree(-5.0), rxDegree(numbers.real(5.0, 10.0))});
    params.maxNumResults(3);
    rxPointMatcherResultSet found;
    matcher.run(data, params, found);
    addCost(digest, rfRunCost(matcher, data, params));
    const rxWhyNot why = rfWhyNot(matcher, data, params);
    digest.add(why.reason);
    digest.add(why.bestCoverage);
    digest.add(why.numCandidates);
    if (const auto place = rfBestVotePlace(matcher, data, params)) {
        digest.addAll(rfVoteImage(matcher, data, params, *place).votes);
    }
    digest.addAll(rfDistinctInstances(matcher, found));
    for (std::size_t i = 0; i < found.results().size(); ++i) {
        const rxPointMatcherResult& result = found.results()[i];
        orRefusal(digest,
                  [&] { addCertainty(digest, rfCertainty(matcher, data, params, found, i)); });
        for (const auto kind : {rxRefitDefs::eRigid, rxRefitDefs::eSimilarity, rxRefitDefs::eAffine,
                                rxRefitDefs::ePerspective}) {
            orRefusal(digest, [&] {
                const rxRefit refit = rfRefit(matcher, data, result, kind);
                for (const double value : refit.dataFromModel.a2bParams()) digest.add(value);
                digest.add(refit.residual.rms);
            });
        }
    }
}

/// A run that tells how far it is, and one that is ended by what it tells.
void watchRun(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    const Points model = numbers.points(4, 10.0);
    const Points data = scene(numbers, model, anyPose(numbers, 0.0, 1.0, 1.0, 20.0));
    rxPointMatcher matcher;
    matcher.train(model, Defs::eAutoDetect);
    const rxPointMatcherRunParams params = anySettings(seed);
    rxRunLimits limits;
    limits.progressInterval = 0.0;
    limits.onProgress = [&](double fraction) { digest.add(fraction); };
    rxPointMatcherResultSet found;
    orRefusal(digest, [&] { rfRunWatched(matcher, data, params, found, limits); });
    add(digest, found);
    limits.onProgress = [](double) { throw rxDeadlinePassed("enough"); };
    orRefusal(digest, [&] { rfRunWatched(matcher, data, params, found, limits); });
}

void estimateClutter(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    rxClutterScene scene;
    scene.numDataPoints = numbers.real(0.0, 200.0);
    scene.area = numbers.real(1e4, 1e6);
    scene.captureRange = numbers.real(0.5, 5.0);
    scene.numModelPoints = static_cast<double>(numbers.integer(3, 30));
    scene.modelRadius = numbers.real(10.0, 100.0);
    scene.translationWidth = numbers.real(0.0, 1000.0);
    scene.translationHeight = numbers.real(0.0, 1000.0);
    scene.rotationLength = numbers.real(0.0, 7.0);
    scene.highScale = numbers.real(1.0, 1.5);
    digest.add(rfLog10FalseAlarms(scene, static_cast<double>(numbers.integer(2, 30))));
}

void rankScores(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    rxScoreHashing scores(50, numbers.integer(1, 10));
    for (long n = 0; n < 30; ++n) {
        digest.add(scores.add(numbers.integer(0, 50), {n, -n}));
    }
    rxPair<long> position;
    for (long score = scores.first(position); score >= 0; score = scores.next(position)) {
        digest.add(score);
        digest.add(position);
    }
}

/// Calls that fail, each in its own way, and leave nothing behind.
void beRefused(std::uint64_t seed, Digest& digest) {
    Numbers numbers(seed);
    rxPointMatcher matcher;
    rxPointMatcherResultSet found;
    const Points points = numbers.points(5, 10.0);
    orRefusal(digest, [&] { matcher.run(points, rxPointMatcherRunParams(), found); });
    orRefusal(digest, [&] { matcher.train(numbers.points(2, 10.0), Defs::eAutoDetect); });
    orRefusal(digest, [&] { matcher.train(points, {1, 1}, Defs::eAutoDetect); });
    matcher.train(points, Defs::eAutoDetect);
    orRefusal(digest, [&] {
        rxPointMatcherRunParams params;
        params.startPose(rxXform<2>(rxMatrix<2>(0.0, 0.0, 0.0, 0.0), {}));
        matcher.run(points, params, found);
    });
    orRefusal(digest, [&] { rxPointMatcherRunParams(0.5).maxNumResults(0); });
    orRefusal(digest, [&] { (void)rxLSPointToPointFitter().fit(4); });
    add(digest, found);
}

constexpr std::array kSmallRuns = {
    SmallRun{"votes", searchByVotes},
    SmallRun{"exhaustive", tryAllAssignments},
    SmallRun{"dense_grid", matchDenseGrid},
    SmallRun{"sparse_grid", matchSparseGrid},
    SmallRun{"grid_map", mapPointsToGrid},
    SmallRun{"corresponder", placePattern},
    SmallRun{"fit_plane", fitPlane},
    SmallRun{"fit_perspective", fitPerspective},
    SmallRun{"fit_space", fitSpace},
    SmallRun{"turns", turnTransforms},
    SmallRun{"equations", solveEquations},
    SmallRun{"accumulators", accumulateEquations},
    SmallRun{"archive_points", storeAndLoad},
    SmallRun{"archive_grid", storeGrid},
    SmallRun{"images", combineImages},
    SmallRun{"additions", askAboutRun},
    SmallRun{"watched", watchRun},
    SmallRun{"clutter", estimateClutter},
    SmallRun{"scores", rankScores},
    SmallRun{"refusals", beRefused},
};

}  // namespace

std::span<const SmallRun> smallRuns() {
    return kSmallRuns;
}

rxPointMatcherRunParams anySettings(std::uint64_t seed) {
    Numbers numbers(seed + 1'000'000);
    rxPointMatcherRunParams params(numbers.real(0.3, 0.9));
    if (numbers.oneOf(4)) params.startPose(anyPose(numbers, 0.2, 1.0, 1.0, 5.0));
    if (numbers.oneOf(3)) params.xTranslationUncertainty(rxRange(-25.0, numbers.real(0.0, 25.0)));
    if (numbers.oneOf(3)) params.yTranslationUncertainty(rxRange(numbers.real(-25.0, 0.0), 25.0));
    switch (numbers.integer(0, 5)) {
        case 0:
            params.rotationUncertainty(rxAngleRange::FullRange());
            break;
        case 1:
            params.rotationUncertainty({rxDegree(0.0), rxDegree(0.0)});
            break;
        case 2:
            params.rotationUncertainty({rxDegree(numbers.real(-40.0, 0.0)), rxDegree(20.0)});
            break;
        case 3:
            params.rotationUncertainty({rxDegree(352.0), rxDegree(numbers.real(360.0, 365.0))});
            break;
        default:
            break;
    }
    if (numbers.oneOf(3)) params.scaleUncertainty(rxRange(-0.1, numbers.real(0.0, 0.1)));
    params.autoGridSize(false);
    params.gridSize(numbers.real(4.0, 7.0));
    if (numbers.oneOf(2)) {
        params.autoCaptureRange(false);
        params.captureRange(numbers.real(0.0, 3.0));
    }
    params.maxNumResults(numbers.integer(1, 5));
    return params;
}

void add(Digest& digest, const rxPointMatcherResultSet& found) {
    digest.add(found.results().size());
    for (const rxPointMatcherResult& result : found.results()) {
        digest.add(result.runMode());
        digest.add(result.modelToDataXform());
        digest.add(result.coverage());
        digest.add(result.fitError());
        if (result.runMode() != Defs::ePointToGrid) digest.addAll(result.modelToDataMap());
    }
}

}  // namespace ptmatch::determinism
