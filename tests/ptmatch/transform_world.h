#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <span>
#include <vector>

#include "foundation/vector.h"
#include "ptmatch/tm.h"

namespace ptmatch::testing {

constexpr double kEps = std::numeric_limits<double>::epsilon();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

using PlanePoints = std::vector<rxVector<2>>;
using SpacePoints = std::vector<rxVector<3>>;

inline double distance(const rxVector<2>& p, const rxVector<2>& q) {
    return std::hypot(p.x() - q.x(), p.y() - q.y());
}

inline double distance(const rxVector<3>& p, const rxVector<3>& q) {
    return std::hypot(p.x() - q.x(), p.y() - q.y(), p.z() - q.z());
}

template <class Tm, class Point>
std::vector<Point> mapped(const Tm& tm, const std::vector<Point>& points) {
    std::vector<Point> images;
    for (const Point& point : points) images.push_back(tm.a2b(point));
    return images;
}

/// Largest |b2a(a2b(p)) - p|.
template <class Tm, class Point>
double roundTripError(const Tm& tm, const std::vector<Point>& points) {
    double largest = 0.0;
    for (const Point& point : points) {
        const double error = distance(tm.b2a(tm.a2b(point)), point);
        if (!(error <= largest)) largest = error;  // also not-a-number
    }
    return largest;
}

/// Largest difference of the images under two transforms.
template <class Tm1, class Tm2, class Point>
double difference(const Tm1& t, const Tm2& u, const std::vector<Point>& points) {
    double largest = 0.0;
    for (const Point& point : points) {
        const double error = distance(t.a2b(point), u.a2b(point));
        if (!(error <= largest)) largest = error;
    }
    return largest;
}

template <std::size_t N>
double difference(const std::array<double, N>& p, const std::array<double, N>& q) {
    double largest = 0.0;
    for (std::size_t k = 0; k < N; ++k) {
        const double error = std::abs(p[k] - q[k]);
        if (!(error <= largest)) largest = error;
    }
    return largest;
}

/// The points of a square lattice of side x side, spread over [low, high] in x and y.
inline PlanePoints lattice(double low, double high, int side) {
    PlanePoints points;
    for (int j = 0; j < side; ++j) {
        for (int i = 0; i < side; ++i) {
            const auto at = [&](int k) { return low + (high - low) * k / (side - 1); };
            points.emplace_back(at(i), at(j));
        }
    }
    return points;
}

/// Random points and transforms, from a seed that each test prints.
class TransformWorld {
  public:
    explicit TransformWorld(unsigned seed) : engine_(seed) {}

    double uniform(double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(engine_);
    }
    double normal(double sigma) { return std::normal_distribution<double>(0.0, sigma)(engine_); }

    PlanePoints planePoints(const rxVector<2>& centre, double half, int count) {
        PlanePoints points;
        for (int i = 0; i < count; ++i) {
            const double x = centre.x() + uniform(-half, half);
            points.emplace_back(x, centre.y() + uniform(-half, half));
        }
        return points;
    }

    SpacePoints spacePoints(const rxVector<3>& centre, double half, int count) {
        SpacePoints points;
        for (int i = 0; i < count; ++i) {
            const double x = centre.x() + uniform(-half, half);
            const double y = centre.y() + uniform(-half, half);
            points.emplace_back(x, y, centre.z() + uniform(-half, half));
        }
        return points;
    }

    /// A perspective transform whose w stays within 1 +- 0.5 on the square of +-half and whose
    /// affine part is far from singular.
    rx2PTm::Params perspective(double half) {
        const double turn = uniform(-3.14, 3.14);
        const double c = std::cos(turn) * uniform(0.7, 1.4);
        const double s = std::sin(turn) * uniform(0.7, 1.4);
        const double gradient = 0.25 / half;
        return {c,
                -s,
                uniform(-half, half),
                s,
                c + uniform(-0.1, 0.1),
                uniform(-half, half),
                uniform(-gradient, gradient),
                uniform(-gradient, gradient)};
    }

    /// A rotation about a random axis.
    rx3PtMatchTm rotation() {
        rx3PtMatchTm tm;
        tm.rotateOnX(rxRadian(uniform(-3.14, 3.14)));
        tm.rotateOnY(rxRadian(uniform(-3.14, 3.14)));
        tm.rotateOnZ(rxRadian(uniform(-3.14, 3.14)));
        return tm;
    }

  private:
    std::mt19937 engine_;
};

}  // namespace ptmatch::testing
