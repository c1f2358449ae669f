#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "foundation/angle.h"
#include "foundation/range.h"
#include "ptmatch/ppmatch.h"
#include "reference/random_problems.h"
#include "reference/reference_model.h"

// What holds for every run, whatever the search does inside.
namespace {

using ptmatch::reference::poseAbout;
using ptmatch::reference::Problem;
using ptmatch::reference::ProblemKind;
using ptmatch::reference::Random;
using ptmatch::reference::spreadPoints;
using Points = std::vector<rxVector<2>>;
using Indices = std::vector<std::size_t>;

constexpr double kExtent = 40.0;
const rxVector<2> kMiddle(kExtent / 2.0, kExtent / 2.0);

// Fitted coordinates of a few hundred units, in double: far above the rounding errors of a fit,
// far below anything that another correspondence could give.
constexpr double kSamePose = 1e-9;

rxPointMatcher trainedOn(const Problem& problem, rxPointMatcherDefs::Mode mode) {
    rxPointMatcher matcher;
    if (problem.weights.empty()) {
        matcher.train(problem.model, mode);
    } else {
        matcher.train(problem.model, problem.weights, mode);
    }
    return matcher;
}

std::vector<rxPointMatcherResult> resultsOf(const Problem& problem, rxPointMatcherDefs::Mode mode) {
    rxPointMatcherResultSet found;
    trainedOn(problem, mode).run(problem.data, problem.params, found);
    return found.results();
}

/// A random order of the numbers below count.
Indices randomOrder(Random& random, std::size_t count) {
    Indices order(count);
    for (std::size_t i = 0; i < count; ++i) order[i] = i;
    for (std::size_t i = count; i > 1; --i) {
        const auto j = static_cast<std::size_t>(random.integer(0, static_cast<long>(i) - 1));
        std::swap(order[i - 1], order[j]);
    }
    return order;
}

Points inOrder(const Points& points, const Indices& order) {
    Points ordered;
    for (const std::size_t i : order) ordered.push_back(points[i]);
    return ordered;
}

/// Where each index stands in the order.
std::vector<long> positionsIn(const Indices& order) {
    std::vector<long> positions(order.size());
    for (std::size_t i = 0; i < order.size(); ++i) positions[order[i]] = static_cast<long>(i);
    return positions;
}

double largestDisplacement(const rxXform<2>& a, const rxXform<2>& b, const Points& points) {
    double largest = 0.0;
    for (const rxVector<2>& p : points) largest = std::max(largest, (a * p - b * p).len());
    return largest;
}

void expectSameResults(const std::vector<rxPointMatcherResult>& actual,
                       const std::vector<rxPointMatcherResult>& expected) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(actual[i].modelToDataXform(), expected[i].modelToDataXform());
        EXPECT_EQ(actual[i].modelToDataMap(), expected[i].modelToDataMap());
        EXPECT_EQ(actual[i].coverage(), expected[i].coverage());
        EXPECT_EQ(actual[i].fitError(), expected[i].fitError());
    }
}

void expectOneToOne(const std::vector<long>& map, std::size_t modelCount, std::size_t dataCount) {
    ASSERT_EQ(map.size(), modelCount);
    std::vector<bool> isTaken(dataCount, false);
    for (const long index : map) {
        ASSERT_GE(index, -1);
        ASSERT_LT(index, static_cast<long>(dataCount));
        if (index < 0) continue;
        EXPECT_FALSE(isTaken[static_cast<std::size_t>(index)]) << index << " matched twice";
        isTaken[static_cast<std::size_t>(index)] = true;
    }
}

void expectBestFirst(const std::vector<rxPointMatcherResult>& results) {
    for (std::size_t i = 1; i < results.size(); ++i) {
        const rxPointMatcherResult& better = results[i - 1];
        const rxPointMatcherResult& worse = results[i];
        EXPECT_GE(better.coverage(), worse.coverage());
        if (better.coverage() == worse.coverage()) {
            EXPECT_LE(better.fitError(), worse.fitError());
        }
    }
}

