#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "csv_lines.h"
#include "foundation/vector.h"

namespace ptmatch::tool {

/// The points of one table, in the order of its lines.
struct PointTable {
    std::vector<rxVector<2>> points;
    /// One weight per point when the table has a column of weights, otherwise empty.
    std::vector<long> weights;
};

/// Reads a comma-separated table of points.
///
/// With a header (a first line none of whose fields is a number) the columns are found by name: `x`
/// and `y` must be there, `weight` may be, any other column is skipped unread. Without one there
/// are two or three columns: x, y, weight. Names may be in quotes and in capitals. Lines that are
/// blank or begin with '#' count only for the line numbers; a byte order mark and CR LF line ends
/// are fine. Coordinates are finite numbers with a decimal point, weights whole numbers of 32 bits.
///
/// @param text     the whole file
/// @param name     what messages call it
/// @param largest  how many points it may have
/// @throws InputError  "name:line: ..." for the first line that breaks a rule, "name: ..." when
///                     there is no point at all.
PointTable parsePoints(std::string_view text, const std::string& name,
                       std::size_t largest = kLargestTable);

/// The points of one frame of a sequence.
struct Frame {
    /// As it stands in the column, without blanks and quotes around it.
    std::string name;
    PointTable table;
};

/// Divides a table by its column `frame`, which a header must name; whatever stands there, not only
/// numbers, is the name of a frame. Everything else is as for parsePoints. A frame need not be in
/// one piece. Each may have as many points as `largest` says.
/// @return the frames in the order of their first lines, at least one.
/// @throws InputError  as parsePoints, and when there is no such column or a name is empty.
std::vector<Frame> parseFrames(std::string_view text, const std::string& name,
                               std::size_t largest = kLargestTable);

/// The table in the file at `path`.
/// @throws InputError  as parsePoints, and when `path` is missing, a directory or cannot be read.
PointTable readPoints(const std::string& path);

}  // namespace ptmatch::tool
