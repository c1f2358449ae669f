#include "ptmatch/vote_rows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using ptmatch::detail::PeakRule;
using ptmatch::detail::VoteRows;
using testing::ElementsAre;

using Votes = std::vector<std::vector<std::int32_t>>;

struct Peak {
    long x, y, vote;
    friend bool operator==(const Peak&, const Peak&) = default;
};

constexpr std::int32_t kThreshold = 2;

/// Feeds the votes at or above the threshold in parts of at most `partRows` rows.
std::vector<Peak> peaks(const Votes& votes, long partRows, PeakRule rule = PeakRule::LocalMaxima) {
    const long height = static_cast<long>(votes.size());
    VoteRows rows(static_cast<long>(votes[0].size()), partRows);
    std::vector<Peak> found;
    for (long first = 0; first < height; first += partRows) {
        const long numRows = std::min(partRows, height - first);
        for (long y = 0; y < numRows; ++y) {
            const auto& row = votes[static_cast<std::size_t>(first + y)];
            for (std::size_t x = 0; x < row.size(); ++x) {
                if (row[x] >= kThreshold) rows.enter(y, static_cast<long>(x), row[x]);
            }
        }
        const bool isLast = first + numRows == height;
        rows.forEachPeak(numRows, isLast, rule, [&](long y, long x, long vote) {
            found.push_back({x, first + y, vote});
        });
        if (isLast) {
            rows.clear(numRows);
        } else {
            rows.advance(numRows);
        }
    }
    EXPECT_FALSE(rows.hasVotes());
    return found;
}

TEST(VoteRows, OfTwoEqualNeighboursOnARowOnlyTheLeftOneIsAPeak) {
    EXPECT_THAT(peaks({{0, 0, 0, 0}, {0, 5, 5, 0}, {0, 0, 0, 0}}, 3), ElementsAre(Peak{1, 1, 5}));
}

TEST(VoteRows, OfTwoEqualNeighboursInAColumnOnlyTheUpperOneIsAPeak) {
    EXPECT_THAT(peaks({{0, 0}, {5, 0}, {5, 0}}, 3), ElementsAre(Peak{0, 1, 5}));
}

TEST(VoteRows, OnDiagonalsTheLeftOneWins) {
    EXPECT_THAT(peaks({{5, 0}, {0, 5}}, 2), ElementsAre(Peak{0, 0, 5}));
    EXPECT_THAT(peaks({{0, 5}, {5, 0}}, 2), ElementsAre(Peak{0, 1, 5}));
}

TEST(VoteRows, EveryVoteRuleVisitsAllInRasterOrder) {
    EXPECT_THAT(peaks({{3, 1}, {4, 3}}, 1, PeakRule::EveryVote),
                ElementsAre(Peak{0, 0, 3}, Peak{0, 1, 4}, Peak{1, 1, 3}));
}

// The tie rules as a table over the eight neighbours.
bool isPeakByTable(const Votes& rows, long x, long y) {
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

TEST(VoteRows, RandomVotesFollowTheTableHoweverTheyAreParted) {
    std::mt19937 random(7);
    for (int round = 0; round < 400; ++round) {
        SCOPED_TRACE(round);
        Votes votes(2 + random() % 9);
        const std::size_t width = 2 + random() % 150;
        for (auto& row : votes) {
            for (std::size_t x = 0; x < width; ++x) {
                row.push_back(static_cast<std::int32_t>(random() % 5));
            }
        }
        std::vector<Peak> expected;
        for (long y = 0; y < static_cast<long>(votes.size()); ++y) {
            for (long x = 0; x < static_cast<long>(width); ++x) {
                const long vote = votes[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)];
                if (vote >= kThreshold && isPeakByTable(votes, x, y)) {
                    expected.push_back({x, y, vote});
                }
            }
        }
        for (const long partRows : {1L, 2L, 3L, 20L}) {
            EXPECT_EQ(peaks(votes, partRows), expected) << "parts of " << partRows;
        }
    }
}

}  // namespace
