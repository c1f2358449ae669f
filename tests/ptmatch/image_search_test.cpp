#include "ptmatch/image_search.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "ptmatch/label_image.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/recentring.h"
#include "ptmatch/search_grid.h"
#include "ptmatch/translation_search.h"
#include "ptmatch/vote_weights.h"

// The pose search as a whole, and its refinement from the first vote to the correspondence.
namespace ptmatch::detail {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;
using Points = std::vector<rxVector<2>>;

constexpr long kMinimumScore = 5;
const Points kModel = {{0, 0},  {17, 3},  {31, 1},  {8, 12},  {25, 14},
                       {2, 23}, {14, 27}, {33, 22}, {21, 36}, {36, 39}};

rx_PointMatcherModel trained(const Points& points) {
    rx_PointMatcherModel model;
    model.train(points);
    return model;
}

// What the search leaves in its store, best first.
std::vector<PoseCandidate> candidatesOf(const Points& model, const Points& data,
                                        const rxPointMatcherRunParams& params) {
    const rx_PointMatcherModel trainedModel = trained(model);
    rx_PoseScoreStore store(trainedModel.totalWeight(), params.maxNumResults());
    searchByImage_(data, trainedModel, params, store);
    std::vector<PoseCandidate> candidates;
    for (long score = store.first(); score >= 0; score = store.next()) {
        EXPECT_EQ(score, store.current()->score);
        candidates.push_back(*store.current());
    }
    return candidates;
}

rxPointMatcherRunParams paramsFor(long maxNumResults) {
    rxPointMatcherRunParams params;
    params.maxNumResults(maxNumResults);
    return params;
}

TEST(ImageSearch, CandidatesHaveMapsOfTheirOwn) {
    const std::vector<PoseCandidate> candidates = candidatesOf(kModel, kModel, paramsFor(50));
    ASSERT_FALSE(candidates.empty());
    EXPECT_THAT(candidates[0].map, ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9));
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) EXPECT_NE(candidates[i].map, candidates[j].map);
    }
}

TEST(ImageSearch, CandidateCarriesThePoseInPixelsOfTheSearchToo) {
    const std::vector<PoseCandidate> candidates = candidatesOf(kModel, kModel, paramsFor(8));
    ASSERT_FALSE(candidates.empty());
    const double gridSize = trained(kModel).defaultGridSize();
    // The lower corner of the data lies at pixel 1. The pose is fitted to whole pixels (half a
    // pixel) at a peak that may be anywhere in the block of a mark (one pixel).
    const rxVector<2> corner = candidates[0].modelToImage * rxVector<2>(0, 0);
    EXPECT_NEAR(corner.x(), 1.0, 1.5);
    EXPECT_NEAR(corner.y(), 1.0, 1.5);
    EXPECT_NEAR(candidates[0].modelToImage.xScale(), 1.0 / gridSize, 0.05 / gridSize);
}

TEST(ImageSearch, WindowOutsideTheDataGivesNoCandidate) {
    rxPointMatcherRunParams params = paramsFor(8);
    params.xTranslationUncertainty(rxRange(500, 510));
    EXPECT_THAT(candidatesOf(kModel, kModel, params), SizeIs(0));
    params.xTranslationUncertainty(rxRange::FullRange());
    params.yTranslationUncertainty(rxRange(-510, -500));
    EXPECT_THAT(candidatesOf(kModel, kModel, params), SizeIs(0));
}

TEST(ImageSearch, WindowAroundTheTruthFindsItAndOneBesideItDoesNot) {
    Points data;
    for (const rxVector<2>& p : kModel) data.push_back(p + rxVector<2>(20, 0));
    data.emplace_back(-60, 0);
    data.emplace_back(120, 0);
    rxPointMatcherRunParams params = paramsFor(8);
    params.xTranslationUncertainty(rxRange(15, 25));
    ASSERT_FALSE(candidatesOf(kModel, data, params).empty());
    EXPECT_EQ(candidatesOf(kModel, data, params)[0].score, 10);
    params.xTranslationUncertainty(rxRange(40, 60));
    EXPECT_TRUE(candidatesOf(kModel, data, params).empty());
}

