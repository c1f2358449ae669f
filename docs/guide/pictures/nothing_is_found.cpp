#include <string>
#include <string_view>
#include <vector>

#include "drawing.h"
#include "pictures.h"

namespace ptmatch::guide {
namespace {

constexpr double kQuestionX = 40.0;
constexpr double kQuestionWidth = 330.0;
constexpr double kAnswerX = 470.0;
constexpr double kAnswerWidth = 450.0;
constexpr double kTop = 104.0;
constexpr double kPitch = 98.0;
constexpr double kHeight = 68.0;

struct Step {
    std::vector<std::string_view> question;
    std::vector<std::string_view> answer;
};

const std::vector<Step>& steps() {
    static const std::vector<Step> all = {
        {{"Fewer data points than the", "coverage asks for?   (reason 1)"},
         {"Look at what the detector gives.", "Then: a smaller minimum coverage."}},
        {{"Nothing to search?", "(reason 2)"},
         {"No data inside the translation ranges: widen them.",
          "Every model point twice: set the grid size."}},
        {{"No candidate at all?", "(reason 3)"},
         {"Points: units. The scale of the start pose is data units",
          "per model unit. Grid: the steps, and scaleUncertainty."}},
        {{"Enough coverage, but the pose", "is not allowed?   (reason 5)"},
         {"Widen the range that the nearest miss names:",
          "rotation, in exhaustive runs also scale or translation."}},
        {{"Only a wider search finds it?", "(reason 6)"},
         {"Ask for less coverage and for more results,", "and choose among them yourself."}},
        {{"Too little coverage (reason 4),", "no more than wrong poses get?"},
         {"The true pose was not tried. Widen scale, rotation,",
          "translation, one at a time. A mirror image? Other units?"}},
        {{"Too little coverage (reason 4),", "but more than wrong poses get?"},
         {"It is there. A larger capture range, or less coverage.",
          "Bent by perspective or lens: see what it is not for."}},
    };
    return all;
}

void arrow(SvgCanvas& canvas, const rxVector<2>& from, const rxVector<2>& to) {
    const bool isDown = from.x() == to.x();
    canvas.line(from, to, {{"stroke", tool::kFaintInk}, {"stroke-width", "1.6"}});
    const rxVector<2> back = isDown ? rxVector<2>(0, -9) : rxVector<2>(-9, 0);
    const rxVector<2> side = isDown ? rxVector<2>(5, 0) : rxVector<2>(0, 5);
    canvas.polygon({to, to + back + side, to + back - side}, {{"fill", tool::kFaintInk}});
}

void box(Page& page, const rxVector<2>& corner, double width,
         const std::vector<std::string_view>& lines, const char* fill, const char* stroke) {
    page.canvas().rectangle(corner, width, kHeight,
                            {{"fill", fill}, {"stroke", stroke}, {"rx", "9"}});
    double y = corner.y() + 28.0;
    for (const std::string_view line : lines) {
        page.text(rxVector<2>(corner.x() + 16.0, y), line, 15);
        y += 23.0;
    }
}

}  // namespace

std::string nothingIsFound() {
    const double numSteps = static_cast<double>(steps().size());
    Page page(960, kTop + kPitch * numSteps);
    page.canvas().rectangle(rxVector<2>(kQuestionX, 24), kQuestionWidth, 50,
                            {{"fill", tool::kInk}, {"stroke", tool::kInk}, {"rx", "25"}});
    page.text(rxVector<2>(kQuestionX + kQuestionWidth / 2, 55), "Nothing found: ask rfWhyNot", 16,
              "#ffffff", "middle");
    const double middle = kQuestionX + kQuestionWidth / 2;
    arrow(page.canvas(), {middle, 74}, {middle, kTop});
    double y = kTop;
    for (const Step& step : steps()) {
        box(page, {kQuestionX, y}, kQuestionWidth, step.question, "#ffffff", tool::kBlue);
        box(page, {kAnswerX, y}, kAnswerWidth, step.answer, "#eaf3f0", tool::kGreen);
        arrow(page.canvas(), {kQuestionX + kQuestionWidth, y + kHeight / 2},
              {kAnswerX, y + kHeight / 2});
        page.text(rxVector<2>(kQuestionX + kQuestionWidth + 32, y + kHeight / 2 - 8), "yes", 14,
                  tool::kFaintInk);
        if (&step != &steps().back()) {
            arrow(page.canvas(), {middle, y + kHeight}, {middle, y + kPitch});
            page.text(rxVector<2>(middle + 10, y + kHeight + 20), "no", 14, tool::kFaintInk);
        }
        y += kPitch;
    }
    return page.finished();
}

}  // namespace ptmatch::guide
