#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What all comma-separated tables have in common, whatever their columns mean: lines, fields,
// headers, numbers, and messages that name file and line.
namespace ptmatch::tool {

/// The fields of a line without the blanks and quotes around them.
using CsvFields = std::vector<std::string_view>;

/// A line of the table for messages: its file and its number, from 1.
struct CsvPlace {
    const std::string& name;
    std::size_t line = 0;

    /// @throws InputError  "name:line: message", always.
    [[noreturn]] void fail(const std::string& message) const;
};

/// More columns than there should be are often numbers cut in two.
constexpr auto kDecimalCommaHint = " (numbers need a decimal point, not a comma)";

/// What probably happened to a line with the wrong number of columns or with a field that is no
/// number, for the end of a message: other separators, a column of names without a header, decimal
/// commas. Empty when nothing of the kind is to be seen.
/// @param count  how many columns there should be
std::string likelyCause(const CsvFields& fields, std::size_t count);

/// Most points, or pairs, of a table: a trained file of as many is no larger than what is read.
constexpr std::size_t kLargestTable = 10'000'000;

/// @throws InputError  the table has `count` points or pairs already, and may have no more.
void requireRoomInTable(std::size_t count, std::size_t largest, const CsvPlace& place);

/// Calls `use` for every line of `text` that is neither blank nor begins with '#', in order; a byte
/// order mark and CR LF line ends are fine.
/// @param name  what messages call the table
/// @throws InputError  the columns are separated by something else than commas, or the lines by CR
///                     alone, also some of them; a line of more than 1 MiB; a byte 0, as in UTF-16
///                     and in files that were not written to their end; and what `use` throws.
void forEachCsvLine(std::string_view text, const std::string& name,
                    const std::function<void(const CsvFields&, const CsvPlace&)>& use);

/// True when none of the fields is a number, as in a first line that names the columns.
bool isCsvHeader(const CsvFields& fields);

/// The column of this name (in small letters), whatever the case in the header.
/// @throws InputError  two columns have it.
std::optional<std::size_t> findCsvColumn(const CsvFields& header, const std::string& wanted,
                                         const CsvPlace& place);

/// "(it has: x, y)", to end a message about a header.
std::string headerHint(const CsvFields& header);

/// "expected WHAT in column 2 (y), found "abc"": what is wrong with a field.
/// @throws InputError  always.
[[noreturn]] void failCsvField(const CsvPlace& place, const std::string& expected,
                               std::size_t column, const std::string& columnName,
                               std::string_view field);

/// The finite number in a column, which the line must have.
/// @throws InputError  there is none.
double csvCoordinate(const CsvFields& fields, std::size_t column, const std::string& columnName,
                     const CsvPlace& place);

/// @throws InputError  the line has not as many columns as the first.
void requireCsvColumns(const CsvFields& fields, std::size_t count, const CsvPlace& place);

}  // namespace ptmatch::tool
