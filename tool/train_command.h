#pragma once

#include <iosfwd>
#include <string>

#include "exit_code.h"
#include "grid_options.h"
#include "picture_output.h"

namespace CLI {
class App;
}

namespace ptmatch::tool {

/// What `ptmatch train` was asked to do: one of the two patterns is given.
struct TrainOptions {
    std::string modelFile;
    std::string patternFile;
    StepOptions steps;
    std::string outFile;
    PictureOptions picture;
};

/// Adds the command `train` with all its options to `app`; parsing writes to `options`, which must
/// outlive `app`. Returns the command.
CLI::App* addTrainCommand(CLI::App& app, TrainOptions& options);

/// Trains a matcher, writes it to its file and says to `out` what the file holds; the file takes
/// its place only after that was printed. `notes` is a stream for remarks.
/// @return kExitFound.
/// @throws InputError  the input or the options cannot be used.
int runTrain(const TrainOptions& options, std::ostream& out, std::ostream& notes);

}  // namespace ptmatch::tool
