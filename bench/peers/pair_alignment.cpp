#include "pair_alignment.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>
#include <random>
#include <utility>

#include "least_squares_pose.h"

namespace ptmatch::bench::peers {
namespace {

// Lengths of the pairs that are tried, in mean spacings of the model's points. Short pairs have few
// counterparts in the data (their number grows with length times width of the window, and the
// window of a scale range with the length), long ones say more exactly where the others lie.
constexpr double kMinSpacings = 1.5;
constexpr double kMaxSpacings = 2.5;
// Enough that, with half of the points missing, pairs of which both points are there come soon.
constexpr std::size_t kMaxPairs = 200;
// Points that decide about a pose before all are looked at: the nearest to the pair, where its two
// points tell places best.
constexpr std::size_t kMaxWitnesses = 32;
// The share of right poses that the sequential test may drop; other pairs will show them again.
constexpr double kMaxDropped = 0.02;
// A place that a pair predicts is off by its two points' jitter as well as the point's own.
constexpr double kWitnessReach = 1.5;
// Deviation of a pair's length against that of one coordinate is sqrt(2); three of those.
constexpr double kLengthSlack = std::numbers::sqrt2;
constexpr int kRefits = 3;

double squared(double x) {
    return x * x;
}

struct Box {
    double minX = std::numeric_limits<double>::infinity();
    double minY = std::numeric_limits<double>::infinity();
    double maxX = -std::numeric_limits<double>::infinity();
    double maxY = -std::numeric_limits<double>::infinity();
};

Box boxOf(const Points& points) {
    Box box;
    for (const Point& p : points) {
        box.minX = std::min(box.minX, p.x);
        box.minY = std::min(box.minY, p.y);
        box.maxX = std::max(box.maxX, p.x);
        box.maxY = std::max(box.maxY, p.y);
    }
    return box;
}

// A bit per cell: whether a data point is near it.
class NearMap {
  public:
    NearMap(const Points& data, const Box& box, double reach)
        : cell_(std::max(0.4 * reach, std::max(box.maxX - box.minX, box.maxY - box.minY) / 2048.0)),
          originX_(static_cast<float>(box.minX - 2.0 * reach)),
          originY_(static_cast<float>(box.minY - 2.0 * reach)),
          perCell_(static_cast<float>(1.0 / cell_)) {
        columns_ = static_cast<std::uint32_t>((box.maxX - box.minX + 4.0 * reach) / cell_) + 1;
        rows_ = static_cast<std::uint32_t>((box.maxY - box.minY + 4.0 * reach) / cell_) + 1;
        wordsPerRow_ = columns_ / 64 + 1;
        bits_.assign(std::size_t{wordsPerRow_} * rows_, 0);
        for (const Point& p : data) mark(p, reach);
    }

    [[nodiscard]] bool isNear(float x, float y) const {
        // Truncation takes (-1, 0) to 0: a strip of the margin, where no mark is.
        const auto column = static_cast<std::uint32_t>(static_cast<int>((x - originX_) * perCell_));
        const auto row = static_cast<std::uint32_t>(static_cast<int>((y - originY_) * perCell_));
        if (column >= columns_ || row >= rows_) return false;
        return (bits_[std::size_t{row} * wordsPerRow_ + column / 64] >> (column % 64) & 1U) != 0;
    }

    /// Share of the cells that are marked: what a wrong place hits by chance.
    [[nodiscard]] double fill() const {
        std::size_t marked = 0;
        for (const std::uint64_t word : bits_)
            marked += static_cast<std::size_t>(std::popcount(word));
        return static_cast<double>(marked) / (static_cast<double>(columns_) * rows_);
    }

  private:
    // All cells whose centre is within reach.
    void mark(const Point& p, double reach) {
        const double x = (p.x - originX_) / cell_ - 0.5;
        const double y = (p.y - originY_) / cell_ - 0.5;
        const double radius = reach / cell_;
        const int lastRow = static_cast<int>(std::floor(y + radius));
        for (int row = static_cast<int>(std::ceil(y - radius)); row <= lastRow; ++row) {
            const double half = std::sqrt(std::max(0.0, squared(radius) - squared(row - y)));
            const int last = static_cast<int>(std::floor(x + half));
            for (int column = static_cast<int>(std::ceil(x - half)); column <= last; ++column) {
                bits_[static_cast<std::size_t>(row) * wordsPerRow_ +
                      static_cast<std::size_t>(column / 64)] |= std::uint64_t{1} << (column % 64);
            }
        }
    }

