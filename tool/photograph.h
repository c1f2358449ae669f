#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/vector.h"

namespace ptmatch::tool {

/// A picture of pixels that results are drawn over.
struct Photograph {
    std::string file;
    long width = 0;
    long height = 0;
    /// The whole file as "data:image/...;base64,...".
    std::string dataUri;

    /// Where it lies among points that are pixels: pixels are centred at whole coordinates, (0, 0)
    /// is the centre of the upper left one.
    std::vector<rxVector<2>> corners() const;
    /// Whether a point lies on it.
    bool contains(const rxVector<2>& point) const;
};

/// The photograph in a PNG or JPEG file; its content tells which.
/// @throws InputError  it cannot be read, is no such file or a damaged one, or has more than 64 MiB
///                     or 100 million pixels.
Photograph readPhotograph(const std::string& path);

}  // namespace ptmatch::tool
