#include "ptmatch/neighbour_distances.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <numbers>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using ptmatch::detail::neighbourDistances;
using ptmatch::detail::NeighbourDistances;
using Points = std::vector<rxVector<2>>;
using Random = std::mt19937_64;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// All points with all others, as the definition has it.
NeighbourDistances comparedOneByOne(const Points& points) {
    NeighbourDistances distances;
    for (std::size_t i = 0; i < points.size(); ++i) {
        double nearest = kInfinity;
        double farthest = 0.0;
        for (std::size_t j = 0; j < points.size(); ++j) {
            if (j == i) continue;
            const double dx = points[j].x() - points[i].x();
            const double dy = points[j].y() - points[i].y();
            const double squared = dx * dx + dy * dy;
            if (squared < nearest) nearest = squared;
            if (squared > farthest) farthest = squared;
        }
        if (nearest != 0.0 && nearest != kInfinity) {
            distances.smallestNearest = std::min(distances.smallestNearest, std::sqrt(nearest));
        }
        if (farthest != 0.0 && farthest != kInfinity) {
            distances.largestFarthest = std::max(distances.largestFarthest, std::sqrt(farthest));
        }
    }
    return distances;
}

double uniform(Random& random, double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
}

rxVector<2> inSquare(Random& random, double side) {
    return {uniform(random, 0, side), uniform(random, 0, side)};
}

/// Any magnitude that a double can have, and 0.
double anyCoordinate(Random& random) {
    const double sign = random() % 2 == 0 ? 1.0 : -1.0;
    const int exponent = std::uniform_int_distribution<int>(-1080, 1023)(random);
    return sign * std::ldexp(uniform(random, 1, 2), exponent);
}

/// Names a kind of sets, and makes the next point of one; the points so far are passed in.
struct Kind {
    std::string name;
    std::function<rxVector<2>(Random&, const Points&)> next;
};

/// A point of `fresh`, or a copy of one that there is already.
std::function<rxVector<2>(Random&, const Points&)> withDoubles(
    std::function<rxVector<2>(Random&)> fresh, unsigned percent) {
    return [fresh, percent](Random& random, const Points& points) {
        const bool copies = !points.empty() && random() % 100 < percent;
        return copies ? points[random() % points.size()] : fresh(random);
    };
}

