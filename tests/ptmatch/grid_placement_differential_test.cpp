#include <gtest/gtest.h>

#include <vector>

#include "foundation/xform.h"
#include "ptmatch/gridcorr.h"
#include "ptmatch/scene_differential.h"
#include "reference/random_grid_scenes.h"
#include "reference/reference_corresponder.h"

// The grid corresponder against the plain reference on thousands of random scenes: pattern, probes
// and every placement in its order.
namespace {

using ptmatch::reference::Pattern;
using ptmatch::reference::Placement;
using ptmatch::reference::PlacementScene;
using ptmatch::reference::Probe;
using ptmatch::reference::SceneKind;

constexpr long kScenes = 60;

void expectSameTraining(const rx_PointToGridCorresponder& tool, const Pattern& pattern) {
    ASSERT_EQ(tool.pattern().width(), pattern.marks.width);
    ASSERT_EQ(tool.pattern().height(), pattern.marks.height);
    EXPECT_EQ(tool.pattern().offset(), pattern.corner);
    for (long y = 0; y < pattern.marks.height; ++y) {
        for (long x = 0; x < pattern.marks.width; ++x) {
            EXPECT_EQ(tool.pattern().get(pattern.corner + rxPair<long>(x, y)),
                      pattern.marks.at(x, y));
        }
    }
    std::vector<Probe> probes;
    for (const auto& probe : tool.probes()) probes.push_back({probe.position, probe.expected});
    EXPECT_EQ(probes, pattern.probes);
}

void expectSamePlacements(const rx_PointToGridCorresponderResultSet& actual,
                          const std::vector<Placement>& expected) {
    ASSERT_EQ(actual.results().size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(testing::Message() << "placement " << i);
        EXPECT_TRUE(actual.results()[i].found());
        EXPECT_EQ(actual.results()[i].score(), expected[i].score);
        EXPECT_EQ(actual.results()[i].position(), expected[i].position);
    }
}

template <typename Data>
bool compareRuns(const rx_PointToGridCorresponder& tool, const Pattern& pattern, const Data& data,
                 const rx_PointToGridCorresponderRunParams& params) {
    const std::vector<Placement> expected = ptmatch::reference::place(pattern, data, params);
    rx_PointToGridCorresponderResultSet actual;
    EXPECT_EQ(tool.run(data, params, actual), !expected.empty());
    expectSamePlacements(actual, expected);
    return !expected.empty();
}

bool comparePlacements(const PlacementScene& scene) {
    rx_PointToGridCorresponder tool;
    tool.train(scene.pattern, scene.trainParams, rxXform<2>::I);
    const Pattern pattern = ptmatch::reference::trainPattern(scene.pattern, scene.trainParams);
    expectSameTraining(tool, pattern);
    const bool inList = compareRuns(tool, pattern, scene.data, scene.runParams);
    const bool inImage =
        compareRuns(tool, pattern, rxPelBuffer_const<unsigned char>(scene.image), scene.runParams);
    return inList || inImage;
}

class GridPlacementDifferential : public testing::TestWithParam<SceneKind<PlacementScene>> {};

TEST_P(GridPlacementDifferential, EqualsTheReference) {
    compareScenes(GetParam(), scenesOfAKind(kScenes), comparePlacements);
}

INSTANTIATE_TEST_SUITE_P(Random, GridPlacementDifferential,
                         testing::ValuesIn(ptmatch::reference::placementScenes()),
                         nameOfKind<PlacementScene>);

// The scenes' images serve as patterns, too.
TEST(GridCorresponderImages, TrainAsTheirPositionsDo) {
    long trained = 0;
    for (const auto& kind : ptmatch::reference::placementScenes()) {
        ptmatch::reference::Random random(kFirstSceneSeed);
        const PlacementScene scene = kind.make(random);
        SCOPED_TRACE(testing::Message() << kind.name << ", seed " << kFirstSceneSeed);
        const auto positions = ptmatch::reference::positionsOf(scene.image);
        rx_PointToGridCorresponder tool;
        if (positions.size() < 3) {
            EXPECT_THROW(tool.train(scene.image, scene.trainParams),
                         rx_PointToGridCorresponderDefs::InsufficientModelPoints);
            continue;
        }
        tool.train(scene.image, scene.trainParams);
        expectSameTraining(tool, ptmatch::reference::trainPattern(positions, scene.trainParams));
        ++trained;
    }
    EXPECT_GT(trained, 20);
}

}  // namespace
