#pragma once

#include <string_view>

namespace ptmatch::tool {

/// What every PNG file begins with.
inline constexpr std::string_view kPngStart("\x89PNG\r\n\x1a\n", 8);

/// Its last chunk, which is the same in every PNG file.
inline constexpr std::string_view kPngEnd("\0\0\0\0IEND\xae\x42\x60\x82", 12);

}  // namespace ptmatch::tool
