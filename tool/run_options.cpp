#include "run_options.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <functional>
#include <string_view>

#include "foundation/angle.h"
#include "foundation/range.h"
#include "foundation/xform.h"
#include "input_error.h"
#include "number_text.h"

namespace ptmatch::tool {
namespace {

std::optional<double> finiteNumber(std::string_view text) {
    const auto value = parseNumber(text);
    return value && std::isfinite(*value) ? value : std::nullopt;
}

// Adds an option whose text `store` reads. CLI11's own conversion of numbers follows the locale
// and lets NaN through, so texts are converted here.
void addText(CLI::App& app, const std::string& name, const std::string& typeName,
             const std::string& help, const std::function<void(const std::string&)>& store) {
    app.add_option_function<std::string>(
           name,
           [name, store](const std::string& text) {
               try {
                   store(text);
               } catch (const InputError& error) {
                   throw CLI::ValidationError(name, error.what());
               }
           },
           help)
        ->type_name(typeName)
        ->group("Run parameters");
}

double numberOrFail(const std::string& text) {
    if (const auto value = finiteNumber(text)) return *value;
    throw InputError("expected a finite number, found " + inQuotes(text));
}

template <typename Target>
void addNumber(CLI::App& app, const std::string& name, const std::string& help, Target& target) {
    addText(app, name, "NUMBER", help,
            [&target](const std::string& text) { target = numberOrFail(text); });
}

void addInterval(CLI::App& app, const std::string& name, const std::string& help,
                 Interval& target) {
    addText(app, name, "LO,HI|full", help,
            [&target](const std::string& text) { target = parseInterval(text); });
}

rxRange toRange(const Interval& interval) {
    return interval.isFull ? rxRange::FullRange() : rxRange(interval.low, interval.high);
}

// A turn of 360 degrees or more allows every rotation.
rxAngleRange toAngleRange(const Interval& interval) {
    if (interval.isFull || interval.high - interval.low >= 360.0) return rxAngleRange::FullRange();
    return {rxRadian(rxDegree(interval.low)), rxRadian(rxDegree(interval.high)), false};
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

Interval parseInterval(const std::string& text) {
    if (trimmed(text) == "full") return Interval::full();
    const std::string_view pair = text;
    const auto comma = pair.find(',');
    const auto low = finiteNumber(pair.substr(0, comma));
    const auto high =
        comma == std::string_view::npos ? std::nullopt : finiteNumber(pair.substr(comma + 1));
    if (!low || !high) throw InputError("expected LO,HI or full, found " + inQuotes(text));
    if (*low > *high) {
        throw InputError("expected LO,HI with LO not above HI, found " + inQuotes(text));
    }
    return {*low, *high};
}

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
    addText(app, "--scale", "LO,HI",
            "Change of scale allowed around the expected pose; -0.02,0.02 is 2 percent either way "
            "(default 0,0)",
            [&options](const std::string& text) { options.scale = parseInterval(text); });
    addInterval(app, "--x-translation",
                "Shift allowed around the expected pose in x, model units (default full)",
                options.xTranslation);
    addInterval(app, "--y-translation",
                "Shift allowed around the expected pose in y, model units (default full)",
                options.yTranslation);
    addNumber(app, "--grid-size",
              "Cell size of the search, model units (default: a quarter of the smallest distance "
              "between model points)",
              options.gridSize);
    addNumber(app, "--capture-range",
              "A data point closer than this to a placed model point can be its partner, data "
              "units (default: the grid size)",
              options.captureRange);
    addText(app, "--max-results", "COUNT", "Largest number of poses to report (default 1)",
            [&options](const std::string& text) {
                const auto count = parseWholeNumber(text);
                if (!count) throw InputError("expected a whole number, found " + inQuotes(text));
                options.maxResults = *count;
            });
}

rxPointMatcherRunParams runParams(const RunOptions& options) {
    if (!(options.startScale > 0.0)) throw InputError("--start-scale: must be greater than 0");
    rxPointMatcherRunParams params;
    const rxRadian startRotation{rxDegree(options.startRotationDeg)};
    params.startPose(rxXform<2>(rxVector<2>(options.startX, options.startY), startRotation,
                                startRotation, options.startScale, options.startScale));
    apply("--min-coverage", [&] { params.minCoverage(options.minCoverage); });
    apply("--rotation", [&] { params.rotationUncertainty(toAngleRange(options.rotationDeg)); });
    apply("--scale", [&] { params.scaleUncertainty(toRange(options.scale)); });
    apply("--x-translation",
          [&] { params.xTranslationUncertainty(toRange(options.xTranslation)); });
    apply("--y-translation",
          [&] { params.yTranslationUncertainty(toRange(options.yTranslation)); });
    // The automatic switch goes first: the size is only checked, and only used, without it.
    if (options.gridSize) {
        params.autoGridSize(false);
        apply("--grid-size", [&] { params.gridSize(*options.gridSize); });
    }
    if (options.captureRange) {
        params.autoCaptureRange(false);
        apply("--capture-range", [&] { params.captureRange(*options.captureRange); });
    }
    apply("--max-results", [&] { params.maxNumResults(options.maxResults); });
    return params;
}

}  // namespace ptmatch::tool
