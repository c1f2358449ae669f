#include "inspector.h"

#include <algorithm>
#include <cmath>
#include <sstream>

#include "ptmatch/distinct_instances.h"
#include "ptmatch/refit.h"
#include "ptmatch/why_not.h"

namespace station {
namespace {

rxPointMatcherRunParams paramsOf(const Tolerances& tolerances) {
    // Rivals have to be found to be seen, so the search goes lower than what is accepted. The scale
    // stays what it is by default, 1: data and part are in millimetres.
    rxPointMatcherRunParams params(0.5 * tolerances.minCoverage);
    params.rotationUncertainty(rxAngleRange::FullRange());
    params.autoCaptureRange(false);
    params.captureRange(tolerances.captureRange);
    params.maxNumResults(20);
    return params;
}

template <class... Parts>
Inspection rejected(Verdict verdict, const Parts&... parts) {
    std::ostringstream reason;
    reason.precision(3);
    (reason << ... << parts);
    return {verdict, reason.str(), 0, std::nullopt};
}

}  // namespace

std::string nameOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::ok:
            return "ok";
        case Verdict::notFound:
            return "not_found";
        case Verdict::severalParts:
            return "several_parts";
        case Verdict::ambiguous:
            return "ambiguous";
        case Verdict::accident:
            return "accident";
        case Verdict::wrongSize:
            return "wrong_size";
        case Verdict::offShape:
            return "off_shape";
        case Verdict::imprecise:
            return "imprecise";
    }
    return "unknown";
}

Inspector::Inspector(const rxPointMatcher& matcher, const rxVector<2>& grip,
                     const Tolerances& tolerances)
    : matcher_(matcher), grip_(grip), tolerances_(tolerances), params_(paramsOf(tolerances)) {}

Inspection Inspector::inspect(const Points& seen) const {
    rxPointMatcherResultSet found;
    matcher_.run(seen, params_, found);
    if (found.results().empty() || found.results().front().coverage() < tolerances_.minCoverage) {
        const rxWhyNot why = rfWhyNot(matcher_, seen, params_);
        return rejected(Verdict::notFound, "the best pose covers ", 100 * why.bestCoverage,
                        " percent");
    }

    // Without a number there is no reason to trust what was found.
    const rxCertainty sure = rfCertainty(matcher_, seen, params_, found, 0);
    if (sure.clutterProbability().value_or(1.0) > tolerances_.maxAccident) {
        return rejected(Verdict::accident, "clutter would do as well");
    }
    const std::size_t numParts = countParts_(found);
    if (numParts > 1) return rejected(Verdict::severalParts, numParts, " parts in view");

    const rxPointMatcherResult& best = found.results().front();
    const PartPose pose = refit_(seen, best);
    Inspection inspection = judge_(sure, best.modelToDataXform().xScale(), pose);
    inspection.numHoles = sure.pairs.data.size();
    inspection.pose = pose;
    return inspection;
}

std::size_t Inspector::countParts_(const rxPointMatcherResultSet& found) const {
    const std::vector<std::size_t> copies = rfDistinctInstances(matcher_, found);
    return static_cast<std::size_t>(std::count_if(copies.begin(), copies.end(), [&](std::size_t i) {
        return found.results()[i].coverage() >= tolerances_.minCoverage;
    }));
}

Inspection Inspector::judge_(const rxCertainty& sure, double scale, const PartPose& pose) const {
    if (sure.nextPose && sure.nextPose->coverageMargin < tolerances_.minMargin) {
        return rejected(Verdict::ambiguous, "another pose covers but ",
                        100 * sure.nextPose->coverageMargin, " percent less");
    }
    // A run fits a scale of its own, which is 1 for this part on this table.
    if (!(std::abs(scale - 1.0) <= tolerances_.maxScaleError)) {
        return rejected(Verdict::wrongSize, scale, " times the size");
    }
    if (!(pose.worstError <= tolerances_.maxHoleError)) {
        return rejected(Verdict::offShape, "hole ", pose.worstHole, " is ", pose.worstError,
                        " mm off");
    }
    if (!(pose.positionSigma <= tolerances_.maxPositionSigma)) {
        return rejected(Verdict::imprecise, "the grip is known to ", pose.positionSigma, " mm");
    }
    return {Verdict::ok, "", 0, std::nullopt};
}

// A part neither grows nor shrinks: with the scale held, the same pairs say better where it lies.
PartPose Inspector::refit_(const Points& seen, const rxPointMatcherResult& result) const {
    const rxRefit refit = rfRefit(matcher_, seen, result, rxRefitDefs::eRigid);
    const rxXform<2> pose = refit.dataFromModelXform();
    const rxMatchedPairs pairs = rfMatchedPairs(matcher_, seen, result);
    const rxPoseCovariance covariance =
        rfPoseCovariance(pose, pairs.model, pairs.data, static_cast<int>(refit.model));
    return {pose * grip_, rxDegree(pose.rotation()).toDouble(), covariance.positionAt(grip_).rms(),
            refit.residual.largest,
            static_cast<std::size_t>(pairs.modelIndices[refit.residual.worst])};
}

}  // namespace station
