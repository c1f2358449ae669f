#include "ptmatch/real_grid.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

#include "ptmatch/ptgdmap.h"
#include "ptmatch/real_scene.h"

namespace ptmatch::testing {
namespace {

using Json = nlohmann::json;
using Position = std::optional<rxPair<long>>;

constexpr rxPair<long> kUnplaced(rxPtToGridMapResult::kUnassigned,
                                 rxPtToGridMapResult::kUnassigned);

rxVector<2> vectorOf(const Json& pair) {
    return {pair.at(0).get<double>(), pair.at(1).get<double>()};
}

std::vector<Position> positionsOf(const Json& entries) {
    std::vector<Position> positions;
    for (const Json& entry : entries) {
        positions.push_back(entry.is_null()
                                ? Position()
                                : rxPair<long>(entry.at(0).get<long>(), entry.at(1).get<long>()));
    }
    return positions;
}

// Truth minus position that most placed nodes have in common; of equals the one of smallest x, y.
rxPair<long> commonShift(const RealGrid& grid, const std::vector<rxPair<long>>& map) {
    std::map<std::pair<long, long>, long> votes;
    for (std::size_t k = 0; k < map.size(); ++k) {
        if (map[k] == kUnplaced || !grid.positions[k]) continue;
        const rxPair<long> shift = *grid.positions[k] - map[k];
        ++votes[{shift.x(), shift.y()}];
    }
    const auto most =
        std::max_element(votes.begin(), votes.end(),
                         [](const auto& a, const auto& b) { return a.second < b.second; });
    return most == votes.end() ? rxPair<long>()
                               : rxPair<long>(most->first.first, most->first.second);
}

}  // namespace

std::size_t RealGrid::numNodes() const {
    return static_cast<std::size_t>(
        std::count_if(positions.begin(), positions.end(),
                      [](const Position& position) { return position.has_value(); }));
}

RealGrid readGrid(const std::string& directory) {
    std::ifstream file(directory + "/truth.json");
    if (!file) throw std::runtime_error("cannot read " + directory + "/truth.json");
    const Json truth = Json::parse(file);
    const std::string blobs = directory + "/blobs.csv";
    RealGrid grid;
    grid.points =
        readPointTable(std::filesystem::exists(blobs) ? blobs : directory + "/features.csv");
    grid.positions = positionsOf(truth.at("grid"));
    grid.outerRing = truth.contains("grid_outer_ring") ? positionsOf(truth.at("grid_outer_ring"))
                                                       : std::vector<Position>(grid.points.size());
    grid.staggered = truth.at("staggered").get<bool>();
    grid.xv = vectorOf(truth.at("xv"));
    grid.yv = vectorOf(truth.at("yv"));
    grid.affineMaxPx = truth.at("affine_max_px").get<double>();
    if (grid.positions.size() != grid.points.size() ||
        grid.outerRing.size() != grid.points.size()) {
        throw std::runtime_error(directory + ": the truth does not fit the table");
    }
    return grid;
}

GridAgreement compare(const RealGrid& grid, const std::vector<rxPair<long>>& map) {
    const rxPair<long> shift = commonShift(grid, map);
    GridAgreement agreement;
    for (std::size_t k = 0; k < grid.points.size(); ++k) {
        const bool placed = k < map.size() && map[k] != kUnplaced;
        if (!placed) {
            agreement.missed += grid.positions[k] ? 1 : 0;
        } else if (grid.positions[k]) {
            ++(map[k] + shift == *grid.positions[k] ? agreement.right : agreement.wrong);
        } else if (grid.outerRing[k] && map[k] + shift == *grid.outerRing[k]) {
            ++agreement.outer;
        } else {
            ++agreement.clutter;
        }
    }
    return agreement;
}

}  // namespace ptmatch::testing
