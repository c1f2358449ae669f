#include "ptmatch/gridcorr/bit_image.h"

namespace ptmatch::detail {

BitImage::BitImage(std::size_t width, std::size_t height)
    : width_(width),
      height_(height),
      stride_(height + kBitBlockRows - 1),
      words_(((width + 63) / 64 + 1) * stride_) {}

}  // namespace ptmatch::detail
