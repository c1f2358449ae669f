#pragma once

#include <cstdint>
#include <vector>

namespace ptmatch::detail {

/// Takes the long empty stretches out of one axis of an image, and puts the translations of a
/// window that were found without them back.
///
/// A stretch between two occupied coordinates a < b in which the window fits (b - a > window) is
/// cut down to window - 1 empty coordinates, as is one at either end of the axis, where a is -1 or
/// b is the length. Then
/// 1. a translation whose window holds an occupied coordinate sees, coordinate for coordinate, the
///    same as its original: no window reached over the stretch before, and none does now.
/// 2. `opened` maps those translations one to one and in order: the window holds a, or one before
///    it, up to the translation a, and holds b from the translation right after that on.
/// Only translations with nothing in their window are lost, so this serves a search that cannot
/// find those. Without any occupied coordinate no translation is left.
class AxisClosing {
  public:
    /// Closes nothing.
    explicit AxisClosing(std::int64_t length) : length_(length) {}

    /// @param occupied  the occupied coordinates in ascending order, within [0, length).
    /// @param window    coordinates that the window covers, at least 1.
    AxisClosing(const std::vector<std::int64_t>& occupied, std::int64_t length,
                std::int64_t window);

    /// The length that is left.
    std::int64_t length() const { return length_; }

    /// Where an occupied coordinate has moved to.
    std::int64_t closed(std::int64_t coordinate) const {
        return cuts_.empty() ? coordinate : coordinate - removedBefore(coordinate);
    }

    /// Where a translation of the closed axis is on the original one.
    std::int64_t opened(std::int64_t translation) const;

  private:
    std::int64_t removedBefore(std::int64_t coordinate) const;

    struct Cut {
        std::int64_t original;  // the occupied coordinate before the stretch, or -1
        std::int64_t closed;    // the same after all cuts before this one,
        std::int64_t removed;   // and what this cut and all before it have removed
    };

    std::int64_t length_;
    std::vector<Cut> cuts_;
};

}  // namespace ptmatch::detail
