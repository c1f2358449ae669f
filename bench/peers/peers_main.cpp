// Beside the peers: finds the same planted models with the library and with what else a user might
// take, and prints tables of how often each was right and how long it took. See README.md here.
//
//     ptmatch_peers                             # all that was built, every row
//     ptmatch_peers --only ptmatch,pairs        # these alone
//     ptmatch_peers --points 50,100 --scenes 8  # rows of these sizes, fewer scenes each
//     ptmatch_peers --absent yes                # data of other models: right is to find nothing
//     ptmatch_peers --read FILE                 # scenes of another program; its poses, not a table
#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "astroalign_batch.h"
#include "bench_version.h"
#include "contender.h"
#include "isolated_run.h"
#include "scene.h"
#include "scene_file.h"

namespace {

using namespace ptmatch::bench::peers;

// A round of an own contender lasts at least this long, a thousand ticks of the clock and more.
constexpr double kSecondsPerRound = 2e-3;
// A foreign contender sees the first scenes of a row, and where it was right in none of so many it
// is spared the others: they take too long.
constexpr std::size_t kScenesToGiveUp = 4;
constexpr std::size_t kForeignScenes = 8;

struct Options {
    std::vector<std::string> only;
    std::vector<long> points = {20, 50, 100, 300};
    std::vector<double> kept = {0.9, 0.7, 0.5};
    long numScenes = 24;
    long maxSeconds = 2;
    bool isAbsent = false;
    std::string python = "/usr/bin/python3";
    std::string script = PTMATCH_PEERS_SCRIPT;
    std::string scenesToRead;

    [[nodiscard]] bool wants(const std::string& name) const {
        return only.empty() || std::find(only.begin(), only.end(), name) != only.end();
    }
};

// How a contender did in a row.
struct Tally {
    long numRight = 0;
    std::vector<double> seconds;
    std::vector<double> trainingSeconds;
    bool isGivenUp = false;

    void add(const Outcome& outcome, bool isRight) {
        seconds.push_back(outcome.seconds);
        if (isRight) ++numRight;
    }
};

double medianOf(std::vector<double> values) {
    if (values.empty()) return 0.0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 == 1) return *middle;
    return 0.5 * (*middle + *std::max_element(values.begin(), middle));
}

Outcome findOnce(Contender& contender, const Points& data) {
    Outcome outcome;
    const double start = processorSeconds();
    const std::optional<Similarity> pose = contender.find(data);
    outcome.seconds = processorSeconds() - start;
    outcome.hasEnded = true;
    outcome.hasPose = pose.has_value();
    outcome.pose = pose.value_or(Similarity{});
    return outcome;
}

// The outcome of the first call and the mean time of as many as fill a round; the first one is left
// out of it where there are others, because it also warms up.
Outcome findInRounds(Contender& contender, const Points& data) {
    Outcome outcome = findOnce(contender, data);
    if (outcome.seconds >= kSecondsPerRound) return outcome;
    long calls = 0;
    double total = 0.0;
    while (total < kSecondsPerRound) {
        total += findOnce(contender, data).seconds;
        ++calls;
    }
    outcome.seconds = total / static_cast<double>(calls);
    return outcome;
}

bool isRight(const Outcome& outcome, const Scene& scene, const SceneKind& kind, bool isForeign,
             bool isAbsent) {
    if (isAbsent) return outcome.hasEnded && !outcome.hasPose;
    if (!outcome.hasPose) return false;
    const Similarity pose = isForeign ? polished(outcome.pose, scene, kind) : outcome.pose;
    return poseError(pose, scene) <= toleranceOf(kind);
}

void runScene(Contender& contender, const Scene& scene, const SceneKind& kind,
              const Options& options, Tally& tally) {
    if (tally.isGivenUp) return;
    if (contender.isForeign()) {
        const Outcome outcome =
            runIsolated([&] { contender.train(scene.model, kind); },
                        [&] { return findInRounds(contender, scene.data); }, options.maxSeconds);
        tally.add(outcome, isRight(outcome, scene, kind, true, options.isAbsent));
        const std::size_t numTried = tally.seconds.size();
        tally.isGivenUp = numTried >= (tally.numRight == 0 ? kScenesToGiveUp : kForeignScenes);
        return;
    }
    const double start = processorSeconds();
    contender.train(scene.model, kind);
    tally.trainingSeconds.push_back(processorSeconds() - start);
    const Outcome outcome = findInRounds(contender, scene.data);
    tally.add(outcome, isRight(outcome, scene, kind, false, options.isAbsent));
}

