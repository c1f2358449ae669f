#pragma once

#include "foundation/export.h"

/// True when |a - b| <= tolerance. False when either number is not a number, and when a and b are
/// infinities of one sign (their difference is not a number).
PTMATCH_EXPORT bool rfRealEq(double a, double b, double tolerance);

/// The integer nearest to v; halves go away from zero (2.5 to 3, -2.5 to -3).
/// Values beyond the 32-bit signed integers give the nearest of those; not-a-number gives 0.
/// @return a value in [-2147483648, 2147483647].   Cost O(1).   Any number of threads.
PTMATCH_EXPORT long iRound(double v);
