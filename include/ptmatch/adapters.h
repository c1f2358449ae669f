#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <limits>
#include <ranges>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "foundation/vector.h"

// Hosts keep their own point types: these templates take them to the library's and back. An
// addition beside the matcher, and header-only: what is not included is not compiled, and no type
// of another library is named here.
//
//     std::vector<cv::Point2f> centres = ...;
//     matcher.train(rfPoints(centres), rxPointMatcherDefs::eAutoDetect);
//
//     struct Dot { float x, y; };
//     matcher.run(rfPoints(std::span<const Dot>(dots, numDots)), params, found);
//
//     const auto hole = rfPointAs<Eigen::Vector2d>(pose * rfPoint(holeInModel));

namespace ptmatch::detail {

/// A data member z, which would be lost.
template <class P>
concept HasZMember = requires(const P& p) {
    static_cast<double>(p.z);
};

/// Data members x and y.
template <class P>
concept HasXyMembers = !HasZMember<P> && requires(const P& p) {
    static_cast<double>(p.x);
    static_cast<double>(p.y);
};

/// Member functions x() and y().
template <class P>
concept HasXyFunctions = requires(const P& p) {
    static_cast<double>(p.x());
    static_cast<double>(p.y());
};

/// Elements [0] and [1] that are numbers.
template <class P>
concept HasTwoElements = !std::is_pointer_v<P> && requires(const P& p) {
    static_cast<double>(p[0]);
    static_cast<double>(p[1]);
};

/// False for what says that it has another number of coordinates than 2: arrays and tuples,
/// vectors with a number SizeAtCompileTime, or with numbers rows and cols, and other types with a
/// function z(). (Some of those with a number declare one for every size.)
template <class P>
constexpr bool mayHaveTwoCoordinates() {
    if constexpr (std::is_array_v<P>) {
        return std::extent_v<P> == 2;
    } else if constexpr (requires { std::tuple_size<P>::value; }) {
        return std::tuple_size<P>::value == 2;
    } else if constexpr (requires { P::SizeAtCompileTime; }) {
        return static_cast<long>(P::SizeAtCompileTime) == 2;
    } else if constexpr (requires { std::integral_constant<long, long{P::rows} * P::cols>(); }) {
        return long{P::rows} * P::cols == 2;
    } else {
        return !requires(const P& p) {
            static_cast<double>(p.z());
        };
    }
}

/// A coordinate in the type of the host: whole numbers are cut off, and beyond the range of their
/// type the nearest of it; not-a-number is 0.
template <class T>
constexpr T coordinateAs(double value) {
    if constexpr (std::is_integral_v<T>) {
        constexpr T kLow = std::numeric_limits<T>::lowest();
        constexpr T kHigh = std::numeric_limits<T>::max();
        if (value != value) return T{};
        // The highest of 64 bits rounds up to one beyond the range.
        if (value >= static_cast<double>(kHigh)) return kHigh;
        if (value <= static_cast<double>(kLow)) return kLow;
    }
    return static_cast<T>(value);
}

}  // namespace ptmatch::detail

/// What is a point of the plane to these templates: a type with data members x and y, or member
/// functions x() and y(), or elements [0] and [1], tried in this order, of numbers that convert to
/// double. Not a type that has a third coordinate and says so: a data member or a function z, or a
/// size.
template <class P>
concept rxPointLike = ptmatch::detail::mayHaveTwoCoordinates<P>() &&
    (ptmatch::detail::HasXyMembers<P> || ptmatch::detail::HasXyFunctions<P> ||
     ptmatch::detail::HasTwoElements<P>);

/// The point as the library takes it. Coordinates of other types than double are converted; whole
/// numbers beyond 2^53 are rounded.
template <rxPointLike P>
constexpr rxVector<2> rfPoint(const P& p) {
    if constexpr (ptmatch::detail::HasXyMembers<P>) {
        return {static_cast<double>(p.x), static_cast<double>(p.y)};
    } else if constexpr (ptmatch::detail::HasXyFunctions<P>) {
        return {static_cast<double>(p.x()), static_cast<double>(p.y())};
    } else {
        return {static_cast<double>(p[0]), static_cast<double>(p[1])};
    }
}

/// The points of a sequence: a vector, an array, a `std::span`, any range of a type above.
/// Cost linear; allocates what it returns.
template <std::ranges::input_range R>
requires rxPointLike<std::remove_cvref_t<std::ranges::range_reference_t<R>>>
    std::vector<rxVector<2>> rfPoints(R&& points) {
    std::vector<rxVector<2>> converted;
    if constexpr (std::ranges::sized_range<R>) {
        converted.reserve(static_cast<std::size_t>(std::ranges::size(points)));
    }
    for (auto&& p : points) converted.push_back(rfPoint(p));
    return converted;
}

/// A point of the library as one of the host's type. Members x and y are set, or elements, of a
/// value-initialised one; a type with functions only is made of {x, y}. Coordinates are converted
/// as by static_cast: floats are rounded, to whole numbers they are cut off. Of whole numbers, what
/// is beyond the range of their type becomes the nearest of it, and not-a-number 0.
template <rxPointLike P>
requires(!std::is_array_v<P>) constexpr P rfPointAs(const rxVector<2>& p) {
    using ptmatch::detail::coordinateAs;
    if constexpr (ptmatch::detail::HasXyMembers<P>) {
        P point{};
        point.x = coordinateAs<std::remove_cvref_t<decltype(point.x)>>(p.x());
        point.y = coordinateAs<std::remove_cvref_t<decltype(point.y)>>(p.y());
        return point;
    } else if constexpr (ptmatch::detail::HasXyFunctions<P>) {
        using Coordinate = std::remove_cvref_t<decltype(std::declval<const P&>().x())>;
        return P{coordinateAs<Coordinate>(p.x()), coordinateAs<Coordinate>(p.y())};
    } else {
        P point{};
        point[0] = coordinateAs<std::remove_cvref_t<decltype(point[0])>>(p.x());
        point[1] = coordinateAs<std::remove_cvref_t<decltype(point[1])>>(p.y());
        return point;
    }
}
