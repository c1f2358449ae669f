#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Text as a terminal shows it.
namespace ptmatch::tool {

/// `text` with its control characters replaced, so that a terminal does not act on them.
std::string withoutControls(std::string_view text);

/// The number of characters of UTF-8, of malformed text at most that of its bytes.
std::size_t numCharacters(std::string_view text);

}  // namespace ptmatch::tool
