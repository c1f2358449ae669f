#pragma once

#include <cstdint>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "foundation/vector.h"
#include "foundation/xform.h"
#include "ptmatch/ppmatch.h"

namespace ptmatch::reference {

/// A source of test values that gives the same ones on every platform.
class Random {
  public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}

    /// In [low, high).
    double uniform(double low, double high);
    /// In [low, high], both included.
    long integer(long low, long high);
    bool chance(double probability) { return uniform(0.0, 1.0) < probability; }
    template <typename T>
    const T& pick(const std::vector<T>& choices) {
        return choices[static_cast<std::size_t>(integer(0, static_cast<long>(choices.size()) - 1))];
    }

  private:
    std::mt19937_64 engine_;
};

/// One training and one run.
struct Problem {
    std::vector<rxVector<2>> model;
    std::vector<long> weights;  ///< Empty: trained without weights.
    std::vector<rxVector<2>> data;
    rxPointMatcherRunParams params;
};

/// A way to make problems, named by why it hurts.
struct ProblemKind {
    std::string name;
    Problem (*make)(Random&);
    bool findsNothing = false;  ///< No problem of this kind has a result.

    /// Shown for the parameter of a test.
    friend std::ostream& operator<<(std::ostream& out, const ProblemKind& kind) {
        return out << kind.name;
    }
};

/// Problems for the search by votes, small enough for thousands of runs.
[[nodiscard]] const std::vector<ProblemKind>& poseSearchProblems();

/// Problems for the exhaustive search: at most five points on the smaller side.
[[nodiscard]] const std::vector<ProblemKind>& exhaustiveProblems();

/// Points in the square [0, extent), no two nearer than the spacing; fewer than asked for when the
/// square is full.
[[nodiscard]] std::vector<rxVector<2>> spreadPoints(Random& random, long count, double extent,
                                                    double spacing);

/// The rotation about the point, followed by a shift.
[[nodiscard]] rxXform<2> poseAbout(const rxVector<2>& centre, double rotationDeg, double scale,
                                   const rxVector<2>& shift);

}  // namespace ptmatch::reference
