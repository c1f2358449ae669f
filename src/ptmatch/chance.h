#pragma once

namespace ptmatch::detail {

/// Estimates for plans, good to about 1e-3 of themselves; nothing that a search returns depends on
/// them.

/// Probability that at least `wanted` of n independent events happen, each with probability p.
/// n need not be a whole number.
double binomialTail(double n, double p, double wanted);

/// Probability that at least one of `count` events of probability p happens.
double anyOf(double p, double count);

}  // namespace ptmatch::detail
