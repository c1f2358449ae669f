#include "ptmatch/closest_points.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace ptmatch::detail {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kEpsilon = std::numeric_limits<double>::epsilon();

/// A point and its place along a direction.
struct KeyedPoint {
    double key = 0.0;
    double x = 0.0;
    double y = 0.0;

    bool isAt(const KeyedPoint& other) const { return x == other.x && y == other.y; }
};

/// By key. The coordinates bring exact doubles next to each other.
bool precedes(const KeyedPoint& a, const KeyedPoint& b) {
    if (a.key != b.key) return a.key < b.key;
    return a.x != b.x ? a.x < b.x : a.y < b.y;
}

// The direction is slanted so that neither rows nor columns lie across it. Its length of a bit
// less than a quarter keeps the keys of all doubles, and their differences, finite.
constexpr double kKeyOfLong = 0.21;
constexpr double kKeyOfShort = 0.135;
constexpr double kKeyOfDistance = 0.25;  // at most, hypot(0.21, 0.135) = 0.24965

/// What a key can be off by, beside a share of the distance and underflow, is below an epsilon of
/// this: two products and a sum are rounded.
double keyMagnitude(double x, double y) {
    return kKeyOfDistance * (std::abs(x) + std::abs(y));
}

struct KeyRange {
    double least = kInfinity;
    double greatest = -kInfinity;

    void add(double key) {
        least = std::min(least, key);
        greatest = std::max(greatest, key);
    }
    double width() const { return greatest - least; }
};

/// Of two directions at right angles the one along which the points reach farther: no line of
/// points lies across that one.
std::vector<KeyedPoint> keyedPoints(std::span<const rxVector<2>> points) {
    std::vector<KeyedPoint> keyed(points.size());
    KeyRange along;
    KeyRange across;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double x = points[i].x();
        const double y = points[i].y();
        keyed[i] = {kKeyOfLong * x + kKeyOfShort * y, x, y};
        along.add(keyed[i].key);
        across.add(kKeyOfLong * y - kKeyOfShort * x);
    }
    if (across.width() > along.width()) {
        for (KeyedPoint& p : keyed) p.key = kKeyOfLong * p.y - kKeyOfShort * p.x;
    }
    return keyed;
}

/// Sorts by bins of equal width first, about one point each: in linear time where the keys are
/// spread evenly. Crowded bins have bins of their own inside, once.
class BinSorter {
  public:
    explicit BinSorter(std::vector<KeyedPoint>& points) : points_(points), bins_(points.size()) {}

    void sort() { sortRange(points_, 2); }

  private:
    // Up to here insertion beats what has to be set up otherwise.
    static constexpr std::size_t kFew = 24;

    void sortRange(std::span<KeyedPoint> points, int levels) {
        if (points.size() <= kFew) return sortByInsertion(points);
        KeyRange range;
        for (const KeyedPoint& p : points) range.add(p.key);
        const double binsOfKey = static_cast<double>(points.size()) / range.width();
        // No width, or next to none: the bins would tell nothing apart.
        if (levels == 0 || !std::isfinite(binsOfKey)) {
            return std::sort(points.begin(), points.end(), precedes);
        }
        const std::vector<std::size_t> ends = moveToBins(points, range.least, binsOfKey);
        std::size_t begin = 0;
        for (const std::size_t end : ends) {
            if (end - begin > 1) sortRange(points.subspan(begin, end - begin), levels - 1);
            begin = end;
        }
    }

    static void sortByInsertion(std::span<KeyedPoint> points) {
        for (std::size_t i = 1; i < points.size(); ++i) {
            const KeyedPoint p = points[i];
            std::size_t place = i;
            for (; place > 0 && precedes(p, points[place - 1]); --place) {
                points[place] = points[place - 1];
            }
            points[place] = p;
        }
    }

