#pragma once

#include <span>

#include "foundation/export.h"
#include "foundation/vector.h"
#include "ptmatch/perspective_tm.h"

/// @file
/// Perspective transforms for coordinates of any size, such as pixels.
///
/// `rx2PTm` fits unscaled normal equations and takes its inverse from five points about the origin,
/// which costs digits as soon as coordinates are not of the order of 1 to 10. The functions here
/// return the same plain `rx2PTm`, fitted in normalised coordinates and with the exact inverse:
///
///     const rx2PTm imageFromPlate = rfFitPerspectiveNormalized(nodes, pixels);
///     const rxVector<2> node = imageFromPlate.b2a(pixel);
///
/// A transform from here holds no pairs. Its own members change it as they change any other:
/// `rotate`, `translate`, `scale` and `fit` replace the exact inverse by a sampled one again. Use
/// `rfConcatPerspective` in their place.
///
/// Accuracy (the worst of 2,000 random transforms each of 4, 10 and 34 exact pairs within +-h, w
/// from 0.5 to 1.5): the images and b2a(a2b(p)) are good to 32 eps of the largest coordinate, up to
/// offsets of 10 h in both planes. Beyond that it is the eight parameters that limit: w, written
/// down about a far origin, cancels. Offsets of 1,000 h leave 2,600 eps: 3e-7 pixels at h = 500.
/// The images of the corners of 4,000 x 3,000 pixels seen obliquely, with the same offset on both
/// sides, are off by 5e-4 pixels at 1e8, by 0.05 at 1e9 and by 0.4 at 3e9; those at 5e9 are
/// refused, see `rfFitPerspectiveNormalized`.

/// The transform of these eight parameters, and as its inverse the adjugate of
///     p0 p1 p2
///     p3 p4 p5
///     p6 p7  1
/// divided by its last element, p0 p4 - p1 p3. Each element of the adjugate is rounded once, after
/// powers of two have brought rows and columns to a common size, so that the inverse is as good as
/// eight doubles can hold it, in any units of the planes.
///
/// That last element is what the inverse has for w at the origin of plane b. Where it is 0, the
/// origin of b is the image of a point at infinity: the inverse exists, but not in the
/// eight-parameter form. Moving the origin of plane b helps. Near that, the parameters of the
/// inverse are large; it is good all the same, but near the origin.
/// @throws rxMathError: p0 p4 = p1 p3 exactly; the transform is singular to within rounding of the
///     parameters (changes of up to 8 eps of each make it singular); a parameter or an element of
///     the inverse is not finite.
/// Law: b2a(a2b(p)) = p to the rounding of a2b(p) seen through the inverse.
PTMATCH_EXPORT rx2PTm rfExactPerspective(const rx2PTm::Params& a2b);

/// First `first`, then `second`, with the exact inverse: the product of the matrices, divided by
/// its last element.
/// @throws rxMathError: `first` takes the origin of its plane a to a point that `second` takes to
///     infinity, so that the product has no eight-parameter form; or as `rfExactPerspective`.
PTMATCH_EXPORT rx2PTm rfConcatPerspective(const rx2PTm& first, const rx2PTm& second);

/// The perspective transform from the points a to the points b, with the exact inverse.
///
/// Both sides are moved to mean 0 and scaled to a mean distance of sqrt(2) from it; the nine
/// homogeneous elements of unit length with the least sum of squares in the equations of the pairs
/// are the right singular vector of their smallest singular value; the result is moved and scaled
/// back (the normalised direct linear transform: Hartley, "In defense of the eight-point
/// algorithm", 1997; Hartley and Zisserman, "Multiple view geometry", algorithm 4.2). The equations
/// are triangulated by reflections, never squared.
///
/// What is least is an algebraic distance: each pair is weighted by its w. Four pairs in general
/// position are met exactly.
/// @param a, b  at least four pairs (a[i], b[i]), no three of a or b on one line among some four.
/// @throws rx2PTm::BadArgs: the sequences differ in length.
/// @throws rxMathError: fewer than 4 pairs; pairs that leave the transform open or determine a
///     singular one, to within rounding (on one line; all but one on one line); a coordinate not
///     finite or beyond 1e150, or a spread below 1e-150; no eight-parameter form in one of the
///     directions, as in `rfExactPerspective`; origins so far away that errors of an eps in each
///     parameter can move the image of a pair, in either direction, by a thousandth of the mean
///     distance of the images from their mean.
///
/// "To within rounding" knows one size of it for all points of a side, 8 eps of its largest
/// coordinate. So it also refuses exact pairs of very unequal distances: a strip of 4e6 x 1 that is
/// to become a square, as singular (3e6 x 1 is fitted); three points 1 apart and a fourth 3e6 away,
/// as open (2e6 is fitted).
/// Cost linear in the number of pairs; allocates nothing but the object and messages.
PTMATCH_EXPORT rx2PTm rfFitPerspectiveNormalized(std::span<const rxVector<2>> a,
                                                 std::span<const rxVector<2>> b);

/// How much worse than the coordinates the parameters are known: the ratio of the largest to the
/// smallest but one singular value of the normalised equations of the pairs. A few units for points
/// spread over the plane; infinite when they leave the transform open. An error of the pairs
/// reaches the parameters (in normalised coordinates) up to so many times enlarged.
/// @throws as `rfFitPerspectiveNormalized`, but not when the pairs leave the transform open.
PTMATCH_EXPORT double rfPerspectiveConditioning(std::span<const rxVector<2>> a,
                                                std::span<const rxVector<2>> b);
