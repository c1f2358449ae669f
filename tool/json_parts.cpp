#include "json_parts.h"

namespace ptmatch::tool {
namespace {

double degrees(const rxRadian& angle) {
    return rxDegree(angle).toDouble();
}

// Controls that JSON allows as they are, U+007F to U+009F, as "\u00xx": a terminal must not act on
// the name of a file. They occur in strings only, and `text` is UTF-8.
std::string withEscapedControls(const std::string& text) {
    constexpr char kDelete = '\x7f';
    constexpr char kLead = '\xc2';  // the second byte is the code
    constexpr const char* kDigits = "0123456789abcdef";
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isLong = text[i] == kLead && static_cast<unsigned char>(text[i + 1]) < 0xa0;
        if (text[i] != kDelete && !isLong) {
            result += text[i];
            continue;
        }
        const auto code = static_cast<unsigned char>(isLong ? text[++i] : text[i]);
        result.append("\\u00").append(1, kDigits[code / 16]).append(1, kDigits[code % 16]);
    }
    return result;
}

}  // namespace

Json vectorJson(const rxVector<2>& vector) {
    return {vector.x(), vector.y()};
}

Json xformJson(const rxXform<2>& xform) {
    const rxMatrix<2> m = xform.matrix();
    return {m.element(0, 0), m.element(0, 1),   m.element(1, 0),
            m.element(1, 1), xform.trans().x(), xform.trans().y()};
}

Json rangeJson(const rxRange& range) {
    if (range.range() == rxRangeDefs::Full) return "full";
    if (range.range() == rxRangeDefs::Empty) return "empty";
    return {range.start(), range.end()};
}

Json rangeJson(const rxAngleRange& range) {
    if (range.range() == rxRangeDefs::Full) return "full";
    if (range.range() == rxRangeDefs::Empty) return "empty";
    return {degrees(range.start()), degrees(range.end())};
}

std::string jsonText(const Json& json) {
    return withEscapedControls(json.dump(2, ' ', false, Json::error_handler_t::replace)) + "\n";
}

}  // namespace ptmatch::tool
