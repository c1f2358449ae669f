#include "pictures.h"
#include "votes.h"

namespace ptmatch::guide {
namespace {

constexpr double kSide = 290.0;
constexpr double kGap = 16.0;
constexpr double kTitleRoom = 36.0;

/// The points that lie near others: what the cut-out does not show is not drawn.
Points within(const Points& points, const rxVector<2>& middle, double reach) {
    Points near;
    for (const rxVector<2>& p : points) {
        if ((p - middle).len() < 2.0 * reach) near.push_back(p);
    }
    return near;
}

}  // namespace

std::string gridSize() {
    const FoundCard card = foundCard();
    const Points placed = mapped(card.pose, card.model);
    const rxVector<2> middle = centreOf(placed);
    constexpr double kReach = 112.0;
    const Points corners = {middle - rxVector<2>(kReach, kReach),
                            middle + rxVector<2>(kReach, kReach)};
    const Points near = within(card.data, middle, kReach);

    Page page(3 * kSide + 4 * kGap, kSide + kTitleRoom + 66);
    const auto draw = [&](int column, double cell, const std::string& verdict) {
        const double x = kGap + column * (kSide + kGap);
        Plot plot(page, {x, kTitleRoom, kSide, kSide}, corners);
        const double share = Votes(card.data, cell).markedShare();
        page.title(rxVector<2>(x, 24),
                   fixed(cell, 1) + " px: " + fixed(100.0 * share, 0) + " % of the cells marked");
        // The same grid as in a search: it begins at the outermost data points.
        drawMarks(page, plot, Votes(card.data, cell));
        plot.dots(near, 2.6, tool::kBlue);
        plot.rings(placed, 7.0, tool::kOrange);
        page.text(rxVector<2>(x, kTitleRoom + kSide + 20), verdict, 13, tool::kInk);
    };
    draw(0, 1.6, "fine: slow, and errors must be small");
    draw(1, 6.4, "about right: a quarter of the distances");
    draw(2, 25.6, "too coarse: the model fits anywhere");
    const double y = kTitleRoom + kSide + 50;
    page.canvas().circle(rxVector<2>(kGap + 6, y - 4), 2.6, {{"fill", tool::kBlue}});
    page.text(rxVector<2>(kGap + 18, y), "data point, with the nine cells that it marks", 13,
              tool::kFaintInk);
    page.canvas().circle(rxVector<2>(kGap + 356, y - 4), 6.0,
                         {{"fill", "none"}, {"stroke", tool::kOrange}, {"stroke-width", "1.8"}});
    page.text(rxVector<2>(kGap + 370, y), "model point, placed where the card lies", 13,
              tool::kFaintInk);
    return page.finished();
}

}  // namespace ptmatch::guide
