#include "csv_points.h"

#include <cstddef>
#include <functional>
#include <map>
#include <optional>

#include "csv_lines.h"
#include "input_error.h"
#include "input_file.h"
#include "number_text.h"

namespace ptmatch::tool {
namespace {

// Where the coordinates stand in a line, and how many fields each line has.
struct Columns {
    std::size_t x = 0;
    std::size_t y = 1;
    std::optional<std::size_t> weight;
    std::size_t count = 2;
};

Columns columnsOfHeader(const CsvFields& header, const CsvPlace& place) {
    const auto x = findCsvColumn(header, "x", place);
    const auto y = findCsvColumn(header, "y", place);
    if (x.has_value() != y.has_value()) {
        place.fail(std::string("the header names no column ") + (x ? "y" : "x") + " " +
                   headerHint(header));
    }
    if (!x) {
        place.fail(
            "expected a number in column 1 (x) or a header that names the columns x and y, "
            "found " +
            inQuotes(header.front()));
    }
    return {*x, *y, findCsvColumn(header, "weight", place), header.size()};
}

Columns columnsWithoutHeader(const CsvFields& fields, const CsvPlace& place) {
    constexpr std::size_t kMostColumns = 3;
    const std::size_t count = fields.size();
    if (count != 2 && count != kMostColumns) {
        place.fail("expected 2 or 3 columns (x, y, weight) separated by commas, found " +
                   std::to_string(count) + likelyCause(fields, kMostColumns));
    }
    Columns columns;
    columns.count = count;
    if (count == 3) columns.weight = 2;
    return columns;
}

void appendPoint(PointTable& table, const CsvFields& fields, const Columns& columns,
                 std::size_t largest, const CsvPlace& place) {
    requireCsvColumns(fields, columns.count, place);
    requireRoomInTable(table.points.size(), largest, place);
    const double x = csvCoordinate(fields, columns.x, "x", place);
    const double y = csvCoordinate(fields, columns.y, "y", place);
    if (columns.weight) {
        const auto weight = parseWholeNumber(fields[*columns.weight]);
        if (!weight) {
            failCsvField(place, "a whole number of at most 32 bits", *columns.weight, "weight",
                         fields[*columns.weight]);
        }
        table.weights.push_back(*weight);
    }
    table.points.emplace_back(x, y);
}

// The column that names the frames.
std::size_t frameColumn(const CsvFields& header, const CsvPlace& place) {
    if (!isCsvHeader(header)) place.fail("expected a header that names the columns x, y and frame");
    const auto column = findCsvColumn(header, "frame", place);
    if (!column) place.fail("the header names no column frame " + headerHint(header));
    return *column;
}

}  // namespace

std::vector<Frame> parseFrames(std::string_view text, const std::string& name,
                               std::size_t largest) {
    std::vector<Frame> frames;
    std::map<std::string, std::size_t, std::less<>> indices;
    std::optional<Columns> columns;
    std::size_t column = 0;
    forEachCsvLine(text, name, [&](const CsvFields& fields, const CsvPlace& place) {
        if (!columns) {
            column = frameColumn(fields, place);
            columns = columnsOfHeader(fields, place);
            return;
        }
        requireCsvColumns(fields, columns->count, place);
        const std::string frame(fields[column]);
        if (frame.empty()) failCsvField(place, "the name of a frame", column, "frame", frame);
        const auto [known, isNew] = indices.try_emplace(frame, frames.size());
        if (isNew) frames.push_back({frame, {}});
        appendPoint(frames[known->second].table, fields, *columns, largest, place);
    });
    if (frames.empty()) throw InputError(name + ": holds no points");
    return frames;
}

PointTable parsePoints(std::string_view text, const std::string& name, std::size_t largest) {
    PointTable table;
    std::optional<Columns> columns;
    forEachCsvLine(text, name, [&](const CsvFields& fields, const CsvPlace& place) {
        if (!columns) {
            const bool header = isCsvHeader(fields);
            columns = header ? columnsOfHeader(fields, place) : columnsWithoutHeader(fields, place);
            if (header) return;
        }
        appendPoint(table, fields, *columns, largest, place);
    });
    if (table.points.empty()) throw InputError(name + ": holds no points");
    return table;
}

PointTable readPoints(const std::string& path) {
    return parsePoints(readInputFile(path, "a table of points"), path);
}

}  // namespace ptmatch::tool