    double cell_;
    float originX_;
    float originY_;
    float perCell_;
    std::uint32_t columns_ = 0;
    std::uint32_t rows_ = 0;
    std::uint32_t wordsPerRow_ = 0;
    std::vector<std::uint64_t> bits_;
};

// Data points by cells of a square grid, about one in each.
class CellGrid {
  public:
    CellGrid(const Points& data, const Box& box, double minCell)
        : data_(data), minX_(box.minX), minY_(box.minY) {
        const double width = box.maxX - box.minX;
        const double height = box.maxY - box.minY;
        cell_ = std::max(minCell, std::sqrt(width * height / static_cast<double>(data.size())));
        columns_ = static_cast<long>(width / cell_) + 1;
        rows_ = static_cast<long>(height / cell_) + 1;
        starts_.assign(static_cast<std::size_t>(columns_ * rows_) + 1, 0);
        for (const Point& p : data) ++starts_[indexOf(p) + 1];
        std::partial_sum(starts_.begin(), starts_.end(), starts_.begin());
        order_.resize(data.size());
        std::vector<std::uint32_t> next(starts_.begin(), starts_.end() - 1);
        for (std::size_t i = 0; i < data.size(); ++i) {
            order_[next[indexOf(data[i])]++] = static_cast<std::uint32_t>(i);
        }
    }

    /// The nearest point within reach, which is at most the least cell size; or null.
    [[nodiscard]] const Point* nearest(const Point& p, double reach) const {
        const Point* best = nullptr;
        double bestSquare = squared(reach);
        const long firstColumn = clamped((p.x - reach - minX_) / cell_, columns_);
        const long lastColumn = clamped((p.x + reach - minX_) / cell_, columns_);
        const long firstRow = clamped((p.y - reach - minY_) / cell_, rows_);
        const long lastRow = clamped((p.y + reach - minY_) / cell_, rows_);
        for (long row = firstRow; row <= lastRow; ++row) {
            // Cells of a row lie one behind the other.
            const auto begin = starts_[static_cast<std::size_t>(row * columns_ + firstColumn)];
            const auto end = starts_[static_cast<std::size_t>(row * columns_ + lastColumn) + 1];
            for (auto k = begin; k < end; ++k) {
                const Point& q = data_[order_[k]];
                const double square = squared(q.x - p.x) + squared(q.y - p.y);
                if (square > bestSquare) continue;
                bestSquare = square;
                best = &q;
            }
        }
        return best;
    }

  private:
    static long clamped(double cells, long count) {
        return static_cast<long>(std::clamp(cells, 0.0, static_cast<double>(count - 1)));
    }

    [[nodiscard]] std::size_t indexOf(const Point& p) const {
        return static_cast<std::size_t>(clamped((p.y - minY_) / cell_, rows_) * columns_ +
                                        clamped((p.x - minX_) / cell_, columns_));
    }

    const Points& data_;
    double minX_;
    double minY_;
    double cell_ = 0.0;
    long columns_ = 0;
    long rows_ = 0;
    std::vector<std::uint32_t> starts_;
    std::vector<std::uint32_t> order_;
};

// Pairs of data points up to a length, sorted by length to the unit.
class PairsByLength {
  public:
    struct Pair {
        std::uint32_t first;
        std::uint32_t second;
    };

    PairsByLength(const Points& data, double shortest, double longest) {
        std::vector<std::uint32_t> byX(data.size());
        std::iota(byX.begin(), byX.end(), 0U);
        std::sort(byX.begin(), byX.end(),
                  [&](std::uint32_t i, std::uint32_t j) { return data[i].x < data[j].x; });
        std::vector<float> x(data.size());
        std::vector<float> y(data.size());
        for (std::size_t i = 0; i < byX.size(); ++i) {
            x[i] = static_cast<float>(data[byX[i]].x);
            y[i] = static_cast<float>(data[byX[i]].y);
        }
        const auto reach = static_cast<float>(longest);
        const auto least = static_cast<float>(shortest * shortest);
        const float most = reach * reach;
        starts_.assign(static_cast<std::size_t>(longest) + 3, 0);
        for (std::size_t i = 0; i < x.size(); ++i) {
            for (std::size_t j = i + 1; j < x.size() && x[j] - x[i] <= reach; ++j) {
                const float square = (x[j] - x[i]) * (x[j] - x[i]) + (y[j] - y[i]) * (y[j] - y[i]);
                if (square < least || square > most) continue;
                const auto length = static_cast<std::uint32_t>(std::sqrt(square));
                unsorted_.push_back({{byX[i], byX[j]}, length});
                ++starts_[length + 1];
            }
        }
        std::partial_sum(starts_.begin(), starts_.end(), starts_.begin());
        sorted_.resize(unsorted_.size());
        std::vector<std::uint32_t> next(starts_.begin(), starts_.end() - 1);
        for (const auto& [pair, length] : unsorted_) sorted_[next[length]++] = pair;
    }

