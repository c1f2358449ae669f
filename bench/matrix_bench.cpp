// The matrix solvers and the least-squares accumulators, beside two others in turn:
//   plain   the same operations loop for loop as they are written down, whose results have to be
//           the same bits;
//   eigen   the nearest that Eigen offers, compiled with the same flags, whose results have to be
//           near: PartialPivLU with its solve, the inverse by FullPivLU (full pivoting, as here),
//           normal equations of fixed size, and JacobiSVD.
#include <benchmark/benchmark.h>

#include <Eigen/Dense>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <type_traits>
#include <vector>

#include "paired_ratio.h"
#include "ptmatch/least_squares.h"
#include "ptmatch/matext.h"
#include "ptmatch/pinv.h"
#include "reference/random_problems.h"
#include "reference/reference_accumulator.h"
#include "reference/reference_matrix.h"

namespace {

using namespace ptmatch::bench;
namespace reference = ptmatch::reference;

// Systems of random numbers, which are good-natured: both sides keep ten digits and more.
constexpr double kTolerance = 1e-6;
constexpr long kNumUnknowns = 8;

struct System {
    rxMatrixExt a;
    std::vector<double> b;
    // The same for the plain twin and for Eigen, each with the first of its own results.
    reference::Matrix plainA;
    Eigen::MatrixXd eigenA;
    Eigen::VectorXd eigenB;

    rxMatrixExt lu;
    std::vector<long> index;
    reference::Matrix plainLu;
    Eigen::PartialPivLU<Eigen::MatrixXd> eigenLu;
};

std::vector<System> makeSystems(long n) {
    reference::Random random(620);
    // The large ones fill the caches alone.
    std::vector<System> systems(n > 128 ? 1 : 4);
    for (System& s : systems) {
        const auto size = static_cast<std::size_t>(n);
        s.a.resize(n, n);
        s.plainA = reference::zeroMatrix(n, n);
        s.eigenA.resize(n, n);
        s.eigenB.resize(n);
        s.index.resize(size);
        for (long r = 0; r < n; ++r) {
            for (long c = 0; c < n; ++c) {
                const double value = random.uniform(-1.0, 1.0);
                s.a.element(r, c, value);
                s.plainA[static_cast<std::size_t>(r)][static_cast<std::size_t>(c)] = value;
                s.eigenA(r, c) = value;
            }
            s.b.push_back(random.uniform(-1.0, 1.0));
            s.eigenB(r) = s.b.back();
        }
        s.lu = s.a;
        s.lu.ludcmp(s.index);
        s.plainLu = s.plainA;
        std::vector<long> plainIndex(size);
        reference::decompose(s.plainLu, plainIndex);
        s.eigenLu.compute(s.eigenA);
    }
    return systems;
}

bool areSame(const rxMatrixExt& a, const reference::Matrix& b) {
    for (long r = 0; r < a.rows(); ++r) {
        if (a[r] != b[static_cast<std::size_t>(r)]) return false;
    }
    return true;
}

// Eigen counts in signed numbers, the standard library does not.
template <class Values>
using IndexOf =
    std::conditional_t<std::is_same_v<Values, std::vector<double>>, std::size_t, Eigen::Index>;

template <class Values>
bool areNear(const std::vector<double>& a, const Values& b) {
    for (std::size_t i = 0; i < a.size(); ++i) {
        const double other = b[static_cast<IndexOf<Values>>(i)];
        if (!(std::abs(a[i] - other) <= kTolerance * (1.0 + std::abs(other)))) return false;
    }
    return true;
}

std::vector<double> solutionOf(const System& s) {
    std::vector<double> x = s.b;
    s.lu.lubksb(s.index, x);
    return x;
}

// All work on copies that are there from the first call on: copying is a part of each time, taking
// memory for the copies is not.
template <class Other>
void decomposition(benchmark::State& state, const std::vector<System>& systems, Other other) {
    rxMatrixExt lu;
    std::vector<long> index(static_cast<std::size_t>(state.range(0)));
    measurePaired(
        state, systems.size(),
        [&](std::size_t input) {
            lu = systems[input].a;
            lu.ludcmp(index);
            benchmark::ClobberMemory();
        },
        other);
}

void decompositionPlain(benchmark::State& state) {
    const std::vector<System> systems = makeSystems(state.range(0));
    for (const System& s : systems) {
        if (!verify(state, areSame(s.lu, s.plainLu), "the decomposition is not the plain one")) {
            return;
        }
    }
    reference::Matrix lu;
    std::vector<long> index(static_cast<std::size_t>(state.range(0)));
    decomposition(state, systems, [&](std::size_t input) {
        lu = systems[input].plainA;
        reference::decompose(lu, index);
        benchmark::ClobberMemory();
    });
}

void decompositionEigen(benchmark::State& state) {
    const std::vector<System> systems = makeSystems(state.range(0));
    for (const System& s : systems) {
        const Eigen::VectorXd x = s.eigenLu.solve(s.eigenB);
        if (!verify(state, areNear(solutionOf(s), x), "the solution is not Eigen's")) return;
    }
    Eigen::PartialPivLU<Eigen::MatrixXd> lu(state.range(0));
    decomposition(state, systems, [&](std::size_t input) {
        lu.compute(systems[input].eigenA);
        benchmark::ClobberMemory();
    });
}

template <class Other>
void substitution(benchmark::State& state, const std::vector<System>& systems, Other other) {
    std::vector<double> x;
    measurePaired(
        state, systems.size(),
        [&](std::size_t input) {
            x = systems[input].b;
            systems[input].lu.lubksb(systems[input].index, x);
            benchmark::ClobberMemory();
        },
        other);
}

void substitutionPlain(benchmark::State& state) {
    const std::vector<System> systems = makeSystems(state.range(0));
    std::vector<double> x;
    for (const System& s : systems) {
        x = s.b;
        reference::substitute(s.plainLu, s.index, x);
        if (!verify(state, solutionOf(s) == x, "the solution is not the plain one")) return;
    }
    substitution(state, systems, [&](std::size_t input) {
        x = systems[input].b;
        reference::substitute(systems[input].plainLu, systems[input].index, x);
        benchmark::ClobberMemory();
    });
}

void substitutionEigen(benchmark::State& state) {
    const std::vector<System> systems = makeSystems(state.range(0));
    Eigen::VectorXd x;
    for (const System& s : systems) {
        x = s.eigenLu.solve(s.eigenB);
        if (!verify(state, areNear(solutionOf(s), x), "the solution is not Eigen's")) return;
    }
    substitution(state, systems, [&](std::size_t input) {
        x = systems[input].eigenLu.solve(systems[input].eigenB);
        benchmark::ClobberMemory();
    });
}

// The inverse, and the solution of one right-hand side with it; Eigen gives the inverse alone. Both
// take memory of their own in each call.
struct Elimination {
    rxMatrixExt inverse;
    rxMatrixExt x;

