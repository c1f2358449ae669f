#include "pattern_file.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <utility>

#include "input_error.h"
#include "input_file.h"
#include "number_text.h"

namespace ptmatch::tool {
namespace {

constexpr std::string_view kSetCharacters = "xX#1*oO";
constexpr std::string_view kEmptyCharacters = ".0 ";

bool contains(std::string_view characters, char c) {
    return characters.find(c) != std::string_view::npos;
}

// Adds a position; there is a bound, since a file of a byte per position is small beside the list.
void add(std::vector<rxPair<long>>& positions, long column, long row, const std::string& name) {
    if (positions.size() >= static_cast<std::size_t>(kLargestPattern)) {
        throw InputError(name + ": holds more than " + std::to_string(kLargestPattern) +
                         " set positions");
    }
    positions.emplace_back(column, row);
}

// Takes a grey map apart from its front.
class GreyMapReader {
  public:
    GreyMapReader(std::string_view text, const std::string& name) : rest_(text), name_(name) {}

    [[noreturn]] void fail(const std::string& message) const {
        throw InputError(name_ + ": " + message);
    }

    void skip(std::size_t bytes) { rest_.remove_prefix(bytes); }
    std::size_t left() const { return rest_.size(); }

    // A whole number from `least` to `most`, after blanks and comments.
    long number(const std::string& what, long least, long most) {
        skipBlanks();
        long value = 0;
        const auto [stop, error] =
            std::from_chars(rest_.data(), rest_.data() + rest_.size(), value);
        const auto length = static_cast<std::size_t>(stop - rest_.data());
        const bool endsWell = length == rest_.size() || contains(" \t\r\n\f\v#", rest_[length]);
        if (error != std::errc{} || !endsWell || value < least || value > most) {
            fail("expected " + what + ", a whole number from " + std::to_string(least) + " to " +
                 std::to_string(most) + ", found " +
                 (rest_.empty() ? "the end of the file" : inQuotes(rest_.substr(0, wordLength()))));
        }
        skip(length);
        return value;
    }

    // The one byte, or the two with the larger first, of a pixel.
    long bytes(std::size_t count) {
        long value = 0;
        for (std::size_t n = 0; n < count; ++n) {
            value = 256 * value + static_cast<unsigned char>(rest_[n]);
        }
        skip(count);
        return value;
    }

  private:
    std::size_t wordLength() const {
        const auto end = rest_.find_first_of(" \t\r\n\f\v");
        return end == std::string_view::npos ? rest_.size() : end;
    }
    void skipBlanks() {
        while (!rest_.empty()) {
            if (rest_.front() == '#') {
                rest_.remove_prefix(std::min(rest_.find('\n'), rest_.size()));
            } else if (contains(" \t\r\n\f\v", rest_.front())) {
                rest_.remove_prefix(1);
            } else {
                return;
            }
        }
    }

    std::string_view rest_;
    const std::string& name_;
};

std::vector<rxPair<long>> greyMapPositions(std::string_view text, const std::string& name) {
    constexpr long kLongestSide = 1L << 24;
    constexpr long kLargestValue = 65535;
    const bool isBinary = text[1] == '5';
    GreyMapReader reader(text, name);
    reader.skip(2);
    const long width = reader.number("the width", 1, kLongestSide);
    const long height = reader.number("the height", 1, kLongestSide);
    const long largest = reader.number("the largest value", 1, kLargestValue);
    const std::size_t pixelBytes = largest > 255 ? 2 : 1;
    if (isBinary) {
        // One blank divides the head from the pixels. Both factors are below 2^25.
        const auto pixels = static_cast<std::size_t>(width * height);
        if (reader.left() < 1 + pixels * pixelBytes) {
            reader.fail("ends before its " + std::to_string(width) + " x " +
                        std::to_string(height) + " pixels");
        }
        reader.skip(1);
    }
    std::vector<rxPair<long>> positions;
    for (long row = 0; row < height; ++row) {
        for (long column = 0; column < width; ++column) {
            const long value =
                isBinary ? reader.bytes(pixelBytes) : reader.number("a pixel", 0, largest);
            if (value > largest) {
                reader.fail("a pixel is " + std::to_string(value) + ", more than the " +
                            std::to_string(largest) + " of its head");
            }
            if (value != 0) add(positions, column, row, name);
        }
    }
    return positions;
}

std::vector<rxPair<long>> textPositions(std::string_view text, const std::string& name) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
        text.remove_prefix(kByteOrderMark.size());
    }
    std::vector<rxPair<long>> positions;
    for (long row = 0; !text.empty(); ++row) {
        const auto end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        for (std::size_t column = 0; column < line.size(); ++column) {
            if (contains(kSetCharacters, line[column])) {
                add(positions, static_cast<long>(column), row, name);
            } else if (!contains(kEmptyCharacters, line[column])) {
                throw InputError(name + ":" + std::to_string(row + 1) + ": expected rows of '.' " +
                                 "and 'x', or a grey map that begins with P2 or P5; found " +
                                 inQuotes(line.substr(column, 1)) + " in column " +
                                 std::to_string(column + 1));
            }
        }
    }
    return positions;
}

