#pragma once

#include <cstdint>
#include <string>

namespace ptmatch::tool {

struct Rgb {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
};

/// A scale of colours for values from 0 to 1, in the order that the eye sees: equal steps of the
/// value are equal steps of lightness, from nearly black over violet and red to light yellow. It
/// keeps its order for colour-blind eyes and on grey paper. Values outside are taken to the ends.
Rgb scaleColour(double value);

/// "#rrggbb"
std::string hexText(const Rgb& colour);

}  // namespace ptmatch::tool
