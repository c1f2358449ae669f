// The search over bits against plain_probe.h, for exact equality of every score and position and
// of their order.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include "foundation/image_functions.h"
#include "plain_probe.h"
#include "ptmatch/gridcorr.h"

namespace {

using Defs = rx_PointToGridCorresponderDefs;
using Tool = rx_PointToGridCorresponder;
using RunParams = rx_PointToGridCorresponderRunParams;
using Positions = std::vector<rxPair<long>>;
using ptmatch::testing::PlainPlacement;
using ptmatch::testing::PlainProbe;

class Random {
  public:
    explicit Random(unsigned seed) : engine_(seed) {}

    long upTo(long last) { return std::uniform_int_distribution<long>(0, last)(engine_); }
    long between(long first, long last) { return first + upTo(last - first); }
    double unit() { return std::uniform_real_distribution<double>(0.0, 1.0)(engine_); }
    bool chance(double probability) { return unit() < probability; }
    Positions shuffled(Positions positions) {
        std::shuffle(positions.begin(), positions.end(), engine_);
        return positions;
    }

  private:
    std::mt19937 engine_;
};

/// A part of a grid with holes, perhaps of a staggered one; one position at least.
Positions randomPattern(Random& random, bool staggered, long maxSize) {
    const rxPair<long> origin(random.between(-40, 40), random.between(-40, 40));
    const long width = random.between(1, maxSize);
    const long height = random.between(1, maxSize);
    const double fill = random.unit();
    Positions pattern;
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) {
            if (staggered && (x + y) % 2 != 0) continue;
            if (random.chance(fill)) pattern.push_back(origin + rxPair<long>(x, y));
        }
    }
    if (pattern.empty()) pattern.push_back(origin);
    return pattern;
}

/// Some occurrences of the pattern with points missing and added, in any order, some twice.
Positions randomData(Random& random, const Positions& pattern, long spread) {
    Positions data;
    const double kept = random.unit();
    for (long n = random.upTo(3); n >= 0; --n) {
        const rxPair<long> shift(random.between(-spread, spread), random.between(-spread, spread));
        for (const rxPair<long>& p : pattern) {
            if (random.chance(kept)) data.push_back(p + shift);
            if (random.chance(0.05)) data.push_back(p + shift);
        }
    }
    const rxPair<long> centre = pattern.front();
    for (long n = random.upTo(30); n >= 0; --n) {
        data.push_back(centre + rxPair<long>(random.between(-spread, spread),
                                             random.between(-spread, spread)));
    }
    return random.shuffled(std::move(data));
}

/// Mostly what callers ask for, and what may just be reached, missed or never be asked for.
RunParams randomRun(Random& random, std::size_t numProbes) {
    double accept = random.unit();
    if (random.chance(0.3)) {  // exactly so many probes, rounded either way
        accept = static_cast<double>(random.upTo(static_cast<long>(numProbes) + 1)) /
                 static_cast<double>(numProbes);
    }
    if (random.chance(0.02)) accept = -accept;
    constexpr long kMaxNumResults[] = {1, 1, 2, 3, 5, 20, 1000, 2147483647, 0, -1};
    return RunParams(accept, random.unit(),
                     kMaxNumResults[random.upTo(random.chance(0.05) ? 9 : 7)]);
}

std::vector<PlainPlacement> placementsOf(const rx_PointToGridCorresponderResultSet& results) {
    std::vector<PlainPlacement> placements;
    for (const rx_PointToGridCorresponderResult& result : results.results()) {
        EXPECT_TRUE(result.found());
        placements.push_back({result.score(), result.position()});
    }
    return placements;
}

PlainProbe plainOf(const Tool& tool) {
    const rxPelBuffer<unsigned char>& pattern = tool.pattern();
    return PlainProbe(tool.probes(), rxPelRect(pattern.offset().x(), pattern.offset().y(),
                                               pattern.width() - 1, pattern.height() - 1));
}

template <class Data>
void expectSame(const Tool& tool, const Data& data, const RunParams& params, std::size_t& found) {
    rx_PointToGridCorresponderResultSet results;
    const std::vector<PlainPlacement> expected = plainOf(tool).run(data, params);
    const bool isFound = tool.run(data, params, results);
    EXPECT_EQ(isFound, !expected.empty());
    const std::vector<PlainPlacement> actual = placementsOf(results);
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) ASSERT_TRUE(actual[i] == expected[i]) << i;
    found += expected.size();
}

