#pragma once

#include <optional>
#include <string>
#include <string_view>

// Numbers as text: always with a decimal point, whatever the locale of the process.
namespace ptmatch::tool {

/// The part of `text` between its leading and trailing blanks, tabs and line ends.
std::string_view trimmed(std::string_view text);

/// `text` shortened, control characters replaced, for error messages.
std::string printable(std::string_view text);

/// As printable(), in quotes.
std::string inQuotes(std::string_view text);

/// The number that the whole of `text` spells, blanks around it aside; may be NaN or infinite when
/// `text` spells that. Nothing when `text` is no number or lies beyond the range of a double.
std::optional<double> parseNumber(std::string_view text);

/// The whole number that the whole of `text` spells, blanks around it aside. Nothing when `text` is
/// no whole number or does not fit into 32 bits with a sign.
std::optional<long> parseWholeNumber(std::string_view text);

/// `value` with `decimals` digits after the point. NaN and infinity as "nan", "inf", "-inf".
std::string fixedText(double value, int decimals);

/// `value` with as few digits as read back to the same double.
std::string shortText(double value);

/// `value` with up to about `digits` significant digits, no zeros at the end of its decimals, and
/// all digits before the point; very small and very large ones with an exponent: 0.0123, 312,
/// 6.1e-17.
std::string significantText(double value, int digits);

/// A positive `value` in words for people: "about 9e+19", or "more than 1e+300" for the largest.
std::string aboutText(double value);

}  // namespace ptmatch::tool
