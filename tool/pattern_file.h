#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/vector.h"

namespace ptmatch::tool {

/// Which positions of a grid carry a point, as a file says it.
struct GridPattern {
    /// Column and row of every set position in the file, from 0, row by row from the top, each from
    /// the left.
    std::vector<rxPair<long>> positions;
    /// The smallest rectangle that holds them: its first column and row, its columns and rows.
    rxPair<long> corner;
    long width = 0;
    long height = 0;

    /// Whether no two set positions are neighbours in a row or a column: the pattern lies on every
    /// other position, as on a checkerboard.
    bool isStaggered() const;
    /// Whether the set positions are matched as points of their own: fewer than 10, or none with
    /// more than one neighbour on its lattice, so that no grid can be grown along them.
    bool isSparse() const;
};

/// Most columns times rows of the smallest rectangle around the set positions.
constexpr long kLargestPattern = 1L << 24;

/// The pattern with these set positions, which stand row by row, each from the left.
/// @throws InputError  there is none, or they spread over more than kLargestPattern positions.
GridPattern enclosedPattern(std::vector<rxPair<long>> positions, const std::string& name);

/// Reads a pattern from a portable grey map or from text.
///
/// A grey map begins with P2 (numbers) or P5 (bytes, two per pixel for values above 255); every
/// pixel that is not 0 is set. Text has a line for each row; of its characters 'x', 'X', '#', '1',
/// '*', 'o' and 'O' are set, '.', '0' and the blank are not. Lines may differ in length.
///
/// @param text  the whole file
/// @param name  what messages call it
/// @throws InputError  "name: ..." or "name:line: ..." for a file that breaks a rule, holds no set
///                     position, or spreads them over more than kLargestPattern positions.
GridPattern parsePattern(std::string_view text, const std::string& name);

/// The pattern in the file at `path`.
/// @throws InputError  as parsePattern, and when `path` is missing, a directory or cannot be read.
GridPattern readPattern(const std::string& path);

}  // namespace ptmatch::tool
