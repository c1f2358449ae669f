#pragma once

#include "foundation/image.h"
#include "ptmatch/tile_extent.h"

namespace ptmatch::detail {

struct SearchGrid;

/// The working images of one search together never take more than this; a grid size that would need
/// more is refused before any of them is allocated.
inline constexpr double kMaxSearchImageBytes = 2147483648.0;

/// Bytes of an image whose rows are padded to the alignment of label images. In double, because the
/// sizes may be absurd.
double imageBytes(double width, double height, double bytesPerPixel);

/// @throws rxPointMatcherDefs::BadParams  the bytes exceed kMaxSearchImageBytes or are not a
/// number.
void checkImageBytes(double bytes);

/// Bytes of the images of a search that uses tiles of these shapes, a single translation among
/// them: block labels, marks with their copies, rows of votes, flags.
double searchImageBytes(const SearchGrid& grid, const rxPelRect& window, const TileSet& tiles);

/// Checks, before any of them exists, that the images of a search fit. Two sums have to: what the
/// search takes whatever tiles it uses; and what a
/// search without bit planes would take (a byte a mark, two label images, a vote for each
/// translation of the window), which sets the grid sizes that are refused independently of the way
/// votes are counted, and holds both label images of the refinement.
/// @param bytesPerVote  of that search's vote image.
/// @throws rxPointMatcherDefs::BadParams  one of the sums exceeds kMaxSearchImageBytes.
void checkImageMemory(const SearchGrid& grid, const rxPelRect& window, long bytesPerVote);

/// The tile shapes whose marks and flags fit, all together, in what the rest of the search leaves
/// of kMaxSearchImageBytes; the smaller shapes come first. A shape whose next one is missing is
/// missing too.
TileSet affordableTiles(const SearchGrid& grid, const rxPelRect& window);

}  // namespace ptmatch::detail
