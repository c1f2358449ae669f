#include "real_grids.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "csv_points.h"

namespace fs = std::filesystem;

std::size_t RealGrid::nodes() const {
    return static_cast<std::size_t>(std::count_if(
        truth.begin(), truth.end(), [](const auto& position) { return position.has_value(); }));
}

RealGrid readRealGrid(const std::string& folder, const std::string& table) {
    const auto vectorOf = [](const nlohmann::json& json) {
        return rxVector<2>(json.at(0).get<double>(), json.at(1).get<double>());
    };
    RealGrid grid;
    grid.name = fs::path(folder).filename().string();
    grid.points = ptmatch::tool::readPoints((fs::path(folder) / table).string()).points;
    std::ifstream file(fs::path(folder) / "truth.json");
    const nlohmann::json json = nlohmann::json::parse(file);
    grid.staggered = json.at("staggered").get<bool>();
    grid.xv = vectorOf(json.at("xv_centre"));
    grid.yv = vectorOf(json.at("yv_centre"));
    for (const nlohmann::json& position : json.at("grid")) {
        if (position.is_null()) {
            grid.truth.emplace_back();
        } else {
            grid.truth.emplace_back(
                rxPair<long>(position.at(0).get<long>(), position.at(1).get<long>()));
        }
    }
    return grid;
}

std::vector<RealGrid> carriedGrids() {
    std::vector<RealGrid> grids;
    for (const char* name : {"dots7x7", "dots_staggered"}) {
        grids.push_back(readRealGrid(std::string(PTMATCH_DATA_DIR) + "/" + name, "data.csv"));
    }
    return grids;
}

std::vector<RealGrid> sharedGrids() {
    std::vector<RealGrid> grids;
    const fs::path root = fs::path(PTMATCH_SHARED_DATA_DIR) / "grids";
    if (!fs::is_directory(root)) return grids;
    for (const auto& entry : fs::directory_iterator(root)) {
        grids.push_back(readRealGrid(entry.path().string(), "blobs.csv"));
    }
    std::sort(grids.begin(), grids.end(),
              [](const RealGrid& a, const RealGrid& b) { return a.name < b.name; });
    return grids;
}
