#include "grid_map_picture.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "foundation/angle.h"
#include "lattice_drawing.h"
#include "number_text.h"
#include "picture_page.h"
#include "plane_vectors.h"
#include "svg_canvas.h"

namespace ptmatch::tool {
namespace {

constexpr auto kPlaced = kBlue;
constexpr auto kUnplaced = kQuietGrey;
constexpr auto kMissing = kMagenta;
constexpr auto kErrorLine = kBlack;
constexpr double kPanelHeight = 780.0;

// What the picture shows, worked out once.
struct Scene {
    const GridMapReport& report;
    GridMapFigures figures;
    std::optional<Lattice> lattice;
    double errorFactor = 1.0;
    double radius = 3.0;
};

std::string positionText(const rxPair<long>& position) {
    return std::to_string(position.x()) + ", " + std::to_string(position.y());
}

void drawErrors(SvgCanvas& canvas, const PictureFrame& frame, const Scene& scene) {
    const auto group = canvas.group(stroked("errors", kErrorLine, 1.1));
    const GridMapReport& report = scene.report;
    for (std::size_t k = 0; k < report.positions.size(); ++k) {
        if (!report.positions[k]) continue;
        const rxVector<2> from = frame.toPage(*report.dataFromGrid * *report.positions[k]);
        const rxVector<2> to = frame.toPage(report.data.points[k]);
        canvas.line(from, from + scaled(to - from, scene.errorFactor));
    }
}

void drawPoints(SvgCanvas& canvas, const PictureFrame& frame, const Scene& scene, bool placed) {
    const GridMapReport& report = scene.report;
    const auto group =
        canvas.group(placed ? filled("data-placed", kPlaced) : filled("data-unplaced", kUnplaced));
    for (std::size_t k = 0; k < report.positions.size(); ++k) {
        const GridPosition& position = report.positions[k];
        if (position.has_value() != placed) continue;
        const rxVector<2>& point = report.data.points[k];
        canvas.circle(frame.toPage(point), placed ? scene.radius : 0.75 * scene.radius, {},
                      hintOf("data", k, point) +
                          (position ? ": position " + positionText(*position) : std::string()));
    }
}

std::size_t missingToDraw(const Scene& scene) {
    constexpr std::size_t kMostDrawn = 20000;
    return scene.figures.missing ? std::min(scene.figures.missing->size(), kMostDrawn) : 0;
}

void drawMissing(SvgCanvas& canvas, const PictureFrame& frame, const Scene& scene) {
    const auto group = canvas.group(stroked("missing", kMissing, 1.3));
    for (std::size_t k = 0; k < missingToDraw(scene); ++k) {
        const rxPair<long>& position = (*scene.figures.missing)[k];
        canvas.circle(frame.toPage(scene.lattice->dataFromGrid * rxVector<2>(position)),
                      scene.radius, {}, "no point: position " + positionText(position));
    }
}

void drawPlot(SvgCanvas& canvas, const PictureFrame& frame, const Scene& scene,
              const PictureStyle& style) {
    drawAxes(canvas, frame);
    drawOverPhotograph(canvas, frame, style, [&] {
        if (scene.lattice) drawLatticeLines(canvas, frame, *scene.lattice);
        drawPoints(canvas, frame, scene, false);
        if (scene.lattice) drawLatticeAxes(canvas, frame, *scene.lattice, "i", "j");
        drawPoints(canvas, frame, scene, true);
        if (!scene.lattice) return;
        drawMissing(canvas, frame, scene);
        drawErrors(canvas, frame, scene);
    });
}

std::string stepText(const rxXform<2>& xform, long column) {
    const rxVector<2> step(xform.matrix().element(0, column), xform.matrix().element(1, column));
    return fixedText(step.x(), 2) + ", " + fixedText(step.y(), 2);
}

void writeFigures(Panel& panel, const Scene& scene) {
    const GridMapFigures& figures = scene.figures;
    const auto [low, high] = *figures.bounds;
    panel.heading(scene.report.staggered ? "STAGGERED GRID" : "GRID");
    panel.figure("columns i", std::to_string(low.x()) + " to " + std::to_string(high.x()));
    panel.figure("rows j", std::to_string(low.y()) + " to " + std::to_string(high.y()));
    panel.figure("step i", stepText(scene.lattice->dataFromGrid, 0));
    panel.figure("step j", stepText(scene.lattice->dataFromGrid, 1));
    panel.figure("strays, doubles",
                 std::to_string(scene.report.strays) + ", " + std::to_string(scene.report.doubles));
    panel.figure("error (RMS)", fixedText(*figures.rmsError, 3));
    panel.figure("largest error", fixedText(*figures.largestError, 3));
    panel.figure("time", fixedText(scene.report.seconds, 3) + " s");
}

void writeLegend(SvgCanvas& canvas, Panel& panel, const Scene& scene) {
    constexpr double kRadius = 4.5;
    const GridMapFigures& figures = scene.figures;
    const auto stroke = [&](const char* colour, const char* width) {
        return [&canvas, colour, width](const rxVector<2>& at) {
            canvas.line({at.x() - 9, at.y()}, {at.x() + 9, at.y()},
                        {{"stroke", colour}, {"stroke-width", width}});
        };
    };
    panel.heading("LEGEND");
    panel.legend("point with a position", std::to_string(figures.placed),
                 [&](const rxVector<2>& at) {
                     canvas.circle(at, kRadius, {{"fill", kPlaced}});
                 });
    panel.legend("point without", std::to_string(scene.report.positions.size() - figures.placed),
                 [&](const rxVector<2>& at) {
                     canvas.circle(at, 0.75 * kRadius, {{"fill", kUnplaced}});
                 });
    if (!scene.lattice) return;
    panel.legend("position without a point",
                 figures.missing ? std::to_string(figures.missing->size()) : std::string("?"),
                 [&](const rxVector<2>& at) {
                     canvas.circle(
                         at, kRadius,
                         {{"fill", "none"}, {"stroke", kMissing}, {"stroke-width", "1.3"}});
                 });
    panel.legend("axis i (columns)", "", stroke(kAxisIColour, "2.2"));
    panel.legend("axis j (rows)", "", stroke(kAxisJColour, "2.2"));
    panel.legend("error" + factorText(scene.errorFactor), "", stroke(kErrorLine, "1.1"));
}

// The placed points taken back onto an even grid, as large as there is room.
void drawInset(SvgCanvas& canvas, Panel& panel, const Scene& scene, double bottom) {
    if (scene.lattice->dataFromGrid.isSingular()) return;
    const rxXform<2> gridFromData = scene.lattice->dataFromGrid.inverse();
    const Lattice even{rxXform<2>(), scene.lattice->low, scene.lattice->high};
    panel.heading("TAKEN BACK ONTO AN EVEN GRID");
    const PageBox box{panel.x(), panel.y(), kPanelWidth, bottom - panel.y()};
    const PictureFrame frame(surroundings(even), box, YAxis::kDown);
    const double radius = std::clamp(0.17 * frame.scale(), 0.7, 3.5);
    canvas.rectangle({box.x, box.y}, box.width, box.height,
                     {{"fill", "#ffffff"}, {"stroke", kFrameLine}});
    drawLatticeLines(canvas, frame, even, "even-lattice");
    {
        const auto group = canvas.group(filled("even-placed", kPlaced));
        for (std::size_t k = 0; k < scene.report.positions.size(); ++k) {
            if (!scene.report.positions[k]) continue;
            canvas.circle(frame.toPage(gridFromData * scene.report.data.points[k]), radius);
        }
    }
    const auto group = canvas.group(stroked("even-missing", kMissing, 1.1));
    for (std::size_t k = 0; k < missingToDraw(scene); ++k) {
        canvas.circle(frame.toPage((*scene.figures.missing)[k]), radius);
    }
}

void drawPanel(SvgCanvas& canvas, const Scene& scene, const PageLayout& page) {
    const GridMapReport& report = scene.report;
    Panel panel(canvas, page.panelX, kEdge - 6);
    const std::string title = scene.lattice
                                  ? std::to_string(scene.figures.placed) + " of " +
                                        std::to_string(report.positions.size()) + " points placed"
                                  : "No grid found";
    panel.write(title, titleSize(title), kInk, "bold");
    panel.figure("data", shortFileName(report.dataFile), 12);
    panel.skip(14);
    if (scene.lattice) {
        writeFigures(panel, scene);
        panel.skip(16);
    }
    writeLegend(canvas, panel, scene);
    if (!scene.lattice) return;
    panel.skip(16);
    drawInset(canvas, panel, scene, std::min(page.bottom, panel.y() + 20 + kPanelWidth));
}

}  // namespace

std::string gridMapPicture(const GridMapReport& report, const PictureStyle& style) {
    Scene scene{report, figuresOf(report), std::nullopt};
    std::vector<rxVector<2>> all = report.data.points;
    if (report.dataFromGrid && scene.figures.bounds) {
        scene.lattice = {*report.dataFromGrid, scene.figures.bounds->low,
                         scene.figures.bounds->high};
        const std::vector<rxVector<2>> around = surroundings(*scene.lattice);
        all.insert(all.end(), around.begin(), around.end());
    }
    includePhotograph(style, all);
    const PageLayout page = layoutFor(all, kPanelHeight);
    const PictureFrame frame(all, page.plot, style.yAxis);
    scene.radius = markerRadius(page.plot, report.data.points.size());
    if (scene.lattice) {
        const double spacing =
            frame.scale() * shortestLinkOf(stepsOf(*report.dataFromGrid), report.staggered);
        scene.radius = std::clamp(0.17 * spacing, 0.8, scene.radius);
        // No line of an error reaches the next node.
        scene.errorFactor =
            errorFactor(*scene.figures.largestError * frame.scale(), 0.45 * spacing);
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
