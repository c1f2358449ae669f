#pragma once

#include <string>

namespace ptmatch::tool {

/// Everything in the file at `path`, up to 256 MiB: a device that never ends must not eat the
/// memory.
/// @param expected  what the file should be, for messages: "a table of points"
/// @throws InputError  when `path` is missing, a directory, too large or cannot be read.
std::string readInputFile(const std::string& path, const std::string& expected);

}  // namespace ptmatch::tool
