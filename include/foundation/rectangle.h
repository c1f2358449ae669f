#pragma once

#include <type_traits>

#include "foundation/export.h"
#include "foundation/vector.h"

/// An axis-aligned rectangle: its corner with the smallest coordinates, its width and its height.
///
/// Used with T = double (bounding boxes) and T = long (pixel regions, in 32-bit coordinates). The
/// lower-right corner is the upper-left one plus the extent, so in a pixel region it is the first
/// position beyond the last row and column. The extent is kept as given, also a negative one.
template <class T>
class PTMATCH_EXPORT rxRectangle {
  public:
    /// A corner: rxVector<2> of a rectangle of doubles, else rxPair<T>.
    using Point = std::conditional_t<std::is_floating_point_v<T>, rxVector<2>, rxPair<T>>;

    /// An empty rectangle at the origin.
    constexpr rxRectangle() = default;
    /// The rectangle with the corner (x, y) and this extent.
    constexpr rxRectangle(T x, T y, T width, T height)
        : x_(x), y_(y), width_(width), height_(height) {}
    /// The rectangle between two corners: width lr.x - ul.x, height lr.y - ul.y.
    constexpr rxRectangle(const Point& ul, const Point& lr)
        : rxRectangle(ul.x(), ul.y(), lr.x() - ul.x(), lr.y() - ul.y()) {}

    /// x of the upper-left corner.
    constexpr T x() const { return x_; }
    /// y of the upper-left corner.
    constexpr T y() const { return y_; }
    /// The extent along x; may be negative.
    constexpr T width() const { return width_; }
    /// The extent along y; may be negative.
    constexpr T height() const { return height_; }

    /// The upper-left corner, (x, y).
    constexpr Point ul() const { return Point(x_, y_); }
    /// The lower-right corner, (x + width, y + height): of pixels, the first beyond the region.
    constexpr Point lr() const { return Point(x_ + width_, y_ + height_); }

    /// Equal corners and extents, exactly.
    friend constexpr bool operator==(const rxRectangle&, const rxRectangle&) = default;

  private:
    T x_ = T();
    T y_ = T();
    T width_ = T();
    T height_ = T();
};
