#include "ptmatch/vote_peaks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace {

using ptmatch::detail::forEachPeak;
using ptmatch::detail::PeakRule;
using testing::ElementsAre;
using testing::IsEmpty;

struct Peak {
    long x, y, vote;
    friend bool operator==(const Peak&, const Peak&) = default;
};

rxPelBuffer<short> votes(const std::vector<std::vector<short>>& rows) {
    rxPelBuffer<short> image(static_cast<long>(rows[0].size()), static_cast<long>(rows.size()), 32);
    for (std::size_t y = 0; y < rows.size(); ++y) {
        for (std::size_t x = 0; x < rows[y].size(); ++x) {
            image.pointToRow(static_cast<long>(y))[x] = rows[y][x];
        }
    }
    return image;
}

std::vector<Peak> peaks(const rxPelBuffer<short>& image, long threshold,
                        PeakRule rule = PeakRule::LocalMaxima) {
    std::vector<Peak> found;
    forEachPeak(image, threshold, rule, [&](long x, long y, long vote) {
        found.push_back({x, y, vote});
    });
    return found;
}

TEST(VotePeaks, OfTwoEqualNeighboursOnARowOnlyTheLeftOneIsAPeak) {
    EXPECT_THAT(peaks(votes({{0, 0, 0, 0}, {0, 5, 5, 0}, {0, 0, 0, 0}}), 2),
                ElementsAre(Peak{1, 1, 5}));
}

TEST(VotePeaks, OfTwoEqualNeighboursInAColumnOnlyTheUpperOneIsAPeak) {
    EXPECT_THAT(peaks(votes({{0, 0}, {5, 0}, {5, 0}}), 2), ElementsAre(Peak{0, 1, 5}));
}

TEST(VotePeaks, OnDiagonalsTheLeftOneWins) {
    EXPECT_THAT(peaks(votes({{5, 0}, {0, 5}}), 2), ElementsAre(Peak{0, 0, 5}));
    // lower left against upper right: the lower left is compared strictly by the other
    EXPECT_THAT(peaks(votes({{0, 5}, {5, 0}}), 2), ElementsAre(Peak{0, 1, 5}));
}

TEST(VotePeaks, ThresholdItselfIsEnough) {
    EXPECT_THAT(peaks(votes({{3, 0}, {0, 0}}), 3), ElementsAre(Peak{0, 0, 3}));
    EXPECT_THAT(peaks(votes({{3, 0}, {0, 0}}), 4), IsEmpty());
}

TEST(VotePeaks, EveryVoteRuleOffersAllInRasterOrder) {
    EXPECT_THAT(peaks(votes({{3, 1}, {4, 3}}), 3, PeakRule::EveryVote),
                ElementsAre(Peak{0, 0, 3}, Peak{0, 1, 4}, Peak{1, 1, 3}));
}

// The tie rules as a table over the eight neighbours.
bool isPeakByTable(const std::vector<std::vector<short>>& rows, long x, long y) {
    struct Rule {
        long dx, dy;
        bool mustBeat;
    };
    constexpr Rule kRules[] = {{-1, 0, true}, {0, -1, true},  {-1, -1, true}, {-1, 1, true},
                               {1, 0, false}, {1, -1, false}, {0, 1, false},  {1, 1, false}};
    const long value = rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)];
    for (const Rule& rule : kRules) {
        const long nx = x + rule.dx;
        const long ny = y + rule.dy;
        if (nx < 0 || ny < 0 || ny >= static_cast<long>(rows.size()) ||
            nx >= static_cast<long>(rows[0].size())) {
            continue;
        }
        const long other = rows[static_cast<std::size_t>(ny)][static_cast<std::size_t>(nx)];
        if (rule.mustBeat ? value <= other : value < other) return false;
    }
    return true;
}

TEST(VotePeaks, RandomImagesFollowTheTable) {
    std::mt19937 random(7);
    for (int round = 0; round < 500; ++round) {
        SCOPED_TRACE(round);
        std::vector<std::vector<short>> rows(2 + random() % 5);
        const std::size_t width = 2 + random() % 5;
        for (auto& row : rows) {
            for (std::size_t x = 0; x < width; ++x) row.push_back(static_cast<short>(random() % 4));
        }
        std::vector<Peak> expected;
        for (long y = 0; y < static_cast<long>(rows.size()); ++y) {
            for (long x = 0; x < static_cast<long>(width); ++x) {
                const long vote = rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)];
                if (vote >= 2 && isPeakByTable(rows, x, y)) expected.push_back({x, y, vote});
            }
        }
        EXPECT_EQ(peaks(votes(rows), 2), expected);
    }
}

}  // namespace
