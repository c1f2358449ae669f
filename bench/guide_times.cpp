// The tables of times of docs/guide: what a choice costs, as a ratio to one line of its table.
//
//     ptmatch_guide_times [ROUNDS]      in the root of the project; 31 rounds if none are given
//
// A line and that one take turns, round by round, so that what else the machine does slows
// both alike. Times are processor time of the one thread; time and ratio are medians over the
// rounds.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "../docs/guide/snippets/tray.h"
#include "bench_version.h"
#include "machine.h"
#include "paired_ratio.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/run_cost.h"

namespace {

using Points = std::vector<rxVector<2>>;
using Params = rxPointMatcherRunParams;

/// The first two columns of a table of the project, which has a header.
Points pointsOf(const std::string& path) {
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    Points points;
    while (std::getline(file, line)) {
        std::istringstream fields(line);
        double x = 0.0;
        double y = 0.0;
        char comma = '\0';
        if (!(fields >> x >> comma >> y)) throw std::runtime_error("no point: " + line);
        points.emplace_back(x, y);
    }
    if (points.empty()) throw std::runtime_error(path + " cannot be read; run in the root");
    return points;
}

struct Scene {
    rxPointMatcher matcher;
    Points data;
};

Scene sceneOf(const std::string& name) {
    Scene scene;
    scene.matcher.train(pointsOf("data/" + name + "/model.csv"), rxPointMatcherDefs::eAutoDetect);
    scene.data = pointsOf("data/" + name + "/data.csv");
    return scene;
}

struct Line {
    std::string label;
    Params params;
};

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// A line of Markdown for each line; ratios are to the one with that label.
void printTable(const std::string& title, const Scene& scene, const std::vector<Line>& lines,
                const std::string& base, int rounds) {
    std::cout << "\n"
              << title << "\n\n"
              << "| | rotations x scales | translations | matched | time | ratio |\n"
              << "|---|---|---|---|---|---|\n";
    rxPointMatcherResultSet found;
    const auto run = [&](std::size_t i) { scene.matcher.run(scene.data, lines[i].params, found); };
    const Params& baseParams = std::ranges::find(lines, base, &Line::label)->params;
    const auto runBase = [&](std::size_t) { scene.matcher.run(scene.data, baseParams, found); };
    const std::size_t baseCalls = ptmatch::bench::callsPerRound(runBase);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const auto runLine = [&](std::size_t) { run(i); };
        const std::size_t calls = ptmatch::bench::callsPerRound(runLine);
        std::vector<double> times;
        std::vector<double> ratios;
        for (int round = 0; round < rounds; ++round) {
            const double baseTime = ptmatch::bench::secondsPerCall(runBase, 0, baseCalls);
            times.push_back(ptmatch::bench::secondsPerCall(runLine, 0, calls));
            ratios.push_back(times.back() / baseTime);
        }
        run(i);
        std::string matched = "nothing found";
        if (!found.results().empty()) {
            const std::vector<long>& map = found.results().front().modelToDataMap();
            matched = std::to_string(std::ranges::count_if(map, [](long k) { return k >= 0; })) +
                      " of " + std::to_string(map.size());
        }
        const rxRunCost cost = rfRunCost(scene.matcher, scene.data, lines[i].params);
        std::printf("| %s | %lld | %lld | %s | %.3g ms | %.2g |\n", lines[i].label.c_str(),
                    static_cast<long long>(cost.numLatticePoints),
                    static_cast<long long>(cost.numTranslations), matched.c_str(),
                    1e3 * median(times), median(ratios));
        std::fflush(stdout);
    }
}

Params withGrid(Params params, double gridSize, double captureRange) {
    params.autoGridSize(false);
    params.gridSize(gridSize);
    params.autoCaptureRange(false);
    params.captureRange(captureRange);
    return params;
}

Params turning(double degrees, const rxRange& scales = rxRange(0.0, 0.0)) {
    Params params;
    params.rotationUncertainty(degrees < 180.0
                                   ? rxAngleRange(rxDegree(-degrees), rxDegree(degrees), false)
                                   : rxAngleRange::FullRange());
    params.scaleUncertainty(scales);
    return params;
}

