#include "match_picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "number_text.h"
#include "result_table.h"
#include "svg_canvas.h"

namespace ptmatch::tool {
namespace {

using Points = std::vector<rxVector<2>>;
using Attributes = SvgCanvas::Attributes;

// Colours that stay apart for colour-blind eyes (Okabe and Ito) on quiet greys.
constexpr auto kInk = "#1f2937";
constexpr auto kFaintInk = "#6b7280";
constexpr auto kGridLine = "#eef1f4";
constexpr auto kFrameLine = "#cbd2d9";
constexpr auto kDataFree = "#b6bec8";
constexpr auto kDataMatched = "#0072b2";
constexpr auto kModelPlaced = "#e6550d";
constexpr auto kModelFree = "#b3127d";
constexpr auto kErrorLine = "#111827";

// The page: margins, a plot of at most kPlotSide each way, a panel beside it.
constexpr double kEdge = 28.0;
constexpr double kTickRoom = 44.0;
constexpr double kPlotSide = 900.0;
constexpr double kPanelWidth = 300.0;
constexpr double kPanelHeight = 740.0;

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

// The largest round factor that keeps a typical error at about the size of a marker.
double errorFactor(double errorOnPage) {
    constexpr double kWanted = 12.0;
    constexpr std::array kFactors = {100.0, 50.0, 20.0, 10.0, 5.0, 2.0};
    if (!(errorOnPage > 0.0)) return 1.0;
    for (const double factor : kFactors) {
        if (factor * errorOnPage <= kWanted) return factor;
    }
    return 1.0;
}

// Markers shrink with the mean distance between points, so that dense scenes stay readable.
double markerRadius(const PageBox& box, std::size_t points) {
    const double spacing = std::sqrt(box.width * box.height / static_cast<double>(points));
    return std::clamp(0.1 * spacing, 1.6, 4.5);
}

std::string pixels(double value) {
    return shortText(value);
}

std::string hintOf(const char* kind, std::size_t index, const rxVector<2>& p) {
    return std::string(kind) + " " + std::to_string(index) + " (" + shortText(p.x()) + ", " +
           shortText(p.y()) + ")";
}

Attributes filled(const char* id, const char* colour) {
    return {{"id", id}, {"fill", colour}};
}

Attributes stroked(const char* id, const char* colour, double width) {
    return {{"id", id},
            {"fill", "none"},
            {"stroke", colour},
            {"stroke-width", pixels(width)},
            {"stroke-linecap", "round"}};
}

int decimalsOf(double step) {
    return std::clamp(static_cast<int>(-std::floor(std::log10(step))), 0, 12);
}

void drawAxes(SvgCanvas& canvas, const PictureFrame& frame) {
    const PageBox& box = frame.box();
    const auto group = canvas.group(
        {{"id", "axes"}, {"font-size", "12"}, {"fill", kFaintInk}, {"stroke", "none"}});
    canvas.rectangle({box.x, box.y}, box.width, box.height, {{"fill", "#ffffff"}});
    const Attributes gridLine = {{"stroke", kGridLine}};
    double step = 1.0;
    for (const double tick : frame.xTicks(8, step)) {
        const double x = frame.toPage({tick, 0.0}).x();
        canvas.line({x, box.y}, {x, box.y + box.height}, gridLine);
        canvas.text({x, box.y + box.height + 20}, fixedText(tick, decimalsOf(step)),
                    {{"text-anchor", "middle"}});
    }
    for (const double tick : frame.yTicks(8, step)) {
        const double y = frame.toPage({0.0, tick}).y();
        canvas.line({box.x, y}, {box.x + box.width, y}, gridLine);
        canvas.text({box.x - 9, y + 4}, fixedText(tick, decimalsOf(step)),
                    {{"text-anchor", "end"}});
    }
    canvas.rectangle({box.x, box.y}, box.width, box.height,
                     {{"fill", "none"}, {"stroke", kFrameLine}});
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

void drawPlot(SvgCanvas& canvas, const PictureFrame& frame, const Scene& scene, double radius) {
    const PageBox& box = frame.box();
    drawAxes(canvas, frame);
    canvas.clipRectangle("plot", {box.x, box.y}, box.width, box.height);
    const auto group = canvas.group({{"clip-path", "url(#plot)"}});
    if (scene.pose) drawOutline(canvas, frame, scene.placed);
    drawDataPoints(canvas, frame, scene, false, radius);
    drawDataPoints(canvas, frame, scene, true, radius);
    if (!scene.pose) return;
    drawModelPoints(canvas, frame, scene, radius);
    drawErrors(canvas, frame, scene);
}

// Writes the panel from top to bottom; `y` is the base line of what comes next.
class Panel {
  public:
    Panel(SvgCanvas& canvas, double x, double y) : canvas_(canvas), x_(x), y_(y) {}

    double x() const { return x_; }
    double y() const { return y_; }
    void skip(double height) { y_ += height; }

    void write(std::string_view text, double size, const char* colour, const char* weight) {
        y_ += size;
        canvas_.text({x_, y_}, text,
                     {{"font-size", pixels(size)}, {"fill", colour}, {"font-weight", weight}});
        y_ += 0.45 * size;
    }
    void heading(std::string_view text) {
        write(text, 12, kFaintInk, "bold");
        canvas_.line({x_, y_ + 1}, {x_ + kPanelWidth, y_ + 1}, {{"stroke", kFrameLine}});
        y_ += 8;
    }
    void figure(std::string_view name, std::string_view value, double size = 14.0) {
        y_ += size + 2;
        canvas_.text({x_, y_}, name, {{"font-size", pixels(size)}, {"fill", kFaintInk}});
        canvas_.text({x_ + kPanelWidth, y_}, value,
                     {{"font-size", pixels(size)}, {"fill", kInk}, {"text-anchor", "end"}});
        y_ += size / 2;
    }
    // A line of the legend; `draw` puts the symbol at the place it is given.
    template <typename Draw>
    void legend(std::string_view name, const std::string& value, Draw draw) {
        y_ += 16;
        draw(rxVector<2>(x_ + 11, y_ - 5));
        canvas_.text({x_ + 32, y_}, name, {{"font-size", "14"}, {"fill", kInk}});
        canvas_.text({x_ + kPanelWidth, y_}, value,
                     {{"font-size", "14"}, {"fill", kInk}, {"text-anchor", "end"}});
        y_ += 7;
    }

  private:
    SvgCanvas& canvas_;
    double x_;
    double y_;
};

std::string fileName(const std::string& path) {
    constexpr std::size_t kLongest = 34;
    // The folder tells more than a file that is called model.csv, so one level of it stays.
    const std::filesystem::path whole(path);
    const std::string name = (whole.parent_path().filename() / whole.filename()).generic_string();
    return name.size() <= kLongest ? name : "..." + name.substr(name.size() - kLongest);
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
    const std::string factor =
        scene.errorFactor == 1.0 ? "" : ", drawn " + fixedText(scene.errorFactor, 0) + "\u00d7";
    panel.legend("error" + factor, "", [&](const rxVector<2>& at) {
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
    panel.figure("model", fileName(scene.report.modelFile), 12);
    panel.figure("data", fileName(scene.report.dataFile), 12);
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

std::string matchPicture(const MatchReport& report, YAxis yAxis) {
    Scene scene = sceneOf(report);
    const Points all = everythingIn(scene);
    // A wide scene gets room above and below, so that plot and panel end on one line.
    const double aspect = aspectOf(all, (kPanelHeight - kEdge) / kPlotSide, 3.0);
    const PageBox plot{kEdge + kTickRoom, kEdge, kPlotSide * std::min(1.0, 1.0 / aspect),
                       kPlotSide * std::min(1.0, aspect)};
    const PictureFrame frame(all, plot, yAxis);
    if (scene.pose) scene.errorFactor = errorFactor(scene.pose->fitError * frame.scale());

    const double panelX = plot.x + plot.width + kEdge;
    const double bottom = std::max(plot.y + plot.height, kPanelHeight);
    const double width = panelX + kPanelWidth + kEdge;
    const double height = bottom + kEdge + 12;
    SvgCanvas canvas(width, height);
    canvas.rectangle({0.0, 0.0}, width, height, {{"fill", "#fafbfc"}});
    {
        const auto page =
            canvas.group({{"font-family", "DejaVu Sans, Helvetica, Arial, sans-serif"}});
        drawPlot(canvas, frame, scene, markerRadius(plot, report.data.points.size()));
        drawPanel(canvas, scene, panelX, bottom, yAxis);
    }
    return canvas.finished();
}

}  // namespace ptmatch::tool
