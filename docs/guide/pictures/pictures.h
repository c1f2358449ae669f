#pragma once

#include <string>

// One function a picture, each in a source of its own name. They read the project's own data, so
// the program runs in the project's root, and give a whole SVG document, the same bytes every time.
namespace ptmatch::guide {

/// A card with hidden dots, with circles of three capture ranges.
std::string captureRange();

/// The coverage of the best pose, as more and more of the card is hidden.
std::string coverage();

/// The marks of the data on grids of three sizes.
std::string gridSize();

/// The lattice of rotations and scales, and a window of translations.
std::string uncertainties();

/// Model, data, the votes of one rotation, and the pose.
std::string whatMatchingDoes();

/// The most votes that any translation gets, over a full turn.
std::string votesByRotation();

/// A board that is seen more and more from the side, and what a similarity matches of it.
std::string bentBoard();

/// A plate with marks, turned and mirrored, and the coverage of each.
std::string waysOfLying();

/// Assignments of an exhaustive run for numbers of points.
std::string exhaustiveGrowth();

/// What to ask when nothing is found, and what to do: a flow chart.
std::string nothingIsFound();

/// A plate, its mark, and the places where look-alikes have theirs.
std::string weights();

/// Flanges in a tray: the best results, and the copies among them.
std::string severalInstances();

}  // namespace ptmatch::guide