Params moving(double reach) {
    Params params;
    params.startPose(rxXform<2>(rxVector<2>(540.0, 340.0), rxRadian(0.0), rxRadian(0.0), 1.0, 1.0));
    params.xTranslationUncertainty(rxRange(-reach, reach));
    params.yTranslationUncertainty(rxRange(-reach, reach));
    return params;
}

void printGridSizes(int rounds) {
    std::vector<Line> lines;
    for (const char* size : {"0.4", "0.8", "1.6", "3.2", "6.4", "12.8"}) {
        lines.push_back({std::string(size) + " px", withGrid({}, std::atof(size), 6.4)});
    }
    printTable("Grid size, demo_pick, capture range 6.4 px", sceneOf("demo_pick"), lines, "6.4 px",
               rounds);

    const Scene stars = sceneOf("beehive");
    Params params(0.4);
    params.scaleUncertainty(rxRange(-0.1, 0.1));
    params.autoCaptureRange(false);
    params.captureRange(8.0);
    lines = {{"automatic", params}};
    for (const char* size : {"4", "8", "16", "32"}) {
        lines.push_back({std::string(size) + " px", withGrid(params, std::atof(size), 8.0)});
    }
    printTable("Grid size, beehive, capture range 8 px, coverage 0.4, scale 0.9 to 1.1", stars,
               lines, "16 px", rounds);
}

std::vector<Line> withCoverages(Params params, const std::vector<const char*>& coverages) {
    std::vector<Line> lines;
    for (const char* coverage : coverages) {
        params.minCoverage(std::atof(coverage));
        lines.push_back({coverage, params});
    }
    return lines;
}

void printCoverages(int rounds) {
    const Params turned = turning(180.0, rxRange(-0.1, 0.1));
    printTable("Coverage, demo_pick, full turn, scale 0.9 to 1.1", sceneOf("demo_pick"),
               withCoverages(turned, {"0.1", "0.3", "0.5", "0.7", "0.9"}), "0.5", rounds);

    const std::vector<Line> lines =
        withCoverages(withGrid(turned, 8.0, 8.0), {"0.1", "0.2", "0.3", "0.4", "0.5"});
    const std::string settings =
        ", full turn, scale 0.9 to 1.1, grid size 8 px, capture range 8 px";
    Scene stars = sceneOf("beehive");
    printTable("Coverage, beehive" + settings, stars, lines, "0.5", std::min(rounds, 5));
    for (rxVector<2>& p : stars.data) p = rxVector<2>(-p.x(), p.y());
    printTable("Coverage, beehive with mirrored data" + settings, stars, lines, "0.5",
               std::min(rounds, 5));
}

void printUncertainties(int rounds) {
    printTable("Uncertainties, demo_pick", sceneOf("demo_pick"),
               {{"6\u00b0 either way", turning(6.0)},
                {"15\u00b0 either way (default)", turning(15.0)},
                {"45\u00b0 either way", turning(45.0)},
                {"full turn", turning(180.0)},
                {"15\u00b0, scale 0.9 to 1.1", turning(15.0, rxRange(-0.1, 0.1))},
                {"15\u00b0, scale 0.7 to 1.3", turning(15.0, rxRange(-0.3, 0.3))},
                {"full turn, scale 0.9 to 1.1", turning(180.0, rxRange(-0.1, 0.1))},
                {"full turn, scale 0.7 to 1.3", turning(180.0, rxRange(-0.3, 0.3))},
                {"15\u00b0, 100 px either way in x and y", moving(100.0)},
                {"15\u00b0, 30 px either way in x and y", moving(30.0)}},
               "15\u00b0 either way (default)", rounds);
}