std::vector<Kind> kinds() {
    const auto spread = [](Random& random) { return inSquare(random, 1000); };
    std::vector<Kind> all;
    const auto add = [&](const std::string& name, std::function<rxVector<2>(Random&)> fresh) {
        all.push_back({name, withDoubles(std::move(fresh), 0)});
    };
    add("spread", spread);
    add("farFromOrigin",
        [](Random& random) { return inSquare(random, 1) + rxVector<2>(1e9, -1e9); });
    add("onALine", [](Random& random) {
        const double t = uniform(random, -1, 1);
        return rxVector<2>(t, 3 * t);
    });
    add("onAVertical", [](Random& random) { return rxVector<2>(5, uniform(random, 0, 1)); });
    add("onACircle", [](Random& random) {
        const double angle = uniform(random, 0, 2 * std::numbers::pi);
        return rxVector<2>(7 * std::cos(angle), 7 * std::sin(angle));
    });
    add("twoFarClusters", [](Random& random) {
        return inSquare(random, 1e-3) + rxVector<2>(random() % 2 == 0 ? 0.0 : 1e8, 0);
    });
    add("clustersInClusters", [](Random& random) {
        return rxVector<2>(std::ldexp(uniform(random, 1, 2), -static_cast<int>(random() % 300)),
                           std::ldexp(uniform(random, 1, 2), -static_cast<int>(random() % 300)));
    });
    add("latticeWithDoubles", [](Random& random) {
        return rxVector<2>(static_cast<double>(random() % 40), static_cast<double>(random() % 40));
    });
    add("sparseLattice", [](Random& random) {
        return rxVector<2>(0.1 * static_cast<double>(random() % 100000),
                           0.1 * static_cast<double>(random() % 100000));
    });
    all.push_back({"halfDoubled", withDoubles(spread, 50)});
    all.push_back({"nearlyAllDoubled", withDoubles(spread, 99)});
    // Squares that overflow or underflow silence points that have no double at all.
    add("anyMagnitude",
        [](Random& random) { return rxVector<2>(anyCoordinate(random), anyCoordinate(random)); });
    add("atTheRangeOfSquares", [](Random& random) { return inSquare(random, 1.5e154); });
    add("atTheRangeOfDoubles", [](Random& random) {
        return rxVector<2>(uniform(random, -0.8e308, 0.8e308), uniform(random, 0, 1.7e308));
    });
    add("squaresUnderflow", [](Random& random) { return inSquare(random, 1e-160); });
    add("denormal", [](Random& random) {
        const double tiny = std::numeric_limits<double>::denorm_min();
        return rxVector<2>(tiny * static_cast<double>(random() % 5),
                           tiny * static_cast<double>(random() % 5));
    });
    // Bins, sectors and the slanted order of the points meet their borders here.
    add("wholeCoordinates", [](Random& random) {
        return rxVector<2>(static_cast<double>(random() % 257) - 128,
                           static_cast<double>(random() % 257) - 128);
    });
    add("onAxesAndDiagonals", [](Random& random) {
        const double r = static_cast<double>(random() % 50);
        const auto sign = [&] { return static_cast<double>(random() % 3) - 1; };
        const double x = sign();
        return rxVector<2>(r * x, r * sign());
    });
    add("acrossTheOrder", [](Random& random) {
        const double t = uniform(random, -1, 1);
        return rxVector<2>(-0.135 * t, 0.21 * t);
    });
    add("alongAndAcrossTheOrder", [](Random& random) {
        const double t = static_cast<double>(random() % 1000);
        return random() % 2 == 0 ? rxVector<2>(-135 * t, 210 * t) : rxVector<2>(210 * t, 135 * t);
    });
    add("onAFrame", [](Random& random) {
        const double t = uniform(random, 0, 1);
        const double side = random() % 2 == 0 ? 0.0 : 1.0;
        return random() % 2 == 0 ? rxVector<2>(t, side) : rxVector<2>(side, t);
    });
    add("onTwoFarLines", [](Random& random) {
        return rxVector<2>(random() % 2 == 0 ? 0.0 : 1e6, uniform(random, 0, 1e-3));
    });
    add("onAPolygon", [](Random& random) {
        const double angle = static_cast<double>(random() % 5000) * std::numbers::pi / 2500;
        return rxVector<2>(1e3 + 7 * std::cos(angle), 7 * std::sin(angle));
    });
    add("onATriangleOfConstantWidth", [](Random& random) {
        const double corner = static_cast<double>(random() % 3) * 2 * std::numbers::pi / 3;
        const double angle =
            corner + std::numbers::pi + uniform(random, -1, 1) * std::numbers::pi / 6;
        return rxVector<2>(std::cos(corner) / std::numbers::sqrt3 + std::cos(angle),
                           std::sin(corner) / std::numbers::sqrt3 + std::sin(angle));
    });
    add("onACircleOfDenormals", [](Random& random) {
        const double angle = uniform(random, 0, 2 * std::numbers::pi);
        return rxVector<2>(1e-307 * std::cos(angle), 1e-307 * std::sin(angle));
    });
    add("onASmallCircle", [](Random& random) {
        const double angle = uniform(random, 0, 2 * std::numbers::pi);
        return rxVector<2>(1e-140 * std::cos(angle), 1e-140 * std::sin(angle));
    });
    add("onAWideCircle", [](Random& random) {
        const double angle = uniform(random, 0, 2 * std::numbers::pi);
        return rxVector<2>(6.5e153 * std::cos(angle), 6.5e153 * std::sin(angle));
    });
    // Squares underflow to 0 between points that are no doubles, next to others that are.
    add("tinyGapsInRows", [](Random& random) {
        return rxVector<2>(std::ldexp(1.0, -530 - static_cast<int>(random() % 30)),
                           static_cast<double>(random() % 100));
    });
    add("tinyGapsAtTheCenter", [](Random& random) {
        return random() % 3 == 0
                   ? inSquare(random, 1)
                   : rxVector<2>(uniform(random, 0, 1e-161), uniform(random, 0, 1e-161));
    });
    all.push_back({"oneFarPointInRange", [spread](Random& random, const Points& points) {
                       return points.empty() ? rxVector<2>(-3e150, 1e150) : spread(random);
                   }});
    all.push_back({"oneFarDoubled", [spread](Random& random, const Points& points) {
                       return points.size() < 2 ? rxVector<2>(1e9, 1e12) : spread(random);
                   }});
    all.push_back({"oneFarPoint", [spread](Random& random, const Points& points) {
                       return points.empty() ? rxVector<2>(1e200, 0) : spread(random);
                   }});
    return all;
}

Points makeSet(const Kind& kind, std::size_t size, Random& random) {
    Points points;
    for (std::size_t k = 0; k < size; ++k) points.push_back(kind.next(random, points));
    return points;
}

