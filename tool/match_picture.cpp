#include "match_picture.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "number_text.h"
#include "picture_page.h"
#include "result_table.h"
#include "svg_canvas.h"

namespace ptmatch::tool {
namespace {

using Points = std::vector<rxVector<2>>;
using Attributes = SvgCanvas::Attributes;

constexpr auto kDataFree = kQuietGrey;
constexpr auto kDataMatched = kBlue;
constexpr auto kModelPlaced = kOrange;
constexpr auto kModelFree = kMagenta;
constexpr auto kErrorLine = kBlack;

constexpr double kPanelHeight = 740.0;

// How long the lines of a typical error may be on the page: about the size of a marker.
constexpr double kTypicalError = 12.0;

// The size of markers of points without a partner where the page is crowded.
constexpr double kCrowdedShare = 0.7;

// What the picture shows of one pose, worked out once.
struct Scene {
    const MatchReport& report;
    const FoundPose* pose = nullptr;
    Points placed;                  // model points in data coordinates, empty without a pose
    std::vector<bool> dataMatched;  // one per data point
    double errorFactor = 1.0;       // the lines of error are drawn longer by this

    std::size_t freeModelPoints() const {
        return pose ? pose->map.size() - pose->matched() : report.model.points.size();
    }
    // Many points on the page: those without a partner step back behind those with one.
    bool isCrowded() const { return dataMatched.size() + placed.size() > 150; }
    std::size_t matchedDataPoints() const {
        return static_cast<std::size_t>(std::count(dataMatched.begin(), dataMatched.end(), true));
    }
};

Scene sceneOf(const MatchReport& report) {
    Scene scene{report, report.poses.empty() ? nullptr : &report.poses.front(), {}, {}, 1.0};
    scene.dataMatched.resize(report.data.points.size());
    if (!scene.pose) return scene;
    for (const rxVector<2>& m : report.model.points) {
        scene.placed.push_back(scene.pose->dataFromModel * m);
    }
    for (const long index : scene.pose->map) {
        if (index >= 0) scene.dataMatched[static_cast<std::size_t>(index)] = true;
    }
    return scene;
}

Points everythingIn(const Scene& scene) {
    Points points = scene.report.data.points;
    points.insert(points.end(), scene.placed.begin(), scene.placed.end());
    return points;
}

void drawOutline(SvgCanvas& canvas, const PictureFrame& frame, const Points& points) {
    Points corners = convexHull(points);
    if (corners.size() < 3) return;
    for (rxVector<2>& corner : corners) corner = frame.toPage(corner);
    canvas.polygon(corners, {{"fill", kModelPlaced},
                             {"fill-opacity", "0.07"},
                             {"stroke", kModelPlaced},
                             {"stroke-opacity", "0.35"},
                             {"stroke-width", "1.2"},
                             {"stroke-linejoin", "round"}});
}

void drawDataPoints(SvgCanvas& canvas, const PictureFrame& frame, const Scene& scene, bool matched,
                    double radius) {
    if (!matched && scene.isCrowded()) radius *= kCrowdedShare;
    const auto group = canvas.group(matched ? filled("data-matched", kDataMatched)
                                            : filled("data-unmatched", kDataFree));
    const Points& points = scene.report.data.points;
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (scene.dataMatched[i] != matched) continue;
        canvas.circle(frame.toPage(points[i]), radius, {}, hintOf("data", i, points[i]));
    }
}

void drawErrors(SvgCanvas& canvas, const PictureFrame& frame, const Scene& scene) {
    const auto group = canvas.group(stroked("correspondence", kErrorLine, 1.4));
    const std::vector<long>& map = scene.pose->map;
    for (std::size_t i = 0; i < map.size(); ++i) {
        if (map[i] < 0) continue;
        const rxVector<2> from = frame.toPage(scene.placed[i]);
        const rxVector<2> to =
            frame.toPage(scene.report.data.points[static_cast<std::size_t>(map[i])]);
        canvas.line(from, {from.x() + scene.errorFactor * (to.x() - from.x()),
                           from.y() + scene.errorFactor * (to.y() - from.y())});
    }
}

void drawModelPoints(SvgCanvas& canvas, const PictureFrame& frame, const Scene& scene,
                     double radius) {
    const Points& model = scene.report.model.points;
    const std::vector<long>& map = scene.pose->map;
    {
        const auto group = canvas.group(stroked("model-matched", kModelPlaced, 1.6));
        for (std::size_t i = 0; i < map.size(); ++i) {
            if (map[i] < 0) continue;
            canvas.circle(frame.toPage(scene.placed[i]), radius + 2.8, {},
                          hintOf("model", i, model[i]));
        }
    }
    Attributes style = stroked("model-unmatched", kModelFree, scene.isCrowded() ? 1.1 : 1.6);
    if (scene.isCrowded()) style.emplace_back("stroke-opacity", "0.55");
    const double reach = (scene.isCrowded() ? kCrowdedShare : 1.0) * (0.8 * radius + 0.8);
    const auto group = canvas.group(style);
    for (std::size_t i = 0; i < map.size(); ++i) {
        if (map[i] >= 0) continue;
        canvas.cross(frame.toPage(scene.placed[i]), reach, {}, hintOf("model", i, model[i]));
    }
}

void drawPlot(SvgCanvas& canvas, const PictureFrame& frame, const Scene& scene, double radius,
              const PictureStyle& style) {
    drawAxes(canvas, frame);
    drawOverPhotograph(canvas, frame, style, [&] {
        if (scene.pose) drawOutline(canvas, frame, scene.placed);
        drawDataPoints(canvas, frame, scene, false, radius);
        drawDataPoints(canvas, frame, scene, true, radius);
        if (!scene.pose) return;
        drawModelPoints(canvas, frame, scene, radius);
        drawErrors(canvas, frame, scene);
    });
}

void writeFigures(Panel& panel, const Scene& scene) {
    const FoundPose& pose = *scene.pose;
    const rxVector<2> t = pose.dataFromModel.trans();
    const std::size_t poses = scene.report.poses.size();
    panel.heading(poses == 1 ? "POSE" : "BEST OF " + std::to_string(poses) + " POSES");
    panel.figure("rotation", fixedText(pose.rotationDeg(), 3) + "\u00b0");
    panel.figure("scale", fixedText(pose.scale(), 5));
    panel.figure("translation", fixedText(t.x(), 2) + ", " + fixedText(t.y(), 2));
    panel.figure("coverage", fixedText(100.0 * pose.coverage, 1) + " %");
    panel.figure("fit error (RMS)", fixedText(pose.fitError, 3));
    panel.figure("time", fixedText(scene.report.seconds, 3) + " s");
}

void writeLegend(SvgCanvas& canvas, Panel& panel, const Scene& scene) {
    constexpr double kRadius = 4.5;
    const std::size_t matched = scene.matchedDataPoints();
    const auto disc = [&](const char* colour) {
        return [&canvas, colour](const rxVector<2>& at) {
            canvas.circle(at, kRadius, {{"fill", colour}});
        };
    };
    panel.heading("LEGEND");
    panel.legend("data point, free", std::to_string(scene.dataMatched.size() - matched),
                 disc(kDataFree));
    if (!scene.pose) return;
    panel.legend("data point with a partner", std::to_string(matched), disc(kDataMatched));
    panel.legend("model point with a partner", std::to_string(scene.pose->matched()),
                 [&](const rxVector<2>& at) {
                     canvas.circle(
                         at, kRadius + 2.5,
                         {{"fill", "none"}, {"stroke", kModelPlaced}, {"stroke-width", "1.6"}});
                 });
    panel.legend("model point, no partner", std::to_string(scene.freeModelPoints()),
                 [&](const rxVector<2>& at) {
                     canvas.cross(at, kRadius, {{"stroke", kModelFree}, {"stroke-width", "1.8"}});
                 });
    panel.legend("error" + factorText(scene.errorFactor), "", [&](const rxVector<2>& at) {
        canvas.line({at.x() - 9, at.y()}, {at.x() + 9, at.y()},
                    {{"stroke", kErrorLine}, {"stroke-width", "1.4"}});
    });
}

void drawModelInset(SvgCanvas& canvas, Panel& panel, const Scene& scene, YAxis yAxis,
                    double bottom) {
    const Points& model = scene.report.model.points;
    panel.heading("THE MODEL AS GIVEN");
    const PageBox box{panel.x(), panel.y(), kPanelWidth, bottom - panel.y()};
    const PictureFrame frame(model, box, yAxis);
    canvas.rectangle({box.x, box.y}, box.width, box.height,
                     {{"fill", "#ffffff"}, {"stroke", kFrameLine}});
    drawOutline(canvas, frame, model);
    const auto group = canvas.group(filled("model", kModelPlaced));
    const double radius = std::min(3.5, markerRadius(box, model.size()));
    for (std::size_t i = 0; i < model.size(); ++i) {
        canvas.circle(frame.toPage(model[i]), radius, {}, hintOf("model", i, model[i]));
    }
}

void drawPanel(SvgCanvas& canvas, const Scene& scene, double x, double bottom, YAxis yAxis) {
    Panel panel(canvas, x, kEdge - 6);
    panel.write(scene.pose ? matchedText(*scene.pose, " of ") + " points found" : "Nothing found",
                21, kInk, "bold");
    panel.figure("model", shortFileName(scene.report.modelFile), 12);
    panel.figure("data", shortFileName(scene.report.dataFile), 12);
    panel.skip(14);
    if (scene.pose) {
        writeFigures(panel, scene);
        panel.skip(16);
    }
    writeLegend(canvas, panel, scene);
    panel.skip(16);
    // With little on the panel the model need not fill all of it.
    drawModelInset(canvas, panel, scene, yAxis, std::min(bottom, panel.y() + 20 + kPanelWidth));
}

}  // namespace

std::string matchPicture(const MatchReport& report, const PictureStyle& style) {
    Scene scene = sceneOf(report);
    Points all = everythingIn(scene);
    includePhotograph(style, all);
    const PageLayout page = layoutFor(all, kPanelHeight);
    const PictureFrame frame(all, page.plot, style.yAxis);
    if (scene.pose)
        scene.errorFactor = errorFactor(scene.pose->fitError * frame.scale(), kTypicalError);

    SvgCanvas canvas(page.width, page.height);
    canvas.rectangle({0.0, 0.0}, page.width, page.height, {{"fill", "#fafbfc"}});
    {
        const auto group = canvas.group({{"font-family", kFontFamily}});
        drawPlot(canvas, frame, scene, markerRadius(page.plot, report.data.points.size()), style);
        drawPanel(canvas, scene, page.panelX, page.bottom, style.yAxis);
    }
    return canvas.finished();
}

}  // namespace ptmatch::tool