    void operator()(const System& s) {
        inverse = s.a;
        x.resize(s.a.rows(), 1);
        std::ranges::copy(s.b, x.pointToRow(0));
        inverse.gaussj(x);
        benchmark::ClobberMemory();
    }
};

struct PlainElimination {
    reference::Matrix inverse;
    reference::Matrix x;

    void operator()(const System& s) {
        inverse = s.plainA;
        x.assign(s.b.size(), {0.0});
        for (std::size_t i = 0; i < s.b.size(); ++i) x[i][0] = s.b[i];
        reference::eliminate(inverse, x);
        benchmark::ClobberMemory();
    }
};

void eliminationPlain(benchmark::State& state) {
    const std::vector<System> systems = makeSystems(state.range(0));
    Elimination library;
    PlainElimination plain;
    for (const System& s : systems) {
        library(s);
        plain(s);
        const bool isSame = areSame(library.inverse, plain.inverse) && areSame(library.x, plain.x);
        if (!verify(state, isSame, "the inverse is not the plain one")) return;
    }
    measurePaired(
        state, systems.size(), [&](std::size_t input) { library(systems[input]); },
        [&](std::size_t input) { plain(systems[input]); });
}

void eliminationEigen(benchmark::State& state) {
    const std::vector<System> systems = makeSystems(state.range(0));
    Elimination library;
    Eigen::MatrixXd inverse;
    const auto eigen = [&](std::size_t input) {
        inverse = systems[input].eigenA.fullPivLu().inverse();
        benchmark::ClobberMemory();
    };
    for (std::size_t i = 0; i < systems.size(); ++i) {
        library(systems[i]);
        eigen(i);
        for (long r = 0; r < state.range(0); ++r) {
            const Eigen::VectorXd row = inverse.row(r);
            if (!verify(state, areNear(library.inverse[r], row), "the inverse is not Eigen's")) {
                return;
            }
        }
    }
    measurePaired(
        state, systems.size(), [&](std::size_t input) { library(systems[input]); }, eigen);
}

// Forty equations of eight unknowns, as a perspective transform from twenty pairs has them.
using Coefficients = std::array<double, kNumUnknowns>;

struct Observations {
    std::vector<Coefficients> x;
    std::vector<double> y;
};

Observations makeObservations() {
    reference::Random random(610);
    Observations all;
    for (int i = 0; i < 40; ++i) {
        for (double& value : all.x.emplace_back()) value = random.uniform(-1.0, 1.0);
        all.y.push_back(random.uniform(-1.0, 1.0));
    }
    return all;
}

template <class Accumulator>
void addAll(Accumulator& accumulator, const Observations& all) {
    for (std::size_t i = 0; i < all.y.size(); ++i) accumulator.update(all.x[i], all.y[i]);
}

// The same equations with all sizes known to the compiler.
struct EigenAccumulator {
    using Vector = Eigen::Matrix<double, kNumUnknowns, 1>;

