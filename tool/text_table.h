#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace ptmatch::tool {

using TableRow = std::vector<std::string>;

/// The rows as lines of text: every column as wide as its widest cell in characters of UTF-8,
/// cells to the right, two blanks between columns, none at the ends of lines. `rows` holds at least
/// one row, and all have the same number of cells.
std::string alignedText(const std::vector<TableRow>& rows);

/// "1 point", "7 points".
std::string countedText(std::size_t count, const std::string& what);

}  // namespace ptmatch::tool
