// Perspective and spatial transforms: fitting them to pairs and mapping a million points, beside
// the same done with Eigen's matrices as one would write it down.
#include <benchmark/benchmark.h>

#include <Eigen/Dense>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <span>
#include <vector>

#include "paired_ratio.h"
#include "ptmatch/perspective_fit.h"
#include "ptmatch/space_fit.h"
#include "ptmatch/tm.h"
#include "reference/random_problems.h"

namespace {

using namespace ptmatch::bench;
using ptmatch::reference::Random;

constexpr std::size_t kNumInputs = 4;
constexpr std::size_t kMillion = 1000000;
constexpr double kSide = 1000.0;  // of the square or cube that holds the points, in pixels

// --- The plane

using PlanePoints = std::vector<rxVector<2>>;
using PlaneParams = rx2PTm::Params;

struct PlanePairs {
    PlanePoints a;
    PlanePoints b;
    PlaneParams truth;
};

// Exact pairs within +-5, where the fit of the class is at home, or on a plane of pixels.
PlanePairs planePairs(Random& random, std::size_t count, double side) {
    const double half = side / 2.0;
    const double tilt = 0.25 / half;
    PlanePairs pairs;
    pairs.truth = {random.uniform(0.8, 1.2),    random.uniform(-0.2, 0.2),
                   random.uniform(-1.0, 1.0),   random.uniform(-0.2, 0.2),
                   random.uniform(0.8, 1.2),    random.uniform(-1.0, 1.0),
                   random.uniform(-tilt, tilt), random.uniform(-tilt, tilt)};
    const rx2PTm exact = rfExactPerspective(pairs.truth);
    const std::array corners{rxVector<2>(-half, -half), rxVector<2>(half, -half),
                             rxVector<2>(half, half), rxVector<2>(-half, half)};
    for (std::size_t i = 0; i < count; ++i) {
        pairs.a.push_back(i < corners.size() ? corners[i]
                                             : rxVector<2>(random.uniform(-half, half),
                                                           random.uniform(-half, half)));
        pairs.b.push_back(exact.a2b(pairs.a.back()));
    }
    return pairs;
}

std::vector<PlanePairs> planeInputs(std::size_t count, double side) {
    Random random(78);
    std::vector<PlanePairs> inputs;
    for (std::size_t i = 0; i < kNumInputs; ++i) inputs.push_back(planePairs(random, count, side));
    return inputs;
}

Eigen::Matrix3d matrixOf(const PlaneParams& p) {
    Eigen::Matrix3d m;
    m << p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], 1.0;
    return m;
}

// The normal equations of the eight parameters, by LU decomposition with partial pivoting.
Eigen::Matrix3d eigenPerspective(const PlanePairs& pairs) {
    using Row = Eigen::Matrix<double, 8, 1>;
    Eigen::Matrix<double, 8, 8> normal = Eigen::Matrix<double, 8, 8>::Zero();
    Row right = Row::Zero();
    for (std::size_t i = 0; i < pairs.a.size(); ++i) {
        const double x = pairs.a[i].x();
        const double y = pairs.a[i].y();
        const double u = pairs.b[i].x();
        const double v = pairs.b[i].y();
        Row row;
        row << x, y, 1.0, 0.0, 0.0, 0.0, -x * u, -y * u;
        normal.noalias() += row * row.transpose();
        right += row * u;
        row << 0.0, 0.0, 0.0, x, y, 1.0, -x * v, -y * v;
        normal.noalias() += row * row.transpose();
        right += row * v;
    }
    const Row p = normal.partialPivLu().solve(right);
    Eigen::Matrix3d m;
    m << p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], 1.0;
    return m;
}

Eigen::Matrix3d frameOf(const PlanePoints& points) {
    Eigen::Vector2d mean = Eigen::Vector2d::Zero();
    for (const auto& p : points) mean += Eigen::Vector2d(p.x(), p.y());
    mean /= static_cast<double>(points.size());
    double distances = 0.0;
    for (const auto& p : points) distances += (Eigen::Vector2d(p.x(), p.y()) - mean).norm();
    const double scale = std::sqrt(2.0) * static_cast<double>(points.size()) / distances;
    Eigen::Matrix3d m;
    m << scale, 0.0, -scale * mean.x(), 0.0, scale, -scale * mean.y(), 0.0, 0.0, 1.0;
    return m;
}

