#pragma once

#include <span>

#include "foundation/vector.h"
#include "ptmatch/ptgdmap.h"

namespace ptmatch::detail {

/// Steps outside these lengths are refused: their squares, and those of the distances that are
/// compared with them, would leave the range of double.
inline constexpr double kShortestStep = 1e-150;
inline constexpr double kLongestStep = 1e150;

/// Greatest size of a bound of the range of rotations. Each whole degree in between is tried.
inline constexpr double kMostDegrees = 1e6;

/// What a mapping cannot compute with is refused before any work.
/// Steps that merely span no grid (null, parallel) are no error here; see `mapSetup`.
/// @throws rxPointMatcherDefs::BadParams as `rfPtToGridMap` has it.
void checkMapArguments(std::span<const rxVector<2>> points, const rxPtToGridMapRunParams& params);

}  // namespace ptmatch::detail
