#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "csv_lines.h"

namespace ptmatch::tool {

/// A point of the plane (z is 0) or of space.
using Coordinates = std::array<double, 3>;

/// Pairs of points that belong together, in the order of the lines of their table.
struct PairTable {
    /// 2 or 3.
    std::size_t dimensions = 2;
    std::vector<Coordinates> a;
    std::vector<Coordinates> b;
    /// The line of each pair in the file, from 1.
    std::vector<std::size_t> lines;
    /// The header names the third coordinates of space, which pairs of the plane do not use.
    bool leavesOutZ = false;

    std::size_t size() const { return a.size(); }
};

/// Reads a comma-separated table of pairs: the columns ax, ay, bx, by, or for space ax, ay, az, bx,
/// by, bz. With a header (a first line none of whose fields is a number) they are found by name, in
/// any order, and other columns are skipped unread; without one there are these and no others, in
/// this order. Otherwise the rules of tables of points hold.
///
/// @param text        the whole file
/// @param dimensions  2 or 3
/// @param name        what messages call the file
/// @param largest     how many pairs it may have
/// @throws InputError  "name:line: ..." for the first line that breaks a rule, "name: ..." when
///                     there is no pair at all.
PairTable parsePairs(std::string_view text, std::size_t dimensions, const std::string& name,
                     std::size_t largest = kLargestTable);

/// The table in the file at `path`.
/// @throws InputError  as parsePairs, and when `path` is missing, a directory or cannot be read.
PairTable readPairs(const std::string& path, std::size_t dimensions);

/// The names of the columns, in the order of a table without a header.
std::vector<std::string> pairColumns(std::size_t dimensions);

}  // namespace ptmatch::tool
