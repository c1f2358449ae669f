#include "photograph.h"

#include <png.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "base64.h"
#include "input_error.h"
#include "input_file.h"
#include "jpeg_check.h"
#include "png_file.h"

namespace ptmatch::tool {
namespace {

constexpr std::size_t kMostBytes = std::size_t{64} << 20;
constexpr std::uint64_t kMostPixels = 100'000'000;

void checkSize(const std::string& path, std::uint64_t width, std::uint64_t height) {
    if (width > 0 && height > 0 && width * height <= kMostPixels) return;
    throw InputError(path + ": a picture of " + std::to_string(width) + " x " +
                     std::to_string(height) + " pixels; at most 100 million can be used");
}

[[noreturn]] void failDamaged(const std::string& path, const std::string& reason) {
    throw InputError(path + ": a damaged picture: " + reason);
}

/// Reads all of it, for the size alone does not tell that it is whole.
void checkPng(const std::string& path, std::string_view bytes, Photograph& photograph) {
    if (bytes.find(kPngEnd) == std::string_view::npos) failDamaged(path, "it ends too early");
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&image, bytes.data(), bytes.size()) == 0) {
        failDamaged(path, image.message);
    }
    const std::uint32_t width = image.width;
    const std::uint32_t height = image.height;
    try {
        checkSize(path, width, height);
        image.format = PNG_FORMAT_GRAY;
        std::vector<std::uint8_t> pixels(PNG_IMAGE_SIZE(image));
        const png_color black{};
        if (png_image_finish_read(&image, &black, pixels.data(), 0, nullptr) == 0) {
            failDamaged(path, image.message);
        }
    } catch (...) {
        png_image_free(&image);
        throw;
    }
    photograph.width = static_cast<long>(width);
    photograph.height = static_cast<long>(height);
}

void checkJpeg(const std::string& path, std::string_view bytes, Photograph& photograph) {
    const JpegSize size = jpegSize(bytes);
    if (!size.fault.empty()) failDamaged(path, size.fault);
    checkSize(path, size.width, size.height);
    const std::string fault = jpegFault(bytes);
    if (!fault.empty()) failDamaged(path, fault);
    photograph.width = static_cast<long>(size.width);
    photograph.height = static_cast<long>(size.height);
}

bool beginsWith(std::string_view bytes, std::string_view start) {
    return bytes.substr(0, start.size()) == start;
}

}  // namespace

std::vector<rxVector<2>> Photograph::corners() const {
    return {{-0.5, -0.5}, {static_cast<double>(width) - 0.5, static_cast<double>(height) - 0.5}};
}

bool Photograph::contains(const rxVector<2>& point) const {
    const rxVector<2> low = corners().front();
    const rxVector<2> high = corners().back();
    return point.x() >= low.x() && point.x() <= high.x() && point.y() >= low.y() &&
           point.y() <= high.y();
}

Photograph readPhotograph(const std::string& path) {
    const std::string bytes = readInputFile(path, "a picture");
    if (bytes.size() > kMostBytes) {
        throw InputError(path + ": a picture of more than 64 MiB");
    }
    Photograph photograph;
    photograph.file = path;
    if (beginsWith(bytes, kPngStart)) {
        checkPng(path, bytes, photograph);
        photograph.dataUri = "data:image/png;base64," + base64Text(bytes);
    } else if (beginsWith(bytes, "\xff\xd8\xff")) {
        checkJpeg(path, bytes, photograph);
        photograph.dataUri = "data:image/jpeg;base64," + base64Text(bytes);
    } else {
        throw InputError(path + ": expected a picture in PNG or JPEG");
    }
    return photograph;
}

}  // namespace ptmatch::tool
