#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <type_traits>

#include "foundation/angle.h"
#include "foundation/archive.h"
#include "foundation/export.h"
#include "foundation/vector.h"
#include "ptmatch/pinv.h"

/// An affine transform between two spaces a and b, kept together with its inverse, that can be
/// fitted to pairs of points: least squares in space b, each coordinate on its own.
///
///     rx3PtMatchTm tm;
///     for (const auto& [inCad, measured] : marks) tm.update(inCad, measured);
///     tm.fit();
///     const rxVector<3> expected = tm.a2b(rxVector<3>(10, 0, 2.5));
///
/// Twelve parameters, row by row (m00, m01, m02, tx, m10, ...), map p to M p + t.
///
/// The changes do not all act in the same place. `translate` moves in space a, before the
/// transform: the new translation is M v + t. The rotations and `scale` turn and scale the matrix
/// alone, M becomes R M, and leave the translation as it is: they act in space b, about the image
/// of the origin of a. All of them keep the accumulated pairs.
///
/// The fits solve normal equations in plain doubles about the origin of space a. Of 5 or 30 exact
/// pairs within 5 of an offset in all coordinates, the worst of 200 sets of each: without an offset
/// the elements of the matrix are good to 7e-14 and the images to 2e-14; at 1,000, to 1e-8 and
/// 5e-9; at 1e6, to 0.013 and 0.005. The equations hold products of two coordinates: those of
/// coordinates below 1e-153 lose their digits (at 1e-160, all but three), and beyond 1e152 the fit
/// throws. The functions of ptmatch/space_fit.h fit about the means and return the same class.
///
/// A plain value, also in what it accumulated. When memory runs out, the object is what it was, but
/// for `fit(a, b)`. Const members may be called by any number of threads at once; mapping a point
/// does not allocate.
class PTMATCH_EXPORT rx3PtMatchTm {
  public:
    /// Two sequences of points differ in length.
    class PTMATCH_EXPORT BadArgs {};

    /// m00, m01, m02, tx, m10, m11, m12, ty, m20, m21, m22, tz.
    using Params = std::array<double, 12>;

    /// The identity, there before any other static object is built. Not a constant; leave it alone.
    static rx3PtMatchTm I;

    /// The identity, no pairs.
    rx3PtMatchTm();
    /// As `fit(a, b)` of a new object.
    rx3PtMatchTm(std::span<const rxVector<3>> a, std::span<const rxVector<3>> b);

    // Only copies, so that a source keeps the unknowns of its equations.
    rx3PtMatchTm(const rx3PtMatchTm&) = default;
    /// When memory runs out, the object is what it was.
    rx3PtMatchTm& operator=(const rx3PtMatchTm& t);
    ~rx3PtMatchTm() = default;

    /// Adds the pair of a point of space a and its image in space b.
    void update(const rxVector<3>& a, const rxVector<3>& b);
    /// Adds the pairs (a[i], b[i]).
    /// @throws BadArgs: the sequences differ in length; nothing has been added.
    void update(std::span<const rxVector<3>> a, std::span<const rxVector<3>> b);

    /// Fits the transform to the accumulated pairs and keeps the pairs.
    /// @throws rxMatrixExt::SingularMatrix: there are no pairs, or one coordinate of all points of
    ///     space a is 0: the object is then what it was. Or the fitted matrix is singular, as when
    ///     the points of space b lie in one plane: the transform is then the fitted one, its
    ///     inverse the old one. Points of space a in another plane give large, meaningless
    ///     parameters.
    void fit();
    /// Forgets transform and pairs, adds these pairs and fits.
    /// @throws as `update` and `fit`; before the fit the object is the identity, after BadArgs
    ///     without pairs.
    void fit(std::span<const rxVector<3>> a, std::span<const rxVector<3>> b);

    /// Forgets the pairs; the transform and its inverse become the identity.
    void identity();

