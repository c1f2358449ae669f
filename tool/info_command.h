#pragma once

#include <iosfwd>
#include <string>

#include "picture_output.h"

namespace CLI {
class App;
}

namespace ptmatch::tool {

/// What `ptmatch info` was asked to show.
struct InfoOptions {
    std::string file;
    bool json = false;
    PictureOptions picture;
};

/// Adds the command `info` to `app`; parsing writes to `options`, which must outlive `app`. Returns
/// the command.
CLI::App* addInfoCommand(CLI::App& app, InfoOptions& options);

/// Writes to `out` what the archive holds.
/// @return kExitFound.
/// @throws InputError  the file cannot be read or is no archive.
int runInfo(const InfoOptions& options, std::ostream& out);

}  // namespace ptmatch::tool
