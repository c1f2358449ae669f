#pragma once

#include "foundation/export.h"

/// What a run looks through when there is nothing to find: points scattered at random, and the
/// poses that it may return.
struct PTMATCH_EXPORT rxClutterScene {
    double numDataPoints = 0.0;  ///< of the clutter, 0 or more
    double area = 1.0;           ///< over which they are scattered evenly, data units squared
    double captureRange = 1.0;   ///< distance within which a model point meets one, data units

    double numModelPoints = 0.0;  ///< of the pattern that is looked for
    double modelRadius = 0.0;  ///< largest distance of a model point from the centre, model units

    double translationWidth = 0.0;   ///< how far the centre may move along x, data units
    double translationHeight = 0.0;  ///< along y
    double rotationLength = 0.0;     ///< how far poses may turn, radians
    double lowScale = 1.0;           ///< smallest scale of a pose
    double highScale = 1.0;          ///< largest scale of a pose
};

/// How many poses on which at least so many model points meet a data point are to be expected in
/// such a scene by accident, as its decimal logarithm: the number of false alarms of a-contrario
/// detection (Desolneux, Moisan and Morel, "From Gestalt theory to image analysis", 2008, chapter
/// 3; for point matches, Moisan and Stival, "A probabilistic criterion to detect rigid point
/// matches between two images", 2004). The probability that there is such a pose at all is not
/// larger: below -2 or -3 a match is no accident; above 0 clutter would do as well.
///
/// Poses are counted as cells of a net over all of them, in each of which no model point moves by
/// more than d. On a pose of a cell with k points met, the pose in its middle has k points met
/// within captureRange + d. So the expected number of cells with such a pose is at most
///     cells(d) B(n, k, p(d)),   p(d) = 1 - (1 - pi (captureRange + d)^2 / area)^numDataPoints,
/// where B is the binomial tail: the probability of k or more of n. The least of this over several
/// d is given; each is a bound. B takes the model points as independent of each other, as they are
/// when they lie more than twice captureRange + d apart; points closer together meet the same data
/// points, and the bound is then too low.
///
/// A bound, not an estimate: translations of ten points over 60 in 100 x 100 with a range of 1.5
/// meet five of them in 1.7 % of random scenes, four in 30 %; the bounds are 1.2 and 13. It says
/// enough two points later: 0.07 for six, 0.003 for seven.
///
/// An addition beside the matcher: no run depends on it.
/// @param scene       the clutter, the pattern, and the poses that are looked through.
/// @param numMatched  k; beyond the number of model points: -infinity.
/// @throws rxPointMatcherDefs::BadParams  a number of the scene is negative, not finite, or 0 for
///         the area or the capture range; highScale is below lowScale; there are more than
///         2^31 - 1 model points.
/// Cost: some operations per model point; no allocation.
PTMATCH_EXPORT double rfLog10FalseAlarms(const rxClutterScene& scene, double numMatched);