/// The limits are those of the search, and a rounding error wide.
bool isAllowedRotation(const rxXform<2>& pose, const rxAngleRange& range) {
    if (range.range() == rxRangeDefs::Full) return true;
    const double forgiveness = 1.1e-9;
    return rxAngleRange(rxRadian(range.start().toDouble() - forgiveness),
                        rxRadian(range.end().toDouble() + forgiveness), false)
        .isWithin(pose.xRot());
}

class PoseSearchProperties : public testing::TestWithParam<ProblemKind> {};

TEST_P(PoseSearchProperties, ResultsKeepWithinTheParameters) {
    for (std::uint64_t seed = 100; seed < 110; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Random random(seed);
        const Problem problem = GetParam().make(random);
        const auto results = resultsOf(problem, rxPointMatcherDefs::eAutoDetect);
        const auto model = ptmatch::reference::trainModel(problem.model, problem.weights);
        const double total = static_cast<double>(model.totalWeight);

        EXPECT_LE(static_cast<long>(results.size()), problem.params.maxNumResults());
        expectBestFirst(results);
        for (const rxPointMatcherResult& result : results) {
            const std::vector<long>& map = result.modelToDataMap();
            expectOneToOne(map, problem.model.size(), problem.data.size());
            const double matched =
                static_cast<double>(ptmatch::reference::matchedWeight(model, map));
            EXPECT_EQ(result.coverage(), matched * (1.0 / total));
            EXPECT_GE(matched, problem.params.minCoverage() * total);
            EXPECT_EQ(result.fitError(),
                      ptmatch::reference::rmsFitError(problem.data, result.modelToDataXform(),
                                                      problem.model, map));
            EXPECT_TRUE(
                isAllowedRotation(problem.params.startPose().inverse() * result.modelToDataXform(),
                                  problem.params.rotationUncertainty()));
            EXPECT_EQ(result.runMode(), rxPointMatcherDefs::ePointToPoint);
        }
    }
}

TEST_P(PoseSearchProperties, WeightsOfOneChangeNothing) {
    for (std::uint64_t seed = 200; seed < 205; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Random random(seed);
        Problem problem = GetParam().make(random);
        problem.weights.clear();
        const auto unweighted = resultsOf(problem, rxPointMatcherDefs::eAutoDetect);
        problem.weights.assign(problem.model.size(), 1);
        expectSameResults(resultsOf(problem, rxPointMatcherDefs::eAutoDetect), unweighted);
    }
}

TEST_P(PoseSearchProperties, RunsAndCopiesRepeatTheResults) {
    Random random(300);
    const Problem problem = GetParam().make(random);
    const auto expected = resultsOf(problem, rxPointMatcherDefs::eAutoDetect);
    const rxPointMatcher matcher = trainedOn(problem, rxPointMatcherDefs::eAutoDetect);
    rxPointMatcher copy;
    copy = matcher;
    rxPointMatcherResultSet found;
    for (int again = 0; again < 2; ++again) {
        matcher.run(problem.data, problem.params, found);
        expectSameResults(found.results(), expected);
        copy.run(problem.data, problem.params, found);
        expectSameResults(found.results(), expected);
    }
}

std::string nameOf(const testing::TestParamInfo<ProblemKind>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Random, PoseSearchProperties,
                         testing::ValuesIn(ptmatch::reference::poseSearchProblems()), nameOf);

/// One pattern, whole and displaced by far less than its spacing: every order of its points and
/// every place of the scene has the same one best answer.
struct ClearScene {
    Problem problem;
    rxXform<2> pose;
};

ClearScene clearScene(Random& random) {
    ClearScene scene;
    scene.problem.model = spreadPoints(random, random.integer(6, 9), kExtent, 6.0);
    scene.pose = poseAbout(kMiddle, random.uniform(-12.0, 12.0), 1.0,
                           rxVector<2>(random.uniform(-12.0, 12.0), random.uniform(-12.0, 12.0)));
    for (const rxVector<2>& m : scene.problem.model) {
        scene.problem.data.push_back(
            scene.pose * m + rxVector<2>(random.uniform(-0.05, 0.05), random.uniform(-0.05, 0.05)));
    }
    return scene;
}

