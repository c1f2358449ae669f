#include "matrix_parts.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

#include "ptmatch/least_squares.h"

namespace ptmatch::tool {
namespace {

constexpr double kDegrees = 180.0 / std::numbers::pi;

double determinantOf(const HomogeneousMatrix& m) {
    if (m.size() == 3) return m[0][0] * m[1][1] - m[0][1] * m[1][0];
    return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
           m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
           m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

// The quaternion (x, y, z, w), of any length, of a rotation matrix times a scale. Each of its
// elements, squared or times the largest one, is a sum of elements of the matrix; the form that
// divides by the largest one keeps its digits for every angle (Shepperd, "Quaternion from rotation
// matrix", 1978).
std::array<double, 4> quaternionOf(const HomogeneousMatrix& m, double scale) {
    const std::array<double, 4> squares = {
        scale + m[0][0] - m[1][1] - m[2][2], scale - m[0][0] + m[1][1] - m[2][2],
        scale - m[0][0] - m[1][1] + m[2][2], scale + m[0][0] + m[1][1] + m[2][2]};
    switch (std::max_element(squares.begin(), squares.end()) - squares.begin()) {
        case 0:
            return {squares[0], m[0][1] + m[1][0], m[0][2] + m[2][0], m[2][1] - m[1][2]};
        case 1:
            return {m[0][1] + m[1][0], squares[1], m[1][2] + m[2][1], m[0][2] - m[2][0]};
        case 2:
            return {m[0][2] + m[2][0], m[1][2] + m[2][1], squares[2], m[1][0] - m[0][1]};
        default:
            return {m[2][1] - m[1][2], m[0][2] - m[2][0], m[1][0] - m[0][1], squares[3]};
    }
}

}  // namespace

RotationAndScale rotationAndScaleOf(const HomogeneousMatrix& matrix) {
    if (matrix.size() == 3) {
        return {kDegrees * std::atan2(matrix[1][0], matrix[0][0]),
                std::hypot(matrix[0][0], matrix[1][0]), std::nullopt};
    }
    const double scale = std::cbrt(determinantOf(matrix));
    std::array<double, 4> q = quaternionOf(matrix, scale);
    if (q[3] < 0.0) {
        for (double& element : q) element = -element;
    }
    const double length = std::hypot(q[0], q[1], q[2]);
    RotationAndScale parts{kDegrees * 2.0 * std::atan2(length, q[3]), scale, std::nullopt};
    constexpr double kRounding = 1e-12;
    if (length > kRounding * q[3]) {
        parts.axis = Coordinates{q[0] / length, q[1] / length, q[2] / length};
    }
    return parts;
}

std::vector<double> stretchesOf(const HomogeneousMatrix& matrix) {
    const std::size_t size = matrix.size() - 1;
    rxMatrixExt linear(static_cast<long>(size), static_cast<long>(size));
    for (std::size_t r = 0; r < size; ++r) {
        std::copy_n(matrix[r].begin(), size, linear.pointToRow(static_cast<long>(r)));
    }
    return rfSingularValues(linear);
}

bool isMirroring(const HomogeneousMatrix& matrix) {
    return determinantOf(matrix) < 0.0;
}

}  // namespace ptmatch::tool