// Normalised, with the squares of the equations: the eigenvector of their smallest eigenvalue.
Eigen::Matrix3d eigenNormalized(const PlanePairs& pairs) {
    using Row = Eigen::Matrix<double, 9, 1>;
    using Square = Eigen::Matrix<double, 9, 9>;
    const Eigen::Matrix3d aFrame = frameOf(pairs.a);
    const Eigen::Matrix3d bFrame = frameOf(pairs.b);
    Square squares = Square::Zero();
    for (std::size_t i = 0; i < pairs.a.size(); ++i) {
        const double x = aFrame(0, 0) * pairs.a[i].x() + aFrame(0, 2);
        const double y = aFrame(1, 1) * pairs.a[i].y() + aFrame(1, 2);
        const double u = bFrame(0, 0) * pairs.b[i].x() + bFrame(0, 2);
        const double v = bFrame(1, 1) * pairs.b[i].y() + bFrame(1, 2);
        Row row;
        row << x, y, 1.0, 0.0, 0.0, 0.0, -u * x, -u * y, -u;
        squares.noalias() += row * row.transpose();
        row << 0.0, 0.0, 0.0, x, y, 1.0, -v * x, -v * y, -v;
        squares.noalias() += row * row.transpose();
    }
    const Row h = Eigen::SelfAdjointEigenSolver<Square>(squares).eigenvectors().col(0);
    Eigen::Matrix3d inFrames;
    inFrames << h[0], h[1], h[2], h[3], h[4], h[5], h[6], h[7], h[8];
    const Eigen::Matrix3d m = bFrame.inverse() * inFrames * aFrame;
    return m / m(2, 2);
}

// Whether both take the points a to b, to this distance.
bool areRight(const PlanePairs& pairs, const rx2PTm& tm, const Eigen::Matrix3d& m,
              double tolerance) {
    for (std::size_t i = 0; i < pairs.a.size(); ++i) {
        const Eigen::Vector2d image =
            (m * Eigen::Vector3d(pairs.a[i].x(), pairs.a[i].y(), 1.0)).hnormalized();
        const rxVector<2> expected = pairs.b[i];
        if (!((tm.a2b(pairs.a[i]) - expected).len() <= tolerance) ||
            !((rxVector<2>(image.x(), image.y()) - expected).len() <= tolerance)) {
            return false;
        }
    }
    return true;
}

template <class Fit, class EigenFit>
void planeFit(benchmark::State& state, double side, double tolerance, Fit fit, EigenFit eigenFit) {
    const auto inputs = planeInputs(static_cast<std::size_t>(state.range(0)), side);
    for (const PlanePairs& pairs : inputs) {
        const bool isRight = areRight(pairs, fit(pairs), eigenFit(pairs), tolerance);
        if (!verify(state, isRight, "the fit misses its pairs")) return;
    }
    measurePaired(
        state, inputs.size(),
        [&](std::size_t input) { benchmark::DoNotOptimize(fit(inputs[input])); },
        [&](std::size_t input) { benchmark::DoNotOptimize(eigenFit(inputs[input])); });
}

void perspectiveFit(benchmark::State& state) {
    planeFit(
        state, 10.0, 1e-9, [](const PlanePairs& pairs) { return rx2PTm(pairs.a, pairs.b); },
        eigenPerspective);
}

void perspectiveFitNormalized(benchmark::State& state) {
    planeFit(
        state, kSide, 1e-7,
        [](const PlanePairs& pairs) { return rfFitPerspectiveNormalized(pairs.a, pairs.b); },
        eigenNormalized);
}

std::vector<rx2PTm> unitFits() {
    std::vector<rx2PTm> fits;
    fits.reserve(kNumInputs);
    for (const PlanePairs& pairs : planeInputs(50, 10.0)) fits.emplace_back(pairs.a, pairs.b);
    return fits;
}

// The parameters from equations that are there, with the sampled inverse.
void perspectiveSolve(benchmark::State& state) {
    std::vector<rx2PTm> fits = unitFits();
    for (rx2PTm& tm : fits) {
        const rx2PTm first = tm;
        tm.fit();
        if (!verify(state, tm == first, "fitted again, the transform is another")) return;
    }
    measureAlone(state, fits.size(), [&](std::size_t input) {
        fits[input].fit();
        benchmark::DoNotOptimize(fits[input]);
    });
}

void perspectiveTranslate(benchmark::State& state) {
    const std::vector<rx2PTm> fits = unitFits();
    const rxVector<2> shift(0.1, 0.2);
    for (const rx2PTm& original : fits) {
        rx2PTm tm = original;
        tm.translate(shift);
        const rxVector<2> p(1.0, -2.0);
        const bool isMoved = (tm.a2b(p) - original.a2b(p + shift)).len() <= 1e-9;
        if (!verify(state, isMoved, "the transform is not the moved one")) return;
    }
    measureAlone(state, fits.size(), [&](std::size_t input) {
        rx2PTm tm = fits[input];
        tm.translate(shift);
        benchmark::DoNotOptimize(tm);
    });
}