rxPointMatcherResult bestOf(const Problem& problem) {
    const auto results = resultsOf(problem, rxPointMatcherDefs::eAutoDetect);
    EXPECT_EQ(results.size(), 1U);
    return results.empty() ? rxPointMatcherResult() : results.front();
}

class ClearSceneProperties : public testing::Test {
  protected:
    template <typename Check>
    static void forManyScenes(Check check) {
        for (std::uint64_t seed = 1000; seed < 1100; ++seed) {
            SCOPED_TRACE(testing::Message() << "seed " << seed);
            Random random(seed);
            const ClearScene scene = clearScene(random);
            check(random, scene);
            if (HasFailure()) return;
        }
    }
};

TEST_F(ClearSceneProperties, EveryPointFindsItsOwn) {
    forManyScenes([](Random&, const ClearScene& scene) {
        const rxPointMatcherResult best = bestOf(scene.problem);
        EXPECT_EQ(best.coverage(), static_cast<double>(scene.problem.model.size()) *
                                       (1.0 / static_cast<double>(scene.problem.model.size())));
        ASSERT_EQ(best.modelToDataMap().size(), scene.problem.model.size());
        for (std::size_t i = 0; i < scene.problem.model.size(); ++i) {
            EXPECT_EQ(best.modelToDataMap()[i], static_cast<long>(i));
        }
        // Displacements of at most 0.05 per axis: no fitted point moves further than a few of them.
        EXPECT_LT(largestDisplacement(best.modelToDataXform(), scene.pose, scene.problem.model),
                  0.2);
    });
}

TEST_F(ClearSceneProperties, OrderOfTheDataOnlyRenumbersTheMap) {
    forManyScenes([](Random& random, const ClearScene& scene) {
        const rxPointMatcherResult expected = bestOf(scene.problem);
        const Indices order = randomOrder(random, scene.problem.data.size());
        Problem shuffled = scene.problem;
        shuffled.data = inOrder(scene.problem.data, order);
        const rxPointMatcherResult best = bestOf(shuffled);

        EXPECT_EQ(best.coverage(), expected.coverage());
        std::vector<long> renumbered;
        const std::vector<long> positions = positionsIn(order);
        for (const long j : expected.modelToDataMap()) {
            renumbered.push_back(j < 0 ? j : positions[static_cast<std::size_t>(j)]);
        }
        EXPECT_EQ(best.modelToDataMap(), renumbered);
        EXPECT_LT(largestDisplacement(best.modelToDataXform(), expected.modelToDataXform(),
                                      scene.problem.model),
                  kSamePose);
    });
}

TEST_F(ClearSceneProperties, OrderOfTheModelOnlyReordersTheMap) {
    forManyScenes([](Random& random, const ClearScene& scene) {
        const rxPointMatcherResult expected = bestOf(scene.problem);
        const Indices order = randomOrder(random, scene.problem.model.size());
        Problem shuffled = scene.problem;
        shuffled.model = inOrder(scene.problem.model, order);
        const rxPointMatcherResult best = bestOf(shuffled);

        EXPECT_EQ(best.coverage(), expected.coverage());
        ASSERT_EQ(best.modelToDataMap().size(), order.size());
        for (std::size_t i = 0; i < order.size(); ++i) {
            EXPECT_EQ(best.modelToDataMap()[i], expected.modelToDataMap()[order[i]]);
        }
        EXPECT_LT(largestDisplacement(best.modelToDataXform(), expected.modelToDataXform(),
                                      scene.problem.model),
                  kSamePose);
    });
}

