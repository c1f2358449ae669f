#include "grid_match_picture.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "foundation/angle.h"
#include "lattice_drawing.h"
#include "number_text.h"
#include "picture_page.h"
#include "svg_canvas.h"

namespace ptmatch::tool {
namespace {

constexpr auto kDataFree = kQuietGrey;
constexpr auto kDataMatched = kBlue;
constexpr auto kPatternPlaced = kOrange;
constexpr auto kPatternFree = kMagenta;
constexpr double kPanelHeight = 740.0;

// What the picture shows, worked out once.
struct Scene {
    const GridMatchReport& report;
    const GridPlacement* placement = nullptr;
    std::optional<Lattice> lattice;
    std::vector<bool> dataMatched;
    double radius = 3.0;

    std::size_t matchedDataPoints() const {
        return static_cast<std::size_t>(std::count(dataMatched.begin(), dataMatched.end(), true));
    }
};

std::string positionText(const rxPair<long>& position) {
    return "column " + std::to_string(position.x()) + ", row " + std::to_string(position.y());
}

Lattice latticeOf(const GridPattern& pattern, const rxXform<2>& dataFromPattern) {
    return {dataFromPattern, pattern.corner,
            pattern.corner + rxPair<long>(pattern.width - 1, pattern.height - 1)};
}

Scene sceneOf(const GridMatchReport& report) {
    Scene scene{report, nullptr, std::nullopt, {}};
    scene.dataMatched.resize(report.data.points.size());
    if (report.placements.empty() || !report.placements.front().dataFromPattern) return scene;
    scene.placement = &report.placements.front();
    scene.lattice = latticeOf(report.pattern, *scene.placement->dataFromPattern);
    for (const long index : scene.placement->map) {
        if (index >= 0) scene.dataMatched[static_cast<std::size_t>(index)] = true;
    }
    return scene;
}

void drawData(SvgCanvas& canvas, const PictureFrame& frame, const Scene& scene, bool matched) {
    const auto group = canvas.group(matched ? filled("data-matched", kDataMatched)
                                            : filled("data-unmatched", kDataFree));
    const std::vector<rxVector<2>>& points = scene.report.data.points;
    for (std::size_t k = 0; k < points.size(); ++k) {
        if (scene.dataMatched[k] != matched) continue;
        canvas.circle(frame.toPage(points[k]), matched ? scene.radius : 0.75 * scene.radius, {},
                      hintOf("data", k, points[k]));
    }
}

void drawPattern(SvgCanvas& canvas, const PictureFrame& frame, const Scene& scene, bool matched) {
    const auto group = canvas.group(matched ? stroked("pattern-matched", kPatternPlaced, 1.3)
                                            : stroked("pattern-unmatched", kPatternFree, 1.6));
    const std::vector<long>& map = scene.placement->map;
    for (std::size_t k = 0; k < map.size(); ++k) {
        if ((map[k] >= 0) != matched) continue;
        const rxPair<long>& position = scene.report.pattern.positions[k];
        const rxVector<2> at = frame.toPage(scene.lattice->dataFromGrid * rxVector<2>(position));
        if (matched) {
            canvas.circle(at, 1.7 * scene.radius, {}, positionText(position));
        } else {
            canvas.cross(at, 1.1 * scene.radius, {}, positionText(position));
        }
    }
}

void drawPlot(SvgCanvas& canvas, const PictureFrame& frame, const Scene& scene,
              const PictureStyle& style) {
    drawAxes(canvas, frame);
    drawOverPhotograph(canvas, frame, style, [&] {
        if (scene.lattice) drawLatticeLines(canvas, frame, *scene.lattice);
        drawData(canvas, frame, scene, false);
        if (scene.lattice) drawLatticeAxes(canvas, frame, *scene.lattice, "column", "row");
        drawData(canvas, frame, scene, true);
        if (!scene.lattice) return;
        drawPattern(canvas, frame, scene, true);
        drawPattern(canvas, frame, scene, false);
    });
}

void writeFigures(Panel& panel, const Scene& scene) {
    const GridPlacement& placement = *scene.placement;
    const rxXform<2>& xform = *placement.dataFromPattern;
    const rxMatrix<2> m = xform.matrix();
    const std::size_t placements = scene.report.placements.size();
    panel.heading(placements == 1 ? "PLACEMENT"
                                  : "BEST OF " + std::to_string(placements) + " PLACEMENTS");
    panel.figure("position 0, 0",
                 fixedText(xform.trans().x(), 2) + ", " + fixedText(xform.trans().y(), 2));
    panel.figure("direction of rows",
                 fixedText(rxDegree(xform.rotation()).toDouble(), 3) + "\u00b0");
    panel.figure("column step", fixedText(xform.xScale(), 3));
    panel.figure("row step", fixedText(rxVector<2>(m.element(0, 1), m.element(1, 1)).len(), 3));
    panel.figure("coverage", fixedText(100.0 * placement.coverage, 1) + " %");
    panel.figure("error (RMS)", fixedText(placement.rmsError, 3));
    panel.figure("time", fixedText(scene.report.seconds, 3) + " s");
}

void writeLegend(SvgCanvas& canvas, Panel& panel, const Scene& scene) {
    constexpr double kRadius = 4.0;
    const std::size_t matched = scene.matchedDataPoints();
    const auto disc = [&](const char* colour) {
        return [&canvas, colour](const rxVector<2>& at) {
            canvas.circle(at, kRadius, {{"fill", colour}});
        };
    };
    panel.heading("LEGEND");
    panel.legend("data point, free", std::to_string(scene.dataMatched.size() - matched),
                 disc(kDataFree));
    if (!scene.placement) return;
    panel.legend("data point of the pattern", std::to_string(matched), disc(kDataMatched));
    panel.legend("position with a point", std::to_string(scene.placement->matched()),
                 [&](const rxVector<2>& at) {
                     canvas.circle(
                         at, 1.7 * kRadius,
                         {{"fill", "none"}, {"stroke", kPatternPlaced}, {"stroke-width", "1.3"}});
                 });
    panel.legend(
        "position without a point",
        std::to_string(scene.placement->map.size() - scene.placement->matched()),
        [&](const rxVector<2>& at) {
            canvas.cross(at, 1.1 * kRadius, {{"stroke", kPatternFree}, {"stroke-width", "1.6"}});
        });
}

void drawInset(SvgCanvas& canvas, Panel& panel, const Scene& scene, double bottom) {
    const Lattice lattice = latticeOf(scene.report.pattern, rxXform<2>());
    panel.heading("THE PATTERN AS GIVEN");
    const PageBox box{panel.x(), panel.y(), kPanelWidth, bottom - panel.y()};
    const PictureFrame frame(surroundings(lattice), box, YAxis::kDown);
    canvas.rectangle({box.x, box.y}, box.width, box.height,
                     {{"fill", "#ffffff"}, {"stroke", kFrameLine}});
    drawLatticeLines(canvas, frame, lattice, "pattern-lattice");
    const auto group = canvas.group(filled("pattern", kPatternPlaced));
    const double radius = std::clamp(0.2 * frame.scale(), 0.7, 3.5);
    for (const rxPair<long>& position : scene.report.pattern.positions) {
        canvas.circle(frame.toPage(position), radius, {}, positionText(position));
    }
}

void drawPanel(SvgCanvas& canvas, const Scene& scene, const PageLayout& page) {
    Panel panel(canvas, page.panelX, kEdge - 6);
    const std::string title = scene.placement
                                  ? matchedText(*scene.placement, " of ") + " positions found"
                                  : "Nothing found";
    panel.write(title, titleSize(title), kInk, "bold");
    panel.figure("pattern", shortFileName(scene.report.patternFile), 12);
    panel.figure("data", shortFileName(scene.report.dataFile), 12);
    panel.skip(14);
    if (scene.placement) {
        writeFigures(panel, scene);
        panel.skip(16);
    }
    writeLegend(canvas, panel, scene);
    panel.skip(16);
    drawInset(canvas, panel, scene, std::min(page.bottom, panel.y() + 20 + kPanelWidth));
}

}  // namespace

std::string gridMatchPicture(const GridMatchReport& report, const PictureStyle& style) {
    Scene scene = sceneOf(report);
    std::vector<rxVector<2>> all = report.data.points;
    if (scene.lattice) {
        const std::vector<rxVector<2>> around = surroundings(*scene.lattice);
        all.insert(all.end(), around.begin(), around.end());
    }
    includePhotograph(style, all);
    const PageLayout page = layoutFor(all, kPanelHeight);
    const PictureFrame frame(all, page.plot, style.yAxis);
    scene.radius = markerRadius(page.plot, report.data.points.size());
    if (scene.lattice) {
        const double spacing =
            shortestLinkOf(stepsOf(scene.lattice->dataFromGrid), report.pattern.isStaggered());
        scene.radius = std::clamp(0.15 * frame.scale() * spacing, 0.8, scene.radius);
    }
    SvgCanvas canvas(page.width, page.height);
    canvas.rectangle({0.0, 0.0}, page.width, page.height, {{"fill", "#fafbfc"}});
    {
        const auto group = canvas.group({{"font-family", kFontFamily}});
        drawPlot(canvas, frame, scene, style);
        drawPanel(canvas, scene, page);
    }
    return canvas.finished();
}

}  // namespace ptmatch::tool