void perspectiveMap(benchmark::State& state) {
    const PlanePairs pairs = planeInputs(kMillion, kSide).front();
    const rx2PTm tm = rfExactPerspective(pairs.truth);
    const Eigen::Matrix3d m = matrixOf(pairs.truth);
    Eigen::Matrix2Xd points(2, static_cast<Eigen::Index>(kMillion));
    for (std::size_t i = 0; i < kMillion; ++i) {
        points.col(static_cast<Eigen::Index>(i)) << pairs.a[i].x(), pairs.a[i].y();
    }
    PlanePoints images(kMillion);
    Eigen::Matrix2Xd eigenImages(2, static_cast<Eigen::Index>(kMillion));
    const auto map = [&](std::size_t) {
        for (std::size_t i = 0; i < kMillion; ++i) images[i] = tm.a2b(pairs.a[i]);
        benchmark::DoNotOptimize(images.data());
        benchmark::ClobberMemory();
    };
    const auto eigenMap = [&](std::size_t) {
        for (Eigen::Index i = 0; i < points.cols(); ++i) {
            const Eigen::Vector3d image = m * points.col(i).homogeneous();
            eigenImages.col(i) = image.hnormalized();
        }
        benchmark::DoNotOptimize(eigenImages.data());
        benchmark::ClobberMemory();
    };
    map(0);
    eigenMap(0);
    bool isSame = true;
    for (std::size_t i = 0; i < kMillion; ++i) {
        const auto image = eigenImages.col(static_cast<Eigen::Index>(i));
        isSame = isSame && (images[i] - rxVector<2>(image.x(), image.y())).len() <= 1e-9;
    }
    if (!verify(state, isSame, "the images differ")) return;
    measurePaired(state, 1, map, eigenMap);
}

// --- Space

using SpacePoints = std::vector<rxVector<3>>;

struct SpacePairs {
    SpacePoints a;
    SpacePoints b;
    rx3PtMatchTm truth;
    Eigen::Matrix3Xd aColumns;
    Eigen::Matrix3Xd bColumns;
};

Eigen::Matrix3Xd columnsOf(const SpacePoints& points) {
    Eigen::Matrix3Xd columns(3, static_cast<Eigen::Index>(points.size()));
    for (std::size_t i = 0; i < points.size(); ++i) {
        columns.col(static_cast<Eigen::Index>(i)) << points[i].x(), points[i].y(), points[i].z();
    }
    return columns;
}

SpacePairs spacePairs(Random& random, std::size_t count) {
    SpacePairs pairs;
    pairs.truth.rotateOnX(rxRadian(random.uniform(-3.0, 3.0)));
    pairs.truth.rotateOnY(rxRadian(random.uniform(-3.0, 3.0)));
    pairs.truth.rotateOnZ(rxRadian(random.uniform(-3.0, 3.0)));
    pairs.truth.translate(rxVector<3>(10.0, 20.0, 30.0));
    for (std::size_t i = 0; i < count; ++i) {
        const double x = random.uniform(-kSide, kSide);
        const double y = random.uniform(-kSide, kSide);
        pairs.a.emplace_back(x, y, random.uniform(-kSide, kSide));
        pairs.b.push_back(pairs.truth.a2b(pairs.a.back()));
    }
    pairs.aColumns = columnsOf(pairs.a);
    pairs.bColumns = columnsOf(pairs.b);
    return pairs;
}

std::vector<SpacePairs> spaceInputs(std::size_t count) {
    Random random(79);
    std::vector<SpacePairs> inputs;
    for (std::size_t i = 0; i < kNumInputs; ++i) inputs.push_back(spacePairs(random, count));
    return inputs;
}

// One normal matrix for all three coordinates, and its LU decomposition.
Eigen::Matrix4d eigenAffine(const SpacePairs& pairs) {
    Eigen::Matrix4d normal = Eigen::Matrix4d::Zero();
    Eigen::Matrix<double, 4, 3> right = Eigen::Matrix<double, 4, 3>::Zero();
    for (Eigen::Index i = 0; i < pairs.aColumns.cols(); ++i) {
        const Eigen::Vector4d row = pairs.aColumns.col(i).homogeneous();
        normal.noalias() += row * row.transpose();
        right.noalias() += row * pairs.bColumns.col(i).transpose();
    }
    Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
    m.topRows<3>() = normal.partialPivLu().solve(right).transpose();
    return m;
}

Eigen::Matrix4d eigenRigid(const SpacePairs& pairs) {
    return Eigen::umeyama(pairs.aColumns, pairs.bColumns, false);
}

Eigen::Matrix4d eigenSimilarity(const SpacePairs& pairs) {
    return Eigen::umeyama(pairs.aColumns, pairs.bColumns, true);
}