    /// Returns where each bin ends. Keys and bins have the same order: subtraction and
    /// multiplication round monotonically.
    std::vector<std::size_t> moveToBins(std::span<KeyedPoint> points, double least,
                                        double binsOfKey) {
        std::vector<std::size_t> ends(points.size(), 0);
        for (std::size_t i = 0; i < points.size(); ++i) {
            const double place = (points[i].key - least) * binsOfKey;
            bins_[i] = std::min(static_cast<std::size_t>(place), points.size() - 1);
            ++ends[bins_[i]];
        }
        std::size_t begin = 0;
        for (std::size_t& end : ends) begin += std::exchange(end, begin);
        const std::vector<KeyedPoint> unsorted(points.begin(), points.end());
        for (std::size_t i = 0; i < points.size(); ++i) points[ends[bins_[i]]++] = unsorted[i];
        return ends;
    }

    std::vector<KeyedPoint>& points_;
    std::vector<std::size_t> bins_;
};

/// Compares each point with the next ones in the order of keys, a block of points at a time: all
/// with their next ones, then with those after them and so on, which leaves the loop to vectors.
class ClosestPoints {
    static constexpr std::size_t kBlock = 64;
    static constexpr std::size_t kStride = 4;  // of the steps

  public:
    /// Loops over blocks run beyond the last point by less than this.
    static constexpr std::size_t kPadding = kBlock + kStride;

    /// @param sorted  by `precedes`.
    explicit ClosestPoints(std::span<const KeyedPoint> sorted)
        : key_(sorted.size() + kPadding),
          x_(sorted.size() + kPadding),
          y_(sorted.size() + kPadding),
          silent_(sorted.size()) {
        std::size_t size = 0;
        for (std::size_t i = 0; i < sorted.size(); ++i) {
            // Doubles stand for one point, which has no say of its own.
            if (i > 0 && sorted[i].isAt(sorted[i - 1])) {
                silent_[size - 1] = true;
                continue;
            }
            key_[size] = sorted[i].key;
            x_[size] = sorted[i].x;
            y_[size] = sorted[i].y;
            ++size;
        }
        silent_.resize(size);
        for (auto* row : {&key_, &x_, &y_}) {
            std::fill(row->begin() + static_cast<std::ptrdiff_t>(size), row->end(), kInfinity);
        }
    }

    double find() {
        // A first limit, lest the first block be compared with all points.
        for (std::size_t k = 0; k < kSamples; ++k) compareWithAllNear(k * size() / kSamples);
        for (std::size_t begin = 0; begin < size(); begin += kBlock) {
            compareAhead(begin, stepsInWindow(begin));
            takeNearest(begin);
        }
        return limit_;
    }

  private:
    static constexpr std::size_t kSamples = 8;

    std::size_t size() const { return silent_.size(); }
    std::size_t endOfBlock(std::size_t begin) const { return std::min(begin + kBlock, size()); }

    /// No point whose key differs by more than this from the key of point i has a squared distance
    /// from it that is computed to be below the limit, or to be 0.
    ///
    /// A computed squared distance below the limit means a true distance d below reach (1 + 4 eps),
    /// or below 1e-150, where squares lose digits to underflow. Keys differ by at most a quarter of
    /// d then, and their rounding errors add up to less than 2 eps of the two magnitudes, of which
    /// the other exceeds that of i by less than d.
    double windowOf(std::size_t i) const { return windowOf(i, reach_); }
    double windowOf(std::size_t i, double reach) const {
        return kKeyOfDistance * reach * (1 + 64 * kEpsilon) +
               8 * kEpsilon * keyMagnitude(x_[i], y_[i]) + 1e-150;
    }

    /// How many of the next points lie in the window of a point, at most.
    std::size_t stepsInWindow(std::size_t begin) {
        std::size_t steps = 0;
        for (std::size_t i = begin; i < endOfBlock(begin); ++i) {
            if (silent_[i]) continue;
            const double window = windowOf(i);
            // The end moves little from point to point.
            end_ = std::max(end_, i + 1);
            while (end_ < size() && key_[end_] - key_[i] <= window) ++end_;
            while (end_ > i + 1 && key_[end_ - 1] - key_[i] > window) --end_;
            steps = std::max(steps, end_ - 1 - i);
        }
        return steps;
    }

