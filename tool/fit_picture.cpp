#include "fit_picture.h"

#include <cmath>
#include <cstddef>
#include <vector>

#include "fit_warnings.h"
#include "number_text.h"
#include "picture_page.h"
#include "plane_vectors.h"
#include "svg_canvas.h"
#include "text_table.h"

namespace ptmatch::tool {
namespace {

constexpr auto kMeasured = kBlue;
constexpr auto kMapped = kOrange;
constexpr auto kWorst = kMagenta;
constexpr auto kResidualLine = kBlack;
constexpr double kPanelHeight = 560.0;

// How long the lines of a typical residual may be on the page: about the size of a marker.
constexpr double kTypicalResidual = 12.0;

// Nothing farther away than this many pages is drawn: what a transform takes far out, beyond its
// horizon perhaps, is out of sight anyway.
constexpr double kFarthest = 100.0 * kPlotSide;

struct Scene {
    const FitReport& report;
    std::vector<rxVector<2>> points;  // b
    double factor = 1.0;              // residuals are drawn longer by this
    double radius = 3.0;
};

rxVector<2> inPlane(const Coordinates& p) {
    return {p[0], p[1]};
}

std::string hintOfPair(const FitReport& report, std::size_t pair) {
    const Coordinates d = report.residualOf(pair);
    return "pair " + std::to_string(pair + 1) + ", line " +
           std::to_string(report.pairs.lines[pair]) + ": off by " +
           significantText(std::hypot(d[0], d[1]), 4) + " (" + significantText(d[0], 4) + ", " +
           significantText(d[1], 4) + ")";
}

// The points b, and the mapped points unless they lie far outside: one wrong pair must not shrink
// all others to a dot.
std::vector<rxVector<2>> pointsInSight(const FitReport& report) {
    constexpr double kMargin = 1.3;
    const PointSpread& spread = report.spreadB;
    std::vector<rxVector<2>> points;
    for (const Coordinates& p : report.pairs.b) points.push_back(inPlane(p));
    for (const Coordinates& p : report.fitted.images) {
        const double distance = std::hypot(p[0] - spread.mean[0], p[1] - spread.mean[1]);
        if (distance <= kMargin * spread.reach) points.push_back(inPlane(p));
    }
    return points;
}

void drawPairs(SvgCanvas& canvas, const PictureFrame& frame, const Scene& scene) {
    const FitReport& report = scene.report;
    {
        const auto group = canvas.group(filled("measured", kMeasured));
        for (std::size_t i = 0; i < scene.points.size(); ++i) {
            canvas.circle(frame.toPage(scene.points[i]), scene.radius, {}, hintOfPair(report, i));
        }
    }
    const auto isInSight = [&](std::size_t i) {
        const rxVector<2> on = frame.toPage(inPlane(report.fitted.images[i]));
        return std::abs(on.x()) < kFarthest && std::abs(on.y()) < kFarthest;
    };
    {
        const auto group = canvas.group(stroked("mapped", kMapped, 1.4));
        for (std::size_t i = 0; i < scene.points.size(); ++i) {
            if (!isInSight(i)) continue;
            canvas.circle(frame.toPage(inPlane(report.fitted.images[i])), scene.radius + 2.2);
        }
    }
    const auto group = canvas.group(stroked("residuals", kResidualLine, 1.3));
    for (std::size_t i = 0; i < scene.points.size(); ++i) {
        if (!isInSight(i)) continue;
        const rxVector<2> from = frame.toPage(inPlane(report.fitted.images[i]));
        canvas.line(from, from + scaled(frame.toPage(scene.points[i]) - from, scene.factor));
    }
}

void drawWorst(SvgCanvas& canvas, const PictureFrame& frame, const Scene& scene) {
    const std::size_t worst = scene.report.fitted.residual.worst;
    const auto group = canvas.group(stroked("worst", kWorst, 2.0));
    canvas.circle(frame.toPage(scene.points[worst]), scene.radius + 7.0, {},
                  hintOfPair(scene.report, worst));
}

void drawPlot(SvgCanvas& canvas, const PictureFrame& frame, const Scene& scene,
              const PictureStyle& style) {
    drawAxes(canvas, frame);
    drawOverPhotograph(canvas, frame, style, [&] {
        drawPairs(canvas, frame, scene);
        drawWorst(canvas, frame, scene);
    });
}

void writeFigures(Panel& panel, const FitReport& report) {
    const rxFitResidual& residual = report.fitted.residual;
    const std::optional<double> error = report.estimatedError();
    panel.heading("RESIDUALS");
    panel.figure("root mean square", significantText(residual.rms, 4));
    panel.figure("largest", significantText(residual.largest, 4));
    panel.figure("of pair", std::to_string(residual.worst + 1));
    panel.figure("in line", std::to_string(report.pairs.lines[residual.worst]));
    panel.figure("error of a pair", error ? significantText(*error, 4) : "?");
    panel.figure("warnings", std::to_string(report.warnings.size()));
}

void writeLegend(SvgCanvas& canvas, Panel& panel, const Scene& scene) {
    constexpr double kRadius = 4.5;
    const auto ring = [&](const char* colour, double radius, double width) {
        return [&canvas, colour, radius, width](const rxVector<2>& at) {
            canvas.circle(
                at, radius,
                {{"fill", "none"}, {"stroke", colour}, {"stroke-width", shortText(width)}});
        };
    };
    panel.heading("LEGEND");
    panel.legend("point b", std::to_string(scene.points.size()), [&](const rxVector<2>& at) {
        canvas.circle(at, kRadius, {{"fill", kMeasured}});
    });
    panel.legend("its partner a, mapped", "", ring(kMapped, kRadius + 2.2, 1.4));
    panel.legend("residual" + factorText(scene.factor), "", [&](const rxVector<2>& at) {
        canvas.line({at.x() - 9, at.y()}, {at.x() + 9, at.y()},
                    {{"stroke", kResidualLine}, {"stroke-width", "1.3"}});
    });
    panel.legend("largest residual", "", ring(kWorst, kRadius + 3.5, 2.0));
}

}  // namespace

std::string fitPicture(const FitReport& report, const PictureStyle& style) {
    Scene scene{report, {}, 1.0, 3.0};
    for (const Coordinates& p : report.pairs.b) scene.points.push_back(inPlane(p));
    std::vector<rxVector<2>> all = pointsInSight(report);
    includePhotograph(style, all);
    const PageLayout page = layoutFor(all, kPanelHeight);
    const PictureFrame frame(all, page.plot, style.yAxis);
    scene.radius = markerRadius(page.plot, scene.points.size());
    scene.factor = errorFactor(report.fitted.residual.rms * frame.scale(), kTypicalResidual);

    SvgCanvas canvas(page.width, page.height);
    canvas.rectangle({0.0, 0.0}, page.width, page.height, {{"fill", "#fafbfc"}});
    {
        const auto group = canvas.group({{"font-family", kFontFamily}});
        drawPlot(canvas, frame, scene, style);
        Panel panel(canvas, page.panelX, kEdge - 6);
        const std::string title =
            report.traits().name + (", " + countedText(report.pairs.size(), "pair"));
        panel.write(title, titleSize(title), kInk, "bold");
        panel.figure("pairs", shortFileName(report.pairsFile), 12);
        panel.skip(14);
        writeFigures(panel, report);
        panel.skip(16);
        writeLegend(canvas, panel, scene);
    }
    return canvas.finished();
}

}  // namespace ptmatch::tool
