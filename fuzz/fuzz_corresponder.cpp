// Promise: a corresponder trains on any positions and runs on any, or refuses with a documented
// exception; its placements are those of the plain reference, in their order.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "fuzz_input.h"
#include "fuzzers.h"
#include "promise.h"
#include "ptmatch/gridcorr.h"
#include "reference/reference_corresponder.h"

namespace ptmatch::fuzz::corresponder {
namespace {

using Positions = std::vector<rxPair<long>>;

/// Mostly close together; sometimes far out, where only the library goes.
Positions positions(FuzzInput& input, long most, bool isFar) {
    Positions all(static_cast<std::size_t>(input.integer(0, most)));
    for (auto& p : all) {
        const long reach = isFar && input.byte() < 32 ? 2'000'000'000L : 12L;
        const long x = input.integer(-reach, reach);
        p = {x, input.integer(-reach, reach)};
    }
    return all;
}

/// Neither small nor refused: images of such an area are made, but not thousands of times.
bool takesLong(const Positions& all) {
    if (all.empty()) return false;
    double low[2] = {1e10, 1e10};
    double high[2] = {-1e10, -1e10};
    for (const auto& p : all) {
        const double xy[2] = {static_cast<double>(p.x()), static_cast<double>(p.y())};
        for (int i = 0; i < 2; ++i) {
            low[i] = std::min(low[i], xy[i]);
            high[i] = std::max(high[i], xy[i]);
        }
    }
    const double area = (high[0] - low[0] + 1.0) * (high[1] - low[1] + 1.0);
    return area > 1e5 && area < 1e9;
}

}  // namespace

void run(std::span<const std::uint8_t> bytes) {
    FuzzInput input(bytes);
    const bool isFar = input.byte() < 16;
    const rx_PointToGridCorresponderTrainParams trainParams{
        input.flag(),
        static_cast<rx_PointToGridCorresponderDefs::FeatureType>(input.integer(0, 3))};
    const rx_PointToGridCorresponderRunParams runParams{
        static_cast<double>(input.integer(-10, 260)) / 250.0, 1.0, input.integer(-1, 40)};
    const Positions pattern = positions(input, 20, isFar);
    Positions data = positions(input, 30, isFar);
    if (input.flag()) {
        const rxPair<long> shift{input.integer(-20, 20), input.integer(-20, 20)};
        for (const auto& p : pattern) {
            if (input.byte() >= 48) data.push_back(p + shift);
        }
    }
    if (isFar && (takesLong(pattern) || takesLong(data))) return;
    rx_PointToGridCorresponder tool;
    rx_PointToGridCorresponderResultSet found;
    bool isFound = false;
    try {
        tool.train(pattern, trainParams, rxXform<2>());
        isFound = tool.run(data, runParams, found);
    } catch (const rx_PointToGridCorresponderDefs::Errors&) {
        promise(pattern.empty() || isFar, "refuses nothing that is close together");
        return;
    }
    promise(isFound == !found.results().empty(), "tells whether there is any");
    if (isFar) return;
    const auto expected =
        reference::place(reference::trainPattern(pattern, trainParams), data, runParams);
    promise(found.results().size() == expected.size(), "as many placements as the reference");
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const auto& result = found.results()[i];
        promise(result.found() && isSame(result.score(), expected[i].score) &&
                    result.position() == expected[i].position,
                "the placements of the reference");
    }
}

}  // namespace ptmatch::fuzz::corresponder
