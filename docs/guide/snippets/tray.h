#pragma once

#include <cmath>
#include <cstddef>
#include <numbers>
#include <utility>
#include <vector>

#include "foundation/angle.h"
#include "foundation/vector.h"
#include "foundation/xform.h"

// A tray with four flanges. One is partly covered: two of its nine holes are not seen.
namespace tray {

using Points = std::vector<rxVector<2>>;

/// Nine holes that look the same after each third of a turn.
inline Points flange() {
    Points holes;
    for (const double turn : {0.0, 120.0, 240.0}) {
        for (const auto& [radius, degrees] : {std::pair(24.0, 0.0), {15.0, 40.0}, {20.0, 80.0}}) {
            const double angle = (turn + degrees) * std::numbers::pi / 180.0;
            holes.emplace_back(radius * std::cos(angle), radius * std::sin(angle));
        }
    }
    return holes;
}

struct Copy {
    rxXform<2> pose;
    std::size_t numSeen = 9;
};

inline std::vector<Copy> copies() {
    const auto pose = [](double x, double y, double degrees) {
        return rxXform<2>(rxVector<2>(x, y), rxDegree(degrees), rxDegree(degrees), 1.0, 1.0);
    };
    return {{pose(32, 34, 5)}, {pose(88, 30, 40)}, {pose(52, 88, 22)}, {pose(112, 84, -12), 7}};
}

/// The centres that a detector finds: 34 holes, each off by up to half a pixel, and eight others.
inline Points dots() {
    const Points errors = {{0.3, 0.1}, {-0.2, 0.4}, {0.0, -0.3}, {-0.4, 0.0}, {0.2, -0.2}};
    Points data = {{5, 70},  {62, 50},  {128, 8},  {140, 118},
                   {80, 60}, {14, 118}, {142, 50}, {86, 116}};
    std::size_t k = 0;
    for (const Copy& copy : copies()) {
        for (std::size_t i = 0; i < copy.numSeen; ++i) {
            data.push_back(copy.pose * flange()[i] + errors[++k % errors.size()]);
        }
    }
    return data;
}

}  // namespace tray
