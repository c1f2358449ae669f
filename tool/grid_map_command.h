#pragma once

#include <iosfwd>
#include <optional>
#include <string>

#include "exit_code.h"
#include "grid_options.h"
#include "picture_output.h"

namespace ptmatch::tool {

/// What `ptmatch grid-map` was asked to do.
struct GridMapOptions {
    std::string dataFile;
    StepOptions steps;
    bool staggered = false;
    /// Absent: three tenths of the shortest distance of neighbours. 0: chosen by the mapping.
    std::optional<double> snap;
    Interval sizeTolerance{0.8, 1.2};
    Interval angleToleranceDeg{-20.0, 20.0};
    /// Keep positions that are not connected with the grid, and several points at one.
    bool keepAll = false;
    bool json = false;
    /// Empty: no such file.
    std::string csvFile;
    PictureOptions picture;
};

/// Adds the command `grid-map` with all its options to `app`; parsing writes to `options`, which
/// must outlive `app`. Returns the command.
CLI::App* addGridMapCommand(CLI::App& app, GridMapOptions& options);

/// Places the data points on a grid, writes the result to `out`, table and picture to their files;
/// `notes` is a stream for remarks. The files take their places only after the result was printed.
/// @return kExitFound, or kExitNothingFound when less than 3 points were placed.
/// @throws InputError  the input or the options cannot be used.
int runGridMap(const GridMapOptions& options, std::ostream& out, std::ostream& notes);

}  // namespace ptmatch::tool
