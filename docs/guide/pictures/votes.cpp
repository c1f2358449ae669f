#include "votes.h"

#include <algorithm>
#include <cmath>

#include "ptmatch/ppmatch.h"
#include "ptmatch/run_cost.h"

namespace ptmatch::guide {
namespace {

struct Bounds {
    rxVector<2> low;
    rxVector<2> high;
};

Bounds boundsOf(const Points& points) {
    const auto [left, right] =
        std::ranges::minmax(points, {}, [](const rxVector<2>& p) { return p.x(); });
    const auto [top, bottom] =
        std::ranges::minmax(points, {}, [](const rxVector<2>& p) { return p.y(); });
    return {rxVector<2>(left.x(), top.y()), rxVector<2>(right.x(), bottom.y())};
}

long cellOf(double distance, double cell) {
    return std::lround(std::floor(distance / cell));
}

}  // namespace

Votes::Votes(const Points& data, double cell) : cell_(cell) {
    // A border of one cell, so that every block of nine has room.
    const Bounds bounds = boundsOf(data);
    low_ = bounds.low - rxVector<2>(cell, cell);
    columns_ = cellOf(bounds.high.x() - low_.x(), cell) + 2;
    rows_ = cellOf(bounds.high.y() - low_.y(), cell) + 2;
    marks_.resize(static_cast<std::size_t>(columns_ * rows_));
    votes_.resize(marks_.size());
    for (const rxVector<2>& p : data) {
        const long column = cellOf(p.x() - low_.x(), cell);
        const long row = cellOf(p.y() - low_.y(), cell);
        for (long dy = -1; dy <= 1; ++dy) {
            for (long dx = -1; dx <= 1; ++dx) marks_[index(column + dx, row + dy)] = true;
        }
    }
}

void Votes::count(const Points& model, double rotationRad, double scale) {
    std::ranges::fill(votes_, 0);
    const rxRadian angle(rotationRad);
    const rxXform<2> turned(rxVector<2>(), angle, angle, scale, scale);
    const rxVector<2> centre = centreOf(model);
    for (const rxVector<2>& m : model) {
        const rxVector<2> arm = turned * (m - centre);
        const long x = std::lround(arm.x() / cell_);
        const long y = std::lround(arm.y() / cell_);
        for (long row = 0; row < rows_; ++row) {
            for (long column = 0; column < columns_; ++column) {
                votes_[index(column, row)] += isMarked(column + x, row + y) ? 1 : 0;
            }
        }
    }
}

bool Votes::isMarked(long column, long row) const {
    return column >= 0 && row >= 0 && column < columns_ && row < rows_ &&
           marks_[index(column, row)];
}

double Votes::markedShare() const {
    return static_cast<double>(std::ranges::count(marks_, true)) /
           static_cast<double>(marks_.size());
}

rxVector<2> Votes::corner(long column, long row) const {
    return low_ +
           rxVector<2>(static_cast<double>(column) * cell_, static_cast<double>(row) * cell_);
}

Votes::Peak Votes::highest() const {
    Peak peak;
    for (long row = 0; row < rows_; ++row) {
        for (long column = 0; column < columns_; ++column) {
            if (at(column, row) > peak.votes) peak = {at(column, row), column, row};
        }
    }
    return peak;
}

void drawMarks(Page& page, Plot& plot, const Votes& votes) {
    const auto group = plot.clipped(
        {{"fill", tool::kBlue}, {"fill-opacity", "0.22"}, {"shape-rendering", "crispEdges"}});
    for (long row = 0; row < votes.rows(); ++row) {
        for (long column = 0; column < votes.columns(); ++column) {
            if (!votes.isMarked(column, row)) continue;
            const long first = column;
            while (votes.isMarked(column + 1, row)) ++column;
            const rxVector<2> corner = plot.at(votes.corner(first, row));
            const rxVector<2> end = plot.at(votes.corner(column + 1, row + 1));
            const PageBox& box = plot.box();
            const bool isSeen = end.x() > box.x && corner.x() < box.x + box.width &&
                                end.y() > box.y && corner.y() < box.y + box.height;
            if (!isSeen) continue;
            page.canvas().rectangle(corner, end.x() - corner.x(), end.y() - corner.y());
        }
    }
}

double rotationStepRad(const Points& model, double cell) {
    return std::atan2(2.0 * cell, radiusOf(model));
}

rxVector<2> centreOf(const Points& points) {
    const Bounds bounds = boundsOf(points);
    return {(bounds.low.x() + bounds.high.x()) / 2.0, (bounds.low.y() + bounds.high.y()) / 2.0};
}

double radiusOf(const Points& points) {
    const rxVector<2> centre = centreOf(points);
    double radius = 0.0;
    for (const rxVector<2>& p : points) radius = std::max(radius, (p - centre).len());
    return radius;
}

double automaticGridSize(const Points& model) {
    rxPointMatcher matcher;
    matcher.train(model, rxPointMatcherDefs::eAutoDetect);
    return rfRunCost(matcher, model, rxPointMatcherRunParams()).gridSize;
}

}  // namespace ptmatch::guide
