#include "ptmatch/vote_kernel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "ptmatch/point_matcher_defs.h"
#include "ptmatch/vote_kernel_choice.h"

namespace {

using namespace ptmatch::detail;

/// A block to count: words at random, and views that stay within them.
struct Problem {
    std::vector<std::uint64_t> words;
    std::ptrdiff_t stride = 0;
    std::ptrdiff_t offset = 0;
    std::vector<std::vector<MarkView>> digits;
    long total = 0;  // no vote is larger

    [[nodiscard]] unsigned numDigits() const { return static_cast<unsigned>(digits.size()); }
};

std::uint64_t randomWord(std::mt19937_64& random, int density) {
    std::uint64_t word = random();
    for (; density < 0; ++density) word &= random();
    for (; density > 0; --density) word |= random();
    return word;
}

Problem randomProblem(std::mt19937_64& random, unsigned numDigits, std::size_t maxViews) {
    Problem problem;
    problem.stride = 20;
    const int density = static_cast<int>(random() % 7) - 3;
    for (int i = 0; i < 100; ++i) problem.words.push_back(randomWord(random, density));
    problem.offset = static_cast<std::ptrdiff_t>(random() % 10);
    const bool isShifted = random() % 2 == 0;
    if (!isShifted) problem.stride = 0;
    for (unsigned d = 0; d < numDigits; ++d) {
        std::vector<MarkView> views(random() % (maxViews + 1));
        for (MarkView& view : views) {
            view.word = static_cast<std::ptrdiff_t>(random() % 60);
            view.shift = isShifted ? random() % 64 : 0;
        }
        problem.total = 2 * problem.total + static_cast<long>(views.size());
        problem.digits.push_back(views);
    }
    return problem;
}

// The definition: cell by cell, view by view.
long voteAt(const Problem& problem, int row, unsigned column) {
    long vote = 0;
    for (const std::vector<MarkView>& views : problem.digits) {
        vote *= 2;
        for (const MarkView& view : views) {
            const auto at = static_cast<std::size_t>(view.word + problem.offset + row);
            const std::uint64_t bit = view.shift + column;
            const std::uint64_t word =
                bit < 64 ? problem.words[at]
                         : problem.words[at + static_cast<std::size_t>(problem.stride)];
            vote += static_cast<long>((word >> (bit % 64)) & 1);
        }
    }
    return vote;
}

void expectEqualsDefinition(const VoteKernel& kernel, const Problem& problem, long threshold) {
    std::vector<ViewGroup> groups;
    long lighter = problem.total;
    for (unsigned d = 0; d < problem.numDigits(); ++d) {
        const std::vector<MarkView>& views = problem.digits[d];
        lighter -= static_cast<long>(views.size()) << (problem.numDigits() - 1 - d);
        groups.push_back({views.data(), views.data() + views.size(), lighter});
    }
    const auto numPlanes = std::max(
        1U, static_cast<unsigned>(std::bit_width(static_cast<unsigned long>(problem.total))));
    const VoteBlock block{groups.data(),  problem.numDigits(), numPlanes, problem.words.data(),
                          problem.offset, problem.stride,      threshold};
    std::uint64_t planes[kMaxPlanes * kBlockRows];
    std::uint64_t survivors[kBlockRows];
    std::uint64_t expected[kBlockRows] = {};
    bool any = false;
    for (int row = 0; row < kBlockRows; ++row) {
        for (unsigned column = 0; column < 64; ++column) {
            if (voteAt(problem, row, column) < threshold) continue;
            expected[row] |= std::uint64_t{1} << column;
            any = true;
        }
    }
    ASSERT_EQ(kernel.countBlock(block, planes, survivors), any);
    if (!any) return;
    for (int row = 0; row < kBlockRows; ++row) {
        ASSERT_EQ(survivors[row], expected[row]) << "row " << row;
        for (unsigned column = 0; column < 64; ++column) {
            if (((expected[row] >> column) & 1) == 0) continue;
            long vote = 0;
            for (unsigned p = 0; p < numPlanes; ++p) {
                const std::uint64_t plane = planes[p * kBlockRows + static_cast<unsigned>(row)];
                vote |= static_cast<long>((plane >> column) & 1) << p;
            }
            ASSERT_EQ(vote, voteAt(problem, row, column)) << "row " << row << " column " << column;
        }
    }
}

class VoteKernels : public testing::TestWithParam<const VoteKernel*> {};

TEST_P(VoteKernels, CountOfOnesEqualsTheDefinition) {
    std::mt19937_64 random(3);
    for (int round = 0; round < 400; ++round) {
        SCOPED_TRACE(round);
        const Problem problem = randomProblem(random, 1, 90);
        expectEqualsDefinition(*GetParam(), problem, 1 + problem.total / 2);
        expectEqualsDefinition(*GetParam(), problem, static_cast<long>(random() % 30));
    }
}

TEST_P(VoteKernels, EveryNumberOfViewsAroundTheGroupsOfFourAndSixteenIsCounted) {
    std::mt19937_64 random(4);
    for (std::size_t numViews = 0; numViews <= 70; ++numViews) {
        SCOPED_TRACE(numViews);
        Problem problem = randomProblem(random, 1, 0);
        for (std::size_t i = 0; i < numViews; ++i) {
            problem.digits[0].push_back({static_cast<std::ptrdiff_t>(random() % 60), 0});
        }
        problem.total = static_cast<long>(numViews);
        expectEqualsDefinition(*GetParam(), problem, 0);
        expectEqualsDefinition(*GetParam(), problem, 1);
        expectEqualsDefinition(*GetParam(), problem, problem.total);
        expectEqualsDefinition(*GetParam(), problem, problem.total + 1);
    }
}

TEST_P(VoteKernels, SumsOverBinaryDigitsEqualTheDefinition) {
    std::mt19937_64 random(5);
    for (int round = 0; round < 400; ++round) {
        SCOPED_TRACE(round);
        const unsigned numDigits = 1 + static_cast<unsigned>(random() % kMaxDigits);
        const Problem problem = randomProblem(random, numDigits, 40);
        const auto below = static_cast<std::uint64_t>(problem.total + 2);
        expectEqualsDefinition(*GetParam(), problem, static_cast<long>(random() % below));
    }
}

TEST_P(VoteKernels, ThresholdBeyondEveryDigitLeavesNothing) {
    std::mt19937_64 random(6);
    const Problem problem = randomProblem(random, 1, 20);
    expectEqualsDefinition(*GetParam(), problem, 2147483647L);
    expectEqualsDefinition(*GetParam(), problem, -5);
}

std::string nameOf(const testing::TestParamInfo<const VoteKernel*>& kernel) {
    return kernel.param->name;
}

INSTANTIATE_TEST_SUITE_P(OfThisMachine, VoteKernels, testing::ValuesIn(voteKernels()), nameOf);

TEST(VoteKernelChoice, PortableKernelIsAlwaysThere) {
    ASSERT_FALSE(voteKernels().empty());
    EXPECT_STREQ(voteKernels().front()->name, "portable");
}

TEST(VoteKernelChoice, ForcedKernelIsUsedUntilTheChoiceIsGivenBack) {
    const VoteKernel& chosen = voteKernel();
    for (const VoteKernel* kernel : voteKernels()) {
        forceVoteKernel(kernel->name);
        EXPECT_EQ(&voteKernel(), kernel);
    }
    forceVoteKernel("");
    EXPECT_EQ(&voteKernel(), &chosen);
}

TEST(VoteKernelChoice, UnknownNameIsRefusedAndNothingChanges) {
    forceVoteKernel("portable");
    EXPECT_THROW(forceVoteKernel("abacus"), rxPointMatcherDefs::BadParams);
    EXPECT_STREQ(voteKernel().name, "portable");
    forceVoteKernel("");
}

TEST(VoteKernelChoice, EnvironmentNamesTheKernel) {
    // In a process of its own, run anew, because the variable is looked at once.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            setenv("PTMATCH_KERNEL", "portable", 1);
            std::exit(std::string(voteKernel().name) == "portable" ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(VoteKernelChoice, UnknownNameInTheEnvironmentIsRefusedEachTime) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            setenv("PTMATCH_KERNEL", "abacus", 1);
            int refused = 0;
            for (int i = 0; i < 2; ++i) {
                try {
                    voteKernel();
                } catch (const rxPointMatcherDefs::BadParams&) {
                    ++refused;
                }
            }
            std::exit(refused == 2 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