    /// All pairs with a length within [low, high], and some that are up to 1 beyond.
    [[nodiscard]] std::pair<const Pair*, const Pair*> within(double low, double high) const {
        const double count = static_cast<double>(starts_.size()) - 1.0;
        const auto begin = static_cast<std::size_t>(std::clamp(std::floor(low), 0.0, count));
        const auto end = static_cast<std::size_t>(std::clamp(std::floor(high) + 1.0, 0.0, count));
        return {sorted_.data() + starts_[begin], sorted_.data() + starts_[std::max(begin, end)]};
    }

  private:
    struct Measured {
        Pair pair;
        std::uint32_t length;
    };
    std::vector<std::uint32_t> starts_;
    std::vector<Measured> unsorted_;
    std::vector<Pair> sorted_;
};

}  // namespace

// One call of find.
class PairAlignment::Search {
  public:
    Search(const PairAlignment& alignment, const Points& data)
        : model_(alignment.model_),
          limits_(alignment.limits_),
          data_(data),
          box_(boxOf(data)),
          nearMap_(data, box_, kWitnessReach * limits_.inlierDistance),
          grid_(data, box_, 4.0 * limits_.inlierDistance),
          slack_(kLengthSlack * limits_.inlierDistance),
          pairs_(data, (1.0 - limits_.scaleTolerance) * alignment.shortest_ - slack_,
                 (1.0 + limits_.scaleTolerance) * alignment.longest_ + slack_) {
        const double right = std::clamp(limits_.minCoverage, 0.01, 0.95);
        const double wrong = std::clamp(nearMap_.fill(), 1e-6, 0.9 * right);
        hit_ = static_cast<float>(std::log(right / wrong));
        miss_ = static_cast<float>(std::log((1.0 - right) / (1.0 - wrong)));
        numWanted_ = static_cast<long>(
            std::ceil(limits_.minCoverage * static_cast<double>(model_.size()) - 1e-9));
    }

    std::optional<Similarity> tryPair(const ModelPair& pair) {
        const auto [begin, end] =
            pairs_.within((1.0 - limits_.scaleTolerance) * pair.length - slack_,
                          (1.0 + limits_.scaleTolerance) * pair.length + slack_);
        const bool isAnyRotation = limits_.maxRotationRad >= std::numbers::pi;
        // Both points of the data pair may be off across it.
        const double maxRotation = limits_.maxRotationRad + slack_ / pair.length;
        const double minCosine = isAnyRotation ? -2.0 : std::cos(maxRotation);
        for (const auto* candidate = begin; candidate != end; ++candidate) {
            const Point& p = data_[candidate->first];
            const Point& q = data_[candidate->second];
            const double dx = q.x - p.x;
            const double dy = q.y - p.y;
            const double dot = dx * pair.dx + dy * pair.dy;
            const double least = minCosine * std::sqrt(dx * dx + dy * dy) * pair.length;
            if (dot >= least && agrees(pair, p, dx, dy)) {
                if (const auto pose = verified(pair, p, q)) return pose;
            }
            if (-dot >= least && agrees(pair, q, -dx, -dy)) {
                if (const auto pose = verified(pair, q, p)) return pose;
            }
        }
        return std::nullopt;
    }

  private:
    // Wald's test: the witnesses are asked one after the other until their answers are too unlikely
    // for a right pose.
    [[nodiscard]] bool agrees(const ModelPair& pair, const Point& first, double dx,
                              double dy) const {
        static const auto kLeast = static_cast<float>(std::log(kMaxDropped));
        const auto x0 = static_cast<float>(first.x);
        const auto y0 = static_cast<float>(first.y);
        const auto fx = static_cast<float>(dx);
        const auto fy = static_cast<float>(dy);
        float evidence = 0.0F;
        for (std::size_t k = 0; k < pair.zx.size(); ++k) {
            const float x = x0 + pair.zx[k] * fx - pair.zy[k] * fy;
            const float y = y0 + pair.zx[k] * fy + pair.zy[k] * fx;
            evidence += nearMap_.isNear(x, y) ? hit_ : miss_;
            if (evidence < kLeast) return false;
        }
        return evidence > 0.0F;
    }

    // The pose of the pair, refitted to the witnesses, then twice to all points; the pose if it is
    // allowed and matches enough.
    [[nodiscard]] std::optional<Similarity> verified(const ModelPair& pair, const Point& p,
                                                     const Point& q) const {
        const bool isScaled = limits_.scaleTolerance > 0.0;
        LeastSquaresPose sums;
        sums.add(model_[pair.first], p);
        sums.add(model_[pair.second], q);
        Similarity pose = sums.fit(isScaled);
        for (const std::size_t i : pair.witnesses) {
            const Point* near = grid_.nearest(pose(model_[i]), 2.0 * limits_.inlierDistance);
            if (near != nullptr) sums.add(model_[i], *near);
        }
        pose = sums.fit(isScaled);
        for (int round = 0; round < kRefits; ++round) {
            const bool isLast = round + 1 == kRefits;
            const double reach = (isLast ? 1.0 : 2.0) * limits_.inlierDistance;
            sums = matched(pose, reach);
            if (sums.count() < (isLast ? numWanted_ : numWanted_ / 2)) return std::nullopt;
            pose = sums.fit(isScaled);
        }
        return isAllowed(pose) ? std::optional(pose) : std::nullopt;
    }

