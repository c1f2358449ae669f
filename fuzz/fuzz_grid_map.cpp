// Promise: rfPtToGridMap takes any points and parameters: it refuses with a documented exception,
// or gives what the plain reference gives, to the last bit.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "foundation/fitter.h"
#include "fuzz_input.h"
#include "fuzzers.h"
#include "promise.h"
#include "ptmatch/ptgdmap.h"
#include "reference/reference_grid_map.h"

namespace ptmatch::fuzz::grid_map {
namespace {

using reference::GridMapReport;
using Points = std::vector<rxVector<2>>;

constexpr double kSpread = 300.0;

rxVector<2> step(FuzzInput& input, const rxVector<2>& usual) {
    return input.byte() < 160 ? usual : input.point();
}

rxPtToGridMapRunParams mapParams(FuzzInput& input) {
    rxPtToGridMapRunParams params;
    params.xv(step(input, {20, 0}));
    params.yv(step(input, {0, 20}));
    params.staggered(input.byte() < 64);
    if (input.flag()) params.snapSize(input.number());
    if (input.flag()) params.sizeTol(input.range());
    if (input.flag()) params.angleTol(input.angleRange());
    return params;
}

/// Nodes of a grid, some missing, and others.
Points points(FuzzInput& input, const rxPtToGridMapRunParams& params) {
    Points all = input.flag() ? input.points(12) : input.moderatePoints(0, 12, kSpread);
    const long columns = input.integer(0, 5);
    const long rows = input.integer(0, 5);
    for (long j = 0; j < rows; ++j) {
        for (long i = 0; i < columns; ++i) {
            if (params.staggered() && (i + j) % 2 != 0) continue;
            const std::uint8_t how = input.byte();
            if (how < 40) continue;
            const double x = static_cast<double>(i);
            const double y = static_cast<double>(j);
            const double off = how < 200 ? 0.0 : 0.01 * how;
            all.emplace_back(params.xv().x() * x + params.yv().x() * y + off,
                             params.xv().y() * x + params.yv().y() * y - off);
        }
    }
    return all;
}

/// The reference keeps an array of all buckets.
bool fitsTheReference(const Points& all, const rxPtToGridMapRunParams& params) {
    double extent = 0.0;
    for (const auto& p : all) extent = std::max({extent, std::abs(p.x()), std::abs(p.y())});
    double shortest = 1e9;
    for (const auto& v : {params.xv(), params.yv()}) {
        if (!v.isNull()) shortest = std::min(shortest, v.len());
    }
    return extent < 4000.0 && shortest > 1.0;
}

}  // namespace

void run(std::span<const std::uint8_t> bytes) {
    FuzzInput input(bytes);
    const rxPtToGridMapRunParams params = mapParams(input);
    const Points all = points(input, params);
    rxPtToGridMapResult result;
    long count = 0;
    bool isRefused = false;
    try {
        count = rfPtToGridMap(all, params, result);
    } catch (const rxPointMatcherDefs::BadParams&) {
        return;
    } catch (const rxLSPointToPointFitter::Errors&) {
        isRefused = true;
    } catch (const rxMathError&) {
        isRefused = true;
    }
    promise(result.map().empty() || result.map().size() == all.size(), "a position for each point");
    if (!fitsTheReference(all, params)) return;
    GridMapReport expected;
    try {
        expected = reference::mapToGrid(all, params);
        promise(!isRefused, "maps as the reference");
    } catch (const rxException&) {
        promise(isRefused, "refuses as the reference");
        return;
    }
    promise(count == expected.count, "the count of the reference");
    promise(result.valid() == expected.valid, "valid as the reference");
    if (expected.hasMap) promise(result.map() == expected.map, "the map of the reference");
    if (!expected.hasTransform) return;
    promise(isSamePose(result.grid2point(), expected.pointFromGrid),
            "the transform of the reference");
}

}  // namespace ptmatch::fuzz::grid_map
