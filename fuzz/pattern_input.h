#pragma once

#include <cstdint>

#include "foundation/image.h"
#include "fuzz_input.h"

namespace ptmatch::fuzz {

/// An image of marks, a byte for each row: for widths of up to 8.
inline rxPelBuffer<unsigned char> markImage(FuzzInput& input, long width, long height) {
    rxPelBuffer<unsigned char> image(width, height, 1);
    for (long y = 0; y < height; ++y) {
        const std::uint8_t row = input.byte();
        for (long x = 0; x < width; ++x) {
            image.pointToRow(y)[x] = static_cast<unsigned char>(row >> x & 1U);
        }
    }
    return image;
}

}  // namespace ptmatch::fuzz
