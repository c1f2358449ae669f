#pragma once

#include <iosfwd>
#include <vector>

#include "scene.h"

namespace ptmatch::bench::peers {

/// A scene whose planted pose is known to somebody else.
struct ForeignScene {
    SceneKind kind;
    Points model;
    Points data;
};

/// Reads scenes that another program made, as text:
///
///     number of scenes
///     then for each:  kept share, jitter, full turn (0 or 1), scaled (0 or 1)
///                     number of model points, then x y of each
///                     number of data points, then x y of each
///
/// The model lies in a square of side kSide, for which the contenders are set up.
/// @throws std::runtime_error for anything else, with the number of the scene.
[[nodiscard]] std::vector<ForeignScene> readScenes(std::istream& in);

}  // namespace ptmatch::bench::peers
