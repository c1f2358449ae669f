#pragma once

#include <string>
#include <vector>

namespace ptmatch::bench::peers {

struct Point {
    double x = 0.0;
    double y = 0.0;
};
using Points = std::vector<Point>;

/// The map (x, y) -> (a x - b y + tx, b x + a y + ty): turns by atan2(b, a), scales by hypot(a, b).
struct Similarity {
    double a = 1.0;
    double b = 0.0;
    double tx = 0.0;
    double ty = 0.0;

    Point operator()(const Point& p) const {
        return {a * p.x - b * p.y + tx, b * p.x + a * p.y + ty};
    }
};

/// Side of the square that the model lies in, and the clutter.
inline constexpr double kSide = 1000.0;
/// Standard deviation of the displacement of each planted point, along either axis.
inline constexpr double kJitter = 1.0;
/// Largest translation along either axis.
inline constexpr double kMaxShift = 200.0;

/// One row of the comparison.
struct SceneKind {
    long numModel = 0;
    double keptShare = 0.0;  ///< of the model's points, planted in the data; the others are missing
    bool isFullTurn = false;  ///< any rotation, else within 15 degrees of the start pose
    bool isScaled = false;    ///< scale within 10 % of the start pose's, else exactly that
    double jitter = kJitter;  ///< deviation that contenders are told; all scenes made here have it

    [[nodiscard]] double maxRotationRad() const;
    [[nodiscard]] double scaleTolerance() const;
    /// What every contender may ask of a pose: four fifths of the points that are there.
    [[nodiscard]] double minCoverage() const { return 0.8 * keptShare; }
    [[nodiscard]] std::string name() const;
};

struct Scene {
    Points model;
    Points data;
    Similarity dataFromModel;
};

/// A scene of the kind: model points at random, no two nearer than half the spacing of a square
/// lattice of as many; the kept ones turned and scaled about the middle of the square, shifted,
/// displaced; clutter in the square of that shift, half to three times as many points as the model
/// has; all in random order. Equal arguments give equal scenes.
[[nodiscard]] Scene makeScene(const SceneKind& kind, long index);

/// Least distance of two model points of such scenes.
[[nodiscard]] double leastDistance(long numModel);

/// How far off a pose may be anywhere on the model: three deviations of the jitter and a fifth of
/// the least distance of two model points, so that no point is nearer to another one's place.
[[nodiscard]] double toleranceOf(const SceneKind& kind);

/// Largest distance of a model point's place from its true one.
[[nodiscard]] double poseError(const Similarity& dataFromModel, const Scene& scene);

/// The pose after five rounds of least squares over the nearest data points within a quarter of the
/// least distance; rigid, or with a scale. Peers that return a coarse pose are given this, untimed.
[[nodiscard]] Similarity polished(const Similarity& dataFromModel, const Scene& scene,
                                  const SceneKind& kind);

}  // namespace ptmatch::bench::peers
