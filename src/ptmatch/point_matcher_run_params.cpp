#include "ptmatch/point_matcher_run_params.h"

#include <utility>

#include "foundation/geometry_archive.h"
#include "foundation/real.h"

namespace {

constexpr double kTolerance = 1e-15;
constexpr unsigned long kVersion = 200009;
constexpr int kVersionCheckLine = 2232;

void require(bool accepted, const char* message) {
    if (!accepted) throw rxPointMatcherDefs::BadParams(message);
}

}  // namespace

rxPointMatcherRunParams::rxPointMatcherRunParams(double minCoverage, const rxXform<2>& startPose,
                                                 const rxRange& xTranslationUncertainty,
                                                 const rxRange& yTranslationUncertainty,
                                                 const rxAngleRange& rotationUncertainty,
                                                 const rxRange& scaleUncertainty, bool autoGridSize,
                                                 double gridSize, bool autoCaptureRange,
                                                 double captureRange, long maxNumResults) {
    this->minCoverage(minCoverage);
    this->startPose(startPose);
    this->xTranslationUncertainty(xTranslationUncertainty);
    this->yTranslationUncertainty(yTranslationUncertainty);
    this->rotationUncertainty(rotationUncertainty);
    this->scaleUncertainty(scaleUncertainty);
    // Each switch before its size, which is not looked at while the switch is on.
    this->autoGridSize(autoGridSize);
    this->gridSize(gridSize);
    this->autoCaptureRange(autoCaptureRange);
    this->captureRange(captureRange);
    this->maxNumResults(maxNumResults);
}

rxAngleRange rxPointMatcherRunParams::defaultRotationUncertainty() {
    return rxAngleRange(rxRadian(rxDegree(-15.0)), rxRadian(rxDegree(15.0)), false);
}

void rxPointMatcherRunParams::minCoverage(double value) {
    require(value >= 0.0 && value <= 1.0, "minCoverage must be in [0.0, 1.0]\n");
    minCoverage_ = value;
}

void rxPointMatcherRunParams::rotationUncertainty(const rxAngleRange& range) {
    require(range.range() != rxRangeDefs::Empty, "angleUncertainty range must not be empty\n");
    rotationUncertainty_ = range;
}

void rxPointMatcherRunParams::xTranslationUncertainty(const rxRange& range) {
    require(range.range() != rxRangeDefs::Empty,
            "xTranslationUncertainty range must not be empty\n");
    xTranslationUncertainty_ = range;
}

void rxPointMatcherRunParams::yTranslationUncertainty(const rxRange& range) {
    require(range.range() != rxRangeDefs::Empty,
            "yTranslationUncertainty range must not be empty\n");
    yTranslationUncertainty_ = range;
}

void rxPointMatcherRunParams::scaleUncertainty(const rxRange& range) {
    require(range.range() != rxRangeDefs::Empty, "scaleUncertainty range must not be empty\n");
    require(range.range() != rxRangeDefs::Full, "scaleUncertainty range must not be full\n");
    require(range.start() >= -0.9, "start of scaleUncertainty scale must be >= -0.9\n");
    scaleUncertainty_ = range;
}

void rxPointMatcherRunParams::gridSize(double value) {
    // Zero is refused, whatever the message says.
    require(autoGridSize_ || value > 0.0, "if autoGridSize==false, gridSize must be >= 0.0\n");
    gridSize_ = value;
}

void rxPointMatcherRunParams::captureRange(double value) {
    require(autoCaptureRange_ || value >= 0.0,
            "if autoCaptureRange==false, captureRange must be >= 0.0\n");
    captureRange_ = value;
}

void rxPointMatcherRunParams::maxNumResults(long count) {
    require(count >= 1, "maxNumResults must be >= 1\n");
    maxNumResults_ = count;
}

bool rxPointMatcherRunParams::operator==(const rxPointMatcherRunParams& other) const {
    return rfRealEq(minCoverage_, other.minCoverage_, kTolerance) &&
           startPose_ == other.startPose_ &&
           xTranslationUncertainty_ == other.xTranslationUncertainty_ &&
           yTranslationUncertainty_ == other.yTranslationUncertainty_ &&
           rotationUncertainty_ == other.rotationUncertainty_ &&
           scaleUncertainty_ == other.scaleUncertainty_ && autoGridSize_ == other.autoGridSize_ &&
           rfRealEq(gridSize_, other.gridSize_, kTolerance) &&
           autoCaptureRange_ == other.autoCaptureRange_ &&
           rfRealEq(captureRange_, other.captureRange_, kTolerance) &&
           maxNumResults_ == other.maxNumResults_;
}

rxArchive& operator||(rxArchive& ar, rxPointMatcherRunParams& params) {
    unsigned long version = kVersion;
    ar || version;
    if (version > kVersion) throw rxArchive::UnknownVersion("ptmatch/ppmatch", kVersionCheckLine);

    rxPointMatcherRunParams value = params;  // taken over only when the whole record was read
    ar || value.minCoverage_ || value.startPose_ || value.rotationUncertainty_ ||
        value.xTranslationUncertainty_ || value.yTranslationUncertainty_ ||
        value.scaleUncertainty_ || value.autoGridSize_ || value.gridSize_ ||
        value.autoCaptureRange_ || value.captureRange_ || value.maxNumResults_;
    if (ar.isLoading()) params = value;
    return ar;
}
