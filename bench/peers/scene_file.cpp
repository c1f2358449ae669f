#include "scene_file.h"

#include <cmath>
#include <istream>
#include <stdexcept>
#include <string>

namespace ptmatch::bench::peers {
namespace {

// Far above what any contender finishes; a count beyond it is a damaged file.
constexpr long kMaxPoints = 100'000;
constexpr long kMaxScenes = 10'000;

long readCount(std::istream& in, long least, long most) {
    long count = 0;
    if (!(in >> count) || count < least || count > most) {
        throw std::runtime_error("expected a count from " + std::to_string(least) + " to " +
                                 std::to_string(most));
    }
    return count;
}

double readNumber(std::istream& in) {
    double number = 0.0;
    if (!(in >> number) || !std::isfinite(number)) throw std::runtime_error("expected a number");
    return number;
}

Points readPoints(std::istream& in) {
    Points points;
    for (long left = readCount(in, 1, kMaxPoints); left > 0; --left) {
        const double x = readNumber(in);
        points.push_back({x, readNumber(in)});
    }
    return points;
}

ForeignScene readScene(std::istream& in) {
    ForeignScene scene;
    scene.kind.keptShare = readNumber(in);
    scene.kind.jitter = readNumber(in);
    if (!(scene.kind.keptShare > 0.0 && scene.kind.keptShare <= 1.0 && scene.kind.jitter > 0.0)) {
        throw std::runtime_error("kept share is in (0, 1], jitter above 0");
    }
    scene.kind.isFullTurn = readCount(in, 0, 1) == 1;
    scene.kind.isScaled = readCount(in, 0, 1) == 1;
    scene.model = readPoints(in);
    scene.data = readPoints(in);
    scene.kind.numModel = static_cast<long>(scene.model.size());
    return scene;
}

}  // namespace

std::vector<ForeignScene> readScenes(std::istream& in) {
    std::vector<ForeignScene> scenes;
    const long numScenes = readCount(in, 0, kMaxScenes);
    for (long i = 0; i < numScenes; ++i) {
        try {
            scenes.push_back(readScene(in));
        } catch (const std::runtime_error& error) {
            throw std::runtime_error("scene " + std::to_string(i) + ": " + error.what());
        }
    }
    return scenes;
}

}  // namespace ptmatch::bench::peers
