#pragma once

#include <vector>

#include "foundation/vector.h"

namespace ptmatch::tool {

/// A box on the page, x right, y down.
struct PageBox {
    double x = 0.0;
    double y = 0.0;
    double width = 0.0;
    double height = 0.0;
};

enum class YAxis { kDown, kUp };

/// Where points of the plane go on a page: equal scale on both axes, the points' bounding box in
/// the middle of a box of the page with a margin around it. A cloud without extent lands in the
/// middle.
class PictureFrame {
  public:
    /// @param points  what has to be seen; not empty, finite
    PictureFrame(const std::vector<rxVector<2>>& points, const PageBox& box, YAxis yAxis);

    /// The place of `point` on the page.
    rxVector<2> toPage(const rxVector<2>& point) const;
    /// Page units per unit of the plane, greater than 0.
    double scale() const { return scale_; }
    const PageBox& box() const { return box_; }

    /// Round coordinates (1, 2 or 5 times a power of ten) that the box shows, at most about
    /// `wanted` of them; the distance between them through `step`.
    std::vector<double> xTicks(int wanted, double& step) const;
    std::vector<double> yTicks(int wanted, double& step) const;

  private:
    PageBox box_;
    rxVector<2> center_;
    double scale_ = 1.0;
    double ySign_ = 1.0;
};

/// Height over width of the bounding box of `points`, within [lowest, highest].
double aspectOf(const std::vector<rxVector<2>>& points, double lowest, double highest);

/// Corners of the convex hull of `points`, in order around it; fewer than 3 when the points have
/// no area.
std::vector<rxVector<2>> convexHull(std::vector<rxVector<2>> points);

}  // namespace ptmatch::tool
