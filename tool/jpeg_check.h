#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ptmatch::tool {

/// What the head of a JPEG file says.
struct JpegSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    /// Empty, or why it cannot be read.
    std::string fault;
};

JpegSize jpegSize(std::string_view bytes);

/// Reads the whole file.
/// @return nothing, or what is wrong with it: all that the reader of JPEG files warns of, such as
///         an end that comes too early, and more than 200 scans or 1 GiB to read them.
std::string jpegFault(std::string_view bytes);

}  // namespace ptmatch::tool
