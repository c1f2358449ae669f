#include <string>
#include <utility>
#include <vector>

#include "drawing.h"
#include "foundation/image.h"
#include "pictures.h"
#include "ptmatch/ppmatch.h"

namespace ptmatch::guide {
namespace {

using Image = rxPelBuffer<unsigned char>;
constexpr long kSide = 7;
constexpr double kCell = 24.0;

Image markedPlate() {
    Image plate(kSide, kSide, 1);
    for (long y = 0; y < kSide; ++y) {
        for (long x = 0; x < kSide; ++x) plate.put(x, y, 1);
    }
    for (const auto& [x, y] : {std::pair(1L, 1L), std::pair(2L, 1L), std::pair(1L, 3L)}) {
        plate.put(x, y, 0);
    }
    return plate;
}

// The way of lying of a number: 0 to 3 quarter turns, 4 to 7 the same of the mirror image.
Image lying(const Image& plate, int way) {
    Image image(kSide, kSide, 1);
    for (long y = 0; y < kSide; ++y) {
        for (long x = 0; x < kSide; ++x) {
            rxPair<long> p(way < 4 ? x : kSide - 1 - x, y);
            for (int turn = 0; turn < way % 4; ++turn) p = {kSide - 1 - p.y(), p.x()};
            image.put(p.x(), p.y(), plate.get(x, y));
        }
    }
    return image;
}

// The dots of the photographed plate less three, as they are seen in a mirror.
Points mirroredDots() {
    const Points all = pointsOf("dots7x7/data");
    Points dots;
    for (std::size_t k = 0; k < all.size(); ++k) {
        if (k != 67 && k != 75 && k != 49) dots.emplace_back(639.0 - all[k].x(), all[k].y());
    }
    return dots;
}

double coverageOf(const Image& image, const Points& dots) {
    const double limit = rxRadian(rxDegree(47)).toDouble();
    rxPointMatcherRunParams params(0.6);
    params.scaleUncertainty(rxRange(-0.2, 0.2));
    params.rotationUncertainty(rxAngleRange(rxRadian(-limit), rxRadian(limit)));
    Image trained = image;
    trained.clientFromImageXform(rxXform<2>(rxMatrix<2>(27, 0, 0, 27), rxVector<2>(0, 0)));
    rxPointMatcher matcher;
    matcher.train(trained);
    rxPointMatcherResultSet found;
    matcher.run(dots, params, found);
    return found.results().empty() ? 0.0 : found.results().front().coverage();
}

void drawPlate(Page& page, const rxVector<2>& corner, const Image& image, bool isRight) {
    SvgCanvas& canvas = page.canvas();
    canvas.rectangle(corner, kSide * kCell, kSide * kCell,
                     {{"fill", "#ffffff"},
                      {"stroke", isRight ? tool::kOrange : tool::kFrameLine},
                      {"stroke-width", isRight ? "3" : "1"}});
    for (long y = 0; y < kSide; ++y) {
        for (long x = 0; x < kSide; ++x) {
            const rxVector<2> at = corner + rxVector<2>((static_cast<double>(x) + 0.5) * kCell,
                                                        (static_cast<double>(y) + 0.5) * kCell);
            if (image.get(x, y) != 0) {
                canvas.circle(at, 5.5, {{"fill", isRight ? tool::kOrange : tool::kBlue}});
            }
        }
    }
}

}  // namespace

std::string waysOfLying() {
    const Image plate = markedPlate();
    const Points dots = mirroredDots();
    Page page(900, 510);
    page.title(rxVector<2>(40, 32), "One plate, eight ways of lying; the data are the fifth");
    for (int way = 0; way < 8; ++way) {
        const Image image = lying(plate, way);
        const double coverage = coverageOf(image, dots);
        const rxVector<2> corner(40.0 + 216.0 * (way % 4), way < 4 ? 50.0 : 280.0);
        drawPlate(page, corner, image, coverage == 1.0);
        page.text(corner + rxVector<2>(0, kSide * kCell + 20),
                  std::string(way < 4 ? "" : "mirrored, ") + "turned " +
                      std::to_string(90 * (way % 4)) + "\u00b0");
        page.text(corner + rxVector<2>(0, kSide * kCell + 39),
                  "coverage " + fixed(100.0 * coverage, 1) + " %", 14,
                  coverage == 1.0 ? tool::kOrange : tool::kFaintInk);
    }
    return page.finished();
}

}  // namespace ptmatch::guide
