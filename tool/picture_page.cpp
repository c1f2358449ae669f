#include "picture_page.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>

#include "number_text.h"
#include "photograph.h"

namespace ptmatch::tool {
namespace {

int decimalsOf(double step) {
    return std::clamp(static_cast<int>(-std::floor(std::log10(step))), 0, 12);
}

}  // namespace

PageLayout layoutFor(const std::vector<rxVector<2>>& points, double panelHeight) {
    const double aspect = aspectOf(points, (panelHeight - kEdge) / kPlotSide, 3.0);
    PageLayout layout;
    layout.plot = {kEdge + kTickRoom, kEdge, kPlotSide * std::min(1.0, 1.0 / aspect),
                   kPlotSide * std::min(1.0, aspect)};
    layout.panelX = layout.plot.x + layout.plot.width + kEdge;
    layout.bottom = std::max(layout.plot.y + layout.plot.height, panelHeight);
    layout.width = layout.panelX + kPanelWidth + kEdge;
    layout.height = layout.bottom + kEdge + 12;
    return layout;
}

double markerRadius(const PageBox& box, std::size_t points) {
    const double spacing = std::sqrt(box.width * box.height / static_cast<double>(points));
    return std::clamp(0.1 * spacing, 1.6, 4.5);
}

double errorFactor(double errorOnPage, double wanted) {
    constexpr std::array kFactors = {100.0, 50.0, 20.0, 10.0, 5.0, 2.0};
    if (!(errorOnPage > 0.0)) return 1.0;
    for (const double factor : kFactors) {
        if (factor * errorOnPage <= wanted) return factor;
    }
    return 1.0;
}

std::string factorText(double factor) {
    return factor == 1.0 ? "" : ", drawn " + fixedText(factor, 0) + "\u00d7";
}

std::string hintOf(const char* kind, std::size_t index, const rxVector<2>& p) {
    return std::string(kind) + " " + std::to_string(index) + " (" + shortText(p.x()) + ", " +
           shortText(p.y()) + ")";
}

SvgCanvas::Attributes filled(const char* id, const char* colour) {
    return {{"id", id}, {"fill", colour}};
}

SvgCanvas::Attributes stroked(const char* id, const char* colour, double width) {
    return {{"id", id},
            {"fill", "none"},
            {"stroke", colour},
            {"stroke-width", shortText(width)},
            {"stroke-linecap", "round"}};
}

void drawAxes(SvgCanvas& canvas, const PictureFrame& frame) {
    const PageBox& box = frame.box();
    const auto group = canvas.group(
        {{"id", "axes"}, {"font-size", "12"}, {"fill", kFaintInk}, {"stroke", "none"}});
    canvas.rectangle({box.x, box.y}, box.width, box.height, {{"fill", "#ffffff"}});
    const SvgCanvas::Attributes gridLine = {{"stroke", kGridLine}};
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

void drawPhotograph(SvgCanvas& canvas, const PictureFrame& frame, const Photograph& photograph) {
    const rxVector<2> corner = frame.toPage(photograph.corners().front());
    canvas.image(corner, frame.scale() * static_cast<double>(photograph.width),
                 frame.scale() * static_cast<double>(photograph.height), photograph.dataUri,
                 {{"id", "photograph"},
                  {"opacity", "0.8"},
                  // Pixels as they are stored, whatever the camera noted about its position.
                  {"style", "image-orientation:none"}});
}

void includePhotograph(const PictureStyle& style, std::vector<rxVector<2>>& points) {
    if (style.photograph == nullptr) return;
    const std::vector<rxVector<2>> corners = style.photograph->corners();
    points.insert(points.end(), corners.begin(), corners.end());
}

std::string shortFileName(const std::string& path) {
    constexpr std::size_t kLongest = 34;
    const std::filesystem::path whole(path);
    const std::string name = (whole.parent_path().filename() / whole.filename()).generic_string();
    return name.size() <= kLongest ? name : "..." + name.substr(name.size() - kLongest);
}

double titleSize(std::string_view title) {
    constexpr double kLargest = 21.0;
    constexpr double kMostAtLargest = 23.0;  // characters
    return kLargest * std::min(1.0, kMostAtLargest / static_cast<double>(title.size()));
}

void Panel::write(std::string_view text, double size, const char* colour, const char* weight) {
    y_ += size;
    canvas_.text({x_, y_}, text,
                 {{"font-size", shortText(size)}, {"fill", colour}, {"font-weight", weight}});
    y_ += 0.45 * size;
}

void Panel::heading(std::string_view text) {
    write(text, 12, kFaintInk, "bold");
    canvas_.line({x_, y_ + 1}, {x_ + kPanelWidth, y_ + 1}, {{"stroke", kFrameLine}});
    y_ += 8;
}

void Panel::figure(std::string_view name, std::string_view value, double size) {
    y_ += size + 2;
    canvas_.text({x_, y_}, name, {{"font-size", shortText(size)}, {"fill", kFaintInk}});
    canvas_.text({x_ + kPanelWidth, y_}, value,
                 {{"font-size", shortText(size)}, {"fill", kInk}, {"text-anchor", "end"}});
    y_ += size / 2;
}

void Panel::writeLegend(std::string_view name, const std::string& value) {
    canvas_.text({x_ + 32, y_}, name, {{"font-size", "14"}, {"fill", kInk}});
    canvas_.text({x_ + kPanelWidth, y_}, value,
                 {{"font-size", "14"}, {"fill", kInk}, {"text-anchor", "end"}});
    y_ += 7;
}

}  // namespace ptmatch::tool
