#include "shown_text.h"

#include <algorithm>

namespace ptmatch::tool {

std::string withoutControls(std::string_view text) {
    constexpr char kLeadOfControls = '\xc2';  // of U+0080 to U+009F; the second byte is the code
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto code = static_cast<unsigned char>(text[i]);
        const bool isFirst = text[i] == kLeadOfControls && i + 1 < text.size();
        const auto next = isFirst ? static_cast<unsigned char>(text[i + 1]) : 0U;
        const bool isLongControl = next >= 0x80 && next <= 0x9f;
        result += code < 0x20 || code == 0x7f || isLongControl ? '?' : text[i];
        if (isLongControl) ++i;
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
