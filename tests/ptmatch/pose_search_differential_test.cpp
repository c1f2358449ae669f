#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "foundation/attention.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/same_bits.h"
#include "reference/random_problems.h"
#include "reference/reference_model.h"
#include "reference/reference_run.h"

// The matcher against the plain reference, on thousands of random problems: every result, in its
// order, to the last bit. PTMATCH_DIFFERENTIAL_CASES sets the number of problems of each kind.
namespace {

using ptmatch::reference::Problem;
using ptmatch::reference::ProblemKind;
using ptmatch::reference::Random;
using ptmatch::reference::RunReport;

constexpr long kCasesOfAKind = 50;
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

/// Runs both on the problem and compares; returns the number of results.
std::size_t compareRuns(const Problem& problem, rxPointMatcherDefs::Mode mode) {
    rxPointMatcher matcher;
    if (problem.weights.empty()) {
        matcher.train(problem.model, mode);
    } else {
        matcher.train(problem.model, problem.weights, mode);
    }
    rxPointMatcherResultSet actual;
    const PollCounter counter;
    matcher.run(problem.data, problem.params, actual);

    const auto model = ptmatch::reference::trainModel(problem.model, problem.weights);
    const bool isExhaustive = mode == rxPointMatcherDefs::eExhaustiveMode;
    const RunReport expected =
        isExhaustive ? ptmatch::reference::runExhaustively(model, problem.data, problem.params)
                     : ptmatch::reference::run(model, problem.data, problem.params);
    expectSameResults(actual, expected);
    EXPECT_EQ(polls, expected.polls);
    EXPECT_EQ(actual.time() > 0.0, expected.isTimed);
    return expected.results.size();
}

class DifferentialTest : public testing::TestWithParam<ProblemKind> {
  protected:
    static void compareMany(rxPointMatcherDefs::Mode mode) {
        const ProblemKind& kind = GetParam();
        std::size_t found = 0;
        const long cases = casesOfAKind();
        for (long i = 0; i < cases; ++i) {
            const std::uint64_t seed = kFirstSeed + static_cast<std::uint64_t>(i);
            SCOPED_TRACE(testing::Message() << kind.name << ", seed " << seed);
            Random random(seed);
            found += compareRuns(kind.make(random), mode);
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
    compareMany(rxPointMatcherDefs::eAutoDetect);
}

INSTANTIATE_TEST_SUITE_P(Random, PoseSearchDifferential,
                         testing::ValuesIn(ptmatch::reference::poseSearchProblems()), nameOf);

class ExhaustiveDifferential : public DifferentialTest {};

TEST_P(ExhaustiveDifferential, EqualsTheReference) {
    compareMany(rxPointMatcherDefs::eExhaustiveMode);
}

INSTANTIATE_TEST_SUITE_P(Random, ExhaustiveDifferential,
                         testing::ValuesIn(ptmatch::reference::exhaustiveProblems()), nameOf);

}  // namespace
