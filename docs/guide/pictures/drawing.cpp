#include "drawing.h"

#include <cstdio>

#include "csv_points.h"

namespace ptmatch::guide {
namespace {

constexpr double kRoundedStroke = 1.8;

}  // namespace

Points pointsOf(const std::string& table) {
    return tool::readPoints("data/" + table + ".csv").points;
}

Points mapped(const rxXform<2>& xform, const Points& points) {
    Points images;
    images.reserve(points.size());
    for (const rxVector<2>& p : points) images.push_back(xform * p);
    return images;
}

std::string fixed(double value, int digits) {
    std::string text(64, '\0');
    const int length = std::snprintf(text.data(), text.size(), "%.*f", digits, value);
    text.resize(static_cast<std::size_t>(length));
    return text;
}

Page::Page(double width, double height) : canvas_(width, height) {
    canvas_.rectangle(rxVector<2>(0, 0), width, height, {{"fill", "#fafbfc"}});
}

void Page::text(const rxVector<2>& position, std::string_view text, double size, const char* colour,
                const char* anchor) {
    canvas_.text(position, text,
                 {{"font-family", tool::kFontFamily},
                  {"font-size", fixed(size, 0)},
                  {"fill", colour},
                  {"text-anchor", anchor}});
}

void Page::title(const rxVector<2>& position, std::string_view text) {
    canvas_.text(position, text,
                 {{"font-family", tool::kFontFamily},
                  {"font-size", "15"},
                  {"font-weight", "bold"},
                  {"fill", tool::kInk}});
}

std::string Page::finished() {
    return canvas_.finished();
}

Plot::Plot(Page& page, const PageBox& box, const Points& shown)
    : canvas_(page.canvas()),
      frame_(shown, box, tool::YAxis::kDown),
      clip_("plot-" + fixed(box.x, 0) + "-" + fixed(box.y, 0)) {
    canvas_.rectangle(rxVector<2>(box.x, box.y), box.width, box.height,
                      {{"fill", "#ffffff"}, {"stroke", tool::kFrameLine}});
    canvas_.clipRectangle(clip_, rxVector<2>(box.x, box.y), box.width, box.height);
}

void Plot::dots(const Points& points, double radius, const char* colour) {
    const auto group = canvas_.group({{"fill", colour}, {"clip-path", "url(#" + clip_ + ")"}});
    for (const rxVector<2>& p : points) canvas_.circle(at(p), radius);
}

void Plot::rings(const Points& points, double radius, const char* colour) {
    const auto group = canvas_.group({{"fill", "none"},
                                      {"stroke", colour},
                                      {"stroke-width", fixed(kRoundedStroke, 1)},
                                      {"clip-path", "url(#" + clip_ + ")"}});
    for (const rxVector<2>& p : points) canvas_.circle(at(p), radius);
}

void Plot::crosses(const Points& points, double reach, const char* colour) {
    const auto group = canvas_.group({{"stroke", colour},
                                      {"stroke-width", fixed(kRoundedStroke, 1)},
                                      {"clip-path", "url(#" + clip_ + ")"}});
    for (const rxVector<2>& p : points) canvas_.cross(at(p), reach);
}

void Plot::outline(const Points& points, const char* colour) {
    Points corners = mapped(rxXform<2>(), tool::convexHull(points));
    for (rxVector<2>& corner : corners) corner = at(corner);
    const auto group = canvas_.group({{"clip-path", "url(#" + clip_ + ")"}});
    canvas_.polygon(corners, {{"fill", colour},
                              {"fill-opacity", "0.07"},
                              {"stroke", colour},
                              {"stroke-opacity", "0.4"},
                              {"stroke-width", "1.2"},
                              {"stroke-linejoin", "round"}});
}

void Plot::rectangle(const rxVector<2>& low, const rxVector<2>& high,
                     const SvgCanvas::Attributes& attributes) {
    const rxVector<2> corner = at(low);
    const rxVector<2> size = at(high) - corner;
    const auto group = canvas_.group({{"clip-path", "url(#" + clip_ + ")"}});
    canvas_.rectangle(corner, size.x(), size.y(), attributes);
}

}  // namespace ptmatch::guide