void expectTheSameBits(const Points& points, const std::string& what) {
    const NeighbourDistances found = neighbourDistances(points);
    const NeighbourDistances expected = comparedOneByOne(points);
    ASSERT_EQ(std::bit_cast<std::uint64_t>(found.smallestNearest),
              std::bit_cast<std::uint64_t>(expected.smallestNearest))
        << what << ": nearest " << found.smallestNearest << ", not " << expected.smallestNearest;
    ASSERT_EQ(std::bit_cast<std::uint64_t>(found.largestFarthest),
              std::bit_cast<std::uint64_t>(expected.largestFarthest))
        << what << ": farthest " << found.largestFarthest << ", not " << expected.largestFarthest;
}

TEST(NeighbourDistances, SmallSetsHaveTheBitsOfAllPairs) {
    Random random(20);
    for (const Kind& kind : kinds()) {
        for (int round = 0; round < 400; ++round) {
            const std::size_t size = 1 + random() % 250;
            ASSERT_NO_FATAL_FAILURE(expectTheSameBits(makeSet(kind, size, random),
                                                      kind.name + " of " + std::to_string(size)));
        }
    }
}

TEST(NeighbourDistances, LargeSetsHaveTheBitsOfAllPairs) {
    Random random(21);
    for (const Kind& kind : kinds()) {
        for (const std::size_t size : {std::size_t{500}, std::size_t{1111}, std::size_t{3000}}) {
            ASSERT_NO_FATAL_FAILURE(expectTheSameBits(makeSet(kind, size, random),
                                                      kind.name + " of " + std::to_string(size)));
        }
    }
}

TEST(NeighbourDistances, EveryPointOfALatticeTies) {
    Points points;
    for (int y = 0; y < 50; ++y) {
        for (int x = 0; x < 60; ++x) points.emplace_back(3 * x, 4 * y);
    }
    const NeighbourDistances distances = neighbourDistances(points);
    EXPECT_EQ(distances.smallestNearest, 3.0);
    EXPECT_EQ(distances.largestFarthest, std::sqrt(177.0 * 177.0 + 196.0 * 196.0));
}

// All pairs of these would take minutes.
TEST(NeighbourDistances, LargeSetsOfDoublesAreQuick) {
    constexpr std::size_t kSize = 400'000;
    const NeighbourDistances coincident = neighbourDistances(Points(kSize, rxVector<2>(3, 4)));
    EXPECT_EQ(coincident.smallestNearest, kInfinity);
    EXPECT_EQ(coincident.largestFarthest, 0.0);

    Points twice;
    for (std::size_t k = 0; k < kSize; ++k) {
        twice.emplace_back(static_cast<double>(k % (kSize / 2)), 0.0);
    }
    EXPECT_EQ(neighbourDistances(twice).smallestNearest, kInfinity);
    EXPECT_EQ(neighbourDistances(twice).largestFarthest, kSize / 2 - 1.0);

    twice.emplace_back(-0.25, 0.0);  // the only one without a double
    EXPECT_EQ(neighbourDistances(twice).smallestNearest, 0.25);
}

// All pairs of these would take a minute. Whole coordinates keep every distance that is expected
// exact.
TEST(NeighbourDistances, LargeDegenerateSetsAreQuick) {
    constexpr int kSize = 100'000;
    Points line;
    Points oneFarPoint{rxVector<2>(-4e100, 3e100)};
    Points twoFarClusters;
    Points frame;
    for (int k = 0; k < kSize; ++k) {
        line.emplace_back(3.0 * k, -4.0 * k);
        oneFarPoint.emplace_back(k % 300, k / 300);
        twoFarClusters.emplace_back(k % 2 * 1e12 + k / 2 % 500, k / 1000);
        frame.emplace_back(k % 4 < 2 ? k : k % 2 * kSize, k % 4 < 2 ? k % 2 * kSize : k);
    }
    EXPECT_EQ(neighbourDistances(line).smallestNearest, 5.0);
    EXPECT_EQ(neighbourDistances(line).largestFarthest, 5.0 * (kSize - 1));
    EXPECT_EQ(neighbourDistances(oneFarPoint).smallestNearest, 1.0);
    EXPECT_EQ(neighbourDistances(oneFarPoint).largestFarthest,
              std::sqrt(4e100 * 4e100 + 3e100 * 3e100));
    EXPECT_EQ(neighbourDistances(twoFarClusters).smallestNearest, 1.0);
    EXPECT_EQ(neighbourDistances(twoFarClusters).largestFarthest, 1e12 + 499);
    EXPECT_GT(neighbourDistances(frame).largestFarthest, 1.41 * kSize);

    Random random(22);
    Points circle;
    for (int k = 0; k < kSize; ++k) {
        const double angle = uniform(random, 0, 2 * std::numbers::pi);
        circle.emplace_back(std::cos(angle), std::sin(angle));
    }
    EXPECT_NEAR(neighbourDistances(circle).largestFarthest, 2.0, 1e-12);
}

}  // namespace
