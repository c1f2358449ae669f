#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Text as a terminal shows it.
namespace ptmatch::tool {

/// The number of bytes of the character of UTF-8 that `text`, which is not empty, begins with, 1 to
/// 4; 0 when it begins with none: a stray or missing byte, an overlong form, a surrogate.
std::size_t characterLength(std::string_view text);

/// `text` with its control characters, and bytes that are not UTF-8, replaced by '?': a terminal
/// must not act on them, and some take single bytes for controls.
std::string withoutControls(std::string_view text);

/// The number of characters of UTF-8, of malformed text at most that of its bytes.
std::size_t numCharacters(std::string_view text);

}  // namespace ptmatch::tool