TEST_F(ClearSceneProperties, MotionOfTheDataGoesIntoThePose) {
    forManyScenes([](Random& random, const ClearScene& scene) {
        const rxPointMatcherResult expected = bestOf(scene.problem);
        const rxXform<2> motion =
            poseAbout(kMiddle, random.uniform(-180.0, 180.0), 1.0,
                      rxVector<2>(random.uniform(-200.0, 200.0), random.uniform(-200.0, 200.0)));
        Problem moved = scene.problem;
        for (rxVector<2>& d : moved.data) d = motion * d;
        moved.params.startPose(motion);
        const rxPointMatcherResult best = bestOf(moved);

        EXPECT_EQ(best.coverage(), expected.coverage());
        EXPECT_EQ(best.modelToDataMap(), expected.modelToDataMap());
        EXPECT_LT(largestDisplacement(best.modelToDataXform(), motion * expected.modelToDataXform(),
                                      scene.problem.model),
                  kSamePose);
        EXPECT_NEAR(best.fitError(), expected.fitError(), kSamePose);
    });
}

class ExhaustiveProperties : public testing::TestWithParam<ProblemKind> {};

TEST_P(ExhaustiveProperties, ResultsKeepWithinTheParameters) {
    for (std::uint64_t seed = 100; seed < 110; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Random random(seed);
        const Problem problem = GetParam().make(random);
        const auto results = resultsOf(problem, rxPointMatcherDefs::eExhaustiveMode);
        const auto model = ptmatch::reference::trainModel(problem.model, problem.weights);

        EXPECT_LE(static_cast<long>(results.size()), problem.params.maxNumResults());
        expectBestFirst(results);
        for (const rxPointMatcherResult& result : results) {
            const std::vector<long>& map = result.modelToDataMap();
            expectOneToOne(map, problem.model.size(), problem.data.size());
            const long matched = ptmatch::reference::matchedWeight(model, map);
            EXPECT_GE(matched, 2);
            EXPECT_EQ(result.coverage(),
                      static_cast<double>(matched) / static_cast<double>(model.totalWeight));
            if (problem.weights.empty()) {
                // The same sum in the same order as the unweighted error of any result.
                EXPECT_EQ(result.fitError(),
                          ptmatch::reference::rmsFitError(problem.data, result.modelToDataXform(),
                                                          problem.model, map));
            }
            const rxXform<2> change =
                result.modelToDataXform() * problem.params.startPose().inverse();
            EXPECT_TRUE(problem.params.xTranslationUncertainty().isWithin(change.trans().x()));
            EXPECT_TRUE(problem.params.yTranslationUncertainty().isWithin(change.trans().y()));
            EXPECT_TRUE(isAllowedRotation(change, problem.params.rotationUncertainty()));
            EXPECT_GE(change.xScale() - 1.0, problem.params.scaleUncertainty().start() - 1.1e-9);
            EXPECT_LE(change.xScale() - 1.0, problem.params.scaleUncertainty().end() + 1.1e-9);
            EXPECT_EQ(result.runMode(), rxPointMatcherDefs::eExhaustiveMode);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Random, ExhaustiveProperties,
                         testing::ValuesIn(ptmatch::reference::exhaustiveProblems()), nameOf);

// The scale is fixed at 1 and the rotation may lie on the very limit, so every one of these depends
// on the last bits of a square root and of an arc tangent.
TEST(ExhaustiveSearch, FindsEveryNoiseFreeSetAtFixedScale) {
    for (std::uint64_t seed = 5000; seed < 6000; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Random random(seed);
        Problem problem;
        problem.model = spreadPoints(random, random.integer(3, 4), kExtent, 6.0);
        const double rotation = random.pick<double>({-15.0, 15.0, random.uniform(-15.0, 15.0)});
        const rxXform<2> pose =
            poseAbout(kMiddle, rotation, 1.0,
                      rxVector<2>(random.uniform(-500.0, 500.0), random.uniform(-500.0, 500.0)));
        const Indices order = randomOrder(random, problem.model.size());
        for (const rxVector<2>& m : inOrder(problem.model, order)) problem.data.push_back(pose * m);

        const auto results = resultsOf(problem, rxPointMatcherDefs::eExhaustiveMode);
        ASSERT_EQ(results.size(), 1U);
        EXPECT_EQ(results[0].coverage(), 1.0);
        EXPECT_EQ(results[0].modelToDataMap(), positionsIn(order));
        EXPECT_LT(results[0].fitError(), 1e-11);
    }
}

}  // namespace
