#include <algorithm>
#include <array>
#include <cstddef>

#include "foundation/image_functions.h"
#include "ptmatch/gridcorr.h"
#include "ptmatch/gridcorr/position_bounds.h"
#include "ptmatch/gridcorr/probe_marking.h"

namespace {

using Defs = rx_PointToGridCorresponderDefs;
namespace detail = ptmatch::detail;

constexpr long kRowAlignment = 32;
constexpr std::size_t kFewestPixels = 3;

/// The table that makes 1 of every pixel that is not 0.
constexpr std::array<unsigned char, 256> setTable() {
    std::array<unsigned char, 256> table{};
    std::fill(table.begin() + 1, table.end(), static_cast<unsigned char>(1));
    return table;
}

/// Columns and rows of the view between which its non-zero pixels lie, and their number.
struct SetPixels {
    std::size_t count = 0;
    long firstX = 0;
    long lastX = 0;
    long firstY = 0;
    long lastY = 0;

    void add(long x, long y) {
        if (count++ == 0) {
            firstX = lastX = x;
            firstY = y;
        }
        firstX = std::min(firstX, x);
        lastX = std::max(lastX, x);
        lastY = y;
    }
};

SetPixels setPixelsOf(const rxPelBuffer_const<unsigned char>& image) {
    SetPixels pixels;
    for (long y = 0; y < image.height(); ++y) {
        const unsigned char* row = image.pointToRow(y);
        for (long x = 0; x < image.width(); ++x) {
            if (row[x] != 0) pixels.add(x, y);
        }
    }
    return pixels;
}

/// The image of the positions, 1 at each of them, as large as their bounds.
rxPelBuffer<unsigned char> patternOf(const std::vector<rxPair<long>>& positions,
                                     const rxPelRect& bounds) {
    detail::requireImageSize(bounds.width() + 1, bounds.height() + 1);
    rxPelBuffer<unsigned char> pattern(bounds.width() + 1, bounds.height() + 1, kRowAlignment);
    rfPelClear(pattern);
    for (const rxPair<long>& p : positions) {
        pattern.pointToRow(p.y() - bounds.y())[p.x() - bounds.x()] = 1;
    }
    pattern.offset(bounds.ul());
    return pattern;
}

}  // namespace

void rx_PointToGridCorresponder::train(const rxPelBuffer_const<unsigned char>& image,
                                       const rx_PointToGridCorresponderTrainParams& params) {
    trainParams_ = params;
    const SetPixels pixels = setPixelsOf(image);
    if (pixels.count < kFewestPixels) throw Defs::InsufficientModelPoints();

    const rxPelRect bounds(image.offset() + rxPair<long>(pixels.firstX, pixels.firstY),
                           image.offset() + rxPair<long>(pixels.lastX, pixels.lastY));
    detail::requireIn32Bits(bounds);
    detail::requireImageSize(bounds.width() + 1, bounds.height() + 1);
    rxPelBuffer_const<unsigned char> part = image;
    part.window(pixels.firstX, pixels.firstY, bounds.width() + 1, bounds.height() + 1, false);
    static constexpr std::array<unsigned char, 256> kSetTable = setTable();
    adopt_(rfPelMap(part, kSetTable), bounds);
}

void rx_PointToGridCorresponder::train(const std::vector<rxPair<long>>& gridPoints,
                                       const rx_PointToGridCorresponderTrainParams& params,
                                       const rxXform<2>& clientFromGrid) {
    trainParams_ = params;
    if (gridPoints.empty()) throw Defs::InsufficientModelPoints();

    const rxPelRect bounds = detail::boundsOf(gridPoints);
    rxPelBuffer<unsigned char> pattern = patternOf(gridPoints, bounds);
    pattern.clientFromImageXform(clientFromGrid);
    adopt_(pattern, bounds);
}

void rx_PointToGridCorresponder::adopt_(const rxPelBuffer<unsigned char>& pattern,
                                        const rxPelRect& bounds) {
    probes_ = detail::probesOf(pattern, trainParams_);
    pattern_ = pattern;
    patternRect_ = bounds;
}
