#include "ptmatch/label_image.h"

#include "foundation/image_functions.h"
#include "ptmatch/block_pixels.h"
#include "ptmatch/search_grid.h"

namespace ptmatch::detail {

LabelImage::LabelImage(const SearchGrid& grid, Extent extent)
    : width_(grid.width), height_(grid.height) {
    if (grid.data.size() <= kMaxShortLabels) {
        labels_ = draw_<unsigned short>(grid, extent);
    } else {
        labels_ = draw_<std::uint32_t>(grid, extent);
    }
}

template <class Label>
rxPelBuffer<Label> LabelImage::draw_(const SearchGrid& grid, Extent extent) const {
    rxPelBuffer<Label> labels(width_, height_, kRowAlignment);
    rfPelClear(labels);
    Label label = 0;
    for (const rxVector<2>& d : grid.data) {
        ++label;
        const rxPair<long> pixel = pixelOf(grid.imageFromModel * d);
        const auto set = [&](long x, long y) { labels.pointToRow(y)[x] = label; };
        if (extent == Extent::Block) {
            forEachBlockPixel(pixel, width_, height_, set);
        } else if (pixel.x() >= 0 && pixel.x() < width_ && pixel.y() >= 0 && pixel.y() < height_) {
            set(pixel.x(), pixel.y());
        }
    }
    return labels;
}

long LabelImage::dataIndexAt(long x, long y) const {
    if (x < 0 || x >= width_ || y < 0 || y >= height_) return -1;
    return std::visit(
        [&](const auto& image) { return static_cast<long>(image.pointToRow(y)[x]) - 1; }, labels_);
}

}  // namespace ptmatch::detail
