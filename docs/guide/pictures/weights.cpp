#include "../snippets/plate.h"
#include "pictures.h"
#include "votes.h"

namespace ptmatch::guide {
namespace {

constexpr double kWidth = 290.0;
constexpr double kHeight = 240.0;
constexpr double kGap = 16.0;
constexpr double kTitleRoom = 36.0;

/// A panel that shows the plate at a pose.
Plot panel(Page& page, int column, const std::string& title, const rxXform<2>& pose) {
    const double x = kGap + column * (kWidth + kGap);
    page.title(rxVector<2>(x, 24), title);
    const rxVector<2> middle = pose * rxVector<2>();
    const rxVector<2> reach(44.0, 36.0);
    return Plot(page, {x, kTitleRoom, kWidth, kHeight}, {middle - reach, middle + reach});
}

void drawModel(Plot& plot, const rxXform<2>& pose) {
    plot.outline(mapped(pose, plate::holes()), tool::kOrange);
    plot.rings(mapped(pose, plate::holes()), 8.0, tool::kOrange);
    plot.rings({pose * plate::mark()}, 8.0, tool::kGreen);
    plot.crosses(mapped(pose, plate::marksOfLookAlikes()), 7.0, tool::kMagenta);
}

}  // namespace

std::string weights() {
    Page page(3 * kWidth + 4 * kGap, kHeight + kTitleRoom + 48);
    const std::vector<plate::View> views = plate::views();
    const rxXform<2> turned(rxVector<2>(100, 70), rxDegree(7), rxDegree(7), 1.0, 1.0);

    Plot model = panel(page, 0, "The model", rxXform<2>());
    drawModel(model, rxXform<2>());

    Plot right = panel(page, 1, "The plate: 8 + 1 of 9", turned);
    right.dots(views.front().data, 3.5, tool::kBlue);
    drawModel(right, turned);

    Plot wrong = panel(page, 2, "Turned over: 8 - 4 of 9", turned);
    wrong.dots(views.back().data, 3.5, tool::kBlue);
    drawModel(wrong, turned);

    const double y = kTitleRoom + kHeight + 28;
    const auto legend = [&](double x, const char* colour, const std::string& text) {
        page.canvas().circle(rxVector<2>(x, y - 4), 6.0,
                             {{"fill", "none"}, {"stroke", colour}, {"stroke-width", "1.8"}});
        page.text(rxVector<2>(x + 14, y), text, 13, tool::kFaintInk);
    };
    legend(kGap + 6, tool::kOrange, "hole, weight 1");
    legend(kGap + 156, tool::kGreen, "mark, weight 1");
    page.canvas().cross(rxVector<2>(kGap + 312, y - 4), 6.0,
                        {{"stroke", tool::kMagenta}, {"stroke-width", "1.8"}});
    page.text(rxVector<2>(kGap + 326, y), "place of the mark of a look-alike, weight -4", 13,
              tool::kFaintInk);
    page.canvas().circle(rxVector<2>(kGap + 660, y - 4), 3.5, {{"fill", tool::kBlue}});
    page.text(rxVector<2>(kGap + 672, y), "data point", 13, tool::kFaintInk);
    return page.finished();
}

}  // namespace ptmatch::guide
