#pragma once

#include <string_view>
#include <vector>

#include "foundation/vector.h"
#include "foundation/xform.h"
#include "picture_frame.h"
#include "picture_page.h"
#include "svg_canvas.h"

namespace ptmatch::tool {

constexpr auto kAxisIColour = kOrange;
constexpr auto kAxisJColour = kGreen;

/// A part of a lattice in the plane: the positions from `low` to `high`, both included, and where
/// they lie.
struct Lattice {
    rxXform<2> dataFromGrid;
    rxPair<long> low;
    rxPair<long> high;
};

/// What has to be on the page for the lattice and its labels to be seen.
std::vector<rxVector<2>> surroundings(const Lattice& lattice);

/// The lines of the lattice through its positions, at most some hundred each way, as a group.
void drawLatticeLines(SvgCanvas& canvas, const PictureFrame& frame, const Lattice& lattice,
                      const char* id = "lattice");

/// Both axes as arrows along the first row and the first column, named, and the numbers of columns
/// and rows beside them, as many as there is room for (groups "axis-i", "axis-j", "labels").
void drawLatticeAxes(SvgCanvas& canvas, const PictureFrame& frame, const Lattice& lattice,
                     std::string_view iName, std::string_view jName);

}  // namespace ptmatch::tool
