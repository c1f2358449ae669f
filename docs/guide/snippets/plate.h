#pragma once

#include <string>
#include <vector>

#include "foundation/angle.h"
#include "foundation/vector.h"
#include "foundation/xform.h"

// A plate with eight holes that look the same from all sides, and a ninth, the mark, that does not.
namespace plate {

using Points = std::vector<rxVector<2>>;

inline const Points& holes() {
    static const Points points = {{-40, -20}, {-15, -20}, {15, -20}, {40, -20},
                                  {-40, 20},  {-15, 20},  {15, 20},  {40, 20}};
    return points;
}

inline rxVector<2> mark() {
    return {22, 6};
}

/// Where the mark is when the plate is turned over, or by half a turn, or both.
inline Points marksOfLookAlikes() {
    return {{-22, 6}, {-22, -6}, {22, -6}};
}

struct View {
    std::string name;
    Points data;
};

/// What a camera sees of the points of a plate at (100, 70), turned by `degrees`: each off by a
/// third of a pixel or so, and four dots that are no holes.
inline Points seen(const Points& points, double degrees) {
    const rxXform<2> pose(rxVector<2>(100, 70), rxDegree(degrees), rxDegree(degrees), 1.0, 1.0);
    const Points errors = {{0.3, 0.1}, {-0.2, 0.3}, {0.0, -0.3}, {-0.3, 0.0}, {0.2, -0.2}};
    Points data = {{31, 28}, {160, 112}, {96, 120}, {150, 30}};
    for (std::size_t i = 0; i < points.size(); ++i) {
        data.push_back(pose * points[i] + errors[i % errors.size()]);
    }
    return data;
}

inline std::vector<View> views() {
    Points marked = holes();
    marked.push_back(mark());
    Points turnedOver;
    for (const rxVector<2>& p : marked) turnedOver.emplace_back(-p.x(), p.y());
    return {{"the plate", seen(marked, 7)},
            {"turned by half a turn", seen(marked, 187)},
            {"mark not seen", seen(holes(), 7)},
            {"turned over", seen(turnedOver, 7)}};
}

}  // namespace plate