    static double squaredDistance(double ax, double ay, double bx, double by) {
        const double dx = ax - bx;
        const double dy = ay - by;
        return dx * dx + dy * dy;
    }
    double squaredDistance(std::size_t i, std::size_t j) const {
        return squaredDistance(x_[i], y_[i], x_[j], y_[j]);
    }

    void setLimit(double squared) {
        limit_ = squared;
        reach_ = std::sqrt(squared);
    }

    /// Lowers the limit to the squared distance of point i from its nearest neighbour, unless the
    /// point is silent.
    void compareWithAllNear(std::size_t i) {
        if (silent_[i]) return;
        double nearest = kInfinity;
        double window = kInfinity;
        const auto compareWith = [&](std::size_t j) {
            if (std::abs(key_[j] - key_[i]) > window) return false;
            const double squared = squaredDistance(i, j);
            if (squared < nearest) {
                nearest = squared;
                window = windowOf(i, std::sqrt(nearest));
            }
            return true;
        };
        for (std::size_t j = i + 1; j < size() && compareWith(j); ++j) {
        }
        for (std::size_t j = i; j > 0 && compareWith(j - 1); --j) {
        }
        if (nearest != 0.0 && nearest < limit_) setLimit(nearest);
    }

    /// Some steps at a time, so that what does not change in between stays in registers.
    void compareAhead(std::size_t begin, std::size_t steps) {
        nearest_.fill(kInfinity);
        const double* x = &x_[begin];
        const double* y = &y_[begin];
        double* nearest = nearest_.data();
        for (std::size_t step = 1; step <= steps; step += kStride) {
            for (std::size_t k = 0; k < kBlock; ++k) {
                const double a = squaredDistance(x[k], y[k], x[k + step], y[k + step]);
                const double b = squaredDistance(x[k], y[k], x[k + step + 1], y[k + step + 1]);
                const double c = squaredDistance(x[k], y[k], x[k + step + 2], y[k + step + 2]);
                const double d = squaredDistance(x[k], y[k], x[k + step + 3], y[k + step + 3]);
                const double ab = a < b ? a : b;
                const double cd = c < d ? c : d;
                const double least = ab < cd ? ab : cd;
                nearest[k] = least < nearest[k] ? least : nearest[k];
            }
        }
    }

    /// Of two points at a squared distance of 0 by underflow the first has found itself to be
    /// silent when it was compared with those ahead, the second does so here if not before.
    void takeNearest(std::size_t begin) {
        double least = limit_;
        for (std::size_t i = begin; i < endOfBlock(begin); ++i) {
            double& nearest = nearest_[i - begin];
            if (!silent_[i] && !silentBehind_.empty()) compareWithSilentBehind(i, nearest);
            if (nearest == 0.0) silent_[i] = true;
            if (silent_[i]) {
                silentBehind_.push_back(i);
            } else if (nearest < least) {
                least = nearest;
            }
        }
        setLimit(least);
    }

    /// Other points behind have been compared with those ahead of them.
    void compareWithSilentBehind(std::size_t i, double& nearest) const {
        const double window = windowOf(i);
        for (std::size_t k = silentBehind_.size(); k > 0 && nearest != 0.0; --k) {
            const std::size_t j = silentBehind_[k - 1];
            if (key_[i] - key_[j] > window) return;
            nearest = std::min(nearest, squaredDistance(i, j));
        }
    }

    std::vector<double> key_;
    std::vector<double> x_;
    std::vector<double> y_;
    std::vector<std::uint8_t> silent_;
    std::vector<std::size_t> silentBehind_;
    std::array<double, kBlock> nearest_{};  // squared distances, of the points of a block
    std::size_t end_ = 0;
    double limit_ = kInfinity;  // the smallest squared distance so far
    double reach_ = kInfinity;  // its root
};

}  // namespace

double smallestNearestSquared(std::span<const rxVector<2>> points) {
    std::vector<KeyedPoint> keyed = keyedPoints(points);
    BinSorter(keyed).sort();
    return ClosestPoints(keyed).find();
}

}  // namespace ptmatch::detail