    /// Moves by v in space a, before the transform.
    /// @throws rxMatrixExt::SingularMatrix: the new matrix, or what is to be done, is singular or
    ///     not finite; the transform has changed all the same, its inverse has not. The same holds
    ///     for the turns and scalings.
    void translate(const rxVector<3>& v);
    /// Turns the matrix, after the transform, about the axis; the translation stays:
    ///     x  (1 0 0, 0 c -s, 0 s c)     y  (c 0 s, 0 1 0, -s 0 c)     z  (c -s 0, s c 0, 0 0 1)
    void rotateOnX(rxRadian angle);
    /// About the y axis, as above.
    void rotateOnY(rxRadian angle);
    /// About the z axis, as above.
    void rotateOnZ(rxRadian angle);
    /// Scales the rows of the matrix, after the transform; the translation stays.
    /// A factor of 0 is such a case.
    void scale(const rxVector<3>& factors);
    /// The same with one factor for all rows.
    void scale(double factor);

    /// The image in space b of a point of space a.
    rxVector<3> a2b(const rxVector<3>& p) const { return mapped_(a2bParams_, p); }
    /// Writes the image to out, which may be p itself.
    void a2b(const rxVector<3>& p, rxVector<3>& out) const { out = a2b(p); }
    /// The image in space a of a point of space b.
    rxVector<3> b2a(const rxVector<3>& p) const { return mapped_(b2aParams_, p); }
    /// Writes the image to out, which may be p itself.
    void b2a(const rxVector<3>& p, rxVector<3>& out) const { out = b2a(p); }

    /// The parameters from a to b.
    const Params& a2bParams() const { return a2bParams_; }
    /// Those from b to a.
    const Params& b2aParams() const { return b2aParams_; }

    /// Exact equality of the parameters from a to b; pairs and inverses are not compared.
    bool operator==(const rx3PtMatchTm& t) const { return t.a2bParams_ == a2bParams_; }

    /// Stores or loads the accumulated pairs and the parameters of both directions.
    /// @throws rxArchive::UnknownVersion: another version than 1100.
    /// @throws rxArchive::Errors: the record is cut off, or its equations have not 4 unknowns. The
    ///     object is then what it was.
    friend PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rx3PtMatchTm& tm);

    /// In ptmatch/space_fit.h.
    friend PTMATCH_EXPORT rx3PtMatchTm rfExactSpaceTransform(const Params& a2b);

  protected:
    /// Makes the inverse fit the transform again.
    /// @throws rxMatrixExt::SingularMatrix; the inverse is then what it was.
    void sync_();

  private:
    static constexpr Params kIdentity_ = {1.0, 0.0, 0.0, 0.0,  //
                                          0.0, 1.0, 0.0, 0.0,  //
                                          0.0, 0.0, 1.0, 0.0};
    struct WithoutMemory_ {};
    constexpr explicit rx3PtMatchTm(WithoutMemory_) {}

    static rxVector<3> mapped_(const Params& p, const rxVector<3>& v) {
        return rxVector<3>(p[0] * v.x() + p[1] * v.y() + p[2] * v.z() + p[3],
                           p[4] * v.x() + p[5] * v.y() + p[6] * v.z() + p[7],
                           p[8] * v.x() + p[9] * v.y() + p[10] * v.z() + p[11]);
    }

    /// The transform that applies `first` and then `second`. `out` may be neither of them.
    static void mul_(const Params& first, const Params& second, Params& out);
    /// The product of the matrices alone; the translations are added as they are. `out` may be
    /// neither of them.
    static void concat_(const Params& first, const Params& second, Params& out);

    /// Makes it the transform and the inverse fit it.
    void adopt_(const Params& a2b);
    /// Multiplies the matrix by this one, row by row, from the left.
    void turn_(const std::array<double, 9>& matrix);

    // Without unknowns they stand for 4 of them and no pairs, as in rx2PTm.
    rxPsuedoInverse solverX_;
    rxPsuedoInverse solverY_;
    rxPsuedoInverse solverZ_;
    Params a2bParams_ = kIdentity_;
    Params b2aParams_ = kIdentity_;
};

template <>
struct rx_MinimalRecordSize<rx3PtMatchTm> : std::integral_constant<std::uint64_t, 754> {};

PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rx3PtMatchTm& tm);
