#pragma once

#include <string>

// One function a picture, each in a source of its own name. They read the project's own data, so
// the program runs in the project's root, and give a whole SVG document, the same bytes every time.
namespace ptmatch::guide {

/// Model, data, the votes of one rotation, and the pose.
std::string whatMatchingDoes();

/// The most votes that any translation gets, over a full turn.
std::string votesByRotation();

}  // namespace ptmatch::guide
