#pragma once

#include <string>
#include <vector>

#include "foundation/vector.h"

namespace picture_to_pose {

/// The rows of a table of numbers, separated by commas, below a line of headings. Columns beyond
/// the wanted ones are ignored.
/// @throws std::runtime_error  naming file and line: it cannot be read, or a number is missing.
std::vector<std::vector<double>> readTable(const std::string& file, std::size_t columns);

/// The points of a table with the columns x and y.   @throws as `readTable`.
std::vector<rxVector<2>> readPoints(const std::string& file);

/// The positions (column, row) of a plate's dots, drawn as text: a line for each row, `x` for a
/// dot and `.` for none.
/// @throws std::runtime_error  the file cannot be read, or holds another character or no dot.
std::vector<rxPair<long>> readPattern(const std::string& file);

}  // namespace picture_to_pose
