#include "shown_text.h"

#include <algorithm>

namespace ptmatch::tool {

std::size_t characterLength(std::string_view text) {
    constexpr unsigned kContinuation = 0x80;
    constexpr unsigned kUpperBits = 0xc0;
    const unsigned lead = static_cast<unsigned char>(text.front());
    if (lead < kContinuation) return 1;
    const std::size_t length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
    if (lead < kUpperBits || lead >= 0xf8 || length > text.size()) return 0;
    unsigned code = lead & (0xffU >> (length + 1));
    for (const char c : text.substr(1, length - 1)) {
        const unsigned byte = static_cast<unsigned char>(c);
        if ((byte & kUpperBits) != kContinuation) return 0;
        code = code << 6 | (byte & ~kUpperBits);
    }
    constexpr unsigned kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};  // of this length
    const bool isSurrogate = code >= 0xd800 && code <= 0xdfff;
    return code < kSmallest[length] || code > 0x10ffff || isSurrogate ? 0 : length;
}

std::string withoutControls(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        const auto lead = static_cast<unsigned char>(text.front());
        const bool isShort = length == 1 && (lead < 0x20 || lead == 0x7f);
        // U+0080 to U+009F
        const bool isLong =
            lead == 0xc2 && length == 2 && static_cast<unsigned char>(text[1]) < 0xa0;
        if (length == 0 || isShort || isLong) {
            result += '?';
        } else {
            result += text.substr(0, length);
        }
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return result;
}

std::size_t numCharacters(std::string_view text) {
    constexpr unsigned kUpperBits = 0xc0;
    constexpr unsigned kContinuation = 0x80;
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & kUpperBits) != kContinuation;
    }));
}

}  // namespace ptmatch::tool
