#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "colour_scale.h"

namespace ptmatch::tool {

/// A picture of coloured pixels, rows from top to bottom.
class RasterPicture {
  public:
    /// All black. Both sizes are above 0.
    RasterPicture(std::size_t width, std::size_t height)
        : width_(width), height_(height), pixels_(width * height) {}

    std::size_t width() const { return width_; }
    std::size_t height() const { return height_; }
    Rgb& at(std::size_t x, std::size_t y) { return pixels_[y * width_ + x]; }
    const Rgb& at(std::size_t x, std::size_t y) const { return pixels_[y * width_ + x]; }
    const std::vector<Rgb>& pixels() const { return pixels_; }

    /// A ring with soft edges; places are pixels from the upper left corner of the picture, parts
    /// outside are left out.
    void ring(double x, double y, double radius, double thickness, const Rgb& colour);

  private:
    std::size_t width_;
    std::size_t height_;
    std::vector<Rgb> pixels_;
};

/// The picture as a PNG file, the same bytes each time.
/// @throws InputError  it could not be made.
std::string pngBytes(const RasterPicture& picture);

}  // namespace ptmatch::tool
