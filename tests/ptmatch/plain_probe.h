#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <tuple>
#include <utility>
#include <vector>

#include "foundation/image.h"
#include "ptmatch/gridcorr.h"

namespace ptmatch::testing {

/// One placement as the plain search reports it.
struct PlainPlacement {
    double score;
    rxPair<long> position;

    friend bool operator==(const PlainPlacement&, const PlainPlacement&) = default;
};

/// The search of the grid corresponder as plainly as it can be said: a byte for each pixel, probe
/// after probe, translation after translation. No thought of speed or of far-flung positions.
class PlainProbe {
  public:
    using Run = rx_PointToGridCorresponderRunParams;

    /// @param rect  from the smallest to the largest x and y of the pattern.
    PlainProbe(std::vector<rx_PointToGridCorresponder::ProbePt> probes, const rxPelRect& rect)
        : probes_(std::move(probes)), rect_(rect) {}

    std::vector<PlainPlacement> run(const std::vector<rxPair<long>>& data, const Run& params) {
        if (data.empty()) return {};
        long minX = data[0].x();
        long maxX = data[0].x();
        long minY = data[0].y();
        long maxY = data[0].y();
        for (const rxPair<long>& p : data) {
            minX = std::min(minX, p.x());
            maxX = std::max(maxX, p.x());
            minY = std::min(minY, p.y());
            maxY = std::max(maxY, p.y());
        }
        makeImage(maxX - minX, maxY - minY);
        for (const rxPair<long>& p : data) rowTable_[at(p.y() - minY + 2)][p.x() - minX + 2] = 1;
        return search(rxPelRect(minX, minY, maxX - minX, maxY - minY), params);
    }

    std::vector<PlainPlacement> run(const rxPelBuffer_const<unsigned char>& data,
                                    const Run& params) {
        if (data.width() == 0 || data.height() == 0) return {};
        makeImage(data.width() - 1, data.height() - 1);
        for (long y = 0; y < data.height(); ++y) {
            std::copy_n(data.pointToRow(y), data.width(), rowTable_[at(y + 2)] + 2);
        }
        return search(
            rxPelRect(data.offset().x(), data.offset().y(), data.width() - 1, data.height() - 1),
            params);
    }

    /// The score of one translation.
    long probe(long x, long y, long minScore) const {
        const long n = static_cast<long>(probes_.size());
        const long k = n - minScore == 0 ? 1 : n - minScore;
        long score = 0;
        for (long i = 0; i < k; ++i) score += agrees(probes_[at(i)], x, y);
        if (score == 0) return 0;
        for (long i = k; i < n; ++i) score += agrees(probes_[at(i)], x, y);
        return score;
    }

  private:
    static std::size_t at(long index) { return static_cast<std::size_t>(index); }

    void makeImage(long width, long height) {
        width_ = width + 5;
        height_ = height + 5;
        image_.assign(at(width_) * at(height_), 0);
        rowTable_.clear();
        for (long y = 0; y < height_; ++y) rowTable_.push_back(image_.data() + at(y * width_));
    }

    long agrees(const rx_PointToGridCorresponder::ProbePt& probe, long x, long y) const {
        const unsigned char pixel = rowTable_[at(y + probe.position.y())][x + probe.position.x()];
        return pixel == (probe.expected ? 1 : 0) ? 1 : 0;
    }

    std::vector<PlainPlacement> search(const rxPelRect& data, const Run& params) const {
        const auto n = static_cast<double>(probes_.size());
        if ((data.width() == 0 && data.height() == 0) || width_ <= rect_.width() ||
            height_ <= rect_.height() || params.maxNumResults() < 1 ||
            !(params.accept() * n >= 1.0) || params.accept() * n >= n + 1.0) {
            return {};
        }
        const long minScore = static_cast<long>(std::trunc(params.accept() * n));
        std::vector<std::tuple<long, long, long>> found;  // score, y, x
        for (long y = 0; y <= height_ - rect_.height() - 1; ++y) {
            for (long x = 0; x <= width_ - rect_.width() - 1; ++x) {
                const long score = probe(x, y, minScore);
                if (score >= minScore) found.emplace_back(score, y, x);
            }
        }
        return ranked(std::move(found), data, params.maxNumResults());
    }

    // A store that is full keeps the earlier of equal scores; it lists the later ones first.
    std::vector<PlainPlacement> ranked(std::vector<std::tuple<long, long, long>> found,
                                       const rxPelRect& data, long maxNumResults) const {
        std::stable_sort(found.begin(), found.end(), [](const auto& a, const auto& b) {
            return std::get<0>(a) > std::get<0>(b);
        });
        if (static_cast<long>(found.size()) > maxNumResults) found.resize(at(maxNumResults));
        std::sort(found.rbegin(), found.rend());
        std::vector<PlainPlacement> placements;
        for (const auto& [score, y, x] : found) {
            placements.push_back(
                {static_cast<double>(score) / static_cast<double>(probes_.size()),
                 rxPair<long>(x + data.x() - 2 - rect_.x(), y + data.y() - 2 - rect_.y())});
        }
        return placements;
    }

    std::vector<rx_PointToGridCorresponder::ProbePt> probes_;
    rxPelRect rect_;
    long width_ = 0;
    long height_ = 0;
    std::vector<unsigned char> image_;
    std::vector<unsigned char*> rowTable_;
};

}  // namespace ptmatch::testing
