#pragma once

#include "foundation/export.h"
#include "foundation/rectangle.h"
#include "ptmatch/tm.h"

/// The affine transform that fits a perspective one best over a rectangle of plane a.
///
///     const rx2PtMatchTm affine = rfAffineApproximation(tm, rxRectangle<double>(0, 0, 999, 999));
///
/// `rx2PTm::a2bXform` does this over the square from -5 to 5, whatever part of the plane is used.
/// Here 36 points, 6 by 6 at equal distances with the corners among them, are spread over the
/// rectangle: the same points, for that square. What is left can be asked of `rfFitResidual`.
/// @param tm    the perspective transform.
/// @param area  its extents may be negative, not 0.
/// @return the least-squares fit in plane b, dof 6, with the 36 pairs accumulated.
/// @throws rxMathError: a parameter of tm is not finite, or a corner of the rectangle not, or it or
///     its image beyond 1e140; w vanishes or changes its sign within the rectangle, so that it is
///     torn apart at infinity; the fit has no inverse.
/// @throws rxLSPointToPointFitter::Errors: an extent is 0, or lost in the rounding of the
///     coordinates, or below 1e-140.
PTMATCH_EXPORT rx2PtMatchTm rfAffineApproximation(const rx2PTm& tm,
                                                  const rxRectangle<double>& area);
