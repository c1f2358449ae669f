#pragma once

#include <optional>

#include "foundation/fitter.h"
#include "foundation/xform.h"

namespace ptmatch::detail {

/// Degrees of freedom of every fit inside the image-based search: rotation, one scale, translation.
/// A scale uncertainty of (0, 0) limits which scales are tried, not what is fitted.
inline constexpr int kSimilarity = 4;

/// The fitter's transform of second points onto first points; nothing when the pairs do not
/// determine it or it is singular. For candidates, where that is no error.
std::optional<rxXform<2>> tryFit(const rxLSPointToPointFitter& fitter, int dof);

/// The fitter's transform, singular or not; the identity when the pairs do not determine it.
rxXform<2> fitOrIdentity(const rxLSPointToPointFitter& fitter, int dof);

/// The inverse; nothing when the transform is singular or its inverse is not finite.
std::optional<rxXform<2>> tryInverse(const rxXform<2>& xform);

}  // namespace ptmatch::detail
