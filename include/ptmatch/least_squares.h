#pragma once

#include <cmath>
#include <span>
#include <vector>

#include "foundation/export.h"
#include "ptmatch/matext.h"

/// The solution of a linear least-squares problem together with what it is worth.
struct rxLeastSquaresSolution {
    /// The unknowns. If the equations leave some open, the shortest of all best solutions.
    std::vector<double> x;
    /// How many of the unknowns, or of combinations of them, the equations determine.
    long rank = 0;
    /// The factor by which relative errors of the equations can grow in x: the largest singular
    /// value over the smallest. Infinity: some combination of the unknowns has no effect at all.
    double condition = 1.0;
    /// The length of A x - b.
    double residualNorm = 0.0;
    /// The number of equations: rows of A, or observations.
    long numEquations = 0;

    /// Whether all unknowns are determined: there is no other best solution.
    bool isDetermined() const { return rank == static_cast<long>(x.size()); }
    /// The root of the mean square of the components of A x - b; 0 without equations.
    double rmsResidual() const {
        return numEquations > 0 ? residualNorm / std::sqrt(static_cast<double>(numEquations)) : 0.0;
    }
};

/// Solves A x = b for a matrix of any sizes and any rank: the x that minimises the length of
/// A x - b and, of all that do, the shortest. Where `ludcmp` and `rxPsuedoInverse` give a large and
/// meaningless solution of a deficient system, this one tells that it is deficient.
///
/// Householder's QR decomposition with column pivoting, followed by a singular value decomposition
/// of R by one-sided Jacobi rotations (Drmac and Veselic, "New fast and accurate Jacobi SVD
/// algorithm", 2008). For systems of up to some hundred unknowns.
///
/// @param a  the matrix A, one row for each equation, one column for each unknown.
/// @param b  the right-hand sides, a.rows() of them or more; the others are not used.
/// @param relativeTolerance  a singular value that is not above this share of the largest one
///     counts as zero. Negative: the larger size of A times 2^-52. Those below 1e-150 times the
///     largest count as zero in any case.
/// @throws std::out_of_range: b is shorter than that.
/// @throws std::length_error: no equations for more than 46,340 unknowns, more than the largest
///     square matrix has. Up to there x is so many zeros.
/// @throws rxMathError: A, b or the tolerance holds what is not a finite number, or a component of
///     x is beyond the range of double.
/// Cost O(rows cols^2); allocates a copy of A, and x.
PTMATCH_EXPORT rxLeastSquaresSolution rfSolveLeastSquares(const rxMatrixExt& a,
                                                          std::span<const double> b,
                                                          double relativeTolerance = -1.0);

/// The singular values of a matrix, the largest first; as many as the smaller of its sizes.
/// Method, cost and rxMathError as above.
PTMATCH_EXPORT std::vector<double> rfSingularValues(const rxMatrixExt& a);

/// Least-squares solution of a linear system whose equations arrive one at a time, like
/// `rxPsuedoInverse`, but with half the loss of digits, with the residual, and with a word on what
/// the equations determine.
///
///     rxLeastSquares line(2);                                 // y = p[0] x + p[1]
///     for (const auto& [x, y] : points) line.update(std::array{x, 1.0}, y);
///     const rxLeastSquaresSolution best = line.fit();
///     if (!best.isDetermined()) return;                       // all points have the same x
///     std::cout << best.x[0] << ", " << best.x[1] << " +- " << best.rmsResidual() << '\n';
///
/// Keeps the triangular factor of the equations, into which each new one is turned by Givens
/// rotations (Golub and Van Loan, "Matrix computations", 12.5), instead of sums of products: the
/// condition of the problem is not squared, and the residual is not a difference of large numbers.
/// Memory does not grow with the number of observations. A polynomial of degree 9 through 41 points
/// in [0, 1], of condition 2e6, comes out with coefficients that are wrong by 7e-11; by 6e-4 from
/// the normal equations.
///
/// A plain value; a moved-from accumulator has no unknowns and no observations. Const members from
/// any number of threads at once.
class PTMATCH_EXPORT rxLeastSquares {
  public:
    /// n unknowns, no observations.   @throws as `resize`.
    explicit rxLeastSquares(long n = 0);

    rxLeastSquares(const rxLeastSquares&) = default;
    rxLeastSquares(rxLeastSquares&& other) noexcept;
    /// When memory runs out, the accumulator is what it was.
    rxLeastSquares& operator=(const rxLeastSquares& other);
    rxLeastSquares& operator=(rxLeastSquares&& other) noexcept;
    ~rxLeastSquares() = default;

    /// Sets the number of unknowns and forgets all observations, also when the number stays.
    /// @throws std::length_error: n is negative, or n x (n + 1) above 2^31 - 1.
    /// @throws std::bad_alloc.   The accumulator is then what it was.
    void resize(long n);

    /// Adds the observation x . p = y.
    /// @param x  the coefficients; only the first n are used.
    /// @param y  the right-hand side.
    /// A coefficient or a y that is not finite makes every fit until the next reset throw.
    /// @throws std::out_of_range: x has fewer than n; nothing has been added.
    /// Cost 2 n^2 multiplications and n roots, no allocation.
    void update(std::span<const double> x, double y);

    /// The p that minimises the sum of (x . p - y)^2 over the observations, as x of the solution.
    /// Rank, condition and the choice among several best solutions refer to unknowns in units in
    /// which the coefficients of each are about one, so that they do not depend on the units of the
    /// caller. Without observations: all zero, of rank 0.
    /// @param relativeTolerance  as of `rfSolveLeastSquares`.
    /// @throws rxMathError: an observation was not finite or beyond the range of double, or so is a
    ///     parameter, or the tolerance is not finite.
    /// Changes nothing: more observations can follow.   Cost O(n^3); allocates.
    rxLeastSquaresSolution fit(double relativeTolerance = -1.0) const;

    /// Forgets all observations; n stays. No allocation.
    void reset();

    /// The number of unknowns, n.
    long numUnknowns() const { return static_cast<long>(row_.size()); }
    /// Observations since the last `reset` or `resize`.
    long numObservations() const { return numObservations_; }

  private:
    // n x (n + 1): the triangular factor, and in the last column the right-hand side.
    rxMatrixExt factor_;
    std::vector<double> row_;  // n, the observation that is being turned in
    double residualNorm_ = 0.0;
    long numObservations_ = 0;
};
