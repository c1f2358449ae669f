#include "ptmatch/gridcorr/probe_marking.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace ptmatch::detail {
namespace {

using Defs = rx_PointToGridCorresponderDefs;
using ProbePt = rx_PointToGridCorresponder::ProbePt;

enum class Mark : unsigned char { kEmpty = 0, kPoint = 1, kNegative = 2, kPositive = 3 };

struct Step {
    long x;
    long y;
};
using Steps = std::array<Step, 4>;
constexpr Steps kStraight = {{{0, -1}, {0, 1}, {-1, 0}, {1, 0}}};
constexpr Steps kDiagonal = {{{-1, -1}, {-1, 1}, {1, -1}, {1, 1}}};

/// The pattern while its pixels are being marked.
class MarkedPattern {
  public:
    MarkedPattern(const rxPelBuffer_const<unsigned char>& pattern, bool staggered)
        : width_(pattern.width()),
          height_(pattern.height()),
          neighbours_(staggered ? kDiagonal : kStraight) {
        marks_.reserve(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_));
        for (long y = 0; y < height_; ++y) {
            const unsigned char* row = pattern.pointToRow(y);
            for (long x = 0; x < width_; ++x) {
                marks_.push_back(row[x] == 0 ? Mark::kEmpty : Mark::kPoint);
            }
        }
    }

    void markEveryPoint() { std::replace(marks_.begin(), marks_.end(), Mark::kPoint, kHere); }

    void markBorder(bool wide) {
        forEachPixel([&](long x, long y) {
            // Also a point that another one has marked: it spreads on if it is one of the border.
            if (at(x, y) == Mark::kEmpty) return;
            if (!isOnEdge(x, y) && !hasNeighbour(x, y, Mark::kEmpty)) return;
            at(x, y) = kHere;
            if (wide) spread(x, y, Mark::kPoint, kHere);
        });
    }

    void markEmptyNextToBorder(bool wide) {
        forEachPixel([&](long x, long y) {
            // Not a pixel that another one has marked: the layer grows by one step, no more.
            if (at(x, y) != Mark::kEmpty || !hasNeighbour(x, y, kHere)) return;
            at(x, y) = Mark::kNegative;
            if (wide) spread(x, y, Mark::kEmpty, Mark::kNegative);
        });
    }

    std::vector<ProbePt> probes() {
        std::vector<ProbePt> probes;
        probes.reserve(static_cast<std::size_t>(std::count_if(
            marks_.begin(), marks_.end(), [](Mark mark) { return mark >= Mark::kNegative; })));
        forEachPixel([&](long x, long y) {
            if (at(x, y) >= Mark::kNegative) {
                probes.push_back({rxPair<long>(x, y), at(x, y) == kHere});
            }
        });
        return probes;
    }

  private:
    static constexpr Mark kHere = Mark::kPositive;

    template <class Action>
    void forEachPixel(Action action) {
        for (long y = 0; y < height_; ++y) {
            for (long x = 0; x < width_; ++x) action(x, y);
        }
    }

    Mark& at(long x, long y) {
        return marks_[static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
                      static_cast<std::size_t>(x)];
    }

    bool isInside(long x, long y) const { return x >= 0 && x < width_ && y >= 0 && y < height_; }
    bool isOnEdge(long x, long y) const {
        return x == 0 || x == width_ - 1 || y == 0 || y == height_ - 1;
    }

    bool hasNeighbour(long x, long y, Mark mark) {
        return std::any_of(neighbours_.begin(), neighbours_.end(), [&](const Step& step) {
            return isInside(x + step.x, y + step.y) && at(x + step.x, y + step.y) == mark;
        });
    }

    // Along rows and columns in staggered patterns, too.
    void spread(long x, long y, Mark from, Mark to) {
        for (const Step& step : kStraight) {
            if (isInside(x + step.x, y + step.y) && at(x + step.x, y + step.y) == from) {
                at(x + step.x, y + step.y) = to;
            }
        }
    }

    long width_;
    long height_;
    const Steps& neighbours_;
    std::vector<Mark> marks_;
};

}  // namespace

std::vector<ProbePt> probesOf(const rxPelBuffer_const<unsigned char>& pattern,
                              const rx_PointToGridCorresponderTrainParams& params) {
    MarkedPattern marked(pattern, params.staggered());
    const Defs::FeatureType type = params.featureType();
    if (type == Defs::eBorderPoints || type == Defs::eWideBorderPoints) {
        marked.markBorder(type == Defs::eWideBorderPoints);
        marked.markEmptyNextToBorder(type == Defs::eWideBorderPoints);
    } else {
        marked.markEveryPoint();
    }
    return marked.probes();
}

}  // namespace ptmatch::detail
