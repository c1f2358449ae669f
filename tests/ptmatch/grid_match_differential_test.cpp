#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "ptmatch/ppmatch.h"
#include "ptmatch/same_bits.h"
#include "ptmatch/scene_differential.h"
#include "reference/random_grid_scenes.h"
#include "reference/reference_grid_match.h"

// The matcher's grid mode against the plain reference on thousands of random scenes: every result
// in its order, with its transform, map, coverage and error, to the last bit.
namespace {

using ptmatch::reference::GridMatcher;
using ptmatch::reference::GridMatchScene;
using ptmatch::reference::GridResult;
using ptmatch::reference::SceneKind;

constexpr long kScenes = 40;

void expectSameMap(const rxPointMatcherResult& actual, const GridResult& expected,
                   const rxPair<long>& corner) {
    for (long y = 0; y < expected.gridToData.height; ++y) {
        for (long x = 0; x < expected.gridToData.width; ++x) {
            const rxPair<long> position = corner + rxPair<long>(x, y);
            EXPECT_EQ(actual.gridToDataMap(position), expected.gridToData.at(x, y))
                << position.x() << ' ' << position.y();
        }
    }
    const rxPair<long> beyond(expected.gridToData.width, expected.gridToData.height);
    EXPECT_THROW(static_cast<void>(actual.gridToDataMap(corner + beyond)), rx_PelBuffer::Errors);
    EXPECT_THROW(static_cast<void>(actual.gridToDataMap(corner - rxPair<long>(1, 1))),
                 rx_PelBuffer::Errors);
}

void expectSameResults(const rxPointMatcherResultSet& actual,
                       const std::vector<GridResult>& expected, const rxPair<long>& corner) {
    ASSERT_EQ(actual.results().size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(testing::Message() << "result " << i);
        const rxPointMatcherResult& result = actual.results()[i];
        ASSERT_EQ(result.runMode(), rxPointMatcherDefs::ePointToGrid);
        expectSameXform(result.modelToDataXform(), expected[i].modelToDataXform);
        expectSameNumber(result.coverage(), expected[i].coverage, "coverage");
        expectSameNumber(result.fitError(), expected[i].fitError, "fit error");
        expectSameMap(result, expected[i], corner);
    }
}

bool compareMatches(const GridMatchScene& scene) {
    const std::optional<GridMatcher> reference = ptmatch::reference::trainOnImage(scene.image);
    rxPointMatcher matcher;
    if (!reference) {
        EXPECT_THROW(matcher.train(scene.image), rxPointMatcherDefs::InsufficientModelPoints);
        return false;
    }
    matcher.train(scene.image);
    EXPECT_EQ(matcher.trainMode(), rxPointMatcherDefs::ePointToGrid);
    EXPECT_EQ(matcher.pattern().offset(), reference->pattern.corner);
    EXPECT_EQ(matcher.pattern().width(), reference->pattern.marks.width);
    EXPECT_EQ(matcher.pattern().height(), reference->pattern.marks.height);

    std::vector<GridResult> expected;
    rxPointMatcherResultSet actual;
    const std::string error =
        thrownBy([&] { expected = runOnGrid(*reference, scene.data, scene.params); });
    EXPECT_EQ(thrownBy([&] { matcher.run(scene.data, scene.params, actual); }), error);
    expectSameResults(actual, expected, reference->pattern.corner);
    return !expected.empty();
}

class GridMatchDifferential : public testing::TestWithParam<SceneKind<GridMatchScene>> {};

TEST_P(GridMatchDifferential, EqualsTheReference) {
    compareScenes(GetParam(), scenesOfAKind(kScenes), compareMatches);
}

INSTANTIATE_TEST_SUITE_P(DensePatterns, GridMatchDifferential,
                         testing::ValuesIn(ptmatch::reference::densePatternScenes()),
                         nameOfKind<GridMatchScene>);
INSTANTIATE_TEST_SUITE_P(SparsePatterns, GridMatchDifferential,
                         testing::ValuesIn(ptmatch::reference::sparsePatternScenes()),
                         nameOfKind<GridMatchScene>);

}  // namespace
