#include "ptmatch/clutter_chance.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "ptmatch/point_matcher_defs.h"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

void check(const rxClutterScene& scene, double numMatched) {
    // More points than a sequence of 32 bits numbers would be summed for hours.
    constexpr double kMostPoints = 2147483647.0;
    bool isGood = scene.numModelPoints <= kMostPoints && scene.area > 0.0 &&
                  scene.captureRange > 0.0 && scene.lowScale <= scene.highScale;
    for (const double value :
         {scene.numDataPoints, scene.area, scene.captureRange, scene.numModelPoints,
          scene.modelRadius, scene.translationWidth, scene.translationHeight, scene.rotationLength,
          scene.lowScale, scene.highScale, numMatched}) {
        isGood = isGood && value >= 0.0 && std::isfinite(value);
    }
    if (!isGood) {
        throw rxPointMatcherDefs::BadParams(
            "the numbers of a scene of clutter must be finite and 0 or above, those of model "
            "points below 2^31\n");
    }
}

/// ln n!, for n of 0 or above: Stirling's series for n + 16, stepped down. Good to 1e-11.
double logFactorial(double n) {
    constexpr int kSteps = 16;
    const double m = n + kSteps;
    double log = m * std::log(m) - m + 0.5 * std::log(2.0 * std::numbers::pi * m) +
                 1.0 / (12.0 * m) - 1.0 / (360.0 * m * m * m);
    for (int i = 1; i <= kSteps; ++i) log -= std::log(n + i);
    return log;
}

/// ln of the probability of at least k of n events of probability p; 0 where k is not above the
/// mean, a bound like the others.
double logBinomialTail(double n, double k, double p) {
    if (k > n) return -kInfinity;
    if (k <= n * p || p >= 1.0) return 0.0;
    if (p <= 0.0) return -kInfinity;
    // The first term, k of n; the others relative to it, falling from there on.
    const double first = logFactorial(n) - logFactorial(k) - logFactorial(n - k) + k * std::log(p) +
                         (n - k) * std::log1p(-p);
    const double odds = p / (1.0 - p);
    double sum = 0.0;
    double term = 1.0;
    for (double at = k; term > 1e-12 * sum;) {
        sum += term;
        term *= (n - at) / (at + 1.0) * odds;
        at += 1.0;
    }
    return std::min(0.0, first + std::log(sum));
}

/// ln of the number of cells in which no model point moves by more than d.
double logCells(const rxClutterScene& scene, double d) {
    // A translation is at most half a diagonal from the middle of its cell. Rotation and scale move
    // a point across and along its radius.
    const bool turns = scene.rotationLength > 0.0 && scene.modelRadius > 0.0;
    const bool grows = scene.highScale > scene.lowScale && scene.modelRadius > 0.0;
    const double forShape = turns || grows ? 0.5 * d : 0.0;
    const double forEach = turns && grows ? forShape / std::numbers::sqrt2 : forShape;
    const double side = std::numbers::sqrt2 * (d - forShape);
    const auto count = [](double length, double cell) { return std::ceil(length / cell + 1e-9); };
    double log = std::log(std::max(1.0, count(scene.translationWidth, side))) +
                 std::log(std::max(1.0, count(scene.translationHeight, side)));
    if (turns) {
        log += std::log(
            count(scene.rotationLength, 2.0 * forEach / (scene.highScale * scene.modelRadius)));
    }
    if (grows) {
        log += std::log(count(scene.highScale - scene.lowScale, 2.0 * forEach / scene.modelRadius));
    }
    return log;
}

}  // namespace

double rfLog10FalseAlarms(const rxClutterScene& scene, double numMatched) {
    check(scene, numMatched);
    double least = kInfinity;
    // Powers of two about the capture range: finer nets have more cells, coarser ones meet more.
    for (int exponent = -4; exponent <= 2; ++exponent) {
        const double d = std::ldexp(scene.captureRange, exponent);
        const double reach = scene.captureRange + d;
        const double share = std::min(1.0, std::numbers::pi * reach * reach / scene.area);
        // Without data points nothing is met, also when one would meet all of the area.
        const double p =
            scene.numDataPoints > 0.0 ? -std::expm1(scene.numDataPoints * std::log1p(-share)) : 0.0;
        const double tail = logBinomialTail(scene.numModelPoints, numMatched, p);
        // What cannot be is not in any cell, be there more of them than a double counts.
        least = std::min(least, tail == -kInfinity ? tail : logCells(scene, d) + tail);
    }
    return least / std::numbers::ln10;
}
