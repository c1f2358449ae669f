// How large a run is before it starts, how far it is, and how to end it.
#include <atomic>
#include <chrono>
#include <csignal>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "foundation/attention.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/run_cost.h"
#include "ptmatch/run_watch.h"
#include "read_points.h"

namespace {

void require(bool holds, const std::string& what) {
    if (!holds) throw std::runtime_error("does not hold: " + what);
}

rxPointMatcher cardMatcher() {
    rxPointMatcher matcher;
    matcher.train(readPoints("data/demo_pick/model.csv"), rxPointMatcherDefs::eAutoDetect);
    return matcher;
}

// Far more work than the scene needs: cells of a fifth of a pixel.
rxPointMatcherRunParams heavyParams() {
    rxPointMatcherRunParams params;
    params.autoGridSize(false);
    params.gridSize(0.2);
    params.rotationUncertainty(rxAngleRange::FullRange());
    params.scaleUncertainty(rxRange(-0.2, 0.2));
    return params;
}

void askForTheCost() {
    const rxPointMatcher matcher = cardMatcher();
    const std::vector<rxVector<2>> data = readPoints("data/demo_pick/data.csv");
    rxPointMatcherRunParams params = heavyParams();
    // [cost]
    rxRunCost cost = rfRunCost(matcher, data, params);
    std::cout << cost.numLatticePoints << " rotations and scales, " << cost.numTranslations
              << " translations at each, " << cost.imageBytes / 1e6 << " MB: work " << cost.work
              << '\n';
    while (cost.work > 1e10) {  // as much as fits the time you have: measure once
        params.autoGridSize(false);
        params.gridSize(2.0 * cost.gridSize);
        cost = rfRunCost(matcher, data, params);
    }
    std::cout << "cells of " << cost.gridSize << " model units: work " << cost.work << '\n';
    // [cost]
    params.autoCaptureRange(false);
    params.captureRange(6.0);
    rxPointMatcherResultSet found;
    matcher.run(data, params, found);
    require(!found.results().empty() && found.results()[0].coverage() == 1.0,
            "the coarser grid finds the card");
}

void endAtADeadline() {
    const rxPointMatcher matcher = cardMatcher();
    const std::vector<rxVector<2>> data = readPoints("data/demo_pick/data.csv");
    const rxPointMatcherRunParams params = heavyParams();
    rxPointMatcherResultSet found;
    bool isLate = false;
    double lastFraction = 0.0;
    const auto begin = std::chrono::steady_clock::now();
    // [deadline]
    rxRunLimits limits;
    limits.timeLimit = 0.05;  // seconds
    limits.progressInterval = 0.01;
    limits.onProgress = [&](double fraction) { lastFraction = fraction; };
    try {
        rfRunWatched(matcher, data, params, found, limits);
    } catch (const rxDeadlinePassed& late) {
        isLate = true;  // nothing was found so far; the matcher is unharmed
    }
    // [deadline]
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    require(isLate && found.results().empty(), "the run ends at its deadline");
    require(lastFraction < 1.0, "it is not through");
    require(taken.count() < 30.0, "it ends soon after");
}

void stopFromElsewhere() {
    const rxPointMatcher matcher = cardMatcher();
    const std::vector<rxVector<2>> data = readPoints("data/demo_pick/data.csv");
    const rxPointMatcherRunParams params = heavyParams();
    rxPointMatcherResultSet found;
    bool isStopped = false;
    // [stop]
    std::signal(SIGINT, [](int) { rxAttention::request(); });  // Ctrl-C
    std::thread button([] {                                    // or any other thread
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        rxAttention::request();
    });
    try {
        matcher.run(data, params, found);
    } catch (const rxAttention::Interrupted&) {
        isStopped = true;
    }
    button.join();
    rxAttention::clear();  // or every later run ends at its first check
    // [stop]
    require(isStopped && found.results().empty(), "the run is interrupted");
    matcher.run(data, rxPointMatcherRunParams(), found);
    require(found.results().size() == 1, "the next run goes on as ever");
}

void showProgress() {
    const rxPointMatcher matcher = cardMatcher();
    const std::vector<rxVector<2>> data = readPoints("data/demo_pick/data.csv");
    rxPointMatcherRunParams params;
    params.rotationUncertainty(rxAngleRange::FullRange());
    rxPointMatcherResultSet found;
    std::vector<double> fractions;
    // [progress]
    rxRunLimits limits;
    limits.progressInterval = 0.0;  // tell every lattice point; 0.1 seconds by default
    limits.onProgress = [&](double fraction) { fractions.push_back(fraction); };
    rfRunWatched(matcher, data, params, found, limits);
    // [progress]
    for (std::size_t k = 1; k < fractions.size(); ++k) {
        require(fractions[k] >= fractions[k - 1], "progress never goes back");
    }
    require(fractions.back() == 1.0, "at last all is done");
    const rxRunCost cost = rfRunCost(matcher, data, params);
    std::cout << cost.numLatticePoints << " lattice points, " << fractions.size()
              << " reports, the last one " << fractions.back() << '\n';
}

void cancel() {
    const rxPointMatcher matcher = cardMatcher();
    const std::vector<rxVector<2>> data = readPoints("data/demo_pick/data.csv");
    const rxPointMatcherRunParams params = heavyParams();
    rxPointMatcherResultSet found;
    const std::atomic<bool> isCancelled = true;
    bool isEnded = false;
    // [cancel]
    struct Cancelled {};
    rxRunLimits limits;
    limits.onProgress = [&](double) {
        if (isCancelled) throw Cancelled();
    };
    try {
        rfRunWatched(matcher, data, params, found, limits);
    } catch (const Cancelled&) {
        isEnded = true;
    }
    // [cancel]
    require(isEnded && found.results().empty(), "the run ends at its next report");
}

}  // namespace

int main() try {
    askForTheCost();
    endAtADeadline();
    stopFromElsewhere();
    showProgress();
    cancel();
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
