#pragma once

#include <string>
#include <string_view>

namespace ptmatch::tool {

/// Bytes as text of the 64 characters A-Z, a-z, 0-9, + and /, filled up with = (RFC 4648).
std::string base64Text(std::string_view bytes);

}  // namespace ptmatch::tool
