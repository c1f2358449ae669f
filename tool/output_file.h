#pragma once

#include <string>
#include <string_view>

namespace ptmatch::tool {

/// Puts `text` into the file at `path`, wholly or not at all: it is written beside the target and
/// renamed onto it once complete, so a reader never sees half of it and an old file survives a
/// failure. A target that is no regular file (a device, a pipe) is written to directly.
/// @throws InputError  "path: cannot be written: ...". Nothing is left behind.
void writeWholeFile(const std::string& path, std::string_view text);

}  // namespace ptmatch::tool
