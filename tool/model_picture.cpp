#include "model_picture.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "archive_text.h"
#include "grid_steps.h"
#include "input_error.h"
#include "lattice_drawing.h"
#include "number_text.h"
#include "svg_canvas.h"
#include "text_table.h"

namespace ptmatch::tool {
namespace {

constexpr auto kPositiveColour = kOrange;
constexpr auto kZeroColour = kQuietGrey;
constexpr auto kNegativeColour = kMagenta;
constexpr double kPanelHeight = 420.0;

enum class Sign { kPositive, kZero, kNegative };

Sign signOf(long weight) {
    return weight > 0 ? Sign::kPositive : weight < 0 ? Sign::kNegative : Sign::kZero;
}

/// The points with their weights, all 1 when there are none.
struct Weighted {
    const PointTable& table;
    double largest = 1.0;  // magnitude

    explicit Weighted(const PointTable& model) : table(model) {
        for (const long weight : model.weights) {
            largest = std::max(largest, std::abs(static_cast<double>(weight)));
        }
    }
    long weight(std::size_t i) const { return table.weights.empty() ? 1 : table.weights[i]; }
    /// Of the marker, 1 for the largest: its area follows the weight.
    double size(std::size_t i) const {
        constexpr double kSmallest = 0.35;
        if (table.weights.empty()) return 1.0;
        const double share = std::abs(static_cast<double>(weight(i))) / largest;
        return std::max(kSmallest, std::sqrt(share));
    }
    std::size_t count(Sign sign) const {
        std::size_t count = 0;
        for (std::size_t i = 0; i < table.points.size(); ++i) {
            if (signOf(weight(i)) == sign) ++count;
        }
        return count;
    }
};

void drawMarker(SvgCanvas& canvas, const rxVector<2>& at, Sign sign, double radius,
                const std::string& hint) {
    switch (sign) {
        case Sign::kPositive:
            canvas.circle(at, radius, {{"fill", kPositiveColour}}, hint);
            return;
        case Sign::kZero:
            canvas.circle(at, 0.7 * radius,
                          {{"fill", "none"}, {"stroke", kZeroColour}, {"stroke-width", "1.6"}},
                          hint);
            return;
        case Sign::kNegative:
            canvas.cross(at, 0.9 * radius, {{"stroke", kNegativeColour}, {"stroke-width", "2"}},
                         hint);
            return;
    }
}

/// The page of a picture, with what all of them have: plot, panel, their heads.
class Page {
  public:
    Page(const std::vector<rxVector<2>>& shown, const PictureStyle& style)
        : layout_(layoutFor(shown, kPanelHeight)),
          frame_(shown, layout_.plot, style.yAxis),
          style_(style),
          canvas_(layout_.width, layout_.height) {
        canvas_.rectangle({0.0, 0.0}, layout_.width, layout_.height, {{"fill", "#fafbfc"}});
    }

    template <typename DrawPlot, typename DrawPanel>
    std::string drawn(DrawPlot drawPlot, DrawPanel drawPanel) {
        {
            const auto group = canvas_.group({{"font-family", kFontFamily}});
            drawAxes(canvas_, frame_);
            drawOverPhotograph(canvas_, frame_, style_, [&] { drawPlot(canvas_, frame_); });
            Panel panel(canvas_, layout_.panelX, kEdge - 6);
            drawPanel(canvas_, panel);
        }
        return canvas_.finished();
    }

    const PageBox& plot() const { return layout_.plot; }
    const PictureFrame& frame() const { return frame_; }

