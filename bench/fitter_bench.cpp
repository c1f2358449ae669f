// The least-squares fitter, beside the textbook way: keep the pairs, take their means, then the
// sums of products about the means, all in plain doubles. Only well-conditioned pairs are given to
// it; the fitter's two-word sums are what it pays to be right on the others as well.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include "foundation/fitter.h"
#include "paired_ratio.h"
#include "planted_problem.h"
#include "reference/random_problems.h"

namespace {

using namespace ptmatch::bench;
namespace reference = ptmatch::reference;

constexpr std::size_t kNumInputs = 4;
constexpr double kSide = 1000.0;  // of the square that holds the points
// Sums of a few hundred doubles of up to 1e6 lose far less than this against points of 1e3.
constexpr double kTolerance = 1e-9 * kSide;

struct Pairs {
    Points p;
    Points q;
};

Pairs makePairs(reference::Random& random, long count) {
    const rxXform<2> pose = reference::poseAbout({0.0, 0.0}, random.uniform(-180.0, 180.0),
                                                 random.uniform(0.5, 2.0), {30.0, -20.0});
    Pairs pairs;
    for (long i = 0; i < count; ++i) {
        const rxVector<2> q(random.uniform(0.0, kSide), random.uniform(0.0, kSide));
        const rxVector<2> noise(random.uniform(-1.0, 1.0), random.uniform(-1.0, 1.0));
        pairs.q.push_back(q);
        pairs.p.push_back(pose * q + noise);
    }
    return pairs;
}

std::vector<Pairs> makeInputs(long count) {
    reference::Random random(77);
    std::vector<Pairs> inputs;
    for (std::size_t i = 0; i < kNumInputs; ++i) inputs.push_back(makePairs(random, count));
    return inputs;
}

rxVector<2> meanOf(const Points& points) {
    rxVector<2> sum;
    for (const rxVector<2>& p : points) sum = sum + p;
    const auto count = static_cast<double>(points.size());
    return {sum.x() / count, sum.y() / count};
}

// Sums of products of centred coordinates: of q with q, and of p (first letter) with q.
struct Moments {
    rxVector<2> p, q;
    double qxqx = 0.0, qxqy = 0.0, qyqy = 0.0;
    double pxqx = 0.0, pxqy = 0.0, pyqx = 0.0, pyqy = 0.0;
};

Moments momentsOf(const Pairs& pairs) {
    Moments m;
    m.p = meanOf(pairs.p);
    m.q = meanOf(pairs.q);
    for (std::size_t i = 0; i < pairs.p.size(); ++i) {
        const rxVector<2> p = pairs.p[i] - m.p;
        const rxVector<2> q = pairs.q[i] - m.q;
        m.qxqx += q.x() * q.x();
        m.qxqy += q.x() * q.y();
        m.qyqy += q.y() * q.y();
        m.pxqx += p.x() * q.x();
        m.pxqy += p.x() * q.y();
        m.pyqx += p.y() * q.x();
        m.pyqy += p.y() * q.y();
    }
    return m;
}

rxMatrix<2> rigidOrSimilar(const Moments& m, int dof) {
    const double real = m.pxqx + m.pyqy;
    const double imaginary = m.pyqx - m.pxqy;
    const double divisor =
        dof == 3 ? std::sqrt(real * real + imaginary * imaginary) : m.qxqx + m.qyqy;
    const double a = real / divisor;
    const double b = imaginary / divisor;
    return {a, -b, b, a};
}

// The normal equations, solved by the inverse of the symmetric matrix of q.
rxMatrix<2> affine(const Moments& m) {
    const double determinant = m.qxqx * m.qyqy - m.qxqy * m.qxqy;
    return {(m.pxqx * m.qyqy - m.pxqy * m.qxqy) / determinant,
            (m.pxqy * m.qxqx - m.pxqx * m.qxqy) / determinant,
            (m.pyqx * m.qyqy - m.pyqy * m.qxqy) / determinant,
            (m.pyqy * m.qxqx - m.pyqx * m.qxqy) / determinant};
}

rxXform<2> plainFit(const Pairs& pairs, int dof) {
    const Moments m = momentsOf(pairs);
    const rxMatrix<2> matrix = dof == 6 ? affine(m) : rigidOrSimilar(m, dof);
    return {matrix, m.p - matrix * m.q};
}

bool isNear(const rxXform<2>& a, const rxXform<2>& b) {
    const std::array<rxVector<2>, 3> corners{rxVector<2>(0.0, 0.0), {kSide, 0.0}, {0.0, kSide}};
    return std::ranges::all_of(
        corners, [&](const rxVector<2>& c) { return (a * c - b * c).len() <= kTolerance; });
}

double sumOfSquares(const rxXform<2>& pFromQ, const Pairs& pairs) {
    double sum = 0.0;
    for (std::size_t i = 0; i < pairs.p.size(); ++i) {
        const double error = (pFromQ * pairs.q[i] - pairs.p[i]).len();
        sum += error * error;
    }
    return sum;
}

// All pairs in, one transform out.
void updateAndFit(benchmark::State& state) {
    const auto dof = static_cast<int>(state.range(1));
    const std::vector<Pairs> inputs = makeInputs(state.range(0));
    const auto library = [&](std::size_t input) {
        return rxLSPointToPointFitter(inputs[input].p, inputs[input].q).fit(dof);
    };
    const auto plain = [&](std::size_t input) { return plainFit(inputs[input], dof); };
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        const bool isSame = isNear(library(i), plain(i));
        if (!verify(state, isSame, "the fit is not the textbook's")) return;
    }
    measurePaired(
        state, inputs.size(), [&](std::size_t input) { benchmark::DoNotOptimize(library(input)); },
        [&](std::size_t input) { benchmark::DoNotOptimize(plain(input)); });
}

// The fit alone, from sums that are there.
void fitOnly(benchmark::State& state) {
    const auto dof = static_cast<int>(state.range(0));
    const std::vector<Pairs> inputs = makeInputs(50);
    std::vector<rxLSPointToPointFitter> fitters;
    for (const Pairs& pairs : inputs) {
        fitters.emplace_back(pairs.p, pairs.q);
        // A model with more freedom never fits worse than one that it contains.
        const double error = sumOfSquares(fitters.back().fit(dof), pairs);
        const double rigidError = sumOfSquares(fitters.back().fit(3), pairs);
        if (!verify(state, error <= rigidError * (1.0 + 1e-9), "the fit is not the best one")) {
            return;
        }
    }
    measureAlone(state, fitters.size(),
                 [&](std::size_t input) { benchmark::DoNotOptimize(fitters[input].fit(dof)); });
}

}  // namespace

BENCHMARK(updateAndFit)
    ->Name("Fitter/updateAndFit")
    ->ArgNames({"pairs", "dof"})
    ->ArgsProduct({{12, 100}, {3, 4, 6}})
    ->Iterations(41)
    ->UseManualTime()
    ->Unit(benchmark::kNanosecond);
BENCHMARK(fitOnly)
    ->Name("Fitter/fit")
    ->ArgName("dof")
    ->DenseRange(3, 6)
    ->Iterations(41)
    ->UseManualTime()
    ->Unit(benchmark::kNanosecond);
