#include "ptmatch/vote_counter.h"

#include <gtest/gtest.h>

#include <random>

#include "foundation/image_functions.h"

namespace {

using ptmatch::detail::countVotes;

struct Problem {
    rxPelBuffer<unsigned char> marks;
    rxPelRect window;
    std::vector<rxPair<long>> modelPixels;
    std::vector<std::int16_t> weights;
};

Problem randomProblem(std::mt19937& random, bool isWeighted) {
    const auto below = [&](long n) { return static_cast<long>(random()) % n; };
    Problem problem;
    problem.marks = rxPelBuffer<unsigned char>(1 + below(40), 1 + below(40), 32);
    for (long y = 0; y < problem.marks.height(); ++y) {
        for (long x = 0; x < problem.marks.width(); ++x) {
            problem.marks.pointToRow(y)[x] = random() % 3 == 0 ? 1 : 0;
        }
    }
    problem.window = rxPelRect(below(60) - 30, below(60) - 30, below(70), below(70));
    for (long i = below(20); i >= 0; --i) {
        problem.modelPixels.emplace_back(below(120) - 60, below(120) - 60);
        constexpr std::int16_t kWeights[] = {0, 1, 2, 3, 255, 256, 1000, -1, -2, -3, -255, -256};
        if (isWeighted) problem.weights.push_back(kWeights[random() % 12]);
    }
    return problem;
}

// The definition: for each translation, look under every model pixel.
long voteAt(const Problem& problem, long x, long y) {
    long vote = 0;
    for (std::size_t i = 0; i < problem.modelPixels.size(); ++i) {
        const long markX = problem.window.ul().x() + x + problem.modelPixels[i].x();
        const long markY = problem.window.ul().y() + y + problem.modelPixels[i].y();
        if (markX < 0 || markY < 0 || markX >= problem.marks.width() ||
            markY >= problem.marks.height()) {
            continue;
        }
        const long weight = problem.weights.empty() ? 1 : problem.weights[i];
        vote += weight * problem.marks.pointToRow(markY)[markX];
    }
    return vote;
}

template <class Vote>
void expectEqualsDefinition(const Problem& problem) {
    rxPelBuffer<Vote> votes(problem.window.width() + 1, problem.window.height() + 1, 32);
    rfPelSet(votes, Vote{77});  // whatever was there before must not count
    countVotes(rxPelBuffer_const<unsigned char>(problem.marks), problem.window, problem.modelPixels,
               problem.weights, votes);
    for (long y = 0; y < votes.height(); ++y) {
        for (long x = 0; x < votes.width(); ++x) {
            ASSERT_EQ(votes.pointToRow(y)[x], voteAt(problem, x, y)) << x << ", " << y;
        }
    }
}

TEST(VoteCounter, EqualsTheDefinitionOnRandomProblems) {
    std::mt19937 random(11);
    for (int round = 0; round < 600; ++round) {
        SCOPED_TRACE(round);
        const Problem problem = randomProblem(random, round % 2 == 1);
        expectEqualsDefinition<short>(problem);
        expectEqualsDefinition<std::int32_t>(problem);
    }
}

TEST(VoteCounter, ModelPixelsAtTheEndsOf32BitsSeeNoMarks) {
    Problem problem;
    problem.marks = rxPelBuffer<unsigned char>(3, 3, 32);
    rfPelSet(problem.marks, static_cast<unsigned char>(1));
    problem.window = rxPelRect(-1073741824, 1073741824, 2, 2);
    problem.modelPixels = {
        {2147483647, 0}, {-2147483648L, -2147483648L}, {1073741824, -1073741824}};
    expectEqualsDefinition<short>(problem);
}

}  // namespace
