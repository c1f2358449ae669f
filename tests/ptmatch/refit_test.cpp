#include "ptmatch/refit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ptmatch/addition_world.h"
#include "ptmatch/perspective_fit.h"
#include "support/pattern_pictures.h"

namespace {

using namespace ptmatch::testing;
using ::testing::SizeIs;
using Defs = rxPointMatcherDefs;
using Model = rxRefitDefs;

constexpr double kExact = 1e-9;  // pixels; coordinates are about 100, an eps of them is 1e-14

// The refit of the best result on the images of the ten points.
rxRefit refitOf(const Points& images, Model::Model model) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    rxPointMatcherRunParams params;
    params.autoCaptureRange(false);
    params.captureRange(3.0);
    params.scaleUncertainty(rxRange(-0.1, 0.1));
    const rxPointMatcherResultSet found = foundIn(images, matcher, params);
    EXPECT_THAT(found.results(), SizeIs(1));
    EXPECT_EQ(found.results().at(0).coverage(), 1.0);
    const rxRefit refit = rfRefit(matcher, images, found.results().at(0), model);
    EXPECT_EQ(refit.model, model);
    EXPECT_EQ(refit.numPairs, 10U);
    return refit;
}

void expectTakesOnto(const rxRefit& refit, const Points& images) {
    for (std::size_t i = 0; i < images.size(); ++i) {
        EXPECT_LT((refit.dataFromModel.a2b(tenPoints()[i]) - images[i]).len(), kExact) << i;
        EXPECT_LT((refit.dataFromModel.b2a(images[i]) - tenPoints()[i]).len(), kExact) << i;
    }
    EXPECT_LT(refit.residual.largest, kExact);
}

TEST(Refit, EachModelGivesBackATransformOfItsOwn) {
    const Points rigid = mapped(poseAt(100, 60, 7), tenPoints());
    expectTakesOnto(refitOf(rigid, Model::eRigid), rigid);
    const Points similar = mapped(poseAt(100, 60, 7, 1.05), tenPoints());
    expectTakesOnto(refitOf(similar, Model::eSimilarity), similar);
    const Points affine =
        mapped(rxXform<2>(rxMatrix<2>(1.03, 0.02, -0.01, 0.98), {100, 60}), tenPoints());
    expectTakesOnto(refitOf(affine, Model::eAffine), affine);
    const rx2PTm tm = rfExactPerspective({1.02, 0.01, 100, -0.02, 0.99, 60, 4e-4, -3e-4});
    Points seen;
    for (const rxVector<2>& p : tenPoints()) seen.push_back(tm.a2b(p));
    expectTakesOnto(refitOf(seen, Model::ePerspective), seen);
}

TEST(Refit, ARicherModelLeavesLessAndAPoorerOneMore) {
    const Points affine =
        mapped(rxXform<2>(rxMatrix<2>(1.03, 0.02, -0.01, 0.98), {100, 60}), tenPoints());
    EXPECT_GT(refitOf(affine, Model::eSimilarity).residual.rms, 0.2);
    EXPECT_LT(refitOf(affine, Model::eAffine).residual.rms, kExact);
    EXPECT_LT(refitOf(affine, Model::ePerspective).residual.rms, kExact);
    const Points grown = mapped(poseAt(100, 60, 0, 1.05), tenPoints());
    const rxRefit rigid = refitOf(grown, Model::eRigid);
    EXPECT_GT(rigid.residual.rms, 0.5);
    EXPECT_NEAR(rigid.dataFromModelXform().xScale(), 1.0, 1e-12);
}

TEST(Refit, ASimilarityIsThePoseOfTheRun) {
    Randoms random(7);
    const Points data = random.shaken(mapped(poseAt(100, 60, 7), tenPoints()), 0.2);
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    const rxPointMatcherResult result = foundIn(data, matcher).results().at(0);
    const rxRefit refit = rfRefit(matcher, data, result, Model::eSimilarity);
    for (const rxVector<2>& p : tenPoints()) {
        const rxVector<2> apart = refit.dataFromModelXform() * p - result.modelToDataXform() * p;
        EXPECT_LT(apart.len(), kExact);
    }
    EXPECT_NEAR(refit.residual.rms, result.fitError(), kExact);
}

TEST(Refit, OfAGridResultStartsFromModelCoordinates) {
    const Picture plate = {"######.", "#.#####", "###.###", "####.##"};
    const rxPointMatcher matcher = trainedOn(imageOf(plate, gridOf({25, 0}, {0, 25})));
    rxPointMatcherRunParams params(0.9);
    params.scaleUncertainty(rxRange(-0.2, 0.2));
    const rx2PTm tm = rfExactPerspective({1, 0, 100, 0, 1, 60, 2e-4, -1e-4});
    Points dots;
    for (const rxVector<2>& p : dotsOf(plate, gridOf({25, 0}, {0, 25}))) dots.push_back(tm.a2b(p));
    const rxPointMatcherResultSet found = foundIn(dots, matcher, params);
    ASSERT_THAT(found.results(), SizeIs(1));
    const rxRefit refit = rfRefit(matcher, dots, found.results()[0], Model::ePerspective);
    EXPECT_EQ(refit.numPairs, dots.size());
    EXPECT_LT((refit.dataFromModel.a2b({75, 50}) - tm.a2b({75, 50})).len(), kExact);
}

TEST(Refit, APerspectiveOneHasNoAffineTransform) {
    const rxRefit refit = refitOf(mapped(poseAt(100, 60), tenPoints()), Model::ePerspective);
    EXPECT_THROW(refit.dataFromModelXform(), Defs::BadParams);
}

TEST(Refit, PairsThatDoNotDetermineTheModelAreRefused) {
    const Points triangle = {{0, 0}, {20, 0}, {0, 30}};
    const rxPointMatcher matcher = trainedOnPoints(triangle);
    const rxPointMatcherResultSet found = foundIn(triangle, matcher);
    ASSERT_THAT(found.results(), SizeIs(1));
    const rxPointMatcherResult& result = found.results()[0];
    EXPECT_NO_THROW(rfRefit(matcher, triangle, result, Model::eAffine));
    EXPECT_THROW(rfRefit(matcher, triangle, result, Model::ePerspective), rxMathError);
    const Points line = {{0, 0}, {20, 0}, {50, 0}};
    const rxPointMatcher ofLine = trainedOnPoints(line);
    const rxPointMatcherResultSet onLine = foundIn(line, ofLine);
    ASSERT_THAT(onLine.results(), SizeIs(1));
    EXPECT_NO_THROW(rfRefit(ofLine, line, onLine.results()[0], Model::eRigid));
    EXPECT_THROW(rfRefit(ofLine, line, onLine.results()[0], Model::eAffine),
                 rxLSPointToPointFitter::Errors);
}

TEST(Refit, AModelThatIsNoneIsRefused) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    const rxPointMatcherResultSet found = foundIn(tenPoints(), matcher);
    EXPECT_THROW(rfRefit(matcher, tenPoints(), found.results().at(0), static_cast<Model::Model>(5)),
                 Defs::BadParams);
}

}  // namespace