    Eigen::Matrix<double, kNumUnknowns, kNumUnknowns> normal =
        Eigen::Matrix<double, kNumUnknowns, kNumUnknowns>::Zero();
    Vector rhs = Vector::Zero();

    void update(const Coefficients& coefficients, double y) {
        const Eigen::Map<const Vector> x(coefficients.data());
        normal.noalias() += x * x.transpose();
        rhs += x * y;
    }
    Vector fit() const { return normal.partialPivLu().solve(rhs); }
};

// One observation after another; the sums grow, and stay far from the end of the range.
template <class Library, class Other, class AreSame>
void measureUpdates(benchmark::State& state, Library& library, Other& other, AreSame areSame) {
    const Observations all = makeObservations();
    addAll(library, all);
    addAll(other, all);
    if (!verify(state, areSame(), "the sums are not the same")) return;
    measurePaired(
        state, all.y.size(),
        [&](std::size_t input) {
            library.update(all.x[input], all.y[input]);
            benchmark::ClobberMemory();
        },
        [&](std::size_t input) {
            other.update(all.x[input], all.y[input]);
            benchmark::ClobberMemory();
        });
}

struct PlainAccumulator {
    reference::Accumulator sums = reference::Accumulator(kNumUnknowns);

    void update(const Coefficients& x, double y) {
        // The reference takes a vector; filling one that is there is all that this adds.
        coefficients.assign(x.begin(), x.end());
        sums.update(coefficients, y);
    }

