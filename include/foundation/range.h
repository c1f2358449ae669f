#pragma once

#include <cstdint>

#include "foundation/angle.h"
#include "foundation/export.h"

/// Names shared by the ranges of numbers and of angles.
class PTMATCH_EXPORT rxRangeDefs {
  public:
    /// The kind of a range. The values are recorded in archives.
    enum Range : std::int32_t {
        Normal = 0,  ///< from start to end, both included
        Empty = 1,   ///< holds nothing
        Full = 2     ///< holds everything
    };
};

/// A closed range of numbers.
///
/// Only a `Normal` range has bounds of its own: an empty one reports 0 and 0, a full one minus and
/// plus infinity, and therefore all ranges of one of these kinds are equal. A `Normal` range whose
/// start lies above its end, or which has a not-a-number for a bound, is allowed and holds nothing.
class PTMATCH_EXPORT rxRange {
  public:
    /// An empty range.
    rxRange() = default;
    /// The `Normal` range from start to end; rxRange(0.0, 0.0) holds the number 0 alone.
    rxRange(double start, double end);

    /// The range that holds everything, with infinite bounds.
    static rxRange FullRange();
    /// The range of that kind, as read from a record; start and end count for `Normal` only.
    /// A kind outside the enumeration gives an empty range.
    static rxRange fromKind(rxRangeDefs::Range kind, double start, double end);

    /// The lower bound: 0 of an empty range, minus infinity of a full one.
    double start() const { return start_; }
    /// The upper bound: 0 of an empty range, infinity of a full one.
    double end() const { return end_; }
    /// The kind.
    rxRangeDefs::Range range() const { return kind_; }

    /// `Normal`: start <= v <= end, exactly, so that a not-a-number lies within none.
    /// `Full`: always true, whatever v is. `Empty`: always false.
    bool isWithin(double v) const;

    /// Equal kinds, and equal bounds where both are `Normal`.
    friend bool operator==(const rxRange&, const rxRange&) = default;

  private:
    double start_ = 0.0;
    double end_ = 0.0;
    rxRangeDefs::Range kind_ = rxRangeDefs::Empty;
};

/// A range of angles, from a start up to an end.
///
/// The bounds are kept as given: 170 to 190 degrees stays that. What lies within is asked modulo a
/// full turn. An empty range reports 0 and 0 as its bounds, a full one -180 and +180 degrees.
class PTMATCH_EXPORT rxAngleRange {
  public:
    /// An empty range.
    rxAngleRange() = default;
    /// The `Normal` range from start up to end. One with its start above its end holds nothing,
    /// one that is a full turn or longer holds every finite angle.
    /// @param start, end  the bounds, kept as given, in whatever turn they lie.
    /// @param reserved  has no effect; true and false give the same range.
    rxAngleRange(rxRadian start, rxRadian end, bool reserved = false);

    /// The range that holds every angle, from -180 to +180 degrees.
    static rxAngleRange FullRange();
    /// The range of that kind, as read from a record; start and end count for `Normal` only.
    /// A kind outside the enumeration gives an empty range.
    static rxAngleRange fromKind(rxRangeDefs::Range kind, rxRadian start, rxRadian end);

    /// The bound from which the range leads in the positive direction; 0 of an empty range.
    rxRadian start() const { return start_; }
    /// The bound up to which it leads; 0 of an empty range.
    rxRadian end() const { return end_; }
    /// The kind.
    rxRangeDefs::Range range() const { return kind_; }

    /// Half-way from start to end, (start + end) / 2.
    rxRadian middle() const { return rxRadian((start_.toDouble() + end_.toDouble()) / 2.0); }
    /// end - start: negative when the start lies above the end, a full turn for a full range.
    rxRadian length() const { return rxRadian(end_.toDouble() - start_.toDouble()); }

    /// Whether the angle, or the angle turned by whole turns, lies in the range: -179 degrees lies
    /// within 170 to 190. An angle between start and end as it stands is compared exactly; after a
    /// turn the limits are sharp to a rounding error. Not-a-number lies within no `Normal` range.
    /// `Full`: always true, whatever the angle is. `Empty`: always false.
    bool isWithin(rxRadian angle) const;

    /// Equal kinds, and equal bounds where both are `Normal`. The bounds are compared as numbers:
    /// ranges a full turn apart differ.
    friend bool operator==(const rxAngleRange&, const rxAngleRange&) = default;

  private:
    rxRadian start_;
    rxRadian end_;
    rxRangeDefs::Range kind_ = rxRangeDefs::Empty;
};
