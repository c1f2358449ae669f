#pragma once

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "foundation/geometry_archive.h"
#include "foundation/image.h"
#include "foundation/vector.h"
#include "foundation/xform.h"
#include "ptmatch/gridcorr.h"
#include "ptmatch/ppmatch.h"
#include "support/archive_bytes.h"

namespace ptmatch::testing {

/// A grid pattern as text, a string per row: '#' is a point, anything else is none.
using Picture = std::vector<std::string>;

/// The image of a picture, with pixels of 1 at its points.
inline rxPelBuffer<unsigned char> imageOf(const Picture& picture,
                                          const rxXform<2>& clientFromImage = rxXform<2>(),
                                          const rxPair<long>& offset = rxPair<long>()) {
    const long height = static_cast<long>(picture.size());
    const long width = picture.empty() ? 0 : static_cast<long>(picture.front().size());
    rxPelBuffer<unsigned char> image(width, height, 32);
    for (long y = 0; y < height; ++y) {
        const std::string& row = picture[static_cast<std::size_t>(y)];
        for (long x = 0; x < width; ++x) {
            image.put(x, y, row.at(static_cast<std::size_t>(x)) == '#' ? 1 : 0);
        }
    }
    image.offset(offset);
    image.clientFromImageXform(clientFromImage);
    return image;
}

/// The transform that takes the origin, (1, 0) and (0, 1) to the origin plus each step.
inline rxXform<2> gridOf(const rxVector<2>& xv, const rxVector<2>& yv,
                         const rxVector<2>& origin = rxVector<2>()) {
    return {rxMatrix<2>(xv.x(), yv.x(), xv.y(), yv.y()), origin};
}

/// Columns and rows of the points, row by row from the top, each from the left.
inline std::vector<rxPair<long>> positionsOf(const Picture& picture) {
    std::vector<rxPair<long>> positions;
    for (std::size_t y = 0; y < picture.size(); ++y) {
        for (std::size_t x = 0; x < picture[y].size(); ++x) {
            if (picture[y][x] == '#') {
                positions.emplace_back(static_cast<long>(x), static_cast<long>(y));
            }
        }
    }
    return positions;
}

/// Where the points of a picture lie in the data, in the order of `positionsOf`.
inline std::vector<rxVector<2>> dotsOf(const Picture& picture, const rxXform<2>& dataFromGrid) {
    std::vector<rxVector<2>> dots;
    for (const rxPair<long>& position : positionsOf(picture)) {
        dots.push_back(dataFromGrid * position);
    }
    return dots;
}

inline rxPointMatcher trainedOn(const rxPelBuffer_const<unsigned char>& image) {
    rxPointMatcher matcher;
    matcher.train(image);
    return matcher;
}

/// The parts of a matcher without a model of its own, taken from its record and put back into one.
struct GridParts {
    rx_PointToGridCorresponder corresponder;
    rxPointMatcher gridMatcher;
    rxXform<2> gridXform;
    long numGridPoints = 0;
    std::vector<rxPair<long>> gridPositions;

    static GridParts of(const rxPointMatcher& matcher) {
        const ByteVector bytes = stored(matcher);
        rxMemoryLoadArchive ar(bytes);
        unsigned long version = 0;
        long hasModel = 0;
        long hasCorresponder = 0;
        long hasGridMatcher = 0;
        GridParts parts;
        ar || version || hasModel || hasCorresponder || parts.corresponder || hasGridMatcher ||
            parts.gridMatcher || parts.gridXform || parts.numGridPoints || parts.gridPositions;
        EXPECT_EQ(std::pair(hasModel, hasCorresponder), std::pair(0L, 1L));
        EXPECT_EQ(hasGridMatcher, 1L);
        EXPECT_EQ(ar.bytesLeft(), 0U);
        return parts;
    }

    ByteVector record() const {
        return stored(200009UL, 0L, 1L, corresponder, 1L, gridMatcher, gridXform, numGridPoints,
                      gridPositions);
    }

    rxPointMatcher matcher() const { return loaded<rxPointMatcher>(record()); }
};

/// The map of a grid-mode result over the pattern's rectangle, row by row.
inline std::vector<long> mapOf(const rxPointMatcherResult& result, const rx_PelBuffer& pattern) {
    std::vector<long> map;
    for (long y = 0; y < pattern.height(); ++y) {
        for (long x = 0; x < pattern.width(); ++x) {
            map.push_back(result.gridToDataMap(rxPair<long>(x, y) + pattern.offset()));
        }
    }
    return map;
}

}  // namespace ptmatch::testing
