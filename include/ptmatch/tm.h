#pragma once

#include <span>

#include "foundation/angle.h"
#include "foundation/archive.h"
#include "foundation/export.h"
#include "foundation/fitter.h"
#include "foundation/vector.h"
#include "foundation/xform.h"

/// A transform between two planes a and b, kept together with its inverse, that can be fitted to
/// pairs of points: mapping in either direction costs one matrix product.
///
///     rx2PtMatchTm tm;
///     tm.update(rxVector<2>(0, 0), origin);          // plane a: grid positions, plane b: pixels
///     tm.update(rxVector<2>(1, 0), origin + xStep);
///     tm.update(rxVector<2>(0, 1), origin + yStep);
///     tm.fit(6);
///     const rxVector<2> nodeInPicture = tm.a2b(rxVector<2>(3, 4));
///     const rxVector<2> positionOnGrid = tm.b2a(dot);
///
/// Laws: `b2aXform()` is the inverse of `a2bXform()` after every public operation that does not
/// throw. `append(t)`: a2b(p) = t.a2b(old.a2b(p)); `concat(t)`: a2b(p) = old.a2b(t.a2b(p)).
///
/// `translate`, `rotate`, `scale` and `concat` act in plane a, before the transform. Of these only
/// `translate` keeps the accumulated pairs: `rotate`, `scale`, `append` and `concat` replace the
/// whole object by a new one that has none.
///
/// A plain value, also in what it accumulated. Const members may be called by any number of threads
/// at once. No function allocates, but for the message of an exception.
class PTMATCH_EXPORT rx2PtMatchTm {
  public:
    /// Two sequences of points differ in length.
    class PTMATCH_EXPORT BadArgs {};

    /// The identity, there before any other static object is built. Not a constant; leave it alone.
    static rx2PtMatchTm I;

    /// The identity, no pairs.
    constexpr rx2PtMatchTm() = default;
    /// As `fit(a, b, dof)` of a new object.
    rx2PtMatchTm(std::span<const rxVector<2>> a, std::span<const rxVector<2>> b, int dof);
    /// The given transform from a to b, no pairs.
    /// @throws rxMathError: it is singular, or its inverse is not finite.
    explicit rx2PtMatchTm(const rxXform<2>& a2b);

    /// Adds the pair of a point of plane a and its image in plane b.
    void update(const rxVector<2>& a, const rxVector<2>& b);
    /// Adds the pairs (a[i], b[i]).
    /// @throws BadArgs: the sequences differ in length; nothing has been added.
    void update(std::span<const rxVector<2>> a, std::span<const rxVector<2>> b);

    /// Fits the transform to the accumulated pairs, least squares in plane b, and keeps the pairs.
    /// @param dof  3 rigid, 4 similarity, 5 one scale per axis, 6 affine, as
    ///     `rxLSPointToPointFitter` has them; below 3: the first of 6, 5, 4, 3 that the pairs
    ///     determine.
    /// @throws rxLSPointToPointFitter::Errors: the pairs do not determine it (below 3: not even for
    ///     3).   @throws rxMathError: the fitted transform has no finite inverse.
    /// After either the transforms are what they were.
    void fit(int dof);
    /// Forgets transform and pairs, adds these pairs and fits.
    /// @throws as `update` and `fit`; the object is then the identity, after BadArgs without pairs.
    void fit(std::span<const rxVector<2>> a, std::span<const rxVector<2>> b, int dof);

    /// Forgets the pairs; the transforms stay.
    void reset();
    /// Forgets the pairs; both transforms become the identity.
    void identity();

    /// Moves by v in plane a, before the transform. Keeps the pairs.
    void translate(const rxVector<2>& v);
    /// Turns in plane a, before the transform. Drops the pairs, as the next four do.
    void rotate(rxRadian angle);
    /// Scales in plane a, before the transform, each axis by its factor.
    /// @throws rxMathError: the result has no finite inverse, as for a factor of 0; the object is
    ///     unchanged. The same holds for `append` and `concat`.
    void scale(const rxVector<2>& factors);
    /// The same with one factor for both axes.
    void scale(double factor);
    /// First this transform, then t.
    void append(const rx2PtMatchTm& t);
    /// First t, then this transform.
    void concat(const rx2PtMatchTm& t);

    /// The image in plane b of a point of plane a.
    rxVector<2> a2b(const rxVector<2>& p) const { return a2bXform_ * p; }
    /// Writes the image to out, which may be p itself.
    void a2b(const rxVector<2>& p, rxVector<2>& out) const { out = a2b(p); }
    /// The image in plane a of a point of plane b.
    rxVector<2> b2a(const rxVector<2>& p) const { return b2aXform_ * p; }
    /// Writes the image to out, which may be p itself.
    void b2a(const rxVector<2>& p, rxVector<2>& out) const { out = b2a(p); }

    /// The direction that a direction takes after mapping, in (-pi, pi]; exact under shear, too.
    rxRadian a2b(rxRadian angle) const;
    /// The same from plane b to plane a.
    rxRadian b2a(rxRadian angle) const;

    /// The transform from a to b.
    const rxXform<2>& a2bXform() const { return a2bXform_; }
    /// Its inverse, from b to a.
    const rxXform<2>& b2aXform() const { return b2aXform_; }

    /// Exact equality of the transforms from a to b; pairs and inverses are not compared.
    bool operator==(const rx2PtMatchTm& t) const { return t.a2bXform_ == a2bXform_; }
    /// Exact equality of the transform from a to b with this one.
    bool operator==(const rxXform<2>& a2b) const { return a2b == a2bXform_; }

    /// Stores or loads both transforms, not the pairs: a load leaves those of the target alone.
    /// @throws rxArchive::UnknownVersion: another version than 1100.
    /// @throws rxArchive::Errors: the record is cut off; the object is as it was.
    friend PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rx2PtMatchTm& tm);

  protected:
    /// The transform that applies `first` and then `second`.
    static rxXform<2> concat_(const rxXform<2>& first, const rxXform<2>& second);

    /// Sets the transform from a to b to the rows (a, b, c) and (d, e, f) of the 2x3 affine matrix
    /// and leaves its inverse alone: call `sync_` before mapping back.
    void set_(double a, double b, double c, double d, double e, double f);

    /// Makes the inverse fit the transform again.   @throws rxMathError: there is none.
    void sync_();

  private:
    /// Replaces the transform; when it has no inverse, the object stays what it was.
    void adopt_(const rxXform<2>& a2b);

    rxLSPointToPointFitter fitter_;
    rxXform<2> a2bXform_;
    rxXform<2> b2aXform_;
};

PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rx2PtMatchTm& tm);

#include "ptmatch/perspective_tm.h"
#include "ptmatch/space_tm.h"
