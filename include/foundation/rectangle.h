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
    using Point = std::conditional_t<std::is_floating_point_v<T>, rxVector<2>, rxPair<T>>;

    /// An empty rectangle at the origin.
    constexpr rxRectangle() = default;
    constexpr rxRectangle(T x, T y, T width, T height)
        : x_(x), y_(y), width_(width), height_(height) {}
    /// The rectangle between two corners: width lr.x - ul.x, height lr.y - ul.y.
    constexpr rxRectangle(const Point& ul, const Point& lr)
        : rxRectangle(ul.x(), ul.y(), lr.x() - ul.x(), lr.y() - ul.y()) {}

    constexpr T x() const { return x_; }
    constexpr T y() const { return y_; }
    constexpr T width() const { return width_; }
    constexpr T height() const { return height_; }

    constexpr Point ul() const { return Point(x_, y_); }
    constexpr Point lr() const { return Point(x_ + width_, y_ + height_); }

    friend constexpr bool operator==(const rxRectangle&, const rxRectangle&) = default;

  private:
    T x_ = T();
    T y_ = T();
    T width_ = T();
    T height_ = T();
};