// Model points 0 and 1 lie close together; data point 0 is the nearest to both. The first takes it,
// and the second is given what is left nearby.
TEST(ImageSearch, PointWhoseNearestIsTakenGetsAnotherFreeOne) {
    Points model = kModel;
    model[0] = {0.0, 0.0};
    model.insert(model.begin() + 1, rxVector<2>(0.8, 0.0));
    Points data = model;
    data[0] = {0.5, 0.0};
    data[1] = {0.7, 1.3};
    rxPointMatcherRunParams params = paramsFor(8);
    params.autoGridSize(false);
    params.gridSize(1.0);
    params.autoCaptureRange(false);
    params.captureRange(2.0);
    const std::vector<PoseCandidate> candidates = candidatesOf(model, data, params);
    ASSERT_FALSE(candidates.empty());
    EXPECT_THAT(candidates[0].map, ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10));

    params.captureRange(1.0);  // data point 1 is 1.3 away from model point 1
    const std::vector<PoseCandidate> closer = candidatesOf(model, data, params);
    ASSERT_FALSE(closer.empty());
    EXPECT_THAT(closer[0].map, ElementsAre(0, -1, 2, 3, 4, 5, 6, 7, 8, 9, 10));
}

// The scene of the refinement tests: the model on itself, one pixel per unit.
class Recentring : public ::testing::Test {
  protected:
    Recentring()
        : model_(trained(kModel)),
          grid_(*makeSearchGrid(kModel, model_, rxXform<2>(), 1.0)),
          weights_(*makeVoteWeights(kModel.size(), {}, 0.5)),
          window_(*translationWindow(grid_, model_, rxPointMatcherRunParams())),
          blocks_(grid_, LabelImage::Extent::Block) {}

    // Refines candidates; returns what the second vote brought.
    std::vector<CoarseCandidate> recentred(const std::vector<CoarseCandidate>& candidates) {
        CoarseStore coarse(model_.totalWeight(), 100);
        CoarseStore revoted(model_.totalWeight(), 1000);
        for (const CoarseCandidate& candidate : candidates) coarse.add(kMinimumScore, candidate);
        TranslationSearch search(grid_, model_, weights_, window_);
        const OfferPeaks offerPeaks = [&](double scale, double degrees, long threshold,
                                          CoarseStore& to) {
            search.offerPeaks(scale, degrees, threshold, to);
        };
        recentre(grid_, model_, blocks_, weights_.minimumScore, offerPeaks, coarse, revoted);
        std::vector<CoarseCandidate> found;
        for (long score = revoted.first(); score >= 0; score = revoted.next()) {
            found.push_back(*revoted.current());
        }
        return found;
    }

    rx_PointMatcherModel model_;
    SearchGrid grid_;
    VoteWeights weights_;
    rxPelRect window_;
    LabelImage blocks_;
};

TEST_F(Recentring, FitsScaleAndRotationToTheDataUnderTheModel) {
    const std::vector<CoarseCandidate> found = recentred({{{0, 0}, 1.01, 0.7}});
    ASSERT_FALSE(found.empty());
    EXPECT_NEAR(found[0].scale, 1.0, 1e-12);
    EXPECT_NEAR(found[0].rotationDegrees, 0.0, 1e-12);
}

TEST_F(Recentring, CandidatesThatFitToTheSamePoseAreVotedAgainOnce) {
    const std::vector<CoarseCandidate> once = recentred({{{0, 0}, 1.0, 0.0}});
    const std::vector<CoarseCandidate> twice =
        recentred({{{0, 0}, 1.0, 0.0}, {{0, 0}, 1.01, 0.7}, {{1, 0}, 0.99, 0.0}});
    ASSERT_FALSE(once.empty());
    EXPECT_EQ(twice.size(), once.size());
}

TEST_F(Recentring, CandidateWithFewerThanTwoPairsIsDropped) {
    EXPECT_TRUE(recentred({{{1000, 1000}, 1.0, 0.0}}).empty());
}

}  // namespace
}  // namespace ptmatch::detail