  private:
    std::vector<double> coefficients;
};

void updatePlain(benchmark::State& state) {
    rxPsuedoInverse library(kNumUnknowns);
    PlainAccumulator plain;
    measureUpdates(state, library, plain, [&] { return library.fit() == plain.sums.fit(); });
}

void updateEigen(benchmark::State& state) {
    rxPsuedoInverse library(kNumUnknowns);
    EigenAccumulator eigen;
    measureUpdates(state, library, eigen, [&] {
        for (long r = 0; r < kNumUnknowns; ++r) {
            const Eigen::VectorXd row = eigen.normal.row(r);
            if (!areNear(library.normalMatrix()[r], row)) return false;
        }
        return areNear(library.rightHandSide(), eigen.rhs);
    });
}

void updateByRotations(benchmark::State& state) {
    rxLeastSquares library(kNumUnknowns);
    rxPsuedoInverse normal(kNumUnknowns);
    measureUpdates(state, library, normal, [&] { return areNear(library.fit().x, normal.fit()); });
}

void fitPlain(benchmark::State& state) {
    rxPsuedoInverse library(kNumUnknowns);
    const Observations all = makeObservations();
    addAll(library, all);
    PlainAccumulator plain;
    addAll(plain, all);
    if (!verify(state, library.fit() == plain.sums.fit(), "the fit is not the plain one")) return;
    measurePaired(
        state, 1, [&](std::size_t) { benchmark::DoNotOptimize(library.fit()); },
        [&](std::size_t) { benchmark::DoNotOptimize(plain.sums.fit()); });
}

void fitEigen(benchmark::State& state) {
    rxPsuedoInverse library(kNumUnknowns);
    EigenAccumulator eigen;
    addAll(library, makeObservations());
    addAll(eigen, makeObservations());
    if (!verify(state, areNear(library.fit(), eigen.fit()), "the fit is not Eigen's")) return;
    measurePaired(
        state, 1, [&](std::size_t) { benchmark::DoNotOptimize(library.fit()); },
        [&](std::size_t) { benchmark::DoNotOptimize(eigen.fit()); });
}

void fitByRotations(benchmark::State& state) {
    rxLeastSquares library(kNumUnknowns);
    rxPsuedoInverse normal(kNumUnknowns);
    addAll(library, makeObservations());
    addAll(normal, makeObservations());
    const bool isSame = areNear(library.fit().x, normal.fit());
    if (!verify(state, isSame, "the fits are not the same")) return;
    measurePaired(
        state, 1, [&](std::size_t) { benchmark::DoNotOptimize(library.fit()); },
        [&](std::size_t) { benchmark::DoNotOptimize(normal.fit()); });
}

void rankRevealingEigen(benchmark::State& state) {
    const std::vector<System> systems = makeSystems(state.range(0));
    Eigen::VectorXd x;
    const auto eigen = [&](std::size_t input) {
        x = systems[input]
                .eigenA.jacobiSvd(Eigen::ComputeThinU | Eigen::ComputeThinV)
                .solve(systems[input].eigenB);
        benchmark::ClobberMemory();
    };
    for (std::size_t i = 0; i < systems.size(); ++i) {
        eigen(i);
        const rxLeastSquaresSolution solution = rfSolveLeastSquares(systems[i].a, systems[i].b);
        if (!verify(state, areNear(solution.x, x), "the solution is not Eigen's")) return;
    }
    measurePaired(
        state, systems.size(),
        [&](std::size_t input) {
            benchmark::DoNotOptimize(rfSolveLeastSquares(systems[input].a, systems[input].b));
        },
        eigen);
}

void configure(benchmark::internal::Benchmark* benchmark, int rounds) {
    benchmark->ArgName("n")->Iterations(rounds)->UseManualTime()->Unit(benchmark::kMicrosecond);
}

void smallSizes(benchmark::internal::Benchmark* benchmark) {
    configure(benchmark->Arg(4)->Arg(8)->Arg(32)->Arg(128), 41);
}

// A round of these takes long, so there are fewer of them.
void largeSize(benchmark::internal::Benchmark* benchmark) {
    configure(benchmark->Arg(512), 5);
}

void eightUnknowns(benchmark::internal::Benchmark* benchmark) {
    configure(benchmark->Arg(kNumUnknowns), 41);
}

}  // namespace

BENCHMARK(decompositionPlain)->Name("Matrix/ludcmp/plain")->Apply(smallSizes);
BENCHMARK(decompositionPlain)->Name("Matrix/ludcmp/plain")->Apply(largeSize);
BENCHMARK(decompositionEigen)->Name("Matrix/ludcmp/eigen")->Apply(smallSizes);
BENCHMARK(decompositionEigen)->Name("Matrix/ludcmp/eigen")->Apply(largeSize);
BENCHMARK(substitutionPlain)->Name("Matrix/lubksb/plain")->Apply(smallSizes);
BENCHMARK(substitutionPlain)->Name("Matrix/lubksb/plain")->Apply(largeSize);
BENCHMARK(substitutionEigen)->Name("Matrix/lubksb/eigen")->Apply(smallSizes);
BENCHMARK(substitutionEigen)->Name("Matrix/lubksb/eigen")->Apply(largeSize);
BENCHMARK(eliminationPlain)->Name("Matrix/gaussj/plain")->Apply(smallSizes);
BENCHMARK(eliminationPlain)->Name("Matrix/gaussj/plain")->Apply(largeSize);
BENCHMARK(eliminationEigen)->Name("Matrix/gaussj/eigen")->Apply(smallSizes);
BENCHMARK(eliminationEigen)->Name("Matrix/gaussj/eigen")->Apply(largeSize);
BENCHMARK(rankRevealingEigen)->Name("Matrix/solveLeastSquares/eigen")->Apply(smallSizes);

BENCHMARK(updatePlain)->Name("LeastSquares/normal/update/plain")->Apply(eightUnknowns);
BENCHMARK(updateEigen)->Name("LeastSquares/normal/update/eigen")->Apply(eightUnknowns);
BENCHMARK(fitPlain)->Name("LeastSquares/normal/fit/plain")->Apply(eightUnknowns);
BENCHMARK(fitEigen)->Name("LeastSquares/normal/fit/eigen")->Apply(eightUnknowns);
BENCHMARK(updateByRotations)->Name("LeastSquares/rotations/update/normal")->Apply(eightUnknowns);
BENCHMARK(fitByRotations)->Name("LeastSquares/rotations/fit/normal")->Apply(eightUnknowns);
