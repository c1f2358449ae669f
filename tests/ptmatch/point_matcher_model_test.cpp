#include "ptmatch/point_matcher_model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

#include "foundation/geometry_archive.h"
#include "support/archive_bytes.h"
#include "support/archive_tampering.h"
#include "support/assertion_recorder.h"

namespace {

using ptmatch::testing::AssertionRecorder;
using ptmatch::testing::ByteVector;
using ptmatch::testing::joined;
using ptmatch::testing::loaded;
using ptmatch::testing::stored;
using Model = rx_PointMatcherModel;
using Points = std::vector<rxVector<2>>;
using Weights = std::vector<long>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

const Points kTriangle = {{0, 0}, {4, 0}, {0, 3}};

Model trained(const Points& points) {
    Model model;
    model.train(points);
    return model;
}

Model trained(const Points& points, const Weights& weights, long total) {
    Model model;
    model.train(points, weights, total);
    return model;
}

void expectSame(const Model& a, const Model& b) {
    EXPECT_EQ(a.isTrained(), b.isTrained());
    EXPECT_EQ(a.points(), b.points());
    EXPECT_EQ(a.weights(), b.weights());
    EXPECT_EQ(a.totalWeight(), b.totalWeight());
    EXPECT_EQ(a.defaultGridSize(), b.defaultGridSize());
    EXPECT_EQ(a.bounds(), b.bounds());
    EXPECT_EQ(a.center(), b.center());
    EXPECT_EQ(a.radius(), b.radius());
}

TEST(PointMatcherModel, TrainingDerivesTheQuantities) {
    const Model model = trained(kTriangle);
    EXPECT_TRUE(model.isTrained());
    EXPECT_EQ(model.points(), kTriangle);
    EXPECT_FALSE(model.isWeighted());
    EXPECT_EQ(model.totalWeight(), 3);
    EXPECT_EQ(model.defaultGridSize(), 0.75);
    EXPECT_EQ(model.bounds(), rxRectangle<double>(0, 0, 4, 3));
    EXPECT_EQ(model.center(), rxVector<2>(2, 1.5));
    EXPECT_EQ(model.radius(), 2.5);
}

TEST(PointMatcherModel, ScaleStepIsOneAndAHalfGridCellsAtTheRadius) {
    const Model model = trained(kTriangle);
    EXPECT_EQ(model.scaleStep_(0.5), 1.5 * 0.5 / 2.5);
    EXPECT_EQ(model.scaleStep_(0.0), 1.5 * 0.75 / 2.5);
    EXPECT_EQ(model.scaleStep_(-1.0), 1.5 * 0.75 / 2.5);
}

TEST(PointMatcherModel, RotationStepIsTwoGridCellsAtTheScaledRadius) {
    const Model model = trained(kTriangle);
    EXPECT_EQ(model.rotationStep_(2.0, 0.5), std::atan2(1.0, 5.0) * 180.0 / 3.1415926);
    EXPECT_EQ(model.rotationStep_(1.0, 0.0), std::atan2(1.5, 2.5) * 180.0 / 3.1415926);
    EXPECT_EQ(model.rotationStep_(1.0, -2.0), std::atan2(1.5, 2.5) * 180.0 / 3.1415926);
    // A right angle comes out a little above 90, as the divisor lies below pi.
    EXPECT_EQ(trained(Points(3)).rotationStep_(1.0, 1.0), std::numbers::pi / 2 * 180.0 / 3.1415926);
}

TEST(PointMatcherModel, MatchedWeightSumsWhatIsMapped) {
    const Model model = trained(kTriangle, {5, 1, -3}, 6);
    EXPECT_EQ(model.matchedWeight({0, 1, 2}), 3);
    EXPECT_EQ(model.matchedWeight({7, -1, -1}), 5);
    EXPECT_EQ(model.matchedWeight({-1, -5, 0}), -3);
    EXPECT_EQ(model.matchedWeight({-1, -1, -1}), 0);
}

TEST(PointMatcherModel, MatchedWeightWithoutWeightsIsReported) {
    const AssertionRecorder recorder;
    EXPECT_EQ(trained(kTriangle).matchedWeight({0, 1, 2}), 0);
    EXPECT_EQ(recorder.codes().size(), 1U);
}

TEST(PointMatcherModel, RecordHoldsVersionThenFieldsInOrder) {
    const ByteVector zero(8, 0);
    const ByteVector three = {0, 0, 0, 0, 0, 0, 0x08, 0x40};
    const ByteVector four = {0, 0, 0, 0, 0, 0, 0x10, 0x40};
    const ByteVector expected = joined({
        {1, 0, 0, 0},                    // version
        {1},                             // trained
        {0, 0, 0, 0, 0, 0, 0xe8, 0x3f},  // default grid size 0.75
        zero,
        zero,
        four,
        three,                           // bounds
        {0, 0, 0, 0, 0, 0, 0x00, 0x40},  // centre 2,
        {0, 0, 0, 0, 0, 0, 0xf8, 0x3f},  //   1.5
        {0, 3, 0, 0, 0},
        zero,
        zero,
        four,
        zero,
        zero,
        three,                                    // points
        {0, 0, 0, 0, 0, 0, 0x04, 0x40},           // radius 2.5
        {0, 3, 0, 0, 0, 5, 0, 0, 0, 1, 0, 0, 0},  // weights 5, 1,
        {0xfd, 0xff, 0xff, 0xff},                 //   -3
        {6, 0, 0, 0},                             // total weight
    });
    EXPECT_EQ(stored(trained(kTriangle, {5, 1, -3}, 6)), expected);
}

TEST(PointMatcherModel, LoadReversesStore) {
    const Points scattered = {{0.1, 0.7}, {1e5 + 0.3, -7.0 / 3}, {0.1, 0.2}, {-3.3, 1e-9}};
    const Model models[] = {Model(),
                            trained(kTriangle),
                            trained(kTriangle, {5, 1, -3}, 6),
                            trained(scattered),
                            trained(Points(4, rxVector<2>(0.1, 0.2))),
                            trained(Points{{-1e300, 0}, {1e300, 1}, {3, 1e308}, {0, -1e308}})};
    for (const Model& model : models) {
        const ByteVector bytes = stored(model);
        expectSame(loaded<Model>(bytes, trained(kTriangle, {1, 1, 1}, 3)), model);
        EXPECT_EQ(stored(loaded<Model>(bytes)), bytes);
    }
}

/// The parts of a record, to be changed one by one.
struct Record {
    unsigned long version = 1;
    bool trained = true;
    double gridSize = 0.75;
    rxRectangle<double> bounds{0, 0, 4, 3};
    rxVector<2> center{2, 1.5};
    Points points = kTriangle;
    double radius = 2.5;
    Weights weights = {5, 1, -3};
    long totalWeight = 6;

