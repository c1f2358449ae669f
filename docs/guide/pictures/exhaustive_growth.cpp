#include <cmath>
#include <string>
#include <vector>

#include "drawing.h"
#include "pictures.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/run_cost.h"

namespace ptmatch::guide {
namespace {

constexpr PageBox kBox = {90.0, 50.0, 560.0, 400.0};
constexpr double kDecades = 11.0;  // from 10 to 1e12 assignments
constexpr double kAssignmentsPerSecond = 16e6;

rxVector<2> at(long numModel, double assignments) {
    return {kBox.x + kBox.width * (static_cast<double>(numModel) - 2.7) / 7.8,
            kBox.y + kBox.height * (1.0 - (std::log10(assignments) - 1.0) / kDecades)};
}

Points spread(long count) {
    Points points;
    for (long k = 0; k < count; ++k) {
        points.emplace_back(static_cast<double>(k * k % 7), static_cast<double>(k));
    }
    return points;
}

double assignments(long numModel, long numData) {
    rxPointMatcher matcher;
    matcher.train(spread(numModel), rxPointMatcherDefs::eExhaustiveMode);
    return rfRunCost(matcher, spread(numData), rxPointMatcherRunParams()).work;
}

void drawLevels(Page& page) {
    SvgCanvas& canvas = page.canvas();
    canvas.rectangle(rxVector<2>(kBox.x, kBox.y), kBox.width, kBox.height,
                     {{"fill", "#ffffff"}, {"stroke", tool::kFrameLine}});
    for (int exponent = 2; exponent <= 12; exponent += 2) {
        const double y = at(3, std::pow(10.0, exponent)).y();
        canvas.line(rxVector<2>(kBox.x, y), rxVector<2>(kBox.x + kBox.width, y),
                    {{"stroke", tool::kGridLine}});
        page.text(rxVector<2>(kBox.x - 8, y + 5), "1e" + std::to_string(exponent), 13,
                  tool::kFaintInk, "end");
    }
    struct Duration {
        double seconds;
        const char* name;
    };
    for (const Duration& d : {Duration{0.001, "a millisecond"}, Duration{1.0, "a second"},
                              Duration{60.0, "a minute"}, Duration{3600.0, "an hour"}}) {
        const double y = at(3, d.seconds * kAssignmentsPerSecond).y();
        canvas.line(rxVector<2>(kBox.x, y), rxVector<2>(kBox.x + kBox.width, y),
                    {{"stroke", tool::kOrange}, {"stroke-dasharray", "5 5"}});
        page.text(rxVector<2>(kBox.x + kBox.width + 8, y + 5), d.name, 13, tool::kOrange);
    }
    for (long n = 3; n <= 8; ++n) {
        page.text(rxVector<2>(at(n, 10).x(), kBox.y + kBox.height + 20), std::to_string(n), 13,
                  tool::kFaintInk, "middle");
    }
    page.text(rxVector<2>(kBox.x + kBox.width / 2, kBox.y + kBox.height + 44), "model points", 13,
              tool::kFaintInk, "middle");
}

}  // namespace

std::string exhaustiveGrowth() {
    Page page(790, 520);
    page.title(rxVector<2>(kBox.x, 30), "Assignments that an exhaustive run looks at");
    drawLevels(page);
    struct Curve {
        long numData;  // 0: one more than the model has
        const char* name;
        const char* colour;
        rxVector<2> nameFrom;  // from the last point
    };
    const std::vector<Curve> curves = {
        {0, "one data point more", tool::kBlue, {12, 9}},
        {10, "10 data points", tool::kGreen, {12, -9}},
        {20, "20 data points", tool::kMagenta, {-14, -4}},
    };
    SvgCanvas& canvas = page.canvas();
    for (const Curve& curve : curves) {
        rxVector<2> last;
        for (long n = 3; n <= 8; ++n) {
            const double count = assignments(n, curve.numData == 0 ? n + 1 : curve.numData);
            const rxVector<2> p = at(n, count);
            if (n > 3) canvas.line(last, p, {{"stroke", curve.colour}, {"stroke-width", "2"}});
            canvas.circle(p, 4.5, {{"fill", curve.colour}}, fixed(count, 0));
            last = p;
        }
        page.text(last + curve.nameFrom, curve.name, 14, curve.colour,
                  curve.nameFrom.x() < -9 ? "end" : "start");
    }
    return page.finished();
}

}  // namespace ptmatch::guide
