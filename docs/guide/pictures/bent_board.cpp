#include <string>

#include "drawing.h"
#include "pictures.h"
#include "ptmatch/ppmatch.h"

namespace ptmatch::guide {
namespace {

constexpr double kCaptureRange = 0.6;  // mm

// The board seen from the side: its right edge lies farther away by the share `tilt`.
Points seenFromTheSide(const Points& board, double tilt) {
    Points seen;
    for (const rxVector<2>& p : board) {
        const double w = 1.0 + tilt * (p.x() - 1.874) / 54.276;
        seen.emplace_back(p.x() / w, p.y() / w);
    }
    return seen;
}

rxPointMatcherResult bestOf(const Points& board, const Points& seen) {
    rxPointMatcher matcher;
    matcher.train(board, rxPointMatcherDefs::eAutoDetect);
    rxPointMatcherRunParams params(0.0);
    params.scaleUncertainty(rxRange(-0.1, 0.02));
    params.autoCaptureRange(false);
    params.captureRange(kCaptureRange);
    rxPointMatcherResultSet found;
    matcher.run(seen, params, found);
    return found.results().at(0);
}

}  // namespace

std::string bentBoard() {
    const Points board = pointsOf("versa64/model");
    Page page(1140, 345);
    double x = 20.0;
    for (const double tilt : {0.03, 0.1, 0.2}) {
        const Points seen = seenFromTheSide(board, tilt);
        const rxPointMatcherResult best = bestOf(board, seen);
        Points matched;
        Points unmatched;
        for (std::size_t k = 0; k < board.size(); ++k) {
            (best.modelToDataMap()[k] >= 0 ? matched : unmatched)
                .push_back(best.modelToDataXform() * board[k]);
        }
        page.title(rxVector<2>(x, 28), "right edge " + fixed(100.0 * tilt, 0) + " % farther away");
        Plot plot(page, {x, 42.0, 352.0, 246.0}, board);
        plot.dots(seen, 2.6, tool::kBlue);
        plot.rings(matched, kCaptureRange * plot.scale(), tool::kGreen);
        plot.rings(unmatched, kCaptureRange * plot.scale(), tool::kOrange);
        page.text(rxVector<2>(x, 312), std::to_string(matched.size()) + " of " +
                                           std::to_string(board.size()) + " points matched");
        x += 372.0;
    }
    page.text(rxVector<2>(20, 334),
              "dots: the board as it is seen; rings: the model, placed, as large as the capture "
              "range; orange: no partner",
              13, tool::kFaintInk);
    return page.finished();
}

}  // namespace ptmatch::guide