/// A scene of a handful of points among others, all at random, where the model fits exactly.
Scene handful(int numModel, int numData, rxPointMatcherDefs::Mode mode, std::mt19937& random) {
    const auto coordinate = [&] { return static_cast<double>(random() % 100'000) / 1000.0; };
    Points model;
    Scene scene;
    while (std::ssize(model) < numModel) model.push_back({coordinate(), coordinate()});
    for (const rxVector<2>& p : model) scene.data.push_back(p + rxVector<2>(100.0, 50.0));
    while (std::ssize(scene.data) < numData) {
        scene.data.push_back(rxVector<2>{coordinate(), coordinate()} + rxVector<2>(100.0, 50.0));
    }
    scene.matcher.train(model, mode);
    return scene;
}

/// The time of a run, the median over nine scenes, and in how many the model is found.
std::string timeAndFound(int numModel, int numData, rxPointMatcherDefs::Mode mode,
                         const Params& params) {
    constexpr int kScenes = 9;
    std::mt19937 random(7);
    std::vector<double> times;
    int numFound = 0;
    for (int k = 0; k < kScenes; ++k) {
        const Scene scene = handful(numModel, numData, mode, random);
        rxPointMatcherResultSet found;
        const auto run = [&](std::size_t) { scene.matcher.run(scene.data, params, found); };
        times.push_back(ptmatch::bench::secondsPerCall(run, 0, ptmatch::bench::callsPerRound(run)));
        if (!found.results().empty() && found.results().front().coverage() == 1.0) ++numFound;
    }
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.3g ms, %d of %d", 1e3 * median(times), numFound,
                  kScenes);
    return text.data();
}

void printExhaustive() {
    std::cout
        << "\nExhaustive mode, points at random in 100 x 100, full turn, capture range 1\n\n"
        << "| model / data | assignments | exhaustive | votes, automatic grid | votes, grid 1 "
           "|\n|---|---|---|---|---|\n";
    Params params = turning(180.0);
    params.minCoverage(0.9);
    params.autoCaptureRange(false);
    params.captureRange(1.0);
    for (const auto& [numModel, numData] : {std::pair(3, 4),
                                            {4, 5},
                                            {4, 20},
                                            {5, 6},
                                            {5, 10},
                                            {6, 7},
                                            {6, 10},
                                            {7, 8},
                                            {7, 10},
                                            {8, 9}}) {
        constexpr auto kExhaustive = rxPointMatcherDefs::eExhaustiveMode;
        constexpr auto kVotes = rxPointMatcherDefs::eAutoDetect;
        std::mt19937 random(7);
        const Scene scene = handful(numModel, numData, kExhaustive, random);
        const double work = rfRunCost(scene.matcher, scene.data, params).work;
        std::cout << "| " << numModel << " / " << numData << " | " << std::llround(work) << " | "
                  << timeAndFound(numModel, numData, kExhaustive, params) << " | "
                  << timeAndFound(numModel, numData, kVotes, params) << " | "
                  << timeAndFound(numModel, numData, kVotes, withGrid(params, 1.0, 1.0)) << " |\n"
                  << std::flush;
    }
}

void printNumbersOfResults(int rounds) {
    Scene scene;
    scene.matcher.train(tray::flange(), rxPointMatcherDefs::eAutoDetect);
    scene.data = tray::dots();
    std::vector<Line> lines;
    for (const long count : {1L, 4L, 10L, 20L, 50L, 200L}) {
        Params params = turning(180.0);
        params.minCoverage(0.6);
        params.maxNumResults(count);
        lines.push_back({std::to_string(count), params});
    }
    printTable("Number of results, four flanges, full turn, coverage 0.6", scene, lines, "1",
               rounds);
    lines.clear();
    for (const long count : {1L, 4L, 20L, 50L}) {
        Params params = turning(180.0);
        params.maxNumResults(count);
        lines.push_back({std::to_string(count), params});
    }
    printTable("Number of results, demo_pick, full turn", sceneOf("demo_pick"), lines, "1", rounds);
}

}  // namespace

int main(int argc, char** argv) try {
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 31;
    std::cout << ptmatch::bench::processorName() << ", " << ptmatch::bench::compilerName() << ", "
              << PTMATCH_BENCH_FLAGS << ", commit " << PTMATCH_BENCH_COMMIT << ", " << rounds
              << " rounds\n";
    printGridSizes(rounds);
    printCoverages(rounds);
    printUncertainties(rounds);
    printNumbersOfResults(rounds);
    printExhaustive();
    return 0;
} catch (const std::exception& error) {
    std::cerr << "ptmatch_guide_times: " << error.what() << '\n';
    return 2;
}
