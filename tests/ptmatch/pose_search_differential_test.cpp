#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "foundation/attention.h"
#include "ptmatch/group_planner.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/same_bits.h"
#include "ptmatch/vote_kernel_choice.h"
#include "ptmatch/vote_planner.h"
#include "reference/random_problems.h"
#include "reference/reference_model.h"
#include "reference/reference_run.h"

// The matcher against the plain reference, on thousands of random problems: every result, in its
// order, to the last bit, whichever vote kernel counts, whatever tiles the search begins with,
// whatever lattice points are bounded together. PTMATCH_DIFFERENTIAL_CASES sets the number of
// problems of each kind; 2200 make 100,000 problems.
namespace {

using ptmatch::reference::Problem;
using ptmatch::reference::ProblemKind;
using ptmatch::reference::Random;
using ptmatch::reference::RunReport;

constexpr long kCasesOfAKind = 110;  // 5,000 in all
constexpr std::uint64_t kFirstSeed = 7'000'000;

long casesOfAKind() {
    const char* asked = std::getenv("PTMATCH_DIFFERENTIAL_CASES");
    return asked == nullptr ? kCasesOfAKind : std::max(1L, std::atol(asked));
}

long polls = 0;

bool countPoll() {
    ++polls;
    return false;
}

/// Counts how often the library asks whether it is to go on.
class PollCounter {
  public:
    PollCounter() : previous_(rxAttention::setHandler(countPoll)) { polls = 0; }
    ~PollCounter() { rxAttention::setHandler(previous_); }
    PollCounter(const PollCounter&) = delete;
    PollCounter& operator=(const PollCounter&) = delete;

  private:
    rxAttention::Handler previous_;
};

void expectSameResults(const rxPointMatcherResultSet& actual, const RunReport& expected) {
    ASSERT_EQ(actual.results().size(), expected.results.size());
    for (std::size_t i = 0; i < expected.results.size(); ++i) {
        SCOPED_TRACE(testing::Message() << "result " << i);
        EXPECT_EQ(actual.results()[i].runMode(), expected.results[i].runMode);
        EXPECT_EQ(actual.results()[i].modelToDataMap(), expected.results[i].modelToDataMap);
        expectSameNumber(actual.results()[i].coverage(), expected.results[i].coverage, "coverage");
        expectSameNumber(actual.results()[i].fitError(), expected.results[i].fitError, "fit error");
        expectSameXform(actual.results()[i].modelToDataXform(),
                        expected.results[i].modelToDataXform);
    }
}

rxPointMatcher trainedOn(const Problem& problem, rxPointMatcherDefs::Mode mode) {
    rxPointMatcher matcher;
    if (problem.weights.empty()) {
        matcher.train(problem.model, mode);
    } else {
        matcher.train(problem.model, problem.weights, mode);
    }
    return matcher;
}

void compareRun(const rxPointMatcher& matcher, const Problem& problem, const RunReport& expected) {
    rxPointMatcherResultSet actual;
    const PollCounter counter;
    matcher.run(problem.data, problem.params, actual);
    expectSameResults(actual, expected);
    EXPECT_EQ(polls, expected.polls);
    EXPECT_EQ(actual.time() > 0.0, expected.isTimed);
}

/// Lets searches use one kernel, begin with one shape of tiles and bound one shape of groups.
class ForcedSearch {
  public:
    ForcedSearch(const char* kernel, int tiles, int groups) {
        ptmatch::detail::forceVoteKernel(kernel);
        ptmatch::detail::forceTileShape(tiles);
        ptmatch::detail::forceGroupShape(groups);
    }
    ~ForcedSearch() {
        ptmatch::detail::forceGroupShape(ptmatch::detail::kPlannedGroups);
        ptmatch::detail::forceVoteKernel("");
        ptmatch::detail::forceTileShape(-1);
    }
    ForcedSearch(const ForcedSearch&) = delete;
    ForcedSearch& operator=(const ForcedSearch&) = delete;
};

/// Every kernel, each with the planners' choices and with others forced.
void compareSearches(const Problem& problem, const RunReport& expected, long round) {
    using namespace ptmatch::detail;
    const rxPointMatcher matcher = trainedOn(problem, rxPointMatcherDefs::eAutoDetect);
    const auto compare = [&](const VoteKernel& kernel, int tiles, int groups) {
        SCOPED_TRACE(testing::Message()
                     << kernel.name << ", tile shape " << tiles << ", group shape " << groups);
        const ForcedSearch forced(kernel.name, tiles, groups);
        compareRun(matcher, problem, expected);
    };
    for (const VoteKernel* kernel : voteKernels()) {
        ++round;
        compare(*kernel, -1, kPlannedGroups);
        compare(*kernel, static_cast<int>(round % std::ssize(kTileShapes)), kNoGroups);
        compare(*kernel, -1, static_cast<int>(round * 7 % std::ssize(kGroupShapes)));
    }
}

class DifferentialTest : public testing::TestWithParam<ProblemKind> {
  protected:
    /// compare(problem, round) returns what the reference found.
    template <class Compare>
    static void compareMany(Compare compare) {
        const ProblemKind& kind = GetParam();
        std::size_t found = 0;
        const long cases = casesOfAKind();
        for (long i = 0; i < cases; ++i) {
            const std::uint64_t seed = kFirstSeed + static_cast<std::uint64_t>(i);
            SCOPED_TRACE(testing::Message() << kind.name << ", seed " << seed);
            Random random(seed);
            found += compare(kind.make(random), i).results.size();
            if (HasFailure()) return;
        }
        EXPECT_EQ(found == 0, kind.findsNothing) << found << " results in all";
    }
};

std::string nameOf(const testing::TestParamInfo<ProblemKind>& info) {
    return info.param.name;
}

class PoseSearchDifferential : public DifferentialTest {};

TEST_P(PoseSearchDifferential, EqualsTheReference) {
    compareMany([](const Problem& problem, long round) {
        const auto model = ptmatch::reference::trainModel(problem.model, problem.weights);
        RunReport expected = ptmatch::reference::run(model, problem.data, problem.params);
        compareSearches(problem, expected, round);
        return expected;
    });
}

INSTANTIATE_TEST_SUITE_P(Random, PoseSearchDifferential,
                         testing::ValuesIn(ptmatch::reference::poseSearchProblems()), nameOf);

class ExhaustiveDifferential : public DifferentialTest {};

TEST_P(ExhaustiveDifferential, EqualsTheReference) {
    compareMany([](const Problem& problem, long) {
        const auto model = ptmatch::reference::trainModel(problem.model, problem.weights);
        RunReport expected =
            ptmatch::reference::runExhaustively(model, problem.data, problem.params);
        compareRun(trainedOn(problem, rxPointMatcherDefs::eExhaustiveMode), problem, expected);
        return expected;
    });
}

INSTANTIATE_TEST_SUITE_P(Random, ExhaustiveDifferential,
                         testing::ValuesIn(ptmatch::reference::exhaustiveProblems()), nameOf);

}  // namespace
