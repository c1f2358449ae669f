#include "number_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <system_error>

#include "shown_text.h"

namespace ptmatch::tool {
namespace {

// from_chars knows no plus sign; people write one.
std::string_view withoutPlus(std::string_view text) {
    if (text.size() > 1 && text[0] == '+' && text[1] != '-' && text[1] != '+')
        text.remove_prefix(1);
    return text;
}

template <typename Number>
std::optional<Number> parseWhole(std::string_view text) {
    const std::string_view digits = withoutPlus(trimmed(text));
    Number value{};
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value);
    if (error != std::errc{} || stop != end) return std::nullopt;
    return value;
}

}  // namespace

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string printable(std::string_view text) {
    constexpr std::size_t kLongest = 40;
    return withoutControls(text.substr(0, kLongest)) + (text.size() > kLongest ? "..." : "");
}

std::string inQuotes(std::string_view text) {
    return '"' + printable(text) + '"';
}

std::optional<double> parseNumber(std::string_view text) {
    return parseWhole<double>(text);
}

std::optional<long> parseWholeNumber(std::string_view text) {
    if (const auto value = parseWhole<std::int32_t>(text)) return *value;
    return std::nullopt;
}

std::string fixedText(double value, int decimals) {
    // The longest double has 309 digits before the point.
    char buffer[400];
    const auto [end, error] =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
    if (error != std::errc{}) return "?";
    std::string text(buffer, end);
    // A rounded -0.0004 is a plain zero to the reader.
    if (text[0] == '-' && text.find_first_not_of("-0.") == std::string::npos) text.erase(0, 1);
    return text;
}

std::string aboutText(double value) {
    constexpr double kLargest = 1e300;
    if (value > kLargest) return "more than 1e+300";
    char buffer[32];
    const auto [end, error] =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::scientific, 0);
    return error == std::errc{} ? "about " + std::string(buffer, end) : "?";
}

std::string shortText(double value) {
    char buffer[32];
    const auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value);
    return error == std::errc{} ? std::string(buffer, end) : "?";
}

std::string significantText(double value, int digits) {
    constexpr double kSmallest = 1e-5;
    constexpr double kLargest = 1e10;
    const double size = std::abs(value);
    if (size >= kSmallest && size < kLargest) {
        const int before = static_cast<int>(std::floor(std::log10(size))) + 1;
        std::string text = fixedText(value, std::max(0, digits - before));
        if (text.find('.') == std::string::npos) return text;
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.') text.pop_back();
        return text;
    }
    if (value == 0.0) return "0";
    char buffer[64];
    const auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value,
                                            std::chars_format::scientific, digits - 1);
    return error == std::errc{} ? std::string(buffer, end) : "?";
}

}  // namespace ptmatch::tool
