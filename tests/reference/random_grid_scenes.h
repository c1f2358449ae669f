#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "foundation/image.h"
#include "foundation/vector.h"
#include "ptmatch/gridcorr.h"
#include "ptmatch/point_matcher_run_params.h"
#include "ptmatch/ptgdmap.h"
#include "reference/random_problems.h"

namespace ptmatch::reference {

/// What comes of the scenes of a kind: a valid map, a placement, a result.
enum class Outcome { eMostFind, eSomeFind, eNothing };

/// A way to make scenes, named by why it hurts.
template <typename Scene>
struct SceneKind {
    std::string name;
    Scene (*make)(Random&);
    Outcome outcome = Outcome::eMostFind;

    /// Shown for the parameter of a test.
    friend std::ostream& operator<<(std::ostream& out, const SceneKind& kind) {
        return out << kind.name;
    }
};

/// Points to be mapped onto a grid.
struct MapScene {
    std::vector<rxVector<2>> points;
    rxPtToGridMapRunParams params;
};
[[nodiscard]] const std::vector<SceneKind<MapScene>>& mapScenes();

/// A pattern to be placed, trained on a list or on an image, among the positions of a list and
/// those of an image.
struct PlacementScene {
    std::vector<rxPair<long>> pattern;
    rx_PointToGridCorresponderTrainParams trainParams;
    std::vector<rxPair<long>> data;
    rxPelBuffer<unsigned char> image;  ///< A search of its own, with other pixels than 0 and 1.
    rx_PointToGridCorresponderRunParams runParams;
};
[[nodiscard]] const std::vector<SceneKind<PlacementScene>>& placementScenes();

/// A pattern image to train a matcher on, and points to run it on.
struct GridMatchScene {
    rxPelBuffer<unsigned char> image;
    std::vector<rxVector<2>> data;
    rxPointMatcherRunParams params;
};
/// Patterns that are matched through a map of the data.
[[nodiscard]] const std::vector<SceneKind<GridMatchScene>>& densePatternScenes();
/// Patterns so small or sparse that their points are matched.
[[nodiscard]] const std::vector<SceneKind<GridMatchScene>>& sparsePatternScenes();

/// A view of a larger image whose surroundings are set, with the given offset.
[[nodiscard]] rxPelBuffer<unsigned char> framedImage(long width, long height,
                                                     const rxPair<long>& offset);

[[nodiscard]] rxAngleRange degrees(double start, double end);

template <typename T>
void shuffle(Random& random, std::vector<T>& values) {
    for (std::size_t i = values.size(); i > 1; --i) {
        const long other = random.integer(0, static_cast<long>(i) - 1);
        std::swap(values[i - 1], values[static_cast<std::size_t>(other)]);
    }
}

}  // namespace ptmatch::reference
