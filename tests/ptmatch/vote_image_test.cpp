#include "ptmatch/vote_image.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "ptmatch/addition_world.h"
#include "reference/random_problems.h"
#include "reference/reference_run.h"
#include "reference/reference_search.h"
#include "support/pattern_pictures.h"

namespace {

using namespace ptmatch::testing;
using Defs = rxPointMatcherDefs;
namespace reference = ptmatch::reference;
using reference::Problem;
using reference::ProblemKind;

constexpr std::uint64_t kCasesOfAKind = 10;

/// The plain search of a problem, up to its votes.
struct PlainVotes {
    reference::Model model;
    bool isSearched = false;
    reference::SearchWorld world;
    std::vector<rxVotePlace> places;  ///< the lattice, in its order

    explicit PlainVotes(const Problem& problem)
        : model(reference::trainModel(problem.model, problem.weights)) {
        reference::RunReport report = reference::run(model, problem.data, problem.params);
        if (report.polls == 0) return;
        isSearched = true;
        constexpr long kAnyCapacity = 8;
        world = reference::prepareSearch(model, problem.data, problem.params,
                                         0.5 * problem.params.minCoverage(), kAnyCapacity);
        for (const double scale :
             reference::scaleLattice(model, problem.params.scaleUncertainty(), world.gridSize)) {
            for (const double degrees : reference::rotationLattice(
                     model, problem.params.rotationUncertainty(), scale, world.gridSize)) {
                places.push_back({scale, degrees});
            }
        }
    }

    reference::Image<long> at(const rxVotePlace& place) const {
        return reference::countVotes(
            world, reference::modelPixels(model, world, place.scale, place.rotationDegrees));
    }

    rxVotePlace best() const {
        rxVotePlace best = places.front();
        long highest = 0;
        for (const rxVotePlace& place : places) {
            for (const long vote : at(place).pixels) {
                if (vote <= highest) continue;
                highest = vote;
                best = place;
            }
        }
        return best;
    }

