#include "drawing.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <utility>

#include "csv_points.h"
#include "ptmatch/ppmatch.h"

namespace ptmatch::guide {
namespace {

constexpr double kStroke = 1.8;

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

FoundCard foundCard() {
    FoundCard card;
    card.model = pointsOf("demo_pick/model");
    card.data = pointsOf("demo_pick/data");
    rxPointMatcher matcher;
    matcher.train(card.model, rxPointMatcherDefs::eAutoDetect);
    rxPointMatcherResultSet found;
    matcher.run(card.data, rxPointMatcherRunParams(), found);
    const rxPointMatcherResult& best = found.results().at(0);
    card.pose = best.modelToDataXform();
    card.map = best.modelToDataMap();
    if (std::ranges::any_of(card.map, [](long k) { return k < 0; })) {
        throw std::runtime_error("a dot of the card has no partner");
    }
    return card;
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

SvgCanvas::Group Plot::clipped(SvgCanvas::Attributes attributes) {
    attributes.emplace_back("clip-path", "url(#" + clip_ + ")");
    return canvas_.group(attributes);
}

void Plot::dots(const Points& points, double radius, const char* colour) {
    const auto group = clipped({{"fill", colour}});
    for (const rxVector<2>& p : points) canvas_.circle(at(p), radius);
}

void Plot::rings(const Points& points, double radius, const char* colour) {
    const auto group =
        clipped({{"fill", "none"}, {"stroke", colour}, {"stroke-width", fixed(kStroke, 1)}});
    for (const rxVector<2>& p : points) canvas_.circle(at(p), radius);
}

void Plot::crosses(const Points& points, double reach, const char* colour) {
    const auto group = clipped({{"stroke", colour}, {"stroke-width", fixed(kStroke, 1)}});
    for (const rxVector<2>& p : points) canvas_.cross(at(p), reach);
}

void Plot::outline(const Points& points, const char* colour) {
    Points corners = tool::convexHull(points);
    for (rxVector<2>& corner : corners) corner = at(corner);
    const auto group = clipped();
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
    const auto group = clipped();
    canvas_.rectangle(corner, size.x(), size.y(), attributes);
}

}  // namespace ptmatch::guide
