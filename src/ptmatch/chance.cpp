#include "ptmatch/chance.h"

#include <algorithm>
#include <cmath>

namespace ptmatch::detail {
namespace {

// ln n!, by Stirling's series; good to 1e-3 from 1 on, which is plenty for a choice.
double logFactorial(double n) {
    if (n < 1.0) return 0.0;
    return n * std::log(n) - n + 0.5 * std::log(6.283185307179586 * n) + 1.0 / (12.0 * n);
}

}  // namespace

double binomialTail(double n, double p, double wanted) {
    if (wanted <= n * p) return 1.0;
    if (wanted > n) return 0.0;
    double term = std::exp(logFactorial(n) - logFactorial(wanted) - logFactorial(n - wanted) +
                           wanted * std::log(p) + (n - wanted) * std::log1p(-p));
    // From here on the terms fall, at first slowly when `wanted` lies near the mean.
    double tail = 0.0;
    for (double k = wanted; k <= n && term > 1e-3 * tail; k += 1.0) {
        tail += term;
        term *= (n - k) / (k + 1.0) * p / (1.0 - p);
    }
    return std::min(1.0, tail);
}

double anyOf(double p, double count) {
    return p >= 1.0 ? 1.0 : -std::expm1(count * std::log1p(-p));
}

}  // namespace ptmatch::detail
