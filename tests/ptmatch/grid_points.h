#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "foundation/angle.h"
#include "foundation/range.h"
#include "foundation/vector.h"
#include "foundation/xform.h"

namespace ptmatch::testing {

inline rxAngleRange degreeRange(double start, double end) {
    return rxAngleRange(rxDegree(start), rxDegree(end));
}

/// The points of a grid, row by row: of position (i, j) at index j * columns + i.
inline std::vector<rxVector<2>> gridPoints(long columns, long rows,
                                           const rxXform<2>& pointFromGrid) {
    std::vector<rxVector<2>> points;
    points.reserve(static_cast<std::size_t>(columns * rows));
    for (long j = 0; j < rows; ++j) {
        for (long i = 0; i < columns; ++i) {
            points.push_back(pointFromGrid * rxVector<2>(rxPair<long>(i, j)));
        }
    }
    return points;
}

/// Steps along the axes of the given lengths, position (0, 0) at the given point.
inline rxXform<2> uprightGrid(double xStep, double yStep,
                              const rxVector<2>& origin = rxVector<2>()) {
    return rxXform<2>(rxMatrix<2>(xStep, 0, 0, yStep), origin);
}

/// Turns about the origin.
inline rxXform<2> turnBy(double degrees, const rxVector<2>& shift = rxVector<2>()) {
    const rxRadian angle = rxDegree(degrees);
    return rxXform<2>(shift, angle, angle, 1.0, 1.0);
}

inline std::vector<rxVector<2>> moved(const rxXform<2>& xform,
                                      const std::vector<rxVector<2>>& points) {
    std::vector<rxVector<2>> result;
    result.reserve(points.size());
    for (const rxVector<2>& p : points) result.push_back(xform * p);
    return result;
}

/// Reproducible numbers, the same on every platform.
class Randomness {
  public:
    explicit Randomness(std::uint64_t seed) : engine_(seed) {}

    double between(double low, double high) {
        return low + (high - low) * (static_cast<double>(engine_() >> 11U) * 0x1p-53);
    }
    long below(long count) {
        return static_cast<long>(engine_() % static_cast<std::uint64_t>(count));
    }
    /// Anywhere in a square around the origin.
    rxVector<2> within(double reach) {
        const double x = between(-reach, reach);
        return rxVector<2>(x, between(-reach, reach));
    }
    template <class T>
    void shuffle(std::vector<T>& values) {
        for (std::size_t k = values.size(); k > 1; --k) {
            std::swap(values[k - 1], values[static_cast<std::size_t>(below(static_cast<long>(k)))]);
        }
    }

  private:
    std::mt19937_64 engine_;
};

}  // namespace ptmatch::testing
