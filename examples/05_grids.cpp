// Dots of a plate: which of them has which column and row.
//
// Two ways. The mapping needs the spacing only and places whatever lies on a grid; positions are
// known up to a shift. The grid mode of the matcher knows the pattern of the plate, too, and says
// which dot of the plate each of them is.
#include <ptmatch/fit_residual.h>
#include <ptmatch/perspective_fit.h>
#include <ptmatch/ppmatch.h>
#include <ptmatch/ptgdmap.h>

#include <algorithm>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "points_file.h"

namespace {

using Position = std::pair<long, long>;  // column and row

/// The largest group of positions that are joined by neighbours, above, below, left and right.
std::set<Position> largestGroup(std::set<Position> left) {
    std::set<Position> largest;
    while (!left.empty()) {
        std::set<Position> group;
        std::vector<Position> open = {*left.begin()};
        while (!open.empty()) {
            const auto [x, y] = open.back();
            open.pop_back();
            if (left.erase({x, y}) == 0) continue;
            group.insert({x, y});
            open.insert(open.end(), {{x - 1, y}, {x + 1, y}, {x, y - 1}, {x, y + 1}});
        }
        if (group.size() > largest.size()) largest = group;
    }
    return largest;
}

/// A board of 7 x 7 dots is held in a room; a detector found its 49 dots and 42 other blobs.
void placeDots() {
    const std::vector<rxVector<2>> blobs = readPoints("data/dots7x7/data.csv");

    // The steps from a column and a row to the next, roughly, in pixels: lengths to 20 percent and
    // directions to 20 degrees unless told otherwise.
    const rxPtToGridMapRunParams params(rxVector<2>(24, -13), rxVector<2>(13, 24));
    rxPtToGridMapResult grid;
    const long numPlaced = rfPtToGridMap(blobs, params, grid);
    std::cout << numPlaced << " of " << blobs.size() << " blobs lie at a node of the grid\n";

    // The grid goes on beyond the plate, and blobs of the room lie near a node of it by chance.
    // Those of the plate hang together.
    std::map<Position, rxVector<2>> blobAt;
    std::set<Position> taken;
    for (std::size_t k = 0; k < blobs.size(); ++k) {
        const rxPair<long> at = grid.map()[k];
        if (at.x() == rxPtToGridMapResult::kUnassigned) continue;
        blobAt[{at.x(), at.y()}] = blobs[k];
        taken.insert({at.x(), at.y()});
    }
    const std::set<Position> plate = largestGroup(taken);
    if (plate.empty()) throw std::runtime_error("no grid");

    // Positions may be negative: which dot becomes (0, 0) is up to the mapping. Count from the
    // first column and row of the plate.
    const long firstColumn = plate.begin()->first;
    const long firstRow = std::min_element(plate.begin(), plate.end(), [](auto& a, auto& b) {
                              return a.second < b.second;
                          })->second;
    std::vector<rxVector<2>> nodes;
    std::vector<rxVector<2>> dots;
    for (const Position& at : plate) {
        nodes.emplace_back(rxPair<long>(at.first - firstColumn, at.second - firstRow));
        dots.push_back(blobAt[at]);
    }
    std::cout << dots.size() << " of them hang together\n";

    // Pairs of a node and a dot are what calibrations start from. A plate that is held obliquely
    // needs a perspective transform; the mapping's own is affine.
    const rx2PtMatchTm affine(nodes, dots, 6);
    const rx2PTm perspective = rfFitPerspectiveNormalized(nodes, dots);
    const rxVector<2> middle = perspective.a2b(rxVector<2>(3, 3));
    std::cout << "an affine transform leaves " << rfFitResidual(affine, nodes, dots).rms
              << " pixels, a perspective one " << rfFitResidual(perspective, nodes, dots).rms
              << "\nthe middle of the plate is seen at (" << middle.x() << ", " << middle.y()
              << ")\n";
}

/// The rows of a pattern file as an image: 1 where there is a dot.
rxPelBuffer<unsigned char> readPattern(const std::string& path) {
    std::ifstream file(path);
    if (!file) throw std::runtime_error(path + ": cannot be opened");
    std::vector<std::string> rows;
    for (std::string row; std::getline(file, row);) rows.push_back(row);
    rxPelBuffer<unsigned char> image(static_cast<long>(rows.at(0).size()),
                                     static_cast<long>(rows.size()), 1);
    for (long y = 0; y < image.height(); ++y) {
        const std::string& row = rows[static_cast<std::size_t>(y)];
        for (long x = 0; x < image.width(); ++x) {
            image.put(x, y, row.at(static_cast<std::size_t>(x)) == 'x' ? 1 : 0);
        }
    }
    return image;
}

/// A sheet with dots on every other position of 5 columns and 10 rows, before a bookshelf.
void findAPattern() {
    rxPelBuffer<unsigned char> sheet = readPattern("data/dots_staggered/pattern.txt");
    // From pixels of the pattern to data: one column is the step (18, 3), one row (-4, 17).
    sheet.clientFromImageXform(rxXform<2>(rxMatrix<2>(18, -4, 3, 17), rxVector<2>(0, 0)));
    rxPointMatcher matcher;
    matcher.train(sheet);  // training on an image chooses grid mode

    rxPointMatcherRunParams params(0.9);
    // In grid mode this is the tolerance of the steps. The default, (0, 0), finds exact ones only,
    // which measured points never have.
    params.scaleUncertainty(rxRange(-0.2, 0.2));
    const std::vector<rxVector<2>> blobs = readPoints("data/dots_staggered/data.csv");
    rxPointMatcherResultSet found;
    matcher.run(blobs, params, found);
    if (found.results().empty()) throw std::runtime_error("the sheet is not found");

    const rxPointMatcherResult& best = found.results().front();
    std::cout << 100 * best.coverage() << " percent of the sheet among " << blobs.size()
              << " blobs; its dots, line by line of the pattern:\n";
    const rxPelBuffer<unsigned char>& pattern = matcher.pattern();
    for (long y = 0; y < pattern.height(); ++y) {
        for (long x = 0; x < pattern.width(); ++x) {
            const long blob = best.gridToDataMap({x, y});  // -1: no dot here
            std::cout << std::setw(4) << (blob < 0 ? "." : std::to_string(blob));
        }
        std::cout << '\n';
    }
}

}  // namespace

int main() {
    std::cout << std::fixed << std::setprecision(2);
    placeDots();
    std::cout << '\n' << std::setprecision(0);
    findAPattern();
}

// Prints:
//
//     54 of 91 blobs lie at a node of the grid
//     49 of them hang together
//     an affine transform leaves 0.97 pixels, a perspective one 0.55
//     the middle of the plate is seen at (272.33, 252.08)
//
//     100 percent of the sheet among 85 blobs; its dots, line by line of the pattern:
//        .  24   .  17   .
//       62   .  16   .  51
//        .  50   .  23   .
//       49   .  13   .  22
//        .  21   .  12   .
//       29   .  44   .  28
//        .  11   .  20   .
//        4   .  10   .   9
//        .  43   .   8   .
//        7   .  19   .   3