  private:
    PageLayout layout_;
    PictureFrame frame_;
    PictureStyle style_;
    SvgCanvas canvas_;
};

void writeHead(Panel& panel, const std::string& title, const std::string& file) {
    panel.write(title, titleSize(title), kInk, "bold");
    panel.figure("file", shortFileName(file), 12);
    panel.skip(14);
}

void writeLegendOfPoints(SvgCanvas& canvas, Panel& panel, const Weighted& points) {
    constexpr double kRadius = 5.0;
    const auto line = [&](const char* name, Sign sign) {
        panel.legend(name, std::to_string(points.count(sign)),
                     [&](const rxVector<2>& at) { drawMarker(canvas, at, sign, kRadius, {}); });
    };
    panel.heading("LEGEND");
    if (points.table.weights.empty()) {
        line("point", Sign::kPositive);
        return;
    }
    line("positive weight", Sign::kPositive);
    line("weight 0", Sign::kZero);
    line("negative weight", Sign::kNegative);
    panel.skip(8);
    panel.write("The larger the mark, the larger the weight.", 12, kFaintInk, "normal");
}

void writePoints(Panel& panel, const Weighted& points, const std::optional<double>& gridSize) {
    const ModelFigures figures = figuresOf(points.table);
    const auto rangeText = [](double low, double high) {
        return significantText(low, 5) + " to " + significantText(high, 5);
    };
    panel.heading("MODEL");
    panel.figure("x", rangeText(figures.low.x(), figures.high.x()));
    panel.figure("y", rangeText(figures.low.y(), figures.high.y()));
    if (gridSize && std::isfinite(*gridSize)) {
        panel.figure("automatic grid size", significantText(*gridSize, 5));
    }
    if (points.table.weights.empty()) return;
    panel.figure("total weight", std::to_string(figures.totalWeight));
    const auto [low, high] =
        std::minmax_element(points.table.weights.begin(), points.table.weights.end());
    panel.figure("weights", std::to_string(*low) + " to " + std::to_string(*high));
}

std::string pictureOfPoints(const PointTable& model, const std::optional<double>& gridSize,
                            const std::string& file, const PictureStyle& style) {
    const Weighted points(model);
    Page page(model.points, style);
    const double radius =
        (model.weights.empty() ? 1.0 : 2.0) * markerRadius(page.plot(), model.points.size());
    const auto drawPlot = [&](SvgCanvas& canvas, const PictureFrame& frame) {
        const auto group = canvas.group({{"id", "model"}});
        for (std::size_t i = 0; i < model.points.size(); ++i) {
            std::string hint = hintOf("model", i, model.points[i]);
            if (!model.weights.empty()) hint += ": weight " + std::to_string(points.weight(i));
            drawMarker(canvas, frame.toPage(model.points[i]), signOf(points.weight(i)),
                       radius * points.size(i), hint);
        }
    };
    return page.drawn(drawPlot, [&](SvgCanvas& canvas, Panel& panel) {
        writeHead(panel, "Trained on " + countedText(model.points.size(), "point"), file);
        writePoints(panel, points, gridSize);
        panel.skip(16);
        writeLegendOfPoints(canvas, panel, points);
    });
}

Lattice latticeOf(const PatternSource& grid) {
    const rxVector<2> xv = grid.steps.xv.value_or(rxVector<2>(1.0, 0.0));
    const rxVector<2> yv = grid.steps.yv.value_or(rxVector<2>(0.0, 1.0));
    const GridPattern& pattern = grid.pattern;
    return {rxXform<2>(rxMatrix<2>(xv.x(), yv.x(), xv.y(), yv.y()), rxVector<2>(0.0, 0.0)),
            pattern.corner, pattern.corner + rxPair<long>(pattern.width - 1, pattern.height - 1)};
}

std::string pictureOfPattern(const PatternSource& grid, const std::string& file,
                             const PictureStyle& style) {
    const GridPattern& pattern = grid.pattern;
    const Lattice lattice = latticeOf(grid);
    Page page(surroundings(lattice), style);
    const double spacing =
        page.frame().scale() * shortestLinkOf(stepsOf(lattice.dataFromGrid), pattern.isStaggered());
    const double radius = std::clamp(0.22 * spacing, 0.8, 9.0);
    const auto drawPlot = [&](SvgCanvas& canvas, const PictureFrame& frame) {
        drawLatticeLines(canvas, frame, lattice);
        drawLatticeAxes(canvas, frame, lattice, "column", "row");
        const auto group = canvas.group(filled("pattern", kPositiveColour));
        for (const rxPair<long>& position : pattern.positions) {
            canvas.circle(
                frame.toPage(lattice.dataFromGrid * rxVector<2>(position)), radius, {},
                "column " + std::to_string(position.x()) + ", row " + std::to_string(position.y()));
        }
    };
    const auto stepText = [](const std::optional<rxVector<2>>& step) {
        return step ? significantText(step->x(), 5) + ", " + significantText(step->y(), 5)
                    : std::string("not known");
    };
    return page.drawn(drawPlot, [&](SvgCanvas& canvas, Panel& panel) {
        writeHead(panel, "Trained on " + countedText(pattern.positions.size(), "position"), file);
        panel.heading(pattern.isStaggered() ? "STAGGERED GRID PATTERN" : "GRID PATTERN");
        panel.figure("columns", std::to_string(pattern.width));
        panel.figure("rows", std::to_string(pattern.height));
        panel.figure("step of columns", stepText(grid.steps.xv));
        panel.figure("step of rows", stepText(grid.steps.yv));
        panel.skip(16);
        panel.heading("LEGEND");
        panel.legend("position with a point", std::to_string(pattern.positions.size()),
                     [&](const rxVector<2>& at) {
                         canvas.circle(at, 5.0, {{"fill", kPositiveColour}});
                     });
    });
}

}  // namespace

std::string modelPicture(const MatcherContent& matcher, const std::string& file,
                         const PictureStyle& style) {
    if (matcher.grid) return pictureOfPattern(*matcher.grid, file, style);
    if (matcher.model && !matcher.model->points.empty()) {
        return pictureOfPoints(*matcher.model, matcher.defaultGridSize, file, style);
    }
    if (!matcher.fault.empty()) throw InputError(file + ": cannot be drawn: " + matcher.fault);
    throw InputError(file + ": holds an untrained matcher; there is nothing to draw");
}

const MatcherContent& firstMatcher(const ArchiveContent& archive) {
    for (const ArchiveRecord& record : archive.records) {
        if (const auto* const matcher = std::get_if<MatcherContent>(&record.content)) {
            return *matcher;
        }
    }
    throw InputError(archive.file + ": holds no matcher; there is nothing to draw");
}

}  // namespace ptmatch::tool
