#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "reference/random_problems.h"
#include "reference/reference_matrix.h"

namespace ptmatch::reference {

/// A matrix A and right-hand sides B, as many rows as A has.
struct LinearSystem {
    Matrix a;
    Matrix b;
};

/// How many systems of a kind a solver refuses. Few: perhaps one in thousands, nothing to rely on.
enum class Refusals { kNone, kFew, kSome, kAll };

/// A way to make systems, named by why it hurts.
struct SystemKind {
    std::string name;
    LinearSystem (*make)(Random&, long size);
    Refusals byDecomposition = Refusals::kNone;
    Refusals byElimination = Refusals::kNone;

    /// Shown for the parameter of a test.
    friend std::ostream& operator<<(std::ostream& out, const SystemKind& kind) {
        return out << kind.name;
    }
};

/// Systems with a square matrix of the size asked for.
[[nodiscard]] const std::vector<SystemKind>& squareSystems();

/// Observations x . p = y of one problem.
struct ObservationKind {
    std::string name;
    /// Of x, or of y.
    double (*value)(Random&);
    /// Some problem of the kind leaves an unknown without any coefficient other than zero.
    Refusals refusals = Refusals::kSome;

    friend std::ostream& operator<<(std::ostream& out, const ObservationKind& kind) {
        return out << kind.name;
    }
};

[[nodiscard]] const std::vector<ObservationKind>& observations();

}  // namespace ptmatch::reference
