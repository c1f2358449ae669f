#pragma once

#include <iosfwd>
#include <string>

#include "data_sets.h"
#include "exit_code.h"
#include "picture_output.h"
#include "run_options.h"

namespace ptmatch::tool {

/// What `ptmatch match` was asked to do.
struct MatchOptions {
    std::string modelFile;
    DataOptions data;
    RunOptions run;
    bool exhaustive = false;
    bool json = false;
    PictureOptions picture;
    /// Empty: no picture of the votes. PNG or SVG, by its ending.
    std::string voteFile;
};

/// Adds the command `match` with all its options to `app`; parsing writes to `options`, which must
/// outlive `app`. Returns the command.
CLI::App* addMatchCommand(CLI::App& app, MatchOptions& options);

/// Finds the model among the data points, writes the results to `out` and the picture to its file.
/// Nothing is written before the search is done, except to `notes`, a stream for remarks; the
/// picture takes its place only after the results were printed.
/// A batch that is interrupted writes what is finished.
/// @return kExitFound or kExitNothingFound; for a batch, what exitCodeOf says.
/// @throws InputError              the input or the options cannot be used.
/// @throws rxAttention::Interrupted  by Ctrl-C, not from a batch; nothing was written.
int runMatch(const MatchOptions& options, std::ostream& out, std::ostream& notes);

}  // namespace ptmatch::tool