std::string cellOf(const Tally& tally) {
    if (tally.seconds.empty()) return "-";
    char text[64];
    std::snprintf(text, sizeof text, "%ld/%zu  %.3g ms", tally.numRight, tally.seconds.size(),
                  1e3 * medianOf(tally.seconds));
    return text;
}

// A misspelt name would otherwise measure nothing, and say so to nobody.
void requireKnown(const std::vector<std::string>& names,
                  const std::vector<std::unique_ptr<Contender>>& all) {
    for (const std::string& name : names) {
        const bool isKnown = name == "astroalign" ||
                             std::any_of(all.begin(), all.end(),
                                         [&](const auto& one) { return one->name() == name; });
        if (!isKnown) throw std::invalid_argument("no contender " + name + " was built");
    }
}

std::vector<std::unique_ptr<Contender>> makeContenders(const Options& options) {
    std::vector<std::unique_ptr<Contender>> all;
    all.push_back(makePtmatch());
    all.push_back(makePairs(true));
    all.push_back(makePairs(false));
#ifdef PTMATCH_PEERS_PCL
    all.push_back(makeFourPoints());
    all.push_back(makeKeypointFourPoints());
    all.push_back(makePrerejective());
#else
    std::cout << "Left out: PCL (4PCS, K4PCS, prerejective) was not found when this was built.\n";
#endif
#ifdef PTMATCH_PEERS_OPENCV
    all.push_back(makeBallard());
    all.push_back(makeGuil());
#else
    std::cout << "Left out: OpenCV (Ballard, Guil) was not found when this was built.\n";
#endif
    requireKnown(options.only, all);
    std::erase_if(all, [&](const auto& contender) { return !options.wants(contender->name()); });
    return all;
}

// A line per scene and contender: the contender, the number of the scene, whether it ended, whether
// there is a pose, the seconds, and the pose a b tx ty. Nobody here knows which poses are right,
// and none is polished. A contender that knows rigid poses only has no line for a scene with a
// scale.
void printPoses(const Options& options) {
    std::ifstream in(options.scenesToRead);
    if (!in) throw std::runtime_error("cannot read " + options.scenesToRead);
    const std::vector<ForeignScene> scenes = readScenes(in);
    const auto contenders = makeContenders(options);
#ifdef PTMATCH_PEERS_PCL
    std::cout << "PCL " PTMATCH_PEERS_PCL "\n";
#endif
    for (std::size_t i = 0; i < scenes.size(); ++i) {
        const ForeignScene& scene = scenes[i];
        for (const auto& contender : contenders) {
            if (scene.kind.isScaled && !contender->findsScale()) continue;
            const Outcome outcome = runIsolated(
                [&] { contender->train(scene.model, scene.kind); },
                [&] { return findInRounds(*contender, scene.data); }, options.maxSeconds);
            std::printf("%s %zu %d %d %.9g %.17g %.17g %.17g %.17g\n", contender->name().c_str(), i,
                        static_cast<int>(outcome.hasEnded), static_cast<int>(outcome.hasPose),
                        outcome.seconds, outcome.pose.a, outcome.pose.b, outcome.pose.tx,
                        outcome.pose.ty);
            std::fflush(stdout);
        }
    }
}

class Comparison {
  public:
    explicit Comparison(const Options& options)
        : options_(options),
          contenders_(makeContenders(options)),
          astroalign_(options.python, options.script) {
        if (!options.wants("astroalign")) return;
        hasAstroalign_ = astroalign_.isAvailable();
        if (!hasAstroalign_) {
            std::cout << "Left out: " << options.python << " has no module astroalign.\n";
        }
    }

    void printTable(bool isFullTurn, bool isScaled) {
        std::cout << "\n" << SceneKind{0, 0.0, isFullTurn, isScaled}.name() << "\n\n";
        printHeader();
        for (const long numModel : options_.points) {
            for (const double kept : options_.kept)
                printRow({numModel, kept, isFullTurn, isScaled});
        }
    }

    void printTraining() const {
        std::cout << "\nTraining, median:";
        for (const auto& [key, seconds] : training_) {
            std::printf(" %s %ld points %.3g ms;", key.second.c_str(), key.first,
                        1e3 * medianOf(seconds));
        }
        std::cout << "\n";
    }

