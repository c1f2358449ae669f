#include "csv_lines.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "input_error.h"
#include "number_text.h"

namespace ptmatch::tool {
namespace {

// Quotes are only understood around a whole field: no field of a table of coordinates has a reason
// to hold a comma.
CsvFields splitFields(std::string_view line, const CsvPlace& place) {
    // No table has lines of a single column.
    if (line.find(',') == std::string_view::npos &&
        line.find_first_of("; \t") != std::string_view::npos) {
        place.fail("columns must be separated by commas, found " + inQuotes(line));
    }
    CsvFields fields;
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

// Several numbers in one field, separated by semicolons or blanks.
bool holdsNumbers(std::string_view field) {
    std::size_t count = 0;
    while (!field.empty()) {
        const auto end = field.find_first_of("; \t");
        const std::string_view piece = field.substr(0, end);
        field.remove_prefix(end == std::string_view::npos ? field.size() : end + 1);
        if (piece.empty()) continue;
        if (!parseNumber(piece)) return false;
        ++count;
    }
    return count > 1;
}

std::string inSmallLetters(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

std::string joined(const CsvFields& fields) {
    std::string text;
    for (const std::string_view field : fields) {
        if (!text.empty()) text += ", ";
        text += field;
    }
    return text;
}

// Each of these in a line would hide what follows it, or stand in a column that is not looked at.
void requireWholeText(std::string_view line, const CsvPlace& place) {
    constexpr std::size_t kLongestLine = std::size_t{1} << 20;
    if (line.size() > kLongestLine) place.fail("a line of more than 1 MiB");
    if (line.find('\0') != std::string_view::npos) {
        place.fail(
            "holds a byte 0: no table, one that was not written to its end, or text that is not "
            "UTF-8");
    }
    if (line.find('\r') != std::string_view::npos) {
        place.fail("lines must end with LF or CR LF, found CR alone");
    }
}

}  // namespace

void CsvPlace::fail(const std::string& message) const {
    throw InputError(name + ":" + std::to_string(line) + ": " + message);
}

std::string likelyCause(const CsvFields& fields, std::size_t count) {
    if (std::any_of(fields.begin(), fields.end(), holdsNumbers)) {
        return " (columns must be separated by commas alone, and numbers need a decimal point, not "
               "a comma)";
    }
    const auto isNumber = [](std::string_view field) { return parseNumber(field).has_value(); };
    const auto other = std::find_if_not(fields.begin(), fields.end(), isNumber);
    if (other != fields.end() && fields.size() > count) {
        return " (column " + std::to_string(other - fields.begin() + 1) + " holds " +
               inQuotes(*other) +
               ": a table with other columns needs a header, which names them all)";
    }
    return fields.size() > count ? kDecimalCommaHint : "";
}

void forEachCsvLine(std::string_view text, const std::string& name,
                    const std::function<void(const CsvFields&, const CsvPlace&)>& use) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
        text.remove_prefix(kByteOrderMark.size());
    }
    CsvPlace place{name};
    const std::string_view start = text.substr(0, 2);
    if (start == "\xff\xfe" || start == "\xfe\xff") {
        place.line = 1;
        place.fail("is UTF-16; save it as UTF-8");
    }
    while (!text.empty()) {
        const auto end = text.find('\n');
        const std::string_view line = trimmed(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        ++place.line;
        requireWholeText(line, place);
        if (line.empty() || line.front() == '#') continue;
        use(splitFields(line, place), place);
    }
}

bool isCsvHeader(const CsvFields& fields) {
    return std::none_of(fields.begin(), fields.end(),
                        [](std::string_view field) { return parseNumber(field).has_value(); });
}

std::optional<std::size_t> findCsvColumn(const CsvFields& header, const std::string& wanted,
                                         const CsvPlace& place) {
    std::optional<std::size_t> found;
    for (std::size_t i = 0; i < header.size(); ++i) {
        if (inSmallLetters(header[i]) != wanted) continue;
        if (found) place.fail("two columns are named " + wanted);
        found = i;
    }
    return found;
}

std::string headerHint(const CsvFields& header) {
    return "(it has: " + printable(joined(header)) + ")";
}

void failCsvField(const CsvPlace& place, const std::string& expected, std::size_t column,
                  const std::string& columnName, std::string_view field) {
    const std::string found = field.empty() ? "nothing" : inQuotes(field);
    place.fail("expected " + expected + " in column " + std::to_string(column + 1) + " (" +
               columnName + "), found " + found);
}

double csvCoordinate(const CsvFields& fields, std::size_t column, const std::string& columnName,
                     const CsvPlace& place) {
    const auto value = parseNumber(fields[column]);
    if (!value) failCsvField(place, "a number", column, columnName, fields[column]);
    if (!std::isfinite(*value)) {
        failCsvField(place, "a finite number", column, columnName, fields[column]);
    }
    return *value;
}

void requireRoomInTable(std::size_t count, std::size_t largest, const CsvPlace& place) {
    if (count < largest) return;
    place.fail("more than " + std::to_string(largest) + " lines of numbers");
}

void requireCsvColumns(const CsvFields& fields, std::size_t count, const CsvPlace& place) {
    if (fields.size() == count) return;
    place.fail("expected " + std::to_string(count) + " columns, found " +
               std::to_string(fields.size()) + likelyCause(fields, count));
}

}  // namespace ptmatch::tool
