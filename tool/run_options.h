#pragma once

#include <optional>
#include <string>

#include "ptmatch/ppmatch.h"

namespace CLI {
class App;
}

namespace ptmatch::tool {

/// A range of numbers as written on the command line: "LO,HI", or "full" for every number.
struct Interval {
    double low = 0.0;
    double high = 0.0;
    bool isFull = false;

    static Interval full() { return {0.0, 0.0, true}; }
};

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

/// The interval that `text` spells.
/// @throws InputError  when it is neither "full" nor two finite numbers in ascending order.
Interval parseInterval(const std::string& text);

/// Gives `app` one option for every run parameter; parsing then writes to `options`, which must
/// outlive `app`. A value that is no finite number, or no pair of them, is an error of parsing.
void addRunOptions(CLI::App& app, RunOptions& options);

/// The run parameters that `options` stand for.
/// @throws InputError  that names the option whose value the matcher refuses.
rxPointMatcherRunParams runParams(const RunOptions& options);

}  // namespace ptmatch::tool
