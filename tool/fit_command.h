#pragma once

#include <iosfwd>
#include <optional>
#include <string>

#include "exit_code.h"
#include "fit_model.h"
#include "picture_output.h"

namespace CLI {
class App;
}

namespace ptmatch::tool {

/// What `ptmatch fit` was asked to do.
struct FitOptions {
    std::string pairsFile;
    std::optional<FitModel> model;
    /// Print the residuals of all pairs below the table.
    bool residuals = false;
    bool json = false;
    /// Empty: no such file.
    std::string csvFile;
    PictureOptions picture;
};

/// Adds the command `fit` with all its options to `app`; parsing writes to `options`, which must
/// outlive `app`. Returns the command.
CLI::App* addFitCommand(CLI::App& app, FitOptions& options);

/// Fits a transform to the pairs, writes the result to `out`, table and picture to their files;
/// `notes` is a stream for warnings. The files take their places only after the result was printed.
/// @return kExitFound.
/// @throws InputError  the table or the options cannot be used, or the pairs do not determine the
///                     transform.
int runFit(const FitOptions& options, std::ostream& out, std::ostream& notes);

}  // namespace ptmatch::tool
