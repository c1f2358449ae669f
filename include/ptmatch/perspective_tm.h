#pragma once

#include <array>
#include <span>

#include "foundation/angle.h"
#include "foundation/archive.h"
#include "foundation/export.h"
#include "foundation/vector.h"
#include "foundation/xform.h"
#include "ptmatch/pinv.h"
#include "ptmatch/tm.h"

/// A perspective transform between two planes a and b, kept together with its inverse, that can be
/// fitted to pairs of points.
///
///     rx2PTm tm;
///     for (const auto& [node, pixel] : nodes) tm.update(node, pixel);
///     tm.fit();
///     const rxVector<2> pixel = tm.a2b(rxVector<2>(3, 4));
///
/// Eight parameters p map (x, y) to
///     x' = (p0 x + p1 y + p2) / w,   y' = (p3 x + p4 y + p5) / w,   w = p6 x + p7 y + 1.
/// Every change and every inverse is made by mapping the corners and the centre of a square about
/// the origin of plane a and fitting eight parameters to their images: of the square from -1 to 1
/// for `rotate`, `translate` and `scale`, from -5 to 5 for the inverse. Fits solve normal equations
/// of unscaled coordinates. All this is made for coordinates of the order of 1 to 10, such as the
/// positions on a grid. Limits (figures measured):
/// - Where the images of the square from -5 to 5 lie farther from the origin of plane b than they
///   spread, the inverse loses digits: after translate((s, s)), b2a(a2b(p)) is off by 8e-12 for
///   s = 100, 3e-6 for 1e4, 50 for 1e6.
/// - Where plane a is that of pixels, the square is a speck in its corner: of 40 exact pairs on
///   1,000 x 1,000 pixels (w from 0.5 to 1.5, 101 transforms) the fit is good to 3e-11 pixels at
///   the worst and its inverse to 1e-6; with an offset of 10,000 in both planes, to 1e-5 and to
///   nothing (1e4 in the middle, 9e5 at the worst). Where the square crosses the horizon (w changes
///   its sign within it), the inverse loses digits, too.
/// - `a2bXform` knows the square from -5 to 5 alone: of the transform with p6 = 1e-4 it is 129
///   pixels off at a corner of such a plane, where the best affine transform is 27 off.
/// - The normal equations hold products of four coordinates. Where coordinates are below 1e-76,
///   these lose their digits: the parameters are then meaningless, or the fit throws. Beyond 1e76
///   it throws.
/// - A regular transform with p0 p4 = p1 p3 has no inverse of the eight-parameter form; the fitted
///   one is meaningless or has huge parameters, and nothing tells so.
/// The functions of ptmatch/perspective_fit.h and ptmatch/affine_approximation.h have none of these
/// limits but the last, which they report; they return the same class.
///
/// A plain value, also in what it accumulated. When memory runs out, the object is what it was, but
/// for `fit(a, b)`. Const members may be called by any number of threads at once; mapping a point
/// does not allocate.
class PTMATCH_EXPORT rx2PTm {
  public:
    /// Two sequences of points differ in length.
    class PTMATCH_EXPORT BadArgs {};

    /// p0 to p7.
    using Params = std::array<double, 8>;

    /// The identity, there before any other static object is built. Not a constant; leave it alone.
    static rx2PTm I;

    /// The identity, no pairs.
    rx2PTm();
    /// As `fit(a, b)` of a new object.
    rx2PTm(std::span<const rxVector<2>> a, std::span<const rxVector<2>> b);
    /// The affine transform of t, no pairs.   @throws as `fit`.
    explicit rx2PTm(const rx2PtMatchTm& t);

    // Only copies, so that a source keeps the unknowns of its equations.
    rx2PTm(const rx2PTm&) = default;
    /// When memory runs out, the object is what it was.
    rx2PTm& operator=(const rx2PTm& t);
    ~rx2PTm() = default;

    /// Adds the pair of a point of plane a and its image in plane b.
    void update(const rxVector<2>& a, const rxVector<2>& b);
    /// Adds the pairs (a[i], b[i]).
    /// @throws BadArgs: the sequences differ in length; nothing has been added.
    void update(std::span<const rxVector<2>> a, std::span<const rxVector<2>> b);