    [[nodiscard]] LeastSquaresPose matched(const Similarity& pose, double reach) const {
        LeastSquaresPose sums;
        for (const Point& m : model_) {
            const Point* near = grid_.nearest(pose(m), reach);
            if (near != nullptr) sums.add(m, *near);
        }
        return sums;
    }

    [[nodiscard]] bool isAllowed(const Similarity& pose) const {
        // Fitted values of a planted end of the range may lie a little outside.
        constexpr double kSlack = 0.01;
        return std::abs(std::atan2(pose.b, pose.a)) <= limits_.maxRotationRad + kSlack &&
               std::abs(std::hypot(pose.a, pose.b) - 1.0) <= limits_.scaleTolerance + kSlack;
    }

    const Points& model_;
    const PairAlignmentLimits& limits_;
    const Points& data_;
    Box box_;
    NearMap nearMap_;
    CellGrid grid_;
    double slack_;
    PairsByLength pairs_;
    float hit_ = 0.0F;
    float miss_ = 0.0F;
    long numWanted_ = 0;
};

PairAlignment::PairAlignment(const Points& model, const PairAlignmentLimits& limits)
    : model_(model), limits_(limits) {
    const Box box = boxOf(model_);
    const double spacing = std::sqrt((box.maxX - box.minX) * (box.maxY - box.minY) /
                                     static_cast<double>(model_.size()));
    std::vector<std::pair<std::size_t, std::size_t>> chosen;
    for (std::size_t i = 0; i < model_.size(); ++i) {
        for (std::size_t j = i + 1; j < model_.size(); ++j) {
            const double length = std::hypot(model_[j].x - model_[i].x, model_[j].y - model_[i].y);
            if (length >= kMinSpacings * spacing && length <= kMaxSpacings * spacing) {
                chosen.emplace_back(i, j);
            }
        }
    }
    std::mt19937 engine(1);
    std::shuffle(chosen.begin(), chosen.end(), engine);
    if (chosen.size() > kMaxPairs) chosen.resize(kMaxPairs);
    shortest_ = std::numeric_limits<double>::infinity();
    for (const auto& [i, j] : chosen) {
        pairs_.push_back(describe(i, j));
        shortest_ = std::min(shortest_, pairs_.back().length);
        longest_ = std::max(longest_, pairs_.back().length);
    }
}

PairAlignment::ModelPair PairAlignment::describe(std::size_t first, std::size_t second) const {
    ModelPair pair;
    pair.first = first;
    pair.second = second;
    const Point& p = model_[first];
    pair.dx = model_[second].x - p.x;
    pair.dy = model_[second].y - p.y;
    pair.length = std::hypot(pair.dx, pair.dy);
    const Point middle{p.x + 0.5 * pair.dx, p.y + 0.5 * pair.dy};
    const auto squareTo = [&](std::size_t i) {
        return squared(model_[i].x - middle.x) + squared(model_[i].y - middle.y);
    };
    for (std::size_t i = 0; i < model_.size(); ++i) {
        if (i != first && i != second) pair.witnesses.push_back(i);
    }
    const auto isNearer = [&](std::size_t i, std::size_t j) { return squareTo(i) < squareTo(j); };
    if (pair.witnesses.size() > kMaxWitnesses) {
        std::nth_element(pair.witnesses.begin(), pair.witnesses.begin() + kMaxWitnesses,
                         pair.witnesses.end(), isNearer);
        pair.witnesses.resize(kMaxWitnesses);
    }
    std::sort(pair.witnesses.begin(), pair.witnesses.end(), isNearer);
    for (const std::size_t i : pair.witnesses) {
        const double x = model_[i].x - p.x;
        const double y = model_[i].y - p.y;
        const double square = squared(pair.length);
        pair.zx.push_back(static_cast<float>((x * pair.dx + y * pair.dy) / square));
        pair.zy.push_back(static_cast<float>((y * pair.dx - x * pair.dy) / square));
    }
    return pair;
}

std::optional<Similarity> PairAlignment::find(const Points& data) const {
    if (data.size() < 2 || pairs_.empty()) return std::nullopt;
    Search search(*this, data);
    for (const ModelPair& pair : pairs_) {
        if (const auto pose = search.tryPair(pair)) return pose;
    }
    return std::nullopt;
}

}  // namespace ptmatch::bench::peers
