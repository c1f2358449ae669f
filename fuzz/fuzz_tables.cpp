// Promise: any bytes are a table of points, frames or pairs, or a pattern, with finite coordinates,
// or are refused with a message in one line that names the file.
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>

#include "csv_points.h"
#include "fuzzers.h"
#include "input_error.h"
#include "pair_table.h"
#include "pattern_file.h"
#include "promise.h"

namespace ptmatch::fuzz::tables {
namespace {

using namespace tool;

const std::string kName = "input.csv";

template <class Read>
void readOrRefuse(const Read& read) {
    try {
        read();
    } catch (const InputError& error) {
        const std::string_view message = error.what();
        promise(message.substr(0, kName.size()) == kName, "a message that names the file");
        promise(message.find('\n') == std::string_view::npos, "a message in one line");
    }
}

void check(const PointTable& table) {
    promise(!table.points.empty(), "a point at least");
    promise(table.weights.empty() || table.weights.size() == table.points.size(),
            "a weight for each point");
    for (const auto& p : table.points) promise(p.isFinite(), "finite coordinates");
}

void check(const GridPattern& pattern) {
    promise(!pattern.positions.empty(), "a position at least");
    for (const auto& p : pattern.positions) {
        promise(p.x() >= pattern.corner.x() && p.x() < pattern.corner.x() + pattern.width &&
                    p.y() >= pattern.corner.y() && p.y() < pattern.corner.y() + pattern.height,
                "positions in their rectangle");
    }
}

void check(const PairTable& table) {
    promise(table.size() > 0, "a pair at least");
    promise(table.b.size() == table.size() && table.lines.size() == table.size(),
            "two points and a line for each pair");
    for (const auto* const side : {&table.a, &table.b}) {
        for (const Coordinates& p : *side) {
            for (const double value : p) promise(std::isfinite(value), "finite coordinates");
            promise(table.dimensions == 3 || p[2] == 0.0, "no third coordinate in the plane");
        }
    }
}

}  // namespace

void run(std::span<const std::uint8_t> bytes) {
    if (bytes.empty()) return;
    const std::string text(bytes.begin() + 1, bytes.end());
    switch (bytes.front() % 5) {
        case 0:
            readOrRefuse([&] { check(parsePoints(text, kName)); });
            break;
        case 1:
            readOrRefuse([&] {
                for (const Frame& frame : parseFrames(text, kName)) {
                    promise(!frame.name.empty(), "frames with names");
                    check(frame.table);
                }
            });
            break;
        case 2:
            readOrRefuse([&] { check(parsePairs(text, 2, kName)); });
            break;
        case 3:
            readOrRefuse([&] { check(parsePairs(text, 3, kName)); });
            break;
        default:
            readOrRefuse([&] { check(parsePattern(text, kName)); });
            break;
    }
}

}  // namespace ptmatch::fuzz::tables
