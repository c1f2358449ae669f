#include <gtest/gtest.h>

#include <vector>

#include "ptmatch/ptgdmap.h"
#include "ptmatch/same_bits.h"
#include "ptmatch/scene_differential.h"
#include "reference/random_grid_scenes.h"
#include "reference/reference_grid_map.h"

// The mapper against the plain reference on thousands of random scenes: every position, the count
// and the transform, to the last bit.
namespace {

using ptmatch::reference::GridMapReport;
using ptmatch::reference::MapScene;
using ptmatch::reference::SceneKind;

constexpr long kScenes = 100;

/// A result that shows whether a later mapping leaves it alone.
rxPtToGridMapResult earlierResult() {
    rxPtToGridMapResult result;
    const rxPtToGridMapRunParams params(rxVector<2>(3.0, 0.0), rxVector<2>(0.0, 3.0));
    rfPtToGridMap({{0.0, 0.0}, {3.0, 0.0}, {0.0, 3.0}, {50.0, 50.0}}, params, result);
    return result;
}

bool compareMaps(const MapScene& scene) {
    static const rxPtToGridMapResult earlier = earlierResult();
    rxPtToGridMapResult actual = earlier;
    long count = 0;
    GridMapReport expected;
    const std::string error =
        thrownBy([&] { expected = ptmatch::reference::mapToGrid(scene.points, scene.params); });
    EXPECT_EQ(thrownBy([&] { count = rfPtToGridMap(scene.points, scene.params, actual); }), error);
    if (!error.empty()) return false;

    EXPECT_EQ(count, expected.count);
    EXPECT_EQ(actual.valid(), expected.valid);
    EXPECT_EQ(actual.map(), expected.hasMap ? expected.map : earlier.map());
    expectSameXform(actual.grid2point(),
                    expected.hasTransform ? expected.pointFromGrid : earlier.grid2point());
    EXPECT_GE(actual.time(), 0.0);
    return expected.valid;
}

class GridMapDifferential : public testing::TestWithParam<SceneKind<MapScene>> {};

TEST_P(GridMapDifferential, EqualsTheReference) {
    ASSERT_TRUE(earlierResult().valid());
    compareScenes(GetParam(), scenesOfAKind(kScenes), compareMaps);
}

INSTANTIATE_TEST_SUITE_P(Random, GridMapDifferential,
                         testing::ValuesIn(ptmatch::reference::mapScenes()), nameOfKind<MapScene>);

}  // namespace
