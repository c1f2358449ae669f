#include "base64.h"

#include <cstddef>
#include <cstdint>

namespace ptmatch::tool {

std::string base64Text(std::string_view bytes) {
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    // Three bytes make four digits; those that are missing at the end, a '=' each.
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        std::uint32_t triple = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            const bool isThere = at + k < bytes.size();
            triple = triple << 8 | (isThere ? static_cast<unsigned char>(bytes[at + k]) : 0U);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            const bool isThere = at + k <= bytes.size();
            text += isThere ? kDigits[triple >> (18 - 6 * k) & 63U] : '=';
        }
    }
    return text;
}

}  // namespace ptmatch::tool
