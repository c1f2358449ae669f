#include "picture_frame.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace ptmatch::tool {
namespace {

// Share of the box left free on every side.
constexpr double kMargin = 0.04;

struct Bounds {
    rxVector<2> low;
    rxVector<2> high;

    // Halves first: the difference of two coordinates may lie beyond the range of double.
    double halfWidth() const { return high.x() / 2 - low.x() / 2; }
    double halfHeight() const { return high.y() / 2 - low.y() / 2; }
};

Bounds boundsOf(const std::vector<rxVector<2>>& points) {
    Bounds bounds{points.front(), points.front()};
    for (const rxVector<2>& p : points) {
        bounds.low = {std::min(bounds.low.x(), p.x()), std::min(bounds.low.y(), p.y())};
        bounds.high = {std::max(bounds.high.x(), p.x()), std::max(bounds.high.y(), p.y())};
    }
    return bounds;
}

std::vector<double> ticks(double center, double halfExtent, int wanted, double& step) {
    const double rough = 2.0 * halfExtent / wanted;
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    const double mantissa = rough / power;
    step = power * (mantissa <= 1.0 ? 1.0 : mantissa <= 2.0 ? 2.0 : mantissa <= 5.0 ? 5.0 : 10.0);
    const double first = std::ceil((center - halfExtent) / step) * step;
    std::vector<double> result;
    // Counted, not summed up to the end: far from zero a step may vanish in the last digit.
    for (int i = 0; i <= wanted; ++i) {
        const double tick = first + i * step;
        if (tick <= center + halfExtent) result.push_back(tick);
    }
    return result;
}

double cross(const rxVector<2>& origin, const rxVector<2>& a, const rxVector<2>& b) {
    return (a.x() - origin.x()) * (b.y() - origin.y()) -
           (a.y() - origin.y()) * (b.x() - origin.x());
}

}  // namespace

PictureFrame::PictureFrame(const std::vector<rxVector<2>>& points, const PageBox& box, YAxis yAxis)
    : box_(box), ySign_(yAxis == YAxis::kDown ? 1.0 : -1.0) {
    const Bounds bounds = boundsOf(points);
    center_ = {bounds.low.x() / 2 + bounds.high.x() / 2, bounds.low.y() / 2 + bounds.high.y() / 2};
    const double room = 0.5 - kMargin;
    const double scale =
        std::min(room * box.width / bounds.halfWidth(), room * box.height / bounds.halfHeight());
    if (std::isfinite(scale) && scale > 0.0) scale_ = scale;
}

rxVector<2> PictureFrame::toPage(const rxVector<2>& point) const {
    return {box_.x + box_.width / 2 + scale_ * (point.x() - center_.x()),
            box_.y + box_.height / 2 + ySign_ * scale_ * (point.y() - center_.y())};
}

std::vector<double> PictureFrame::xTicks(int wanted, double& step) const {
    return ticks(center_.x(), box_.width / 2 / scale_, wanted, step);
}

std::vector<double> PictureFrame::yTicks(int wanted, double& step) const {
    return ticks(center_.y(), box_.height / 2 / scale_, wanted, step);
}

double aspectOf(const std::vector<rxVector<2>>& points, double lowest, double highest) {
    const Bounds bounds = boundsOf(points);
    const double aspect = bounds.halfHeight() / bounds.halfWidth();
    return std::isnan(aspect) ? 1.0 : std::clamp(aspect, lowest, highest);
}

std::vector<rxVector<2>> convexHull(std::vector<rxVector<2>> points) {
    // Monotone chain: the lower side from left to right, then the upper one back.
    std::sort(points.begin(), points.end(), [](const rxVector<2>& a, const rxVector<2>& b) {
        return a.x() != b.x() ? a.x() < b.x() : a.y() < b.y();
    });
    std::vector<rxVector<2>> hull;
    for (int side = 0; side < 2; ++side) {
        const std::size_t start = hull.size();
        for (const rxVector<2>& p : points) {
            while (hull.size() >= start + 2 &&
                   cross(hull[hull.size() - 2], hull.back(), p) <= 0.0) {
                hull.pop_back();
            }
            hull.push_back(p);
        }
        if (!hull.empty()) hull.pop_back();  // the other side begins with it
        std::reverse(points.begin(), points.end());
    }
    return hull;
}

}  // namespace ptmatch::tool
