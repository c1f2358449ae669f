#include "fit_picture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "sample_pairs.h"
#include "xml_check.h"

using namespace ptmatch::tool;
using testing::HasSubstr;
using testing::Not;

namespace {

FitReport reportWithOutlier() {
    PairTable pairs = samplePairs(FitModel::kAffine, 15);
    pairs.b[4][0] += 6.0;
    return reportOnFit(FitModel::kAffine, pairs, "plates/p.csv");
}

}  // namespace

TEST(FitPicture, ShowsEveryPairAndItsResidual) {
    const std::string svg = fitPicture(reportWithOutlier(), YAxis::kDown);
    EXPECT_EQ(xmlFault(svg), "");
    EXPECT_EQ(countElements(svg, "circle", "measured"), 15U);
    EXPECT_EQ(countElements(svg, "circle", "mapped"), 15U);
    EXPECT_EQ(countElements(svg, "line", "residuals"), 15U);
    EXPECT_EQ(countElements(svg, "circle", "worst"), 1U);
    EXPECT_THAT(svg, HasSubstr("affine, 15 pairs"));
    EXPECT_THAT(svg, HasSubstr("pair 5, line 6: off by "));
}

TEST(FitPicture, SmallResidualsAreDrawnLonger) {
    PairTable pairs = samplePairs(FitModel::kAffine, 15);
    pairs.b[4][0] += 0.01;
    const FitReport report = reportOnFit(FitModel::kAffine, pairs, "p.csv");
    EXPECT_THAT(fitPicture(report, YAxis::kDown), HasSubstr("residual, drawn 100\u00d7"));
}

TEST(FitPicture, PointsMappedFarOutAreLeftAway) {
    FitReport report = reportWithOutlier();
    report.fitted.images[2] = {1e12, 5, 0};
    report.fitted.images[3] = {std::numeric_limits<double>::infinity(), 5, 0};
    report.fitted.images[4] = {std::numeric_limits<double>::quiet_NaN(), 5, 0};
    const std::string svg = fitPicture(report, YAxis::kUp);
    EXPECT_EQ(xmlFault(svg), "");
    EXPECT_EQ(countElements(svg, "circle", "measured"), 15U);
    EXPECT_EQ(countElements(svg, "circle", "mapped"), 12U);
    EXPECT_THAT(svg, Not(HasSubstr("\"inf")));
    EXPECT_THAT(svg, Not(HasSubstr("\"nan")));
}