Tool randomTool(Random& random, Positions& pattern, long maxSize) {
    const bool staggered = random.chance(0.4);
    pattern = randomPattern(random, staggered, maxSize);
    Tool tool;
    tool.train(random.shuffled(pattern),
               rx_PointToGridCorresponderTrainParams(
                   staggered, static_cast<Defs::FeatureType>(random.upTo(2))),
               rxXform<2>());
    return tool;
}

TEST(GridCorresponderRun, EqualsThePlainSearchOnLists) {
    std::size_t found = 0;
    for (unsigned seed = 0; seed < 4000; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        Positions pattern;
        const Tool tool = randomTool(random, pattern, 12);
        const Positions data = randomData(random, pattern, random.between(0, 12));
        ASSERT_NO_FATAL_FAILURE(
            expectSame(tool, data, randomRun(random, tool.probes().size()), found));
    }
    EXPECT_GT(found, 40000U);
}

TEST(GridCorresponderRun, EqualsThePlainSearchOnLargerLists) {
    std::size_t found = 0;
    for (unsigned seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(100000 + seed);
        Positions pattern;
        const Tool tool = randomTool(random, pattern, 80);
        const Positions data = randomData(random, pattern, random.between(0, 90));
        ASSERT_NO_FATAL_FAILURE(
            expectSame(tool, data, randomRun(random, tool.probes().size()), found));
    }
    EXPECT_GT(found, 2000U);
}

rxPelBuffer<unsigned char> randomImage(Random& random, const Positions& pattern) {
    const Positions data = randomData(random, pattern, random.between(0, 12));
    rxPelBuffer<unsigned char> image(random.between(1, 30), random.between(1, 30), 32);
    rfPelClear(image);
    image.offset(pattern.front() - rxPair<long>(random.upTo(20), random.upTo(20)));
    const bool hasOthers = random.chance(0.6);
    constexpr unsigned char kOthers[] = {2, 255};
    for (const rxPair<long>& p : data) {
        const rxPair<long> place = p - image.offset();
        if (place.x() < 0 || place.x() >= image.width() || place.y() < 0 ||
            place.y() >= image.height()) {
            continue;
        }
        image.put(p.x(), p.y(), hasOthers && random.chance(0.2) ? kOthers[random.upTo(1)] : 1);
    }
    return image;
}

TEST(GridCorresponderRun, EqualsThePlainSearchOnImages) {
    std::size_t found = 0;
    for (unsigned seed = 0; seed < 4000; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(200000 + seed);
        Positions pattern;
        const Tool tool = randomTool(random, pattern, 12);
        const rxPelBuffer<unsigned char> image = randomImage(random, pattern);
        ASSERT_NO_FATAL_FAILURE(expectSame(tool, rxPelBuffer_const<unsigned char>(image),
                                           randomRun(random, tool.probes().size()), found));
    }
    EXPECT_GT(found, 40000U);
}

/// Clusters of data with long empty stretches between them, some just as wide as the pattern.
Positions clusters(Random& random, const Positions& pattern, const rxPair<long>& size) {
    Positions data;
    rxPair<long> corner = pattern.front();
    for (int n = 0; n < 6; ++n) {
        for (const rxPair<long>& p : randomData(random, pattern, 6)) {
            data.push_back(p - pattern.front() + corner);
        }
        if (random.chance(0.5)) {
            const long stretch = random.chance(0.5) ? size.x() + random.between(-2, 2) : 9000;
            corner = rxPair<long>(corner.x() + stretch + 12, corner.y() + random.between(-3, 3));
        } else {
            const long stretch = random.chance(0.5) ? size.y() + random.between(-2, 2) : 40;
            corner = rxPair<long>(corner.x() + random.between(-3, 3), corner.y() + stretch + 12);
        }
    }
    // The areas that the plain search can still hold are small enough to be searched as they are,
    // but for this one.
    data.push_back(data.front() + rxPair<long>(30000, 40));
    return random.shuffled(std::move(data));
}

TEST(GridCorresponderRun, EqualsThePlainSearchAcrossLongEmptyStretches) {
    std::size_t found = 0;
    for (unsigned seed = 0; seed < 12; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(300000 + seed);
        Positions pattern;
        Tool tool;
        do {
            tool = randomTool(random, pattern, 6);
        } while (tool.probes().size() < 6 || tool.probes().size() > 20);
        const Positions data = clusters(random, pattern, tool.pattern().size());
        const double accept = 0.3 + 0.6 * random.unit();
        for (const long maxNumResults : {1L, 7L, 2147483647L}) {
            ASSERT_NO_FATAL_FAILURE(
                expectSame(tool, data, RunParams(accept, 1.0, maxNumResults), found));
        }
    }
    EXPECT_GT(found, 100U);
}

}  // namespace
