#pragma once

#include <cstddef>
#include <string>

namespace ptmatch::tool {

/// Most bytes of a file that is read.
constexpr std::size_t kLargestInput = std::size_t{256} << 20;

/// Everything in the file at `path`, up to 256 MiB: a device that never ends must not eat the
/// memory.
/// @param expected  what the file should be, for messages: "a table of points"
/// @throws InputError  when `path` is missing, a directory, too large or cannot be read.
std::string readInputFile(const std::string& path, const std::string& expected);

}  // namespace ptmatch::tool