    ByteVector bytes() {
        rxMemoryStoreArchive ar;
        ar || version || trained || gridSize;
        rf_PersistenceHelper(ar, bounds) || center || points || radius;
        if (version == 1) ar || weights || totalWeight;
        return ar.takeStored();
    }
};

template <class Change>
Record changed(Change change) {
    Record record;
    change(record);
    return record;
}

/// Loads into a model of other contents, which must survive a refusal.
void expectRefused(Record record, const char* message) {
    const ByteVector bytes = record.bytes();
    const Model before = trained(Points{{1, 1}, {2, 2}, {5, 9}}, {1, 2, 3}, 6);
    Model target = before;
    rxMemoryLoadArchive ar(bytes);
    EXPECT_THAT([&] { ar || target; },
                ::testing::ThrowsMessage<rxArchive::Errors>(::testing::HasSubstr(message)));
    expectSame(target, before);
}

void expectLoaded(Record record) {
    const Model model = loaded<Model>(record.bytes());
    EXPECT_EQ(model.points(), record.points);
    EXPECT_EQ(model.defaultGridSize(), record.gridSize);
}

TEST(PointMatcherModelRecord, OlderVersionsHaveNoWeights) {
    for (const unsigned long version : {0UL, 200009UL}) {
        Record record;
        record.version = version;
        const ByteVector bytes = record.bytes();
        rxMemoryLoadArchive ar(bytes);
        Model model = trained(kTriangle, {5, 1, -3}, 6);
        ar || model;
        EXPECT_EQ(ar.bytesLeft(), 0U);
        EXPECT_TRUE(model.weights().empty());
        EXPECT_EQ(model.totalWeight(), 3);
        expectSame(model, trained(kTriangle));
    }
}

TEST(PointMatcherModelRecord, OtherVersionsAreUnknown) {
    for (const unsigned long version : {2UL, 200008UL, 200010UL, 4294967295UL}) {
        Record record;
        record.version = version;
        try {
            loaded<Model>(record.bytes());
            ADD_FAILURE() << "version " << version << " was read";
        } catch (const rxArchive::UnknownVersion& error) {
            EXPECT_STREQ(error.source(), "ptmatch/ppmatch");
            EXPECT_EQ(error.line(), 784);
        }
    }
}

TEST(PointMatcherModelRecord, PointsHaveToBeFinite) {
    const char* const message = "a coordinate is not finite";
    expectRefused(changed([](Record& r) { r.points[0].x(kNaN); }), message);
    expectRefused(changed([](Record& r) { r.points[1].y(kInfinity); }), message);
    expectRefused(changed([](Record& r) { r.points[2].x(-kInfinity); }), message);
    expectRefused(changed([](Record& r) {
                      r.trained = false;
                      r.points[0].x(kNaN);
                  }),
                  message);
}

TEST(PointMatcherModelRecord, WeightsHaveToBeAsManyAsPoints) {
    const char* const message = "the numbers of points and weights differ";
    expectRefused(changed([](Record& r) { r.weights.pop_back(); }), message);
    expectRefused(changed([](Record& r) { r.weights.push_back(0); }), message);
}

TEST(PointMatcherModelRecord, TotalWeightHasToBeTheSum) {
    const char* const message = "the total weight is not that of the points";
    expectRefused(changed([](Record& r) { r.totalWeight = 3; }), message);  // negative one included
    expectRefused(changed([](Record& r) { r.totalWeight = 0; }), message);
    expectRefused(changed([](Record& r) { r.weights.clear(); }), message);
    // A sum beyond 32 bits cannot be recorded, so that no total fits such weights.
    expectRefused(changed([](Record& r) { r.weights = {2147483647, 1, 0}; }), message);
    expectLoaded(changed([](Record& r) {
        r.weights.clear();
        r.totalWeight = 3;
    }));
}

TEST(PointMatcherModelRecord, TrainedModelHasThreePointsAndTwoPositiveWeights) {
    expectRefused(changed([](Record& r) {
                      r.points = {{0, 0}, {4, 3}};
                      r.weights.clear();
                      r.totalWeight = 2;
                  }),
                  "fewer than 3 points");
    expectRefused(changed([](Record& r) {
                      r.points.clear();
                      r.weights.clear();
                      r.totalWeight = 0;
                  }),
                  "fewer than 3 points");
    expectRefused(changed([](Record& r) {
                      r.weights = {6, 0, -3};
                  }),
                  "fewer than two positive weights");
}

TEST(PointMatcherModelRecord, UntrainedModelNeedsNoQuantities) {
    const Model model = loaded<Model>(changed([](Record& r) {
                                          r.trained = false;
                                          r.points.clear();
                                          r.weights.clear();
                                          r.totalWeight = 0;
                                          r.gridSize = kNaN;
                                      }).bytes());
    EXPECT_FALSE(model.isTrained());
}

TEST(PointMatcherModelRecord, GridSizeHasToBePositive) {
    const char* const message = "the grid size is not above 0";
    expectRefused(changed([](Record& r) { r.gridSize = 0.0; }), message);
    expectRefused(changed([](Record& r) { r.gridSize = -0.75; }), message);
    expectRefused(changed([](Record& r) { r.gridSize = -kInfinity; }), message);
    expectRefused(changed([](Record& r) { r.gridSize = kNaN; }), message);
    expectLoaded(changed([](Record& r) { r.gridSize = kInfinity; }));
}

TEST(PointMatcherModelRecord, ExtentHasToBeThatOfThePoints) {
    const char* const message = "the bounds, centre or radius are not those of the points";
    const double off = 1e-9;  // far beyond rounding at coordinates of about 4
    expectRefused(changed([&](Record& r) { r.bounds = {off, 0, 4, 3}; }), message);
    expectRefused(changed([&](Record& r) { r.bounds = {0, off, 4, 3}; }), message);
    expectRefused(changed([&](Record& r) { r.bounds = {0, 0, 4 + off, 3}; }), message);
    expectRefused(changed([&](Record& r) { r.bounds = {0, 0, 4, 3 - off}; }), message);
    expectRefused(changed([&](Record& r) { r.center.x(2 + off); }), message);
    expectRefused(changed([&](Record& r) { r.center.y(1.5 - off); }), message);
    expectRefused(changed([&](Record& r) { r.radius = 2.5 + off; }), message);
    expectRefused(changed([&](Record& r) { r.radius = -2.5; }), message);
    expectRefused(changed([&](Record& r) { r.radius = kNaN; }), message);
    expectRefused(changed([&](Record& r) { r.center.x(kInfinity); }), message);
    expectRefused(changed([&](Record& r) { r.bounds = {0, 0, kInfinity, 3}; }), message);
}

TEST(PointMatcherModelRecord, RoundingOfAnotherWriterIsForgivenAndReplaced) {
    const double eps = std::numeric_limits<double>::epsilon();
    const Model model = loaded<Model>(changed([&](Record& r) {
                                          r.center.x(2 + 2 * eps);
                                          r.radius = 2.5 - 4 * eps;
                                          r.bounds = {0, eps, 4 - 4 * eps, 3};
                                      }).bytes());
    expectSame(model, trained(kTriangle, {5, 1, -3}, 6));
}

TEST(PointMatcherModelRecord, DamagedRecordsAreRefusedOrLoaded) {
    const auto load = [](rxArchive& ar) {
        Model fresh;
        ar || fresh;
    };
    const std::size_t refused =
        ptmatch::testing::expectTamperingHandled(stored(trained(kTriangle, {5, 1, -3}, 6)), load);
    EXPECT_GT(refused, 0U);
    ptmatch::testing::expectTamperingHandled(stored(trained(kTriangle)), load);
    ptmatch::testing::expectTamperingHandled(stored(Model()), load);
}

}  // namespace
