#include "pair_table.h"

#include <algorithm>
#include <optional>

#include "csv_lines.h"
#include "input_error.h"
#include "input_file.h"
#include "number_text.h"

namespace ptmatch::tool {
namespace {

// Where the coordinates stand in a line, in the order of pairColumns, and how many fields each line
// has.
struct Columns {
    std::vector<std::string> names;
    std::vector<std::size_t> places;
    std::size_t count = 0;
};

std::string listed(const std::vector<std::string>& names, const std::string& lastSeparator) {
    std::string text = names.front();
    for (std::size_t k = 1; k < names.size(); ++k) {
        text += (k + 1 == names.size() ? lastSeparator : std::string(", ")) + names[k];
    }
    return text;
}

Columns columnsOfHeader(const CsvFields& header, std::size_t dimensions, const CsvPlace& place) {
    Columns columns{pairColumns(dimensions), {}, header.size()};
    std::string missing;
    for (const std::string& name : columns.names) {
        const auto found = findCsvColumn(header, name, place);
        if (found) columns.places.push_back(*found);
        if (!found && missing.empty()) missing = name;
    }
    if (columns.places.empty()) {
        place.fail("expected a number in column 1 (ax) or a header that names the columns " +
                   listed(columns.names, " and ") + ", found " + inQuotes(header.front()));
    }
    if (!missing.empty()) {
        place.fail("the header names no column " + missing + " " + headerHint(header));
    }
    return columns;
}

bool areNumbers(const CsvFields& fields) {
    return std::all_of(fields.begin(), fields.end(),
                       [](std::string_view field) { return parseNumber(field).has_value(); });
}

// The columns of the other kind of points are no slip of the keyboard.
std::string hintOnCount(const CsvFields& fields, std::size_t dimensions) {
    const std::size_t count = fields.size();
    if (!areNumbers(fields)) return likelyCause(fields, 2 * dimensions);
    if (dimensions == 2 && count == 6) {
        return "; the models for points of space are rigid3d, similarity3d and affine3d";
    }
    if (dimensions == 3 && count == 4) {
        return "; the models for points of the plane are rigid, similarity, affine and perspective";
    }
    return likelyCause(fields, 2 * dimensions);
}

Columns columnsWithoutHeader(const CsvFields& fields, std::size_t dimensions,
                             const CsvPlace& place) {
    const std::size_t count = fields.size();
    Columns columns{pairColumns(dimensions), {}, count};
    if (count != columns.names.size()) {
        place.fail("expected " + std::to_string(columns.names.size()) + " columns (" +
                   listed(columns.names, ", ") + ") separated by commas, found " +
                   std::to_string(count) + hintOnCount(fields, dimensions));
    }
    for (std::size_t k = 0; k < count; ++k) {
        if (!parseNumber(fields[k])) {
            place.fail("expected a number in column " + std::to_string(k + 1) + " (" +
                       columns.names[k] + "), found " +
                       (fields[k].empty() ? "nothing" : inQuotes(fields[k])) +
                       "; a first line some of whose fields are numbers is taken for a pair, not "
                       "for a header");
        }
        columns.places.push_back(k);
    }
    return columns;
}

void appendPair(PairTable& table, const CsvFields& fields, const Columns& columns,
                std::size_t largest, const CsvPlace& place) {
    requireCsvColumns(fields, columns.count, place);
    requireRoomInTable(table.a.size(), largest, place);
    const auto pointFrom = [&](std::size_t first) {
        Coordinates point{};
        for (std::size_t k = 0; k < table.dimensions; ++k) {
            point[k] =
                csvCoordinate(fields, columns.places[first + k], columns.names[first + k], place);
        }
        return point;
    };
    table.a.push_back(pointFrom(0));
    table.b.push_back(pointFrom(table.dimensions));
    table.lines.push_back(place.line);
}

}  // namespace

std::vector<std::string> pairColumns(std::size_t dimensions) {
    if (dimensions == 2) return {"ax", "ay", "bx", "by"};
    return {"ax", "ay", "az", "bx", "by", "bz"};
}

PairTable parsePairs(std::string_view text, std::size_t dimensions, const std::string& name,
                     std::size_t largest) {
    PairTable table;
    table.dimensions = dimensions;
    std::optional<Columns> columns;
    forEachCsvLine(text, name, [&](const CsvFields& fields, const CsvPlace& place) {
        if (!columns) {
            const bool header = isCsvHeader(fields);
            columns = header ? columnsOfHeader(fields, dimensions, place)
                             : columnsWithoutHeader(fields, dimensions, place);
            if (header) {
                table.leavesOutZ = dimensions == 2 && findCsvColumn(fields, "az", place) &&
                                   findCsvColumn(fields, "bz", place);
                return;
            }
        }
        appendPair(table, fields, *columns, largest, place);
    });
    if (table.a.empty()) throw InputError(name + ": holds no pairs");
    return table;
}

PairTable readPairs(const std::string& path, std::size_t dimensions) {
    return parsePairs(readInputFile(path, "a table of pairs"), dimensions, path);
}

}  // namespace ptmatch::tool