// 'P' and a digit mark the head of a portable map of some kind.
bool isGreyMap(std::string_view text, const std::string& name) {
    if (text.size() < 2 || text[0] != 'P' || text[1] < '1' || text[1] > '7') return false;
    if (text[1] == '2' || text[1] == '5') return true;
    throw InputError(name + ": is a portable map of kind " + std::string(text.substr(0, 2)) +
                     ", expected P2 or P5");
}

// Positions are in the order of rows, so that one can be looked for by halving.
bool isSet(const GridPattern& pattern, const rxPair<long>& wanted) {
    return std::binary_search(pattern.positions.begin(), pattern.positions.end(), wanted,
                              [](const rxPair<long>& a, const rxPair<long>& b) {
                                  return a.y() != b.y() ? a.y() < b.y() : a.x() < b.x();
                              });
}

}  // namespace

bool GridPattern::isStaggered() const {
    return std::none_of(positions.begin(), positions.end(), [&](const rxPair<long>& p) {
        return isSet(*this, {p.x() + 1, p.y()}) || isSet(*this, {p.x(), p.y() + 1});
    });
}

bool GridPattern::isSparse() const {
    constexpr std::size_t kFewestOfAGrid = 10;
    using Directions = std::array<rxPair<long>, 4>;
    constexpr Directions kSides = {{{1, 0}, {-1, 0}, {0, 1}, {0, -1}}};
    constexpr Directions kDiagonals = {{{1, 1}, {-1, 1}, {1, -1}, {-1, -1}}};
    if (positions.size() < kFewestOfAGrid) return true;
    const Directions& directions = isStaggered() ? kDiagonals : kSides;
    return std::none_of(positions.begin(), positions.end(), [&](const rxPair<long>& p) {
        return std::count_if(directions.begin(), directions.end(),
                             [&](const rxPair<long>& d) { return isSet(*this, p + d); }) > 1;
    });
}

GridPattern enclosedPattern(std::vector<rxPair<long>> positions, const std::string& name) {
    GridPattern pattern;
    pattern.positions = std::move(positions);
    if (pattern.positions.empty()) throw InputError(name + ": holds no set position");
    rxPair<long> low = pattern.positions.front();
    rxPair<long> high = low;
    for (const rxPair<long>& p : pattern.positions) {
        low = {std::min(low.x(), p.x()), std::min(low.y(), p.y())};
        high = {std::max(high.x(), p.x()), std::max(high.y(), p.y())};
    }
    pattern.corner = low;
    pattern.width = high.x() - low.x() + 1;
    pattern.height = high.y() - low.y() + 1;
    // Files are of 2^28 bytes at most, so this product has less than 63 bits.
    if (pattern.width * pattern.height > kLargestPattern) {
        throw InputError(name + ": spreads over " + std::to_string(pattern.width) + " x " +
                         std::to_string(pattern.height) + " positions, more than " +
                         std::to_string(kLargestPattern));
    }
    return pattern;
}

GridPattern parsePattern(std::string_view text, const std::string& name) {
    return enclosedPattern(
        isGreyMap(text, name) ? greyMapPositions(text, name) : textPositions(text, name), name);
}

GridPattern readPattern(const std::string& path) {
    return parsePattern(readInputFile(path, "a pattern of grid positions"), path);
}

}  // namespace ptmatch::tool
