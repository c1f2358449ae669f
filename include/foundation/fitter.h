#pragma once

#include <array>
#include <span>
#include <string>

#include "foundation/exception.h"
#include "foundation/export.h"
#include "foundation/vector.h"
#include "foundation/xform.h"

/// Least-squares transform between corresponding points of the plane, from running sums.
///
/// Give it pairs (p, q) one by one and ask for the transform that takes each q as close as possible
/// to its p, in any of four models, as often as wanted:
///
///     rxLSPointToPointFitter fitter;
///     for (const Match& match : matches) fitter.update(match.inScene, match.inModel);
///     const rxXform<2> sceneFromModel = fitter.fit(4);
///
/// There is no weighting and no rejection of wrong pairs: one wrong pair moves the answer.
///
/// The object is a fixed set of sums of coordinates and of their products, a plain copyable value.
/// Each sum is exact to about twice the digits of a double (compensated summation: Ogita, Rump and
/// Oishi, "Accurate sum and dot product", 2005), so that neither a large offset common to all
/// points nor one point far from the others costs digits of the answer, in whatever order they
/// come. Equal pairs in equal order give equal bits on every platform. Coordinates may be as large
/// as 1e150 and their spread as small as 1e-150.
class PTMATCH_EXPORT rxLSPointToPointFitter {
  public:
    /// The pairs do not determine the transform asked for, or cannot be computed with.
    class PTMATCH_EXPORT Errors : public rxExceptionWithString {
      public:
        /// @param message  what `what()` gives, as it is.
        explicit Errors(std::string message);
        Errors(const Errors&) noexcept;
        Errors& operator=(const Errors&) noexcept;
        ~Errors() override;

        [[noreturn]] void suicideAndRethrow() override;

      private:
        static rxPersistent* make();
        static const rx_Instantiator sExemplar;
    };

    /// No pairs.
    rxLSPointToPointFitter() = default;
    /// The pairs (first[i], second[i]), as if added with update one after another.
    /// @throws Errors: the sequences differ in length.
    rxLSPointToPointFitter(std::span<const rxVector<2>> first, std::span<const rxVector<2>> second);

    /// Adds the pair (p, q). Never throws: a coordinate that is not finite makes every fit until
    /// the next reset throw.   Cost O(1), some 200 operations on doubles.
    void update(const rxVector<2>& p, const rxVector<2>& q);
    /// Forgets all pairs.
    void reset();
    /// The number of pairs added since the last reset.
    long numPairs() const { return count_; }

    /// The transform X of a model that minimises the sum over the pairs of |X(q) - p|^2: it maps
    /// the second point of each pair onto the first.
    ///
    /// @param dof  the model, by its number of free parameters:
    ///     3  rotation and translation, no reflection (the closed form of Umeyama, "Least-squares
    ///        estimation of transformation parameters between two point patterns", 1991, written
    ///        with complex numbers);
    ///     4  the same with one scale, which is positive;
    ///     5  X(q) = R diag(sx, sy) q + t, a rotation after one scale of either sign per axis of q;
    ///     6  any matrix and translation.
    /// @throws Errors: dof is none of these; fewer than 2 pairs for 3 and 4, fewer than 3 for 5 and
    ///     6; all q in one place; a rotation that the pairs leave open (3, 4: all p in one place,
    ///     or the mirror image of a pattern without a main direction); q on one line (5, 6);
    ///     columns that leave the rotation open (5); a coordinate not finite, or squares beyond the
    ///     range of double. "In one place" and "on one line" mean: to within a few rounding errors
    ///     of the coordinates as they are. A small spread in itself is no reason to refuse.
    ///
    /// Laws: pairs (T(q), q) of a T of that model give T back, to the rounding of the pairs; no fit
    /// holds a not-a-number or an infinity.
    /// Cost O(1), no allocation unless it throws.   Any number of threads.   Changes nothing.
    rxXform<2> fit(int dof) const;

  private:
    static constexpr int kNumSums = 13;

    long count_ = 0;
    // Sum k is sums_[k] + residues_[k]; fitter.cpp names the sums. The residue gathers what
    // rounding took from the sum.
    std::array<double, kNumSums> sums_{};
    std::array<double, kNumSums> residues_{};
};
