#include "ptmatch/real_scene.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace ptmatch::testing {
namespace {

using Json = nlohmann::json;

std::ifstream openFile(const std::string& path) {
    std::ifstream file(path);
    if (!file) throw std::runtime_error("cannot read " + path);
    return file;
}

// Six numbers: the matrix row by row, then the translation.
rxXform<2> poseOf(const Json& xform) {
    const std::vector<double> v = xform.get<std::vector<double>>();
    if (v.size() != 6) throw std::runtime_error("a pose must have six numbers");
    return {rxMatrix<2>(v[0], v[1], v[2], v[3]), rxVector<2>(v[4], v[5])};
}

const Json& instanceOf(const Json& truth, long marker) {
    if (marker < 0) return truth;
    const Json& instances = truth.at("instances");
    const auto found = std::find_if(instances.begin(), instances.end(), [&](const Json& instance) {
        return instance.at("marker") == marker;
    });
    if (found == instances.end()) throw std::runtime_error("no such marker in the scene");
    return *found;
}

}  // namespace

long RealScene::numTruePairs() const {
    return std::count_if(trueMap.begin(), trueMap.end(), [](long k) { return k >= 0; });
}

std::vector<rxVector<2>> readPointTable(const std::string& path) {
    std::ifstream file = openFile(path);
    std::string line;
    std::getline(file, line);
    std::vector<rxVector<2>> points;
    while (std::getline(file, line)) {
        double x = 0.0;
        double y = 0.0;
        if (std::sscanf(line.c_str(), "%lf,%lf", &x, &y) != 2) {
            throw std::runtime_error(path + ": a line that is not a point");
        }
        points.emplace_back(x, y);
    }
    return points;
}

std::set<std::string> setsOfKind(const std::filesystem::path& root, const std::string& kind) {
    std::set<std::string> sets;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        if (entry.path().filename() != "truth.json") continue;
        std::ifstream file = openFile(entry.path().string());
        if (Json::parse(file).at("kind") != kind) continue;
        sets.insert(std::filesystem::relative(entry.path().parent_path(), root).generic_string());
    }
    return sets;
}

RealScene readScene(const std::string& directory, long marker) {
    std::ifstream file = openFile(directory + "/truth.json");
    const Json truth = Json::parse(file);
    const Json& instance = instanceOf(truth, marker);
    RealScene scene;
    scene.model = readPointTable(directory + "/" + instance.value("model", "model.csv"));
    scene.data = readPointTable(directory + "/data.csv");
    scene.truePose = poseOf(instance.at("xform"));
    scene.trueMap = instance.at("map").get<std::vector<long>>();
    if (scene.trueMap.size() != scene.model.size()) {
        throw std::runtime_error(directory + ": the true map does not fit the model");
    }
    return scene;
}

}  // namespace ptmatch::testing
