#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "foundation/vector.h"
#include "ptmatch/certainty.h"
#include "ptmatch/ppmatch.h"
#include "station_tables.h"

namespace station {

/// What a part has to keep to be taken. Lengths in millimetres.
struct Tolerances {
    double captureRange = 2.5;       ///< a point this far from its hole is not this hole
    double minCoverage = 0.7;        ///< share of the holes that has to be seen
    double minMargin = 0.1;          ///< more coverage than any other pose, at least
    double maxAccident = 1e-6;       ///< probability that clutter looks like this, at most
    double maxScaleError = 0.01;     ///< share; more: another part, or not on the table
    double maxHoleError = 0.8;       ///< of the worst hole, after the fit
    double maxPositionSigma = 0.05;  ///< standard deviation of the grip point
};

enum class Verdict {
    ok,
    notFound,
    severalParts,
    ambiguous,
    accident,
    wrongSize,
    offShape,
    imprecise
};

/// The name of a verdict in reports.
std::string nameOf(Verdict verdict);

/// Where the part lies, in robot coordinates.
struct PartPose {
    rxVector<2> grip;
    double degrees = 0.0;        // against the clock
    double positionSigma = 0.0;  // of the grip
    double worstError = 0.0;     // of a hole
    std::size_t worstHole = 0;
};

struct Inspection {
    Verdict verdict = Verdict::notFound;
    std::string reason;            // for people; empty when all is well
    std::size_t numHoles = 0;      // that were seen
    std::optional<PartPose> pose;  // whenever there is one part, also one that is not taken
};

/// Looks for the part in frames and decides whether the robot may take it. Const members may be
/// called by any number of threads at once.
class Inspector {
  public:
    /// @param matcher  trained on the holes of the part, in millimetres.
    Inspector(const rxPointMatcher& matcher, const rxVector<2>& grip, const Tolerances& tolerances);

    /// @param seen  what the camera saw, in robot coordinates.
    Inspection inspect(const Points& seen) const;

  private:
    std::size_t countParts_(const rxPointMatcherResultSet& found) const;
    /// What is wrong with the pose, and the words for it, or nothing.
    Inspection judge_(const rxCertainty& sure, double scale, const PartPose& pose) const;
    PartPose refit_(const Points& seen, const rxPointMatcherResult& result) const;

    rxPointMatcher matcher_;
    rxVector<2> grip_;
    Tolerances tolerances_;
    rxPointMatcherRunParams params_;
};

}  // namespace station
