#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

#include "foundation/attention.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/same_bits.h"
#include "reference/random_problems.h"
#include "reference/reference_model.h"
#include "reference/reference_run.h"

// The exhaustive search against the plain odometer where an estimate of a pose could go wrong: on
// sets of all small sizes, each with points, limits, weights and sizes of the result list drawn
// apart. PTMATCH_EXHAUSTIVE_CASES sets the number of problems.
namespace {

using ptmatch::reference::Problem;
using ptmatch::reference::Random;
using ptmatch::reference::RunReport;
using Points = std::vector<rxVector<2>>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr long kMinModel = 3;  // that training takes
constexpr long kMaxSize = 6;
constexpr double kSide = 16.0;

long numCases() {
    const char* asked = std::getenv("PTMATCH_EXHAUSTIVE_CASES");
    return asked == nullptr ? 3000L : std::max(1L, std::atol(asked));
}

bool neverPolled() {
    ADD_FAILURE() << "the exhaustive search asked whether it is to go on";
    return false;
}

rxVector<2> pointIn(Random& random, double side) {
    const double x = random.uniform(0.0, side);
    return {x, random.uniform(0.0, side)};
}

// Small whole numbers: exact ties, exact limits, points in one place and on one line.
rxVector<2> latticePoint(Random& random) {
    const long x = random.integer(0, 3);
    return {4.0 * static_cast<double>(x), 4.0 * static_cast<double>(random.integer(0, 3))};
}

Points pointsOf(Random& random, long count, bool isLattice) {
    Points points;
    for (long i = 0; i < count; ++i) {
        points.push_back(isLattice ? latticePoint(random) : pointIn(random, kSide));
    }
    return points;
}

// Data that hold some of the model under a pose, moved a little or not at all.
Points observed(Random& random, const Points& model, long count, bool isLattice) {
    Points data = pointsOf(random, count, isLattice);
    if (random.chance(0.2)) return data;
    const rxXform<2> pose =
        ptmatch::reference::poseAbout({8.0, 8.0},
                                      isLattice ? 90.0 * static_cast<double>(random.integer(0, 3))
                                                : random.uniform(-180.0, 180.0),
                                      random.chance(0.5) ? 1.0 : random.uniform(0.8, 1.2),
                                      isLattice ? latticePoint(random) : pointIn(random, 8.0));
    const double noise = random.chance(0.5) ? 0.0 : random.uniform(0.0, 1.0);
    for (std::size_t i = 0; i < data.size() && i < model.size(); ++i) {
        if (random.chance(0.2)) continue;
        data[data.size() - 1 - i] = pose * model[i] + pointIn(random, noise);
    }
    return data;
}

void limitRotation(Random& random, rxPointMatcherRunParams& params) {
    const double start = random.uniform(-200.0, 200.0);
    switch (random.integer(0, 5)) {
        case 0:
            return;
        case 1:
            return params.rotationUncertainty(
                rxAngleRange(rxDegree(start), rxDegree(start + random.uniform(0.0, 90.0))));
        case 2:
            return params.rotationUncertainty(
                rxAngleRange(rxDegree(start), rxDegree(start + random.uniform(90.0, 400.0))));
        case 3:
            return params.rotationUncertainty(rxAngleRange(rxDegree(-90.0), rxDegree(90.0)));
        default:
            return params.rotationUncertainty(rxAngleRange::FullRange());
    }
}

void limitScale(Random& random, rxPointMatcherRunParams& params) {
    switch (random.integer(0, 3)) {
        case 0:
            return;
        case 1: {
            const double low = random.uniform(-0.5, 0.2);
            return params.scaleUncertainty(rxRange(low, low + random.uniform(0.0, 1.0)));
        }
        case 2:
            return params.scaleUncertainty(rxRange(-0.9, 0.0));
        default:
            return params.scaleUncertainty(rxRange(-0.9, 1e6));
    }
}

rxRange translationRange(Random& random) {
    const double low = std::floor(random.uniform(-20.0, 10.0));
    switch (random.integer(0, 3)) {
        case 0:
            return rxRange(low, low + std::floor(random.uniform(0.0, 20.0)));
        case 1:
            return rxRange(low, kInfinity);
        default:
            return rxRange::FullRange();
    }
}

rxXform<2> startPose(Random& random) {
    if (random.chance(0.5)) return {};
    return rxXform<2>(pointIn(random, 8.0), rxDegree(random.uniform(-180.0, 180.0)),
                      rxDegree(random.uniform(-30.0, 30.0)), random.uniform(0.7, 1.4), 1.0);
}

// Of all kinds: nothing, everything, and whole numbers that distances on the lattice hit exactly.
double captureRange(Random& random) {
    return random.pick<double>(
        {0.0, 1e-9, 0.5, 1.0, 4.0, 8.0, 1e3, 1e200, kInfinity, random.uniform(0.0, 3.0)});
}

rxVector<2> scaled(const rxVector<2>& p, double factor) {
    return {p.x() * factor, p.y() * factor};
}

// Moves and scales both sets: large offsets, tiny and huge units, one point far from the others.
void makeExtreme(Random& random, Problem& problem) {
    const double unit = random.pick<double>({1.0, 1e-9, 1e9, 1e-62, 1e-58, 1e58, 1e62, 1e-70});
    const double offset = random.pick<double>({0.0, 1.0, 1e4, 6.7e7, 1e9, 1e12, 1e17});
    const rxVector<2> modelShift(random.uniform(-offset, offset), offset);
    const rxVector<2> dataShift(offset, random.uniform(-offset, offset));
    for (rxVector<2>& p : problem.model) p = scaled(p + modelShift, unit);
    for (rxVector<2>& p : problem.data) p = scaled(p + dataShift, unit);
    if (random.chance(0.2)) problem.model.back() = scaled(problem.model.back(), 1e8);
    if (random.chance(0.2)) problem.data.front() = scaled(problem.data.front(), 1e8);
    problem.params.captureRange(problem.params.captureRange() * unit);
    problem.params.autoCaptureRange(false);
}

Problem makeProblem(Random& random) {
    const bool isLattice = random.chance(0.4);
    Problem problem;
    problem.model = pointsOf(random, random.integer(kMinModel, kMaxSize), isLattice);
    // The plain odometer turns (larger + 1)^smaller times; the largest cases come less often.
    const long largest = random.chance(0.03) ? kMaxSize : kMaxSize - 2;
    if (static_cast<long>(problem.model.size()) > largest && random.chance(0.95)) {
        problem.model.resize(static_cast<std::size_t>(largest));
    }
    problem.data = observed(random, problem.model, random.integer(1, largest), isLattice);
    if (random.chance(0.2)) problem.data.back() = problem.data.front();
    if (random.chance(0.4)) {
        for (std::size_t i = 0; i < problem.model.size(); ++i) {
            problem.weights.push_back(i < 2 ? 2 : random.integer(-3, 5));
        }
    }
    limitRotation(random, problem.params);
    limitScale(random, problem.params);
    problem.params.xTranslationUncertainty(translationRange(random));
    problem.params.yTranslationUncertainty(translationRange(random));
    problem.params.startPose(startPose(random));
    problem.params.autoCaptureRange(random.chance(0.3));
    problem.params.captureRange(captureRange(random));
    problem.params.maxNumResults(random.pick<long>({1, 1, 2, 7, 100, 100000}));
    if (random.chance(0.3)) makeExtreme(random, problem);
    return problem;
}

void expectSame(const rxPointMatcherResultSet& actual, const RunReport& expected) {
    ASSERT_EQ(actual.results().size(), expected.results.size());
    for (std::size_t i = 0; i < expected.results.size(); ++i) {
        const rxPointMatcherResult& result = actual.results()[i];
        EXPECT_EQ(result.modelToDataMap(), expected.results[i].modelToDataMap);
        expectSameNumber(result.coverage(), expected.results[i].coverage, "coverage");
        expectSameNumber(result.fitError(), expected.results[i].fitError, "fit error");
        expectSameXform(result.modelToDataXform(), expected.results[i].modelToDataXform);
    }
}

TEST(ExhaustiveOdometer, GivesTheSameResultsToTheLastBit) {
    const rxAttention::Handler previous = rxAttention::setHandler(neverPolled);
    std::size_t found = 0;
    for (long i = 0; i < numCases() && !HasFailure(); ++i) {
        SCOPED_TRACE(testing::Message() << "seed " << i);
        Random random(static_cast<std::uint64_t>(i));
        const Problem problem = makeProblem(random);
        rxPointMatcher matcher;
        if (problem.weights.empty()) {
            matcher.train(problem.model, rxPointMatcherDefs::eExhaustiveMode);
        } else {
            matcher.train(problem.model, problem.weights, rxPointMatcherDefs::eExhaustiveMode);
        }
        rxPointMatcherResultSet actual;
        matcher.run(problem.data, problem.params, actual);
        const RunReport expected = ptmatch::reference::runExhaustively(
            ptmatch::reference::trainModel(problem.model, problem.weights), problem.data,
            problem.params);
        expectSame(actual, expected);
        found += expected.results.empty() ? 0 : 1;
    }
    rxAttention::setHandler(previous);
    EXPECT_GT(found, static_cast<std::size_t>(numCases()) / 5) << "problems with a result";
}

}  // namespace
