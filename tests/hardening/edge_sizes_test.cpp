#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "foundation/image.h"
#include "foundation/image_functions.h"
#include "foundation/memory_archive.h"
#include "hardening/edge_world.h"
#include "ptmatch/certainty.h"
#include "ptmatch/distinct_instances.h"
#include "ptmatch/gridcorr.h"
#include "ptmatch/matched_pairs.h"
#include "ptmatch/matext.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/ptgdmap.h"
#include "ptmatch/refit.h"
#include "ptmatch/run_cost.h"
#include "ptmatch/why_not.h"
#include "support/allocation_meter.h"
#include "support/archive_bytes.h"

// Nothing, one, two, and the sizes about which 16 bits end: what the headers say of memory is
// counted, not timed.
namespace ptmatch::testing {

namespace {

constexpr long kSide = 256;
constexpr std::size_t kSizes[] = {65535, 65536};

/// The first points of a square of 256 by 256, 10 apart, moved off the grid by a little each.
Points manyPoints(std::size_t count) {
    Points points;
    for (std::size_t i = 0; i < count; ++i) {
        const double x = 10.0 * static_cast<double>(i % kSide);
        const double y = 10.0 * static_cast<double>(i / kSide);
        points.emplace_back(x + 0.01 * static_cast<double>(i % 7), y);
    }
    return points;
}

TEST(EdgeSizes, FewDataAreSearchedInEveryMode) {
    for (EdgeScene scene : {votedScene(), exhaustiveScene()}) {
        const Points all = scene.data;
        scene.params.minCoverage(0.0);
        for (const std::size_t size : {0U, 1U, 2U, 3U}) {
            SCOPED_TRACE(::testing::Message() << scene.name << ", " << size << " data points");
            scene.data.assign(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(size));
            rxPointMatcherResultSet found;
            expectAsReference(scene.matcher(), {}, scene.data, scene.params, found);
            EXPECT_EQ(found.results().empty(), size < 2);
            EXPECT_GE(rfRunCost(scene.matcher(), scene.data, scene.params).work, 0.0);
            EXPECT_EQ(rfWhyNot(scene.matcher(), scene.data, scene.params).numReturned,
                      std::ssize(found.results()));
            EXPECT_TRUE(size >= 2 || rfDistinctInstances(scene.matcher(), found).empty());
            EXPECT_EQ(rfDistinctInstances(scene.matcher(), rxPointMatcherResultSet()).size(), 0U);
            EXPECT_THROW(rfCertainty(scene.matcher(), scene.data, scene.params, found,
                                     found.results().size()),
                         std::out_of_range);
        }
    }
    for (const EdgePlate& plate : {densePlate(), sparsePlate()}) {
        for (const std::size_t size : {0U, 1U, 2U}) {
            SCOPED_TRACE(::testing::Message() << plate.name << ", " << size << " data points");
            Points data = plate.data();
            data.resize(size);
            EXPECT_TRUE(foundIn(data, plate.matcher(), EdgePlate::params()).results().empty());
        }
    }
}

TEST(EdgeSizes, FewerThanThreePointsAreNoPattern) {
    for (const auto mode : {rxPointMatcherDefs::eAutoDetect, rxPointMatcherDefs::eExhaustiveMode}) {
        for (const std::size_t size : {0U, 1U, 2U}) {
            EXPECT_EQ(saidBy([&] { rxPointMatcher().train(manyPoints(size), mode); }),
                      "The number of model points must be >= 3");
        }
        rxPointMatcher matcher;
        matcher.train(manyPoints(3), mode);
        EXPECT_EQ(matcher.modelPoints().size(), 3U);
    }
    for (const std::size_t size : {0U, 1U, 2U}) {
        rxPelBuffer<unsigned char> image(static_cast<long>(size), 1, 32);
        for (long x = 0; x < image.width(); ++x) image.put(x, 0, 1);
        EXPECT_THROW(rxPointMatcher().train(image), rxPointMatcherDefs::InsufficientModelPoints);
    }
}

TEST(EdgeSizes, ModelsAroundTheEndOf16BitsTakeTheMemoryStated) {
    for (const std::size_t size : kSizes) {
        SCOPED_TRACE(size);
        const Points model = manyPoints(size);
        rxPointMatcher matcher;
        {
            const AllocationMeter meter;
            matcher.train(model, rxPointMatcherDefs::eAutoDetect);
            EXPECT_LE(meter.total(), 4096 + 150 * size);
        }
        // However the points lie.
        for (const Points& other :
             {Randoms(3).uniformPoints(size, 1e6), Points(size, rxVector<2>(3, 4))}) {
            rxPointMatcher another;
            const AllocationMeter meter;
            another.train(other, rxPointMatcherDefs::eExhaustiveMode);
            EXPECT_LE(meter.total(), 4096 + 150 * size);
        }
        const std::vector<unsigned char> record = stored(matcher);
        const AllocationMeter meter;
        const auto again = loaded<rxPointMatcher>(record);
        EXPECT_EQ(again.modelPoints().size(), size);
        EXPECT_LE(meter.total(), 4096 + 64 * size);
    }
}

TEST(EdgeSizes, DataAroundTheEndOf16BitsAreFoundInTheMemoryStated) {
    const EdgeScene scene = votedScene();
    const rxPointMatcher matcher = scene.matcher();
    for (const std::size_t size : kSizes) {
        SCOPED_TRACE(size);
        // Far from the clutter, at the very end of the data.
        Points data = manyPoints(size - scene.model.size());
        for (const rxVector<2>& p : scene.model) data.push_back(p + rxVector<2>(2700, 100));
        rxPointMatcherRunParams params(0.9);
        params.rotationUncertainty(rxAngleRange(rxDegree(0), rxDegree(0)));
        params.xTranslationUncertainty(rxRange(2600, 2800));
        rxPointMatcherResultSet found;
        const double imageBytes = rfRunCost(matcher, data, params).imageBytes;
        const AllocationMeter meter;
        matcher.run(data, params, found);
        EXPECT_LE(static_cast<double>(meter.total()),
                  (1 << 20) + 2.0 * imageBytes + 100.0 * static_cast<double>(size));
        ASSERT_EQ(found.results().size(), 1U);
        EXPECT_EQ(found.results()[0].coverage(), 1.0);
        EXPECT_EQ(found.results()[0].modelToDataMap().back(), static_cast<long>(size) - 1);
    }
}

TEST(EdgeSizes, GridsAroundTheEndOf16BitsAreMappedAndPlacedInTheMemoryStated) {
    for (const std::size_t size : kSizes) {
        SCOPED_TRACE(size);
        const Points points = manyPoints(size);
        rxPtToGridMapResult mapped;
        {
            const AllocationMeter meter;
            const long numMapped =
                rfPtToGridMap(points, rxPtToGridMapRunParams({10, 0}, {0, 10}), mapped);
            EXPECT_EQ(numMapped, static_cast<long>(size));
            EXPECT_LE(meter.total(), 65536 + 400 * size);
        }
        rx_PointToGridCorresponder tool;
        rx_PointToGridCorresponderResultSet found;
        const AllocationMeter meter;
        tool.train(mapped.map(), rx_PointToGridCorresponderTrainParams(), rxXform<2>::I);
        tool.run(mapped.map(), rx_PointToGridCorresponderRunParams(1.0), found);
        EXPECT_LE(meter.total(), 65536 + 100 * size);
        ASSERT_EQ(found.results().size(), 1U);
        EXPECT_EQ(found.results()[0].position(), rxPair<long>(0, 0));
    }
}

/// Found in few data, 40 units away: the first ten points of the model.
void expectFirstTenFound(const rxPointMatcher& matcher, const Points& model, double coverage) {
    Points data;
    for (std::size_t i = 0; i < 10; ++i) data.push_back(model[i] + rxVector<2>(40, -20));
    rxPointMatcherRunParams params(0.9 * coverage);
    params.rotationUncertainty(rxAngleRange(rxDegree(0), rxDegree(0)));
    params.autoGridSize(false);
    params.gridSize(2.0);
    params.autoCaptureRange(false);
    params.captureRange(3.0);
    rxPointMatcherResultSet found;
    const double imageBytes = rfRunCost(matcher, data, params).imageBytes;
    {
        const AllocationMeter meter;
        matcher.run(data, params, found);
        EXPECT_LE(static_cast<double>(meter.total()),
                  (1 << 20) + 2.0 * imageBytes + 400.0 * static_cast<double>(model.size()));
    }
    ASSERT_EQ(found.results().size(), 1U);
    const rxPointMatcherResult& best = found.results()[0];
    EXPECT_DOUBLE_EQ(best.coverage(), coverage);
    ASSERT_EQ(best.modelToDataMap().size(), model.size());
    for (std::size_t i = 0; i < model.size(); ++i) {
        ASSERT_EQ(best.modelToDataMap()[i], i < 10 ? static_cast<long>(i) : -1) << i;
    }
    EXPECT_EQ(rfMatchedPairs(matcher, data, best).data, data);
    EXPECT_LT(rfRefit(matcher, data, best, rxRefitDefs::eRigid).residual.largest, 1e-9);
    EXPECT_EQ(rfCertainty(matcher, data, params, found, 0).residuals.size(), 10U);
    EXPECT_EQ(rfDistinctInstances(matcher, found), std::vector<std::size_t>{0});
    const auto record = stored(found);
    EXPECT_EQ(stored(loaded<rxPointMatcherResultSet>(record)), record);
}

TEST(EdgeSizes, ModelsAroundTheEndOf16BitsAreFoundInFewData) {
    for (const std::size_t size : kSizes) {
        SCOPED_TRACE(size);
        // The ten lie about the middle of the others, which is looked for among the data.
        Points model = manyPoints(size);
        const Points ten = tenPoints();
        rxVector<2> middle;
        for (const rxVector<2>& p : ten) middle = middle + rxVector<2>(p.x() / 10, p.y() / 10);
        for (std::size_t i = 0; i < 10; ++i) {
            model[i] = ten[i] - middle + rxVector<2>(1275, 1275);
        }
        rxPointMatcher plain;
        plain.train(model, rxPointMatcherDefs::eAutoDetect);
        expectFirstTenFound(plain, model, 10.0 / static_cast<double>(size));
        std::vector<long> weights(size, 0);
        std::fill_n(weights.begin(), 10, 5);
        rxPointMatcher weighted;
        weighted.train(model, weights, rxPointMatcherDefs::eAutoDetect);
        expectFirstTenFound(weighted, model, 1.0);
    }
}

TEST(EdgeSizes, PlatesAroundTheEndOf16BitsAreFoundWhole) {
    for (const std::size_t size : kSizes) {
        SCOPED_TRACE(size);
        rxPelBuffer<unsigned char> plate(kSide, kSide, 32);
        rfPelSet(plate, 1);
        const bool isFull = size == 65536;
        if (!isFull) plate.put(kSide - 1, kSide - 1, 0);
        plate.clientFromImageXform(rxXform<2>(rxMatrix<2>(10, 0, 0, 10), rxVector<2>()));
        rxPointMatcher matcher;
        matcher.train(plate);
        const Points data = manyPoints(size);
        rxPointMatcherResultSet found;
        {
            const AllocationMeter meter;
            matcher.run(data, EdgePlate::params(), found);
            EXPECT_LE(meter.total(), (1U << 20U) + 500U * size);
        }
        ASSERT_EQ(found.results().size(), 1U);
        EXPECT_EQ(found.results()[0].coverage(), 1.0);
        EXPECT_EQ(found.results()[0].gridToDataMap({kSide - 2, kSide - 1}), 65534);
        EXPECT_EQ(found.results()[0].gridToDataMap({kSide - 1, kSide - 1}), isFull ? 65535 : -1);
        const auto record = stored(found);
        EXPECT_EQ(stored(loaded<rxPointMatcherResultSet>(record)), record);
        // The same on images of the positions.
        rx_PointToGridCorresponder tool;
        tool.train(plate, rx_PointToGridCorresponderTrainParams());
        rx_PointToGridCorresponderResultSet placed;
        EXPECT_TRUE(tool.run(plate, rx_PointToGridCorresponderRunParams(1.0), placed));
        ASSERT_EQ(placed.results().size(), 1U);
        EXPECT_EQ(placed.results()[0].score(), 1.0);
    }
}

TEST(EdgeSizes, SparsePlatesAreFoundAmongDataAroundTheEndOf16Bits) {
    Randoms randoms(5);
    Picture picture(60, std::string(60, '.'));
    for (int i = 0; i < 60; ++i) {
        const auto row = static_cast<std::size_t>(randoms.uniform(0, 60));
        picture[row][static_cast<std::size_t>(randoms.uniform(0, 60))] = '#';
    }
    const rxXform<2> grid = gridOf({10, 0}, {0, 10});
    rxPointMatcher matcher;
    matcher.train(imageOf(picture, grid));
    rxPointMatcherRunParams params = EdgePlate::params();
    params.rotationUncertainty(rxAngleRange(rxDegree(-10), rxDegree(10)));
    const rxPair<long> place(150, 100);
    for (const std::size_t size : kSizes) {
        SCOPED_TRACE(size);
        // Three of four nodes of a plate that is larger than the pattern, and all of the pattern's.
        Points data;
        std::vector<long> expected;
        for (long y = 0; data.size() < size; ++y) {
            for (long x = 0; x < 320 && data.size() < size; ++x) {
                const rxPair<long> inPattern = rxPair<long>(x, y) - place;
                const bool isInside = inPattern.x() >= 0 && inPattern.x() < 60 &&
                                      inPattern.y() >= 0 && inPattern.y() < 60;
                const bool isDot = isInside && picture[static_cast<std::size_t>(inPattern.y())]
                                                      [static_cast<std::size_t>(inPattern.x())] ==
                                                   '#';
                if (isDot) expected.push_back(static_cast<long>(data.size()));
                if (isDot || randoms.uniform(0, 1) < 0.75)
                    data.push_back(grid * rxPair<long>(x, y));
            }
        }
        rxPointMatcherResultSet found;
        const AllocationMeter meter;
        matcher.run(data, params, found);
        EXPECT_LE(meter.total(), (1U << 20U) + 500U * size);
        ASSERT_EQ(found.results().size(), 1U);
        EXPECT_EQ(found.results()[0].coverage(), 1.0);
        std::vector<long> taken;
        for (const rxPair<long>& dot : positionsOf(picture)) {
            taken.push_back(found.results()[0].gridToDataMap(dot));
        }
        EXPECT_EQ(taken, expected);
    }
}

TEST(EdgeSizes, SparsePlatesWithDotsAroundTheEndOf16BitsTakeTheMemoryStated) {
    for (const std::size_t size : kSizes) {
        SCOPED_TRACE(size);
        rxPelBuffer<unsigned char> plate(8 * kSide, 8 * kSide, 32);
        rfPelClear(plate);
        for (std::size_t i = 0; i < size; ++i) {
            const auto dot = static_cast<long>(i);
            plate.put(8 * (dot % kSide), 8 * (dot / kSide), 1);
        }
        plate.clientFromImageXform(gridOf({10, 0}, {0, 10}));
        rxPointMatcher matcher;
        {
            const AllocationMeter meter;
            matcher.train(plate);
            EXPECT_LE(meter.total(), (8U << 20U) + 500U * size);
        }
        const auto record = stored(matcher);
        EXPECT_EQ(stored(loaded<rxPointMatcher>(record)), record);
        // Nine of so many are no plate.
        const AllocationMeter meter;
        EXPECT_TRUE(foundIn(dotsOf({"###", "###", "###"}, gridOf({10, 0}, {0, 10})), matcher,
                            EdgePlate::params())
                        .results()
                        .empty());
        EXPECT_LE(meter.total(), (8U << 20U) + 500U * size);
    }
}

TEST(EdgeSizes, ExhaustiveSearchOfManyPointsIsToldBeforehandAndOneIsNoPair) {
    const EdgeScene scene = exhaustiveScene();
    for (const std::size_t size : kSizes) {
        const auto many = static_cast<double>(size);
        const double work = rfRunCost(scene.matcher(), manyPoints(size), scene.params).work;
        EXPECT_GT(work, std::pow(many - 4.0, 4.0));
        EXPECT_LT(work, std::pow(many + 1.0, 4.0));
        rxPointMatcher matcher;
        matcher.train(manyPoints(size), rxPointMatcherDefs::eExhaustiveMode);
        const Points one = {{3, 4}};
        const AllocationMeter meter;
        EXPECT_TRUE(foundIn(one, matcher, scene.params).results().empty());
        EXPECT_LE(meter.total(), (1U << 20U) + 200U * size);
    }
}

TEST(EdgeSizes, MatricesAndImagesAreAsLargeAsTheirElements) {
    for (const long size : {1L, 2L, 65535L, 65536L}) {
        SCOPED_TRACE(size);
        const auto bytes = static_cast<std::size_t>(size) * sizeof(double);
        for (const bool isTall : {false, true}) {
            const AllocationMeter meter;
            rxMatrixExt matrix;
            isTall ? matrix.resize(size, 1) : matrix.resize(1, size);
            EXPECT_LE(meter.total(), bytes + 64);
            const rxPelBuffer<unsigned char> image(isTall ? 1 : size, isTall ? size : 1, 1);
            EXPECT_LE(meter.total(), 2 * bytes + 512);
        }
    }
}

}  // namespace

}  // namespace ptmatch::testing
