#pragma once

#include <iosfwd>
#include <optional>
#include <string>

#include "data_sets.h"
#include "exit_code.h"
#include "grid_options.h"
#include "picture_output.h"

namespace ptmatch::tool {

/// What `ptmatch grid-match` was asked to do.
struct GridMatchOptions {
    std::string patternFile;
    DataOptions data;
    StepOptions steps;
    /// Absent: three tenths of the shortest distance of neighbours, or what the matcher chooses for
    /// a sparse pattern. 0: chosen by the matcher.
    std::optional<double> snap;
    Interval rotationDeg{-20.0, 20.0};
    Interval scale{-0.2, 0.2};
    double minCoverage = 0.5;
    long maxResults = 1;
    bool json = false;
    /// Empty: no such file.
    std::string csvFile;
    PictureOptions picture;
};

/// Adds the command `grid-match` with all its options to `app`; parsing writes to `options`, which
/// must outlive `app`. Returns the command.
CLI::App* addGridMatchCommand(CLI::App& app, GridMatchOptions& options);

/// Finds the grid pattern among the data points, writes the result to `out`, table and picture to
/// their files; `notes` is a stream for remarks. The files take their places only after the result
/// was printed.
/// @return kExitFound or kExitNothingFound; for a batch, what exitCodeOf says.
/// @throws InputError  the input or the options cannot be used.
int runGridMatch(const GridMatchOptions& options, std::ostream& out, std::ostream& notes);

}  // namespace ptmatch::tool