    /// Fits the transform to the accumulated pairs and keeps the pairs.
    ///
    /// What is least is the sum of the squares of w (x' - b.x) and w (y' - b.y), not that of the
    /// distances in plane b: pairs where w is small count less.
    /// @throws rxMatrixExt::SingularMatrix: there are no pairs, or the normal equations (or those
    ///     of the inverse) have a row of zeros. The transform is then what it was. Pairs that leave
    ///     it open otherwise give large, meaningless parameters.
    void fit();
    /// Forgets transform and pairs, adds these pairs and fits.
    /// @throws as `update` and `fit`; the object is then the identity, after BadArgs without pairs.
    void fit(std::span<const rxVector<2>> a, std::span<const rxVector<2>> b);

    /// Forgets the pairs; the transform and its inverse become the identity.
    void identity();

    /// Turns in plane a, before the transform.
    ///
    /// This and the next two keep the pairs, although the transform is no longer the one that fits
    /// them. When one throws, the object is what it was.
    /// @throws rxMathError: the angle is not finite.
    /// @throws rxMatrixExt::SingularMatrix: the images of the sample points leave the parameters
    ///     open.
    void rotate(rxRadian angle);
    /// Moves by v in plane a, before the transform.   @throws as `rotate`.
    void translate(const rxVector<2>& v);
    /// Scales in plane a, before the transform, each axis by its factor.
    /// @throws rxMathError: a factor is 0; and as `rotate`.
    void scale(const rxVector<2>& factors);

    /// The image in plane b of a point of plane a; where w is 0, infinite or not a number.
    rxVector<2> a2b(const rxVector<2>& p) const { return mapped_(a2bParams_, p); }
    /// Writes the image to out, which may be p itself.
    void a2b(const rxVector<2>& p, rxVector<2>& out) const { out = a2b(p); }
    /// The image in plane a of a point of plane b.
    rxVector<2> b2a(const rxVector<2>& p) const { return mapped_(b2aParams_, p); }
    /// Writes the image to out, which may be p itself.
    void b2a(const rxVector<2>& p, rxVector<2>& out) const { out = b2a(p); }

    /// The affine transform that fits best at 36 points of the square from -5 to 5 of plane a;
    /// `rfAffineApproximation` takes any other rectangle.
    /// @throws as `a2bTm`.
    rxXform<2> a2bXform() const;
    /// The same with those 36 pairs accumulated.
    /// @throws rxLSPointToPointFitter::Errors, rxMathError: no model with an inverse fits them.
    rx2PtMatchTm a2bTm() const;

    /// The parameters from a to b.
    const Params& a2bParams() const { return a2bParams_; }
    /// Those from b to a.
    const Params& b2aParams() const { return b2aParams_; }

    /// Exact equality of the parameters from a to b; pairs and inverses are not compared.
    bool operator==(const rx2PTm& t) const { return t.a2bParams_ == a2bParams_; }

    /// Stores or loads the parameters of both directions and the accumulated pairs.
    /// @throws rxArchive::UnknownVersion: another version than 1100.
    /// @throws rxArchive::Errors: the record is cut off, or its equations have not 8 unknowns. The
    ///     object is then what it was.
    friend PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rx2PTm& tm);

    /// In ptmatch/perspective_fit.h.
    friend PTMATCH_EXPORT rx2PTm rfExactPerspective(const Params& a2b);

  protected:
    /// Fits the inverse to the transform.
    /// @throws rxMatrixExt::SingularMatrix; the inverse is then what it was.
    void sync_();

  private:
    static constexpr Params kIdentity_ = {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0};
    struct WithoutMemory_ {};
    constexpr explicit rx2PTm(WithoutMemory_) {}

    static rxVector<2> mapped_(const Params& p, const rxVector<2>& v) {
        const double w = p[6] * v.x() + p[7] * v.y() + 1.0;
        return rxVector<2>((p[0] * v.x() + p[1] * v.y() + p[2]) / w,
                           (p[3] * v.x() + p[4] * v.y() + p[5]) / w);
    }
    static Params sampledInverse_(const Params& p);

    /// Replaces the transform; when it has no inverse, the object stays what it was.
    void adopt_(const Params& a2b);
    /// Puts r before the transform.
    void prepend_(const rx2PtMatchTm& r);

    Params a2bParams_ = kIdentity_;
    Params b2aParams_ = kIdentity_;
    // One that has no unknowns yet stands for 8 of them and no pairs: that of `I`, which can take
    // no memory because it is there before anything runs.
    rxPsuedoInverse solver_;
};

template <>
struct rx_MinimalRecordSize<rx2PTm> : std::integral_constant<std::uint64_t, 734> {};

PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rx2PTm& tm);
