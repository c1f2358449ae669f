// Promise: what is told beside a run (pairs, copies, certainty, refit, cost, reasons, votes) takes
// any result and any settings: it is refused with a documented exception, or told; pairs are as
// many on each side, probabilities lie in 0 to 1, and refits and the covariance are finite.
#include <cmath>
#include <cstdint>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

#include "foundation/fitter.h"
#include "fuzz_input.h"
#include "fuzzers.h"
#include "promise.h"
#include "ptmatch/certainty.h"
#include "ptmatch/clutter_chance.h"
#include "ptmatch/distinct_instances.h"
#include "ptmatch/matched_pairs.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/refit.h"
#include "ptmatch/run_cost.h"
#include "ptmatch/run_watch.h"
#include "ptmatch/summaries.h"
#include "ptmatch/vote_image.h"
#include "ptmatch/why_not.h"
#include "refusals.h"

namespace ptmatch::fuzz::additions {
namespace {

using Points = std::vector<rxVector<2>>;

constexpr double kSpread = 200.0;

constexpr Refusals<rxException, std::out_of_range> tolerate;

rxPointMatcherRunParams runParams(FuzzInput& input) {
    rxPointMatcherRunParams params(static_cast<double>(input.byte()) / 255.0);
    const double turn = static_cast<double>(input.integer(0, 180));
    params.rotationUncertainty({rxDegree(-turn), rxDegree(turn)});
    if (input.flag()) params.scaleUncertainty({-0.05, 0.05});
    params.autoGridSize(false);
    params.gridSize(static_cast<double>(input.integer(4, 40)));
    if (input.flag()) {
        params.autoCaptureRange(false);
        params.captureRange(std::abs(input.moderate(40.0)));
    }
    params.maxNumResults(input.integer(1, 10));
    return params;
}

void checkPairs(const rxMatchedPairs& pairs, std::size_t numData) {
    promise(pairs.model.size() == pairs.data.size() &&
                pairs.modelIndices.size() == pairs.data.size() &&
                pairs.dataIndices.size() == pairs.data.size(),
            "pairs of as many points on each side");
    for (const long place : pairs.dataIndices) {
        promise(place >= 0 && std::cmp_less(place, numData), "a data point");
    }
}

void checkRefit(const rxRefit& refit) {
    for (const double value : refit.dataFromModel.a2bParams()) {
        promise(std::isfinite(value), "a finite refit");
    }
    // A perspective transform may take a point that it was fitted to to infinity.
    const bool isPerspective = refit.model == rxRefitDefs::ePerspective;
    promise(isPerspective || std::isfinite(refit.residual.rms), "a finite residual");
}

void tellOf(const rxPointMatcher& matcher, const Points& data,
            const rxPointMatcherRunParams& params, const rxPointMatcherResultSet& found,
            FuzzInput& input) {
    std::ostringstream text;
    text << params << found;
    promise(!text.str().empty(), "a summary");
    const rxDistinctness distinctness{static_cast<double>(input.byte()) / 200.0,
                                      input.moderate(100.0)};
    tolerate([&] {
        const auto copies = rfDistinctInstances(matcher, found, distinctness);
        for (std::size_t i = 1; i < copies.size(); ++i) {
            promise(copies[i] > copies[i - 1], "copies in their order");
        }
    });
    const rxCertaintySettings settings{input.number(), input.number(), input.number()};
    for (std::size_t i = 0; i <= found.results().size(); ++i) {
        tolerate([&] {
            const rxCertainty sure = rfCertainty(matcher, data, params, found, i, settings);
            for (const auto& chance : {sure.clutterProbability(), sure.closeClutterProbability()}) {
                promise(!chance || (*chance >= 0.0 && *chance <= 1.0), "a probability");
            }
            checkPairs(sure.pairs, data.size());
            promise(sure.residuals.size() == sure.pairs.data.size(), "a residual for each pair");
            for (const double residual : sure.residuals) promise(residual >= 0.0, "a residual");
            if (sure.covariance) promise(sure.covariance->centreVariance >= 0.0, "a variance");
        });
    }
    for (const rxPointMatcherResult& result : found.results()) {
        tolerate([&] { checkPairs(rfMatchedPairs(matcher, data, result), data.size()); });
        const auto model = static_cast<rxRefitDefs::Model>(input.integer(2, 9));
        tolerate([&] { checkRefit(rfRefit(matcher, data, result, model)); });
    }
}

rxClutterScene clutterScene(FuzzInput& input) {
    rxClutterScene scene;
    for (double* value :
         {&scene.numDataPoints, &scene.area, &scene.captureRange, &scene.numModelPoints,
          &scene.modelRadius, &scene.translationWidth, &scene.translationHeight,
          &scene.rotationLength, &scene.lowScale, &scene.highScale}) {
        *value = input.flag() ? std::abs(input.moderate(1000.0)) : input.number();
    }
    scene.numModelPoints = std::min(scene.numModelPoints, 10'000.0);
    return scene;
}

}  // namespace

void run(std::span<const std::uint8_t> bytes) {
    FuzzInput input(bytes);
    const rxPointMatcherRunParams params = runParams(input);
    const bool isExhaustive = input.byte() < 48;
    const bool isLarge = !isExhaustive && input.byte() < 48;
    const Points model = isLarge ? input.cloud(input.integer(81, 200), kSpread)
                                 : input.moderatePoints(3, isExhaustive ? 4 : 10, kSpread);
    Points data = input.moderatePoints(0, isExhaustive ? 5 : 20, kSpread);
    if (!isExhaustive && input.flag()) data.insert(data.end(), model.begin(), model.end());
    rxPointMatcher matcher;
    matcher.train(model, isExhaustive ? rxPointMatcherDefs::eExhaustiveMode
                                      : rxPointMatcherDefs::eAutoDetect);
    rxPointMatcherResultSet found;
    tolerate([&] {
        const rxRunCost cost = rfRunCost(matcher, data, params);
        if (cost.work > 100'000) return;
        rxRunLimits limits;
        double last = 0.0;
        limits.progressInterval = 0.0;
        limits.onProgress = [&](double share) {
            promise(share >= last && share <= 1.0, "progress that grows");
            last = share;
        };
        rfRunWatched(matcher, data, params, found, limits);
        tolerate([&] {
            // At its first look when the run looks at all.
            limits.timeLimit = 0.0;
            last = 0.0;
            rxPointMatcherResultSet none;
            rfRunWatched(matcher, data, params, none, limits);
            promise(!cost.isInterruptible || cost.work == 0.0, "a run that is stopped");
        });
        tolerate([&] {
            limits.timeLimit = input.number();
            last = 0.0;
            rxPointMatcherResultSet same;
            rfRunWatched(matcher, data, params, same, limits);
        });
        (void)rfWhyNot(matcher, data, params);
        if (const auto place = rfBestVotePlace(matcher, data, params)) {
            const rxVoteImage image = rfVoteImage(matcher, data, params, *place);
            promise(std::ssize(image.votes) == image.width * image.height, "a vote for each");
            for (const rxPointMatcherResult& result : found.results()) {
                const rxXform<2>& pose = result.modelToDataXform();
                const auto nearest = rfNearestVotePlace(matcher, data, params, pose);
                promise(nearest && nearest->scale > 0.0, "a place near a result");
                const rxVector<2> at = image.columnAndRow(pose);
                (void)image.translation(at.x(), at.y());
                (void)image.modelToData(at.x(), at.y());
            }
            if (image.width > 0 && image.height > 0) {
                promise(image.vote(0, 0) == image.votes.front(), "the first vote");
            }
            const double scale = input.number();
            (void)rfVoteImage(matcher, data, params, {scale, input.number()});
        }
    });
    tellOf(matcher, data, params, found, input);
    tolerate([&] {
        const rxClutterScene scene = clutterScene(input);
        const double log10 = rfLog10FalseAlarms(scene, input.number());
        promise(!std::isnan(log10), "a number of false alarms");
    });
}

}  // namespace ptmatch::fuzz::additions
