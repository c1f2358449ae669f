#include "run_options.h"

#include <string_view>

#include "foundation/angle.h"
#include "foundation/range.h"
#include "foundation/xform.h"
#include "input_error.h"
#include "number_text.h"

namespace ptmatch::tool {
namespace {

rxRange toRange(const Interval& interval) {
    return interval.isFull ? rxRange::FullRange() : rxRange(interval.low, interval.high);
}

// A turn of 360 degrees or more allows every rotation.
rxAngleRange toAngleRange(const Interval& interval) {
    if (interval.isFull || interval.high - interval.low >= 360.0) return rxAngleRange::FullRange();
    return {rxRadian(rxDegree(interval.low)), rxRadian(rxDegree(interval.high)), false};
}

// Bounds are checked here, so that messages speak of options and not of the matcher's parameters.
void require(bool isAllowed, const std::string& option, const std::string& rule, double found) {
    if (!isAllowed) throw InputError(option + ": " + rule + ", found " + shortText(found));
}

void checkBounds(const RunOptions& options) {
    require(options.startScale > 0.0, "--start-scale", "must be greater than 0",
            options.startScale);
    require(options.minCoverage >= 0.0 && options.minCoverage <= 1.0, "--min-coverage",
            "must be from 0 to 1", options.minCoverage);
    if (options.scale.isFull) throw InputError("--scale: expected LO,HI, found \"full\"");
    require(options.scale.low >= -0.9, "--scale", "LO must be at least -0.9", options.scale.low);
    if (options.gridSize) {
        require(*options.gridSize > 0.0, "--grid-size", "must be greater than 0",
                *options.gridSize);
    }
    if (options.captureRange) {
        require(*options.captureRange >= 0.0, "--capture-range", "must not be negative",
                *options.captureRange);
    }
}

// Runs one setter; what it refuses is reported under the name of the option.
template <typename Setter>
void apply(const std::string& option, Setter set) {
    try {
        set();
    } catch (const rxPointMatcherDefs::Errors& error) {
        throw InputError(option + ": " + std::string(trimmed(error.what())));
    }
}

}  // namespace

void addRunOptions(CLI::App& app, RunOptions& options) {
    addNumber(app, "--min-coverage",
              "Smallest share of the model that counts as found, 0 to 1 (default 0.5)",
              options.minCoverage);
    addNumber(app, "--start-x", "Expected pose: translation in x (default 0)", options.startX);
    addNumber(app, "--start-y", "Expected pose: translation in y (default 0)", options.startY);
    addNumber(app, "--start-rotation", "Expected pose: rotation in degrees (default 0)",
              options.startRotationDeg);
    addNumber(app, "--start-scale", "Expected pose: scale, data units per model unit (default 1)",
              options.startScale);
    addInterval(app, "--rotation",
                "Rotation allowed around the expected pose, degrees (default -15,15)",
                options.rotationDeg);
    addText(
        app, "--scale", "LO,HI",
        "Scales to try, as change against the expected pose; -0.02,0.02 is 2 percent either way. "
        "The scale fitted to a found pose may lie outside (default 0,0)",
        [&options](const std::string& text) { options.scale = parseInterval(text); });
    addInterval(app, "--x-translation",
                "Shift allowed around the expected pose in x, model units (default full)",
                options.xTranslation);
    addInterval(app, "--y-translation",
                "Shift allowed around the expected pose in y, model units (default full)",
                options.yTranslation);
    addNumber(
        app, "--grid-size",
        "Cell size of the search, model units; the work grows steeply as it shrinks (default: a "
        "quarter of the smallest distance between model points)",
        options.gridSize);
    addNumber(app, "--capture-range",
              "A data point closer than this to a placed model point can be its partner, data "
              "units (default: the grid size)",
              options.captureRange);
    addCount(app, "--max-results", "Largest number of poses to report (default 1)",
             options.maxResults);
}

rxPointMatcherRunParams runParams(const RunOptions& options) {
    checkBounds(options);
    rxPointMatcherRunParams params;
    const rxRadian startRotation{rxDegree(options.startRotationDeg)};
    params.startPose(rxXform<2>(rxVector<2>(options.startX, options.startY), startRotation,
                                startRotation, options.startScale, options.startScale));
    params.minCoverage(options.minCoverage);
    apply("--rotation", [&] { params.rotationUncertainty(toAngleRange(options.rotationDeg)); });
    apply("--scale", [&] { params.scaleUncertainty(toRange(options.scale)); });
    apply("--x-translation",
          [&] { params.xTranslationUncertainty(toRange(options.xTranslation)); });
    apply("--y-translation",
          [&] { params.yTranslationUncertainty(toRange(options.yTranslation)); });
    // The automatic switch goes first: the size is only checked, and only used, without it.
    if (options.gridSize) {
        params.autoGridSize(false);
        params.gridSize(*options.gridSize);
    }
    if (options.captureRange) {
        params.autoCaptureRange(false);
        params.captureRange(*options.captureRange);
    }
    apply("--max-results", [&] { params.maxNumResults(options.maxResults); });
    return params;
}

}  // namespace ptmatch::tool