    rxVotePlace nearestTo(const rxXform<2>& change) const {
        rxVotePlace best;
        double nearestScale = std::numeric_limits<double>::infinity();
        double nearestTurn = std::numeric_limits<double>::infinity();
        const double turn = rxDegree(change.xRot()).toDouble();
        for (const rxVotePlace& place : places) {
            const double ofScale = std::abs(place.scale - change.xScale());
            double ofTurn = std::fmod(std::abs(place.rotationDegrees - turn), 360.0);
            ofTurn = std::min(ofTurn, 360.0 - ofTurn);
            // Whole turns apart are equally near, but for rounding.
            constexpr double kRounding = 1e-9;
            const bool isNearer = ofScale < nearestScale ||
                                  (ofScale == nearestScale && ofTurn < nearestTurn - kRounding);
            if (!isNearer) continue;
            best = place;
            nearestScale = ofScale;
            nearestTurn = ofTurn;
        }
        return best;
    }
};

rxPointMatcher trainedOnProblem(const Problem& problem) {
    rxPointMatcher matcher;
    if (problem.weights.empty()) {
        matcher.train(problem.model, Defs::eAutoDetect);
    } else {
        matcher.train(problem.model, problem.weights, Defs::eAutoDetect);
    }
    return matcher;
}

void expectSameVotes(const rxVoteImage& image, const PlainVotes& plain, const rxVotePlace& place) {
    const reference::Image<long> expected = plain.at(place);
    ASSERT_EQ(image.width, expected.width);
    ASSERT_EQ(image.height, expected.height);
    EXPECT_EQ(image.firstStep, rxPair<long>(plain.world.window.lowX, plain.world.window.lowY));
    EXPECT_EQ(image.step, plain.world.gridSize);
    EXPECT_EQ(image.threshold, plain.world.minimumScore);
    EXPECT_EQ(std::vector<long>(image.votes.begin(), image.votes.end()), expected.pixels);
}

class VoteImages : public testing::TestWithParam<ProblemKind> {};

TEST_P(VoteImages, HoldWhatAPlainSearchCounts) {
    for (std::uint64_t seed = 1; seed <= kCasesOfAKind; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        reference::Random random(seed);
        const Problem problem = GetParam().make(random);
        const rxPointMatcher matcher = trainedOnProblem(problem);
        const PlainVotes plain(problem);
        const auto best = rfBestVotePlace(matcher, problem.data, problem.params);
        ASSERT_EQ(best.has_value(), plain.isSearched);
        if (!plain.isSearched) {
            EXPECT_EQ(rfVoteImage(matcher, problem.data, problem.params, {}).width, 0);
            continue;
        }
        const rxVotePlace expected = plain.best();
        EXPECT_EQ(best->scale, expected.scale);
        EXPECT_EQ(best->rotationDegrees, expected.rotationDegrees);
        const rxVotePlace somewhere = random.pick(plain.places);
        const rxVotePlace anywhere{random.uniform(0.2, 3.0), random.uniform(-400, 400)};
        for (const rxVotePlace& place : {*best, somewhere, anywhere}) {
            expectSameVotes(rfVoteImage(matcher, problem.data, problem.params, place), plain,
                            place);
        }
        const rxXform<2> change =
            poseAt(3, 4, random.uniform(-200, 200), random.uniform(0.05, 1.6));
        const auto nearest = rfNearestVotePlace(matcher, problem.data, problem.params,
                                                problem.params.startPose() * change);
        ASSERT_TRUE(nearest.has_value());
        const rxVotePlace expectedNearest = plain.nearestTo(problem.params.startPose().inverse() *
                                                            (problem.params.startPose() * change));
        EXPECT_EQ(nearest->scale, expectedNearest.scale);
        EXPECT_EQ(nearest->rotationDegrees, expectedNearest.rotationDegrees);
    }
}

INSTANTIATE_TEST_SUITE_P(RandomProblems, VoteImages,
                         testing::ValuesIn(reference::poseSearchProblems()),
                         [](const auto& kind) { return kind.param.name; });

TEST(VoteImage, AnExactMatchHasAllVotesWhereItsTranslationLies) {
    rxPointMatcherRunParams params;
    params.startPose(poseAt(40, -10, 30, 1.5));
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    for (unsigned seed = 1; seed <= 20; ++seed) {
        Randoms random(seed);
        const rxXform<2> pose =
            params.startPose() * poseAt(random.uniform(-50, 50), random.uniform(-50, 50));
        const Points data = mapped(pose, tenPoints());
        const rxVoteImage image = rfVoteImage(matcher, data, params, {});
        const rxVector<2> where = image.columnAndRow(pose);
        const long column = static_cast<long>(std::floor(where.x()));
        const long row = static_cast<long>(std::floor(where.y()));
        EXPECT_EQ(image.vote(column, row), 10);
        EXPECT_EQ(image.highestPossible, 10);
        const rxXform<2> placed = image.modelToData(where.x(), where.y());
        EXPECT_LT((placed * tenPoints()[3] - pose * tenPoints()[3]).len(), 1e-9);
        const rxVector<2> moved = image.translation(where.x(), where.y()) + image.modelCenter;
        EXPECT_LT((params.startPose() * moved - pose * image.modelCenter).len(), 1e-9);
    }
}

TEST(VoteImage, OfASparsePatternIsThatOfItsPoints) {
    const std::vector<std::string> picture = {"#...#", ".....", "..#..", "#...."};
    const rxPointMatcher sparse = trainedOn(imageOf(picture));
    const Points dots = dotsOf(picture, gridOf({1, 0}, {0, 1}));
    const auto best = rfBestVotePlace(sparse, dots, {});
    ASSERT_TRUE(best.has_value());
    const rxVoteImage image = rfVoteImage(sparse, dots, {}, *best);
    EXPECT_EQ(*std::max_element(image.votes.begin(), image.votes.end()), 4);
}

TEST(VoteImage, RefusesRunsThatDoNotVoteAndPlacesThatAreNone) {
    const Points three = {{0, 0}, {10, 0}, {3, 7}};
    const rxPointMatcher exhaustive = trainedOnPoints(three, Defs::eExhaustiveMode);
    EXPECT_THROW(rfBestVotePlace(exhaustive, three, {}), Defs::BadParams);
    const rxPointMatcher dense = trainedOn(imageOf({"####", "####", "####"}));
    EXPECT_THROW(rfVoteImage(dense, three, {}, {}), Defs::BadParams);
    EXPECT_THROW(rfBestVotePlace(rxPointMatcher(), three, {}), Defs::NotTrained);
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    EXPECT_THROW(rfVoteImage(matcher, three, {}, {0.0, 0.0}), Defs::BadParams);
    EXPECT_THROW(rfVoteImage(matcher, three, {}, {1.0, NAN}), Defs::BadParams);
    EXPECT_THROW(rfNearestVotePlace(matcher, three, {}, poseAt(0, 0, 0, 0.0)), Defs::BadParams);
    EXPECT_EQ(rfVoteImage(matcher, three, rxPointMatcherRunParams(0.9), {}).width, 0);
}

TEST(VoteImage, RefusesImagesThatWouldNotFit) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    Points row;
    for (const rxVector<2>& p : tenPoints()) row.emplace_back(p.x(), 0.0);
    rxPointMatcherRunParams fine;
    fine.rotationUncertainty(rxAngleRange(rxDegree(-0.01), rxDegree(0.01)));
    fine.autoGridSize(false);
    // A few rows of 32 million translations each: two bytes a vote would fit, four do not.
    fine.gridSize(36.0 / 32e6);
    EXPECT_NO_THROW(rfNearestVotePlace(matcher, row, fine, {}));
    EXPECT_THROW(rfVoteImage(matcher, row, fine, {}), Defs::BadParams);
}

}  // namespace
