#include "raster_picture.h"

#include <png.h>

#include <algorithm>
#include <cmath>

#include "input_error.h"

namespace ptmatch::tool {
namespace {

std::uint8_t mixed(std::uint8_t under, std::uint8_t over, double share) {
    return static_cast<std::uint8_t>(std::lround(under + share * (over - under)));
}

// Whole numbers from low to high that are indices of a row of `size`.
struct Indices {
    std::size_t first, end;

    Indices(double low, double high, std::size_t size) {
        const auto within = [size](double v) {
            return static_cast<std::size_t>(std::clamp(v, 0.0, static_cast<double>(size)));
        };
        first = within(std::floor(low));
        end = within(std::ceil(high) + 1.0);
    }
};

}  // namespace

void RasterPicture::ring(double x, double y, double radius, double thickness, const Rgb& colour) {
    const double reach = radius + thickness;
    const Indices columns(x - reach, x + reach, width_);
    const Indices rows(y - reach, y + reach, height_);
    for (std::size_t row = rows.first; row < rows.end; ++row) {
        for (std::size_t column = columns.first; column < columns.end; ++column) {
            const double distance = std::hypot(static_cast<double>(column) + 0.5 - x,
                                               static_cast<double>(row) + 0.5 - y);
            const double covered =
                std::clamp(0.5 + thickness / 2.0 - std::abs(distance - radius), 0.0, 1.0);
            Rgb& pixel = at(column, row);
            pixel = {mixed(pixel.red, colour.red, covered),
                     mixed(pixel.green, colour.green, covered),
                     mixed(pixel.blue, colour.blue, covered)};
        }
    }
}

std::string pngBytes(const RasterPicture& picture) {
    static_assert(sizeof(Rgb) == 3);
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(picture.width());
    image.height = static_cast<png_uint_32>(picture.height());
    image.format = PNG_FORMAT_RGB;
    std::string bytes;
    png_alloc_size_t size = 0;
    const void* const pixels = picture.pixels().data();
    // The first call tells the size only.
    for (const bool writes : {false, true}) {
        void* const target = writes ? bytes.data() : nullptr;
        if (png_image_write_to_memory(&image, target, &size, 0, pixels, 0, nullptr) == 0) {
            throw InputError(std::string("a PNG picture cannot be made: ") + image.message);
        }
        bytes.resize(size);
    }
    return bytes;
}

}  // namespace ptmatch::tool
