#include "csv_points.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstddef>
#include <optional>

#include "input_error.h"
#include "input_file.h"
#include "number_text.h"

namespace ptmatch::tool {
namespace {

using Fields = std::vector<std::string_view>;

// Where the coordinates stand in a line, and how many fields each line has.
struct Columns {
    std::size_t x = 0;
    std::size_t y = 1;
    std::optional<std::size_t> weight;
    std::size_t count = 2;
};

// A line of the table for messages: its file and its number, from 1.
struct Place {
    const std::string& name;
    std::size_t line = 0;

    [[noreturn]] void fail(const std::string& message) const {
        throw InputError(name + ":" + std::to_string(line) + ": " + message);
    }
};

// The fields of a line without the blanks around them. Quotes are only understood around a whole
// field: no field of a point table has a reason to hold a comma.
Fields splitFields(std::string_view line, const Place& place) {
    if (line.find(',') == std::string_view::npos &&
        line.find_first_of(";\t") != std::string_view::npos) {
        place.fail("columns must be separated by commas, found " + inQuotes(line));
    }
    Fields fields;
    while (true) {
        const auto comma = line.find(',');
        std::string_view field = trimmed(line.substr(0, comma));
        if (field.size() >= 2 && field.front() == '"' && field.back() == '"') {
            field = trimmed(field.substr(1, field.size() - 2));
        }
        fields.push_back(field);
        if (comma == std::string_view::npos) return fields;
        line.remove_prefix(comma + 1);
    }
}

std::string inSmallLetters(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

bool isHeader(const Fields& fields) {
    return std::none_of(fields.begin(), fields.end(),
                        [](std::string_view field) { return parseNumber(field).has_value(); });
}

std::optional<std::size_t> findColumn(const Fields& header, const std::string& wanted,
                                      const Place& place) {
    std::optional<std::size_t> found;
    for (std::size_t i = 0; i < header.size(); ++i) {
        if (inSmallLetters(header[i]) != wanted) continue;
        if (found) place.fail("two columns are named " + wanted);
        found = i;
    }
    return found;
}

std::string joined(const Fields& fields) {
    std::string text;
    for (const std::string_view field : fields) {
        if (!text.empty()) text += ", ";
        text += field;
    }
    return text;
}

Columns columnsOfHeader(const Fields& header, const Place& place) {
    const auto x = findColumn(header, "x", place);
    const auto y = findColumn(header, "y", place);
    if (x.has_value() != y.has_value()) {
        place.fail(std::string("the header names no column ") + (x ? "y" : "x") +
                   " (it has: " + printable(joined(header)) + ")");
    }
    if (!x) {
        place.fail(
            "expected a number in column 1 (x) or a header that names the columns x and y, "
            "found " +
            inQuotes(header.front()));
    }
    return {*x, *y, findColumn(header, "weight", place), header.size()};
}

// More columns than there should be are often numbers cut in two.
constexpr auto kDecimalCommaHint = " (numbers need a decimal point, not a comma)";

Columns columnsWithoutHeader(std::size_t count, const Place& place) {
    if (count != 2 && count != 3) {
        place.fail("expected 2 or 3 columns (x, y, weight) separated by commas, found " +
                   std::to_string(count) + (count > 3 ? kDecimalCommaHint : ""));
    }
    Columns columns;
    columns.count = count;
    if (count == 3) columns.weight = 2;
    return columns;
}

[[noreturn]] void failField(const Place& place, const std::string& expected, std::size_t column,
                            const std::string& columnName, std::string_view field) {
    const std::string found = field.empty() ? "nothing" : inQuotes(field);
    place.fail("expected " + expected + " in column " + std::to_string(column + 1) + " (" +
               columnName + "), found " + found);
}

double coordinate(const Fields& fields, std::size_t column, const std::string& columnName,
                  const Place& place) {
    const auto value = parseNumber(fields[column]);
    if (!value) failField(place, "a number", column, columnName, fields[column]);
    if (!std::isfinite(*value)) {
        failField(place, "a finite number", column, columnName, fields[column]);
    }
    return *value;
}

void appendPoint(PointTable& table, const Fields& fields, const Columns& columns,
                 const Place& place) {
    if (fields.size() != columns.count) {
        place.fail("expected " + std::to_string(columns.count) + " columns, found " +
                   std::to_string(fields.size()) +
                   (fields.size() > columns.count ? kDecimalCommaHint : ""));
    }
    const double x = coordinate(fields, columns.x, "x", place);
    const double y = coordinate(fields, columns.y, "y", place);
    if (columns.weight) {
        const auto weight = parseWholeNumber(fields[*columns.weight]);
        if (!weight) {
            failField(place, "a whole number of at most 32 bits", *columns.weight, "weight",
                      fields[*columns.weight]);
        }
        table.weights.push_back(*weight);
    }
    table.points.emplace_back(x, y);
}

}  // namespace

PointTable parsePoints(std::string_view text, const std::string& name) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
        text.remove_prefix(kByteOrderMark.size());
    }
    PointTable table;
    std::optional<Columns> columns;
    Place place{name};
    while (!text.empty()) {
        const auto end = text.find('\n');
        const std::string_view line = trimmed(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        ++place.line;
        if (line.empty() || line.front() == '#') continue;

        const Fields fields = splitFields(line, place);
        if (!columns) {
            const bool header = isHeader(fields);
            columns = header ? columnsOfHeader(fields, place)
                             : columnsWithoutHeader(fields.size(), place);
            if (header) continue;
        }
        appendPoint(table, fields, *columns, place);
    }
    if (table.points.empty()) throw InputError(name + ": holds no points");
    return table;
}

PointTable readPoints(const std::string& path) {
    return parsePoints(readInputFile(path, "a table of points"), path);
}

}  // namespace ptmatch::tool
