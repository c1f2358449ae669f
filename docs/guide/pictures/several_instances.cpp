#include <algorithm>
#include <map>
#include <utility>

#include "../snippets/tray.h"
#include "pictures.h"
#include "ptmatch/distinct_instances.h"
#include "ptmatch/ppmatch.h"
#include "votes.h"

namespace ptmatch::guide {
namespace {

constexpr double kWidth = 440.0;
constexpr double kHeight = 350.0;
constexpr double kGap = 16.0;
constexpr double kTitleRoom = 36.0;

rxPointMatcherResultSet foundInTray(const rxPointMatcher& matcher, long maxNumResults) {
    rxPointMatcherRunParams params(0.6);
    params.rotationUncertainty(rxAngleRange::FullRange());
    params.maxNumResults(maxNumResults);
    rxPointMatcherResultSet found;
    matcher.run(tray::dots(), params, found);
    return found;
}

void drawResult(Plot& plot, const rxPointMatcherResult& result) {
    const Points placed = mapped(result.modelToDataXform(), tray::flange());
    plot.outline(placed, tool::kOrange);
    Points matched;
    Points alone;
    for (std::size_t i = 0; i < placed.size(); ++i) {
        (result.modelToDataMap()[i] >= 0 ? matched : alone).push_back(placed[i]);
    }
    plot.rings(matched, 7.0, tool::kOrange);
    plot.crosses(alone, 6.0, tool::kMagenta);
}

Plot panel(Page& page, int column, const std::string& title) {
    const double x = kGap + column * (kWidth + kGap);
    page.title(rxVector<2>(x, 24), title);
    Plot plot(page, {x, kTitleRoom, kWidth, kHeight}, tray::dots());
    plot.dots(tray::dots(), 3.2, tool::kBlue);
    return plot;
}

}  // namespace

std::string severalInstances() {
    Page page(2 * kWidth + 3 * kGap, kHeight + kTitleRoom + kGap);
    rxPointMatcher matcher;
    matcher.train(tray::flange(), rxPointMatcherDefs::eAutoDetect);

    Plot four = panel(page, 0, "The four best results");
    const rxPointMatcherResultSet best = foundInTray(matcher, 4);
    // Views of one flange lie on each other: by the data point that is the first of them.
    std::map<long, std::pair<rxVector<2>, int>> views;
    for (const rxPointMatcherResult& result : best.results()) {
        drawResult(four, result);
        const std::vector<long>& map = result.modelToDataMap();
        auto& view = views[*std::min_element(map.begin(), map.end())];
        view.first = four.at(result.modelToDataXform().trans());
        ++view.second;
    }
    for (const auto& [first, view] : views) {
        page.text(view.first + rxVector<2>(0, 5),
                  std::to_string(view.second) + (view.second == 1 ? " result" : " results"), 14,
                  tool::kInk, "middle");
    }

    Plot copies = panel(page, 1, "The copies among the 50 best results");
    const rxPointMatcherResultSet found = foundInTray(matcher, 50);
    for (const std::size_t i : rfDistinctInstances(matcher, found)) {
        const rxPointMatcherResult& result = found.results()[i];
        drawResult(copies, result);
        page.text(copies.at(result.modelToDataXform().trans()) + rxVector<2>(0, 5),
                  fixed(result.coverage(), 2), 14, tool::kInk, "middle");
    }
    return page.finished();
}

}  // namespace ptmatch::guide
