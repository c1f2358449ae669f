// Grids: dots to columns and rows, a staggered pattern, a plate that lies any way round.
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "ptmatch/matched_pairs.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/ptgdmap.h"
#include "read_points.h"

namespace {

void require(bool holds, const std::string& what) {
    if (!holds) throw std::runtime_error("does not hold: " + what);
}

// [pattern]
using Image = rxPelBuffer<unsigned char>;

Image patternOf(const std::vector<std::string>& rows) {
    Image image(static_cast<long>(rows.front().size()), static_cast<long>(rows.size()), 1);
    for (long y = 0; y < image.height(); ++y) {
        const std::string& row = rows[static_cast<std::size_t>(y)];
        for (long x = 0; x < image.width(); ++x) {
            image.put(x, y, row[static_cast<std::size_t>(x)] == 'x' ? 1 : 0);
        }
    }
    return image;
}
// [pattern]

rxAngleRange degrees(double low, double high) {
    return {rxRadian(rxDegree(low)), rxRadian(rxDegree(high))};
}

void mapAPlate() {
    // [map]
    const std::vector<rxVector<2>> points = readPoints("data/dots7x7/data.csv");
    const rxPtToGridMapRunParams params(rxVector<2>(24, -13), rxVector<2>(13, 24));  // pixels
    rxPtToGridMapResult grid;
    rfPtToGridMap(points, params, grid);
    const auto isPlaced = [&](std::size_t k) {
        return grid.map()[k].x() != rxPtToGridMapResult::kUnassigned;
    };
    if (!isPlaced(73) || !isPlaced(57)) throw std::runtime_error("clutter");
    const rxPair<long> step = grid.map()[57] - grid.map()[73];
    std::cout << "from point 73 to point 57: " << step.x() << " columns, " << step.y() << " rows\n";
    // [map]
    require(grid.valid(), "the plate is found");
    require(step == rxPair<long>(1, 0), "the next dot is one column further");
}

void matchStaggered() {
    // [staggered]
    const Image pattern = patternOf({".x.x.", "x.x.x", ".x.x.", "x.x.x", ".x.x.",  //
                                     "x.x.x", ".x.x.", "x.x.x", ".x.x.", "x.x.x"});
    Image sheet = pattern;
    sheet.clientFromImageXform(  // a column is (18, 3) pixels, a row (-4, 17)
        rxXform<2>(rxMatrix<2>(18, -4, 3, 17), rxVector<2>(0, 0)));
    rxPointMatcher matcher;
    matcher.train(sheet);

    rxPointMatcherRunParams params(0.9);          // nine tenths of the dots at least
    params.scaleUncertainty(rxRange(-0.2, 0.2));  // steps to within 20 percent
    const std::vector<rxVector<2>> blobs = readPoints("data/dots_staggered/data.csv");
    rxPointMatcherResultSet found;
    matcher.run(blobs, params, found);
    const long dot = found.results().at(0).gridToDataMap({3, 0});  // column 3, row 0
    // [staggered]
    std::cout << "coverage " << found.results().front().coverage()
              << ", column 3 of row 0 is point " << dot << '\n';
    require(found.results().front().coverage() == 1.0, "the whole sheet is found");

    // With the default scale uncertainty nothing is.
    params.scaleUncertainty(rxRange(0.0, 0.0));
    matcher.run(blobs, params, found);
    require(found.results().empty(), "exact steps only find nothing");
}

// [turn]
Image turnedByAQuarter(const Image& image) {
    Image turned(image.height(), image.width(), 1);
    for (long y = 0; y < image.height(); ++y) {
        for (long x = 0; x < image.width(); ++x) {
            turned.put(image.height() - 1 - y, x, image.get(x, y));
        }
    }
    return turned;
}

Image mirrored(const Image& image) {
    Image other(image.width(), image.height(), 1);
    for (long y = 0; y < image.height(); ++y) {
        for (long x = 0; x < image.width(); ++x) {
            other.put(image.width() - 1 - x, y, image.get(x, y));
        }
    }
    return other;
}
// [turn]

// The dots of a photograph of the plate with three marks: those of a plate without any, less three,
// as they would be seen in a mirror.
std::vector<rxVector<2>> markedPlateInAMirror() {
    std::vector<rxVector<2>> dots;
    const std::vector<rxVector<2>> all = readPoints("data/dots7x7/data.csv");
    for (std::size_t k = 0; k < all.size(); ++k) {
        const bool isMark = k == 67 || k == 75 || k == 49;  // (1, 1), (2, 1), (1, 3)
        if (!isMark) dots.emplace_back(639.0 - all[k].x(), all[k].y());
    }
    return dots;
}

void tellHowItLies() {
    const std::vector<rxVector<2>> dots = markedPlateInAMirror();
    int best = -1;
    double bestCoverage = 0.0;
    double nextCoverage = 0.0;
    // [ways]
    Image image = patternOf({"xxxxxxx",  //
                             "x..xxxx",  //
                             "xxxxxxx",  //
                             "x.xxxxx",  //
                             "xxxxxxx",  //
                             "xxxxxxx",  //
                             "xxxxxxx"});
    rxPointMatcherRunParams params(0.6);
    params.scaleUncertainty(rxRange(-0.2, 0.2));
    params.rotationUncertainty(degrees(-47, 47));  // an eighth of a turn, and two degrees
    for (int way = 0; way < 8; ++way) {            // four turns, then four in the mirror
        image.clientFromImageXform(rxXform<2>(rxMatrix<2>(27, 0, 0, 27), rxVector<2>(0, 0)));
        rxPointMatcher matcher;
        matcher.train(image);
        rxPointMatcherResultSet found;
        matcher.run(dots, params, found);
        const double coverage = found.results().empty() ? 0.0 : found.results()[0].coverage();
        std::cout << (way < 4 ? "turned " : "mirrored, turned ") << way % 4 << ": " << coverage
                  << '\n';
        image = turnedByAQuarter(image);
        if (way == 3) image = mirrored(image);
        // [ways]
        if (coverage > bestCoverage) {
            nextCoverage = bestCoverage;
            bestCoverage = coverage;
            best = way;
        } else if (coverage > nextCoverage) {
            nextCoverage = coverage;
        }
    }
    require(best == 4 && bestCoverage == 1.0, "the plate is seen in a mirror, and not turned");
    require(nextCoverage < 0.96, "no other way of lying covers the pattern");
}

}  // namespace

int main() try {
    mapAPlate();
    matchStaggered();
    tellHowItLies();
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
