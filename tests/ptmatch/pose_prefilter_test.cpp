#include "ptmatch/pose_prefilter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "foundation/range.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/point_matcher_run_params.h"

// That it never drops what it must keep is for the comparison with the plain odometer; here, that
// it drops what it can.
namespace {

using ptmatch::detail::PairSums;
using ptmatch::detail::PosePrefilter;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Points = std::vector<rxVector<2>>;

const Points kTriangle = {{0, 0}, {7, 1}, {2, 10}};
constexpr double kCaptureRange = 0.5;

rxPointMatcherRunParams anyPose() {
    rxPointMatcherRunParams params;
    params.rotationUncertainty(rxAngleRange::FullRange());
    params.scaleUncertainty(rxRange(-0.9, 100.0));
    return params;
}

std::unique_ptr<PosePrefilter> prefilterOf(const Points& data,
                                           const rxPointMatcherRunParams& params, int dof,
                                           const Points& points = kTriangle) {
    rx_PointMatcherModel model;
    model.train(points);
    return std::make_unique<PosePrefilter>(data, model, params, kCaptureRange, rxXform<2>(), true,
                                           dof);
}

// First the pairs of equal index, then those of model points 0, 1 with data points 1, 0.
std::vector<std::uint32_t> survivors(PosePrefilter& prefilter, long minWeight) {
    PairSums straight;
    for (std::size_t i = 0; i < 3; ++i) straight += prefilter.sumsOf(i, i);
    prefilter.add(straight, PairSums{});
    prefilter.add(prefilter.sumsOf(0, 1), prefilter.sumsOf(1, 0));
    const auto kept = prefilter.takeSurvivors(minWeight);
    return {kept.begin(), kept.end()};
}

TEST(PosePrefilter, DropsWhatCapturesTooLittle) {
    const auto prefilter = prefilterOf(kTriangle, anyPose(), 4);
    EXPECT_THAT(survivors(*prefilter, 2), ElementsAre(0, 1));
    EXPECT_THAT(survivors(*prefilter, 3), ElementsAre(0));
    EXPECT_THAT(survivors(*prefilter, 4), IsEmpty());
    EXPECT_EQ(prefilter->size(), 0U);
}

TEST(PosePrefilter, DropsWhatIsTurnedTooFar) {
    rxPointMatcherRunParams params = anyPose();
    params.rotationUncertainty(rxAngleRange(rxDegree(-10), rxDegree(0)));
    EXPECT_THAT(survivors(*prefilterOf(kTriangle, params, 3), 2), ElementsAre(0));
    params.rotationUncertainty(rxAngleRange(rxDegree(170), rxDegree(190)));
    EXPECT_THAT(survivors(*prefilterOf(kTriangle, params, 3), 2), ElementsAre(1));
    params.rotationUncertainty(rxAngleRange(rxDegree(20), rxDegree(40)));
    EXPECT_THAT(survivors(*prefilterOf(kTriangle, params, 4), 2), IsEmpty());
}

TEST(PosePrefilter, DropsWhatIsShiftedTooFar) {
    rxPointMatcherRunParams params = anyPose();
    params.xTranslationUncertainty(rxRange(-1.0, 0.0));
    EXPECT_THAT(survivors(*prefilterOf(kTriangle, params, 3), 2), ElementsAre(0));
    params.yTranslationUncertainty(rxRange(0.5, 1.5));
    EXPECT_THAT(survivors(*prefilterOf(kTriangle, params, 3), 2), IsEmpty());
    params.xTranslationUncertainty(rxRange(6.0, 7.0));
    EXPECT_THAT(survivors(*prefilterOf(kTriangle, params, 3), 2), ElementsAre(1));
}

TEST(PosePrefilter, DropsWhatHasTheWrongScale) {
    rxPointMatcherRunParams params = anyPose();
    params.scaleUncertainty(rxRange(-0.1, 0.0));
    EXPECT_THAT(survivors(*prefilterOf(kTriangle, params, 4), 2), ElementsAre(0, 1));
    params.scaleUncertainty(rxRange(0.1, 0.2));
    EXPECT_THAT(survivors(*prefilterOf(kTriangle, params, 4), 2), IsEmpty());
    params.scaleUncertainty(rxRange(-0.2, -0.1));
    EXPECT_THAT(survivors(*prefilterOf(kTriangle, params, 4), 2), IsEmpty());
}

TEST(PosePrefilter, PassesEverythingWhereItsBoundDoesNotHold) {
    Points far;
    for (const rxVector<2>& p : kTriangle) far.push_back(p + rxVector<2>(1e9, 0));
    EXPECT_THAT(survivors(*prefilterOf(far, anyPose(), 4), 4), ElementsAre(0, 1));
    EXPECT_THAT(survivors(*prefilterOf(kTriangle, anyPose(), 4, far), 4), ElementsAre(0, 1));
}

}  // namespace
