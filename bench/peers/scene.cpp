#include "scene.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <numbers>
#include <random>
#include <utility>

#include "least_squares_pose.h"

namespace ptmatch::bench::peers {
namespace {

constexpr std::uint64_t kSeed = 20'261'122;
constexpr double kMaxRotationDeg = 15.0;
constexpr double kScaleTolerance = 0.1;
// Planted poses keep off the ends of their ranges, where it would be luck who finds them.
constexpr double kPlantedShare = 0.95;
constexpr double kMinClutter = 0.5;
constexpr double kMaxClutter = 3.0;

// Equal numbers everywhere, which the distributions of the standard library do not promise.
class Random {
  public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}

    double uniform(double low, double high) {
        return low + (high - low) * static_cast<double>(engine_() >> 11) * 0x1p-53;
    }

    // Box and Muller's transform.
    double normal(double sigma) {
        const double radius = std::sqrt(-2.0 * std::log(1.0 - uniform(0.0, 1.0)));
        return sigma * radius * std::cos(uniform(0.0, 2.0 * std::numbers::pi));
    }

    void shuffle(Points& points) {
        for (std::size_t i = points.size(); i > 1; --i) {
            std::swap(points[i - 1], points[static_cast<std::size_t>(engine_() % i)]);
        }
    }

  private:
    std::mt19937_64 engine_;
};

std::uint64_t seedOf(const SceneKind& kind, long index) {
    auto seed = kSeed;
    for (const long part :
         {kind.numModel, std::lround(100.0 * kind.keptShare), static_cast<long>(kind.isFullTurn),
          static_cast<long>(kind.isScaled), index}) {
        seed = 1'000'003 * seed + static_cast<std::uint64_t>(part);
    }
    return seed;
}

double distance(const Point& p, const Point& q) {
    return std::hypot(p.x - q.x, p.y - q.y);
}

Points makeModel(Random& random, long numPoints) {
    Points model;
    while (static_cast<long>(model.size()) < numPoints) {
        const Point p{random.uniform(0.0, kSide), random.uniform(0.0, kSide)};
        const bool isFree = std::all_of(model.begin(), model.end(), [&](const Point& q) {
            return distance(p, q) >= leastDistance(numPoints);
        });
        if (isFree) model.push_back(p);
    }
    return model;
}

Similarity makePose(Random& random, const SceneKind& kind, const Point& shift) {
    const double reach = kind.isFullTurn ? 1.0 : kPlantedShare;
    const double rotation = reach * random.uniform(-kind.maxRotationRad(), kind.maxRotationRad());
    const double tolerance = kPlantedShare * kind.scaleTolerance();
    const double scale = 1.0 + random.uniform(-tolerance, tolerance);
    Similarity pose{scale * std::cos(rotation), scale * std::sin(rotation), 0.0, 0.0};
    const Point centre{kSide / 2.0, kSide / 2.0};
    const Point moved = pose(centre);
    pose.tx = centre.x + shift.x - moved.x;
    pose.ty = centre.y + shift.y - moved.y;
    return pose;
}

}  // namespace

double SceneKind::maxRotationRad() const {
    return isFullTurn ? std::numbers::pi : kMaxRotationDeg * std::numbers::pi / 180.0;
}

double SceneKind::scaleTolerance() const {
    return isScaled ? kScaleTolerance : 0.0;
}

std::string SceneKind::name() const {
    return std::string(isFullTurn ? "full turn" : "±15°") +
           (isScaled ? ", scale ±10 %" : ", rigid");
}

double leastDistance(long numModel) {
    return 0.5 * kSide / std::sqrt(static_cast<double>(numModel));
}

double toleranceOf(const SceneKind& kind) {
    return 3.0 * kind.jitter + 0.2 * leastDistance(kind.numModel);
}

Scene makeScene(const SceneKind& kind, long index) {
    Random random(seedOf(kind, index));
    Scene scene;
    scene.model = makeModel(random, kind.numModel);
    const Point shift{random.uniform(-kMaxShift, kMaxShift), random.uniform(-kMaxShift, kMaxShift)};
    scene.dataFromModel = makePose(random, kind, shift);

    // The model's points have no order, so the first ones are as good as any.
    const auto numKept =
        static_cast<std::size_t>(std::lround(kind.keptShare * static_cast<double>(kind.numModel)));
    for (std::size_t i = 0; i < numKept; ++i) {
        const Point p = scene.dataFromModel(scene.model[i]);
        const double dx = random.normal(kJitter);
        scene.data.push_back({p.x + dx, p.y + random.normal(kJitter)});
    }
    const long numClutter =
        std::lround(random.uniform(kMinClutter, kMaxClutter) * static_cast<double>(kind.numModel));
    for (long i = 0; i < numClutter; ++i) {
        const double x = shift.x + random.uniform(0.0, kSide);
        scene.data.push_back({x, shift.y + random.uniform(0.0, kSide)});
    }
    random.shuffle(scene.data);
    random.shuffle(scene.model);
    return scene;
}

double poseError(const Similarity& dataFromModel, const Scene& scene) {
    double farthest = 0.0;
    for (const Point& p : scene.model) {
        const double gap = distance(dataFromModel(p), scene.dataFromModel(p));
        if (!std::isfinite(gap)) return std::numeric_limits<double>::infinity();
        farthest = std::max(farthest, gap);
    }
    return farthest;
}

Similarity polished(const Similarity& dataFromModel, const Scene& scene, const SceneKind& kind) {
    const double reach = 0.25 * leastDistance(kind.numModel);
    Similarity pose = dataFromModel;
    for (int round = 0; round < 5; ++round) {
        LeastSquaresPose sums;
        for (const Point& p : scene.model) {
            const Point place = pose(p);
            const auto nearest = std::min_element(
                scene.data.begin(), scene.data.end(), [&](const Point& q, const Point& r) {
                    return distance(q, place) < distance(r, place);
                });
            if (nearest != scene.data.end() && distance(*nearest, place) < reach) {
                sums.add(p, *nearest);
            }
        }
        if (sums.count() < 2) return dataFromModel;
        pose = sums.fit(kind.isScaled);
    }
    return pose;
}

}  // namespace ptmatch::bench::peers
