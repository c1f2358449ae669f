#pragma once

#include <optional>

#include "option_text.h"
#include "ptmatch/ppmatch.h"

namespace CLI {
class App;
}

namespace ptmatch::tool {

/// Where the options of a run stand after parsing: angles in degrees, plain pairs, and the
/// defaults of rxPointMatcherRunParams.
struct RunOptions {
    double minCoverage = 0.5;
    double startX = 0.0;
    double startY = 0.0;
    double startRotationDeg = 0.0;
    double startScale = 1.0;
    Interval rotationDeg{-15.0, 15.0};
    Interval scale{0.0, 0.0};
    Interval xTranslation = Interval::full();
    Interval yTranslation = Interval::full();
    /// Absent: chosen by the matcher.
    std::optional<double> gridSize;
    /// Absent: the grid size.
    std::optional<double> captureRange;
    long maxResults = 1;
};

/// Gives `app` one option for every run parameter; parsing then writes to `options`, which must
/// outlive `app`. A value that is no finite number, or no pair of them, is an error of parsing.
void addRunOptions(CLI::App& app, RunOptions& options);

/// The run parameters that `options` stand for.
/// @throws InputError  that names the option whose value the matcher refuses.
rxPointMatcherRunParams runParams(const RunOptions& options);

}  // namespace ptmatch::tool
