#pragma once

#include <cstdint>
#include <span>
#include <type_traits>
#include <vector>

#include "foundation/archive.h"
#include "foundation/export.h"
#include "ptmatch/matext.h"

/// Least-squares solution of a linear system whose equations arrive one at a time, from its normal
/// equations: memory does not grow with the number of observations.
///
///     rxPsuedoInverse line(2);                                // y = p[0] x + p[1]
///     for (const auto& [x, y] : points) line.update(std::array{x, 1.0}, y);
///     const std::vector<double> p = line.fit();
///
/// The sums are plain doubles and the normal equations square the condition of the problem: keep
/// the coefficients of all unknowns near one and centred. The line y = 2 x + 1 through 20 points
/// that lie on it exactly, at x = 1e4 and the next 19 integers, comes out with a slope that is
/// wrong by 6e-10; at 1e6 by 1e-6; at 1e8 by 0.14. (The worst of 100 random lines: 3e-9, 2e-5 and
/// 0.2.) `rxLeastSquares` in least_squares.h errs by 2e-12, 8e-11 and 2e-8 on the same points, and
/// tells the residual and the rank.
///
/// Coefficients are squared: from 1e-150 to 1e150 they keep their digits. Smaller ones lose them
/// and, below 1e-162, count as zero; where the sums of larger ones leave the range of double, as
/// from 1e154 on, the solution is not a number.
///
/// A system that leaves an unknown open is reported only when the unknown never had a coefficient
/// other than zero; otherwise the solution is large and meaningless.
///
/// A plain value; a moved-from accumulator has no unknowns. Const members from any number of
/// threads at once.
class PTMATCH_EXPORT rxPsuedoInverse {
  public:
    /// No unknowns.
    rxPsuedoInverse() = default;
    /// n unknowns, no observations.   @throws as `resize`.
    explicit rxPsuedoInverse(long n);

    rxPsuedoInverse(const rxPsuedoInverse&) = default;
    rxPsuedoInverse(rxPsuedoInverse&&) noexcept = default;
    /// When memory runs out, the accumulator is what it was.
    rxPsuedoInverse& operator=(const rxPsuedoInverse& other);
    rxPsuedoInverse& operator=(rxPsuedoInverse&& other) noexcept;
    ~rxPsuedoInverse() = default;

    /// Sets the number of unknowns and forgets all observations, also when the number stays.
    /// @throws std::length_error: n is negative, or n x n above 2^31 - 1.
    /// @throws std::bad_alloc.   The accumulator is then what it was.
    void resize(long n);

    /// Adds the observation x . p = y.
    /// @param x  the coefficients; only the first n are used. Not a part of this accumulator.
    /// @param y  the right-hand side.
    /// @throws std::out_of_range: x has fewer than n; nothing has been added.
    /// Cost n^2 multiplications and additions, no allocation.
    void update(std::span<const double> x, double y);

    /// The p that minimises the sum of (x . p - y)^2 over the observations: n values, which are
    /// none without unknowns.
    /// @throws rxMatrixExt::SingularMatrix: an unknown never had a coefficient other than zero, as
    ///     when there are no observations.
    /// Changes nothing: more observations can follow.   Cost n^3 / 3; allocates the copies that it
    /// solves on.
    std::vector<double> fit() const;

    /// Forgets all observations; n stays. No allocation.
    void reset();

    /// The number of unknowns.
    long numUnknowns() const { return static_cast<long>(rhs_.size()); }
    /// The sum over the observations of the products x x^T, n x n.
    const rxMatrixExt& normalMatrix() const { return normal_; }
    /// The sum over the observations of x y, n values.
    const std::vector<double>& rightHandSide() const { return rhs_; }

    /// Stores or loads the sums.
    /// @throws rxArchive::UnknownVersion: another version than 1100.
    /// @throws rxArchive::Errors: the sizes contradict each other or the record is cut off; the
    ///     accumulator is then what it was.
    friend PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxPsuedoInverse& accumulator);

  private:
    // n x n and n.
    rxMatrixExt normal_;
    std::vector<double> rhs_;
};

template <>
struct rx_MinimalRecordSize<rxPsuedoInverse> : std::integral_constant<std::uint64_t, 26> {};

PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxPsuedoInverse& accumulator);