bool areRight(const SpacePairs& pairs, const rx3PtMatchTm& tm, const Eigen::Matrix4d& m) {
    constexpr double kTolerance = 1e-8;
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 4; ++c) {
            const double truth = pairs.truth.a2bParams()[4 * r + c];
            const double byEigen = m(static_cast<Eigen::Index>(r), static_cast<Eigen::Index>(c));
            if (!(std::abs(tm.a2bParams()[4 * r + c] - truth) <= kTolerance) ||
                !(std::abs(byEigen - truth) <= kTolerance)) {
                return false;
            }
        }
    }
    return true;
}

template <class Fit, class EigenFit>
void spaceFit(benchmark::State& state, Fit fit, EigenFit eigenFit) {
    const auto inputs = spaceInputs(static_cast<std::size_t>(state.range(0)));
    for (const SpacePairs& pairs : inputs) {
        const bool isRight = areRight(pairs, fit(pairs), eigenFit(pairs));
        if (!verify(state, isRight, "the fit is not the planted transform")) return;
    }
    measurePaired(
        state, inputs.size(),
        [&](std::size_t input) { benchmark::DoNotOptimize(fit(inputs[input])); },
        [&](std::size_t input) { benchmark::DoNotOptimize(eigenFit(inputs[input])); });
}

void spaceFitClass(benchmark::State& state) {
    spaceFit(
        state, [](const SpacePairs& pairs) { return rx3PtMatchTm(pairs.a, pairs.b); }, eigenAffine);
}

void spaceFitAffine(benchmark::State& state) {
    spaceFit(
        state, [](const SpacePairs& pairs) { return rfFitAffine3D(pairs.a, pairs.b); },
        eigenAffine);
}

void spaceFitRigid(benchmark::State& state) {
    spaceFit(
        state, [](const SpacePairs& pairs) { return rfFitRigid3D(pairs.a, pairs.b); }, eigenRigid);
}

void spaceFitSimilarity(benchmark::State& state) {
    spaceFit(
        state, [](const SpacePairs& pairs) { return rfFitSimilarity3D(pairs.a, pairs.b); },
        eigenSimilarity);
}

void spaceMap(benchmark::State& state) {
    const SpacePairs pairs = spaceInputs(kMillion).front();
    const rx3PtMatchTm& tm = pairs.truth;
    const auto& p = tm.a2bParams();
    Eigen::Matrix3d m;
    m << p[0], p[1], p[2], p[4], p[5], p[6], p[8], p[9], p[10];
    const Eigen::Vector3d t(p[3], p[7], p[11]);
    SpacePoints images(kMillion);
    Eigen::Matrix3Xd eigenImages(3, static_cast<Eigen::Index>(kMillion));
    const auto map = [&](std::size_t) {
        for (std::size_t i = 0; i < kMillion; ++i) images[i] = tm.a2b(pairs.a[i]);
        benchmark::DoNotOptimize(images.data());
        benchmark::ClobberMemory();
    };
    const auto eigenMap = [&](std::size_t) {
        eigenImages.noalias() = (m * pairs.aColumns).colwise() + t;
        benchmark::DoNotOptimize(eigenImages.data());
        benchmark::ClobberMemory();
    };
    map(0);
    eigenMap(0);
    const bool isSame = (eigenImages - columnsOf(images)).cwiseAbs().maxCoeff() <= 1e-9;
    if (!verify(state, isSame, "the images differ")) return;
    measurePaired(state, 1, map, eigenMap);
}

void sizes(benchmark::internal::Benchmark* bench) {
    bench->ArgName("pairs")->Arg(8)->Arg(100)->Arg(10000)->Iterations(41)->UseManualTime()->Unit(
        benchmark::kMicrosecond);
}

void alone(benchmark::internal::Benchmark* bench) {
    bench->Iterations(41)->UseManualTime()->Unit(benchmark::kMicrosecond);
}

void million(benchmark::internal::Benchmark* bench) {
    bench->Iterations(21)->UseManualTime()->Unit(benchmark::kMillisecond);
}

}  // namespace

BENCHMARK(perspectiveFit)->Name("Transform/perspective/updateAndFit")->Apply(sizes);
BENCHMARK(perspectiveFitNormalized)->Name("Transform/perspective/normalized")->Apply(sizes);
BENCHMARK(perspectiveSolve)->Name("Transform/perspective/fit")->Apply(alone);
BENCHMARK(perspectiveTranslate)->Name("Transform/perspective/translate")->Apply(alone);
BENCHMARK(perspectiveMap)->Name("Transform/perspective/mapMillion")->Apply(million);
BENCHMARK(spaceFitClass)->Name("Transform/space/updateAndFit")->Apply(sizes);
BENCHMARK(spaceFitAffine)->Name("Transform/space/affine")->Apply(sizes);
BENCHMARK(spaceFitRigid)->Name("Transform/space/rigid")->Apply(sizes);
BENCHMARK(spaceFitSimilarity)->Name("Transform/space/similarity")->Apply(sizes);
BENCHMARK(spaceMap)->Name("Transform/space/mapMillion")->Apply(million);
