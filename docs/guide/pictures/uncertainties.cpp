#include <cmath>
#include <stdexcept>

#include "pictures.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/run_cost.h"
#include "votes.h"

namespace ptmatch::guide {
namespace {

constexpr PageBox kLattice = {70.0, 44.0, 400.0, 260.0};
constexpr PageBox kPlaces = {500.0, 44.0, 400.0, 260.0};
/// As in a search, whose steps are computed with so many digits.
constexpr double kDegrees = 180.0 / 3.1415926;

rxVector<2> latticeAt(double degrees, double scale) {
    return {kLattice.x + kLattice.width * (0.5 + degrees / 385.0),
            kLattice.y + kLattice.height * (0.5 - (scale - 1.0) / 0.74)};
}

struct Lattice {
    std::vector<rxVector<2>> points;  ///< rotation in degrees, scale
};

/// The rotations and scales of a search, turned by up to `halfTurn` degrees either way, scaled by
/// up to `change`: steps of a cell and a half, and of two cells, at the rim of the model.
Lattice latticeOf(const Points& model, double cell, double halfTurn, double change) {
    const double radius = radiusOf(model);
    const double scaleStep = 1.5 * cell / radius;
    const auto scales = std::trunc((std::trunc(2.0 * change / scaleStep) + 1.0) / 2.0);
    Lattice lattice;
    // Added up as in a search, where rounding may leave out the last one.
    const double highest = 1.0 + scales * scaleStep;
    for (double scale = 1.0 - scales * scaleStep; scale <= highest; scale += scaleStep) {
        const double step = std::atan2(2.0 * cell, radius * scale) * kDegrees;
        const double end = step * (std::trunc(halfTurn / step) + 1.0);
        for (double turn = -end; turn <= end; turn += step) {
            lattice.points.emplace_back(turn, scale);
        }
    }
    return lattice;
}

/// The lattice, compared with what the library says of its own.
Lattice checkedLattice(const FoundCard& card, double halfTurn, double change) {
    rxPointMatcher matcher;
    matcher.train(card.model, rxPointMatcherDefs::eAutoDetect);
    rxPointMatcherRunParams params;
    params.rotationUncertainty(halfTurn < 180.0
                                   ? rxAngleRange(rxDegree(-halfTurn), rxDegree(halfTurn), false)
                                   : rxAngleRange::FullRange());
    params.scaleUncertainty(rxRange(-change, change));
    const rxRunCost cost = rfRunCost(matcher, card.data, params);
    Lattice lattice = latticeOf(card.model, cost.gridSize, halfTurn, change);
    if (std::ssize(lattice.points) != cost.numLatticePoints) {
        throw std::runtime_error("a lattice of " + std::to_string(lattice.points.size()) +
                                 ", not " + std::to_string(cost.numLatticePoints));
    }
    return lattice;
}

void drawAxes(Page& page) {
    page.canvas().rectangle(rxVector<2>(kLattice.x, kLattice.y), kLattice.width, kLattice.height,
                            {{"fill", "#ffffff"}, {"stroke", tool::kFrameLine}});
    for (const int degrees : {-180, -90, 0, 90, 180}) {
        page.text(rxVector<2>(latticeAt(degrees, 1.0).x(), kLattice.y + kLattice.height + 20),
                  std::to_string(degrees) + "\u00b0", 13, tool::kFaintInk, "middle");
    }
    for (const double scale : {0.7, 1.0, 1.3}) {
        page.text(rxVector<2>(kLattice.x - 8, latticeAt(0.0, scale).y() + 5), fixed(scale, 1), 13,
                  tool::kFaintInk, "end");
    }
    page.text(rxVector<2>(kLattice.x + kLattice.width / 2, kLattice.y + kLattice.height + 42),
              "rotation", 13, tool::kFaintInk, "middle");
    page.text(rxVector<2>(20, kLattice.y + 14), "scale", 13, tool::kFaintInk);
}

void drawPoints(Page& page, const Lattice& lattice, double radius, const char* colour) {
    const auto group = page.canvas().group({{"fill", colour}});
    for (const rxVector<2>& p : lattice.points) {
        page.canvas().circle(latticeAt(p.x(), p.y()), radius);
    }
}

}  // namespace

std::string uncertainties() {
    const FoundCard card = foundCard();
    Page page(920, 390);

    const Lattice wide = checkedLattice(card, 180.0, 0.3);
    const Lattice narrow = checkedLattice(card, 15.0, 0.0);
    page.title(rxVector<2>(kLattice.x, 28), "Rotations and scales that are tried");
    drawAxes(page);
    drawPoints(page, wide, 2.0, tool::kQuietGrey);
    drawPoints(page, narrow, 3.6, tool::kOrange);

    page.title(rxVector<2>(kPlaces.x, 28), "Places at each of them");
    Plot plot(page, kPlaces, card.data);
    plot.dots(card.data, 2.0, tool::kQuietGrey);
    const Points placed = mapped(card.pose, card.model);
    plot.outline(placed, tool::kOrange);
    plot.dots(placed, 2.4, tool::kOrange);
    const rxVector<2> middle = card.pose * centreOf(card.model);
    const rxVector<2> reach(30.0, 30.0);
    plot.rectangle(middle - reach, middle + reach,
                   {{"fill", "none"}, {"stroke", tool::kBlue}, {"stroke-width", "2"}});

    const double y = kLattice.y + kLattice.height + 70;
    const auto legend = [&](double x, const char* colour, const std::string& text) {
        page.canvas().circle(rxVector<2>(x + 5, y - 4), 4.0, {{"fill", colour}});
        page.text(rxVector<2>(x + 16, y), text, 13, tool::kFaintInk);
    };
    legend(kLattice.x - 50, tool::kOrange,
           "15\u00b0 either way: " + std::to_string(narrow.points.size()));
    legend(kLattice.x + 120, tool::kQuietGrey,
           "full turn, scale 0.7 to 1.3: " + std::to_string(wide.points.size()));
    page.canvas().rectangle(rxVector<2>(kPlaces.x, y - 10), 11, 11,
                            {{"fill", "none"}, {"stroke", tool::kBlue}, {"stroke-width", "2"}});
    page.text(rxVector<2>(kPlaces.x + 18, y), "30 px either way, for the middle of the model", 13,
              tool::kFaintInk);
    return page.finished();
}

}  // namespace ptmatch::guide
