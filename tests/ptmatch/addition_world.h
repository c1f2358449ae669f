#pragma once

#include <cmath>
#include <cstddef>
#include <numbers>
#include <random>
#include <vector>

#include "foundation/angle.h"
#include "foundation/vector.h"
#include "foundation/xform.h"
#include "ptmatch/ppmatch.h"

namespace ptmatch::testing {

using Points = std::vector<rxVector<2>>;

/// Ten points without symmetry, at least 4 apart: the default grid size is 1 or a little more.
inline const Points& tenPoints() {
    static const Points points = {{0, 0},  {17, 3},  {31, 1},  {8, 12},  {25, 14},
                                  {2, 23}, {14, 27}, {33, 22}, {21, 36}, {36, 39}};
    return points;
}

inline rxXform<2> poseAt(double x, double y, double degrees = 0.0, double scale = 1.0) {
    return {rxVector<2>(x, y), rxDegree(degrees), rxDegree(degrees), scale, scale};
}

inline Points mapped(const rxXform<2>& xform, const Points& points) {
    Points images;
    for (const rxVector<2>& p : points) images.push_back(xform * p);
    return images;
}

inline Points& operator+=(Points& points, const Points& more) {
    points.insert(points.end(), more.begin(), more.end());
    return points;
}

inline rxPointMatcher trainedOnPoints(
    const Points& model, rxPointMatcherDefs::Mode mode = rxPointMatcherDefs::eAutoDetect) {
    rxPointMatcher matcher;
    matcher.train(model, mode);
    return matcher;
}

inline rxPointMatcherResultSet foundIn(const Points& data, const rxPointMatcher& matcher,
                                       const rxPointMatcherRunParams& params = {}) {
    rxPointMatcherResultSet found;
    matcher.run(data, params, found);
    return found;
}

/// Uniform numbers and normal ones (by Box and Muller), the same on every platform.
class Randoms {
  public:
    explicit Randoms(unsigned seed) : engine_(seed) {}

    double uniform(double low, double high) {
        return low + (high - low) * (static_cast<double>(engine_()) + 0.5) / 4294967296.0;
    }
    double normal(double sigma) {
        const double radius = std::sqrt(-2.0 * std::log(uniform(0.0, 1.0)));
        return sigma * radius * std::cos(uniform(0.0, 2.0 * std::numbers::pi));
    }
    Points uniformPoints(std::size_t count, double side) {
        Points points;
        for (std::size_t i = 0; i < count; ++i) {
            const double x = uniform(0.0, side);
            points.emplace_back(x, uniform(0.0, side));
        }
        return points;
    }
    Points shaken(const Points& points, double sigma) {
        Points moved;
        for (const rxVector<2>& p : points) {
            const double dx = normal(sigma);
            moved.push_back(p + rxVector<2>(dx, normal(sigma)));
        }
        return moved;
    }

  private:
    std::mt19937 engine_;
};

}  // namespace ptmatch::testing