  private:
    void printHeader() const {
        std::string rule = "|---|---|";
        std::cout << "| points | kept |";
        for (const auto& contender : contenders_) {
            std::cout << " " << contender->name() << " |";
            rule += "---|";
        }
        if (hasAstroalign_) {
            std::cout << " astroalign |";
            rule += "---|";
        }
        std::cout << "\n" << rule << "\n";
    }

    void printRow(const SceneKind& kind) {
        std::vector<Scene> scenes;
        for (long i = 0; i < options_.numScenes; ++i) {
            scenes.push_back(makeScene(kind, i));
            // The data of a scene that shows another model.
            if (options_.isAbsent)
                scenes.back().data = makeScene(kind, i + options_.numScenes).data;
        }
        std::vector<Tally> tallies(contenders_.size());
        for (const Scene& scene : scenes) {
            for (std::size_t c = 0; c < contenders_.size(); ++c) {
                if (kind.isScaled && !contenders_[c]->findsScale()) continue;
                runScene(*contenders_[c], scene, kind, options_, tallies[c]);
            }
        }
        std::cout << "| " << kind.numModel << " | " << kind.keptShare << " |";
        for (std::size_t c = 0; c < contenders_.size(); ++c) {
            std::cout << " " << cellOf(tallies[c]) << " |";
            auto& training = training_[{kind.numModel, contenders_[c]->name()}];
            training.insert(training.end(), tallies[c].trainingSeconds.begin(),
                            tallies[c].trainingSeconds.end());
            if (training.empty()) training_.erase({kind.numModel, contenders_[c]->name()});
        }
        if (hasAstroalign_) {
            std::cout << " " << cellOf(astroalignOn(scenes, kind)) << " |";
        }
        std::cout << std::endl;
    }

    [[nodiscard]] Tally astroalignOn(std::vector<Scene> scenes, const SceneKind& kind) const {
        scenes.resize(std::min(scenes.size(), kForeignScenes));
        const std::vector<Outcome> outcomes =
            astroalign_.run(scenes, options_.maxSeconds, kScenesToGiveUp, kind);
        Tally tally;
        for (std::size_t i = 0; i < outcomes.size(); ++i) {
            tally.add(outcomes[i], isRight(outcomes[i], scenes[i], kind, true, options_.isAbsent));
        }
        return tally;
    }

    const Options& options_;
    std::vector<std::unique_ptr<Contender>> contenders_;
    AstroalignBatch astroalign_;
    bool hasAstroalign_ = false;
    std::map<std::pair<long, std::string>, std::vector<double>> training_;
};

std::vector<std::string> split(const std::string& list) {
    std::vector<std::string> parts;
    std::istringstream in(list);
    for (std::string part; std::getline(in, part, ',');) parts.push_back(part);
    return parts;
}

Options parse(int argc, char** argv) {
    Options options;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string key = argv[i];
        const std::string value = argv[i + 1];
        if (key == "--only") {
            options.only = split(value);
        } else if (key == "--points") {
            options.points.clear();
            for (const std::string& part : split(value)) options.points.push_back(std::stol(part));
        } else if (key == "--kept") {
            options.kept.clear();
            for (const std::string& part : split(value)) options.kept.push_back(std::stod(part));
        } else if (key == "--scenes") {
            options.numScenes = std::stol(value);
        } else if (key == "--limit") {
            options.maxSeconds = std::stol(value);
        } else if (key == "--absent") {
            options.isAbsent = value == "yes";
        } else if (key == "--python") {
            options.python = value;
        } else if (key == "--read") {
            options.scenesToRead = value;
        } else {
            throw std::invalid_argument("unknown option " + key);
        }
    }
    if (argc % 2 == 0) throw std::invalid_argument("options come with a value each");
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const Options options = parse(argc, argv);
        if (!options.scenesToRead.empty()) {
            printPoses(options);
            return 0;
        }
        std::cout << "ptmatch " PTMATCH_BENCH_VERSION ", commit " PTMATCH_BENCH_COMMIT ", flags"
                  << PTMATCH_BENCH_FLAGS << "\n"
                  << "found/tried and median processor time of one thread; " << options.numScenes
                  << " scenes a row, limit " << options.maxSeconds << " s a scene"
                  << (options.isAbsent ? "; the model is in none of them\n" : "\n");
        Comparison comparison(options);
        for (const bool isScaled : {false, true}) {
            for (const bool isFullTurn : {false, true}) comparison.printTable(isFullTurn, isScaled);
        }
        comparison.printTraining();
    } catch (const std::exception& error) {
        std::cerr << "ptmatch_peers: " << error.what() << "\n";
        return 1;
    }
    return 0;
}
