#pragma once

#include <array>

#include "foundation/geometry_archive.h"
#include "hardening/fault_descriptions.h"
#include "hardening/fault_scenario.h"
#include "ptmatch/addition_world.h"
#include "ptmatch/gridcorr.h"
#include "ptmatch/ppmatch.h"
#include "support/pattern_pictures.h"

namespace ptmatch::testing {

// What calls are given is there before they are made: only what they take themselves shall fail.

/// Seven points without symmetry and, of these, what an exhaustive run gets.
inline const Points& smallModel() {
    static const Points points = {{0, 0}, {17, 3}, {31, 1}, {8, 12}, {25, 14}, {2, 23}, {14, 27}};
    return points;
}
inline const std::vector<long>& smallWeights() {
    static const std::vector<long> weights = {3, 1, 2, 1, -1, 0, 2};
    return weights;
}
inline const Points& tinyModel() {
    static const Points points = {{0, 0}, {17, 3}, {31, 1}, {8, 12}};
    return points;
}

/// The points, turned and moved, with two that belong to nothing.
inline Points seen(const Points& model) {
    Points data = mapped(poseAt(100, 50, 4), model);
    data.emplace_back(90, 90);
    data.emplace_back(140, 40);
    return data;
}

// Grid patterns, with steps of 20.
inline const Picture& densePicture() {
    static const Picture picture = {"####", "##.#", "####"};
    return picture;
}
inline const Picture& sparsePicture() {
    static const Picture picture = {"#...#", ".....", "#..#.", "....."};
    return picture;
}
inline rxXform<2> pictureGrid() {
    return gridOf({20, 0}, {0, 20});
}
inline const rxPelBuffer<unsigned char>& denseImage() {
    static const rxPelBuffer<unsigned char> image = imageOf(densePicture(), pictureGrid());
    return image;
}
inline const rxPelBuffer<unsigned char>& sparseImage() {
    static const rxPelBuffer<unsigned char> image = imageOf(sparsePicture(), pictureGrid());
    return image;
}

/// The dots of a pattern, seen as the points above.
inline Points seenDots(const Picture& picture) {
    return seen(dotsOf(picture, pictureGrid()));
}

/// The five ways in which a matcher can be trained.
enum class Training { eByVotes, eWeighted, eExhaustive, eDense, eSparse };

inline constexpr std::array kTrainings = {Training::eByVotes, Training::eWeighted,
                                          Training::eExhaustive, Training::eDense,
                                          Training::eSparse};

inline std::string nameOf(Training training) {
    constexpr std::array<const char*, 5> kNames = {"ByVotes", "ByWeightedVotes", "Exhaustively",
                                                   "OnDenseGrid", "OnSparseGrid"};
    return kNames[static_cast<std::size_t>(training)];
}

inline bool isGrid(Training training) {
    return training == Training::eDense || training == Training::eSparse;
}

inline void train(rxPointMatcher& matcher, Training training) {
    switch (training) {
        case Training::eByVotes:
            return matcher.train(smallModel(), rxPointMatcherDefs::eAutoDetect);
        case Training::eWeighted:
            return matcher.train(smallModel(), smallWeights(), rxPointMatcherDefs::eAutoDetect);
        case Training::eExhaustive:
            return matcher.train(tinyModel(), rxPointMatcherDefs::eExhaustiveMode);
        case Training::eDense:
            return matcher.train(denseImage());
        case Training::eSparse:
            return matcher.train(sparseImage());
    }
}

/// A matcher, what it is run on, and what comes of it.
struct MatcherRun {
    rxPointMatcher matcher;
    Points data;
    rxPointMatcherRunParams params{0.7};
    rxPointMatcherResultSet found;

    void run() { matcher.run(data, params, found); }
};

/// A set of one result, of a run that took 7.5 seconds.
inline rxPointMatcherResultSet earlierResults() {
    return loaded<rxPointMatcherResultSet>(
        stored(200009UL, 7.5, std::vector<rxPointMatcherResult>(1)));
}
/// The same without the result.
inline rxPointMatcherResultSet emptiedResults(double time) {
    return loaded<rxPointMatcherResultSet>(
        stored(200009UL, time, std::vector<rxPointMatcherResult>()));
}

/// Ready to be run, with the results of an earlier run still in the set.
inline void prepare(MatcherRun& ready, Training training) {
    train(ready.matcher, training);
    switch (training) {
        case Training::eByVotes:
        case Training::eWeighted:
            ready.data = seen(smallModel());
            break;
        case Training::eExhaustive:
            ready.data = seen(tinyModel());
            break;
        case Training::eDense:
            ready.data = seenDots(densePicture());
            ready.params.scaleUncertainty(rxRange(-0.2, 0.2));
            break;
        case Training::eSparse:
            ready.data = seenDots(sparsePicture());
            break;
    }
    ready.params.rotationUncertainty(rxAngleRange(rxDegree(-10), rxDegree(10)));
    ready.params.maxNumResults(3);
    ready.found = earlierResults();
}

/// To a few steps around where the data are: what looks for all that can be there soon has it.
inline void narrowTranslations(rxPointMatcherRunParams& params) {
    params.xTranslationUncertainty(rxRange(95, 105));
    params.yTranslationUncertainty(rxRange(45, 55));
}

/// The seconds in a set of which a run that failed late has emptied the results.
inline double timeLeftByFailure(Training training) {
    return isGrid(training) ? 0.0 : 7.5;
}

/// All but the time.
inline ByteVector describeResults(const rxPointMatcherResultSet& found) {
    return stored(found.results());
}
inline ByteVector describeOutcome(const MatcherRun& run) {
    return joined({describe(run.matcher), describeResults(run.found)});
}
inline ByteVector describeLeft(const MatcherRun& run) {
    return joined({describe(run.matcher), stored(run.found)});
}

/// Runs: no results after a failure, and the time is that of before or, on a grid, 0.
inline FaultTable<MatcherRun> runTable(Training training) {
    FaultTable<MatcherRun> table;
    table.prepare = [training](MatcherRun& run) { prepare(run, training); };
    table.call = [](MatcherRun& run) { run.run(); };
    table.outcome = describeOutcome;
    table.left = describeLeft;
    table.spoil = [training](MatcherRun& run) {
        run.found = emptiedResults(timeLeftByFailure(training));
    };
    return table;
}

}  // namespace ptmatch::testing
