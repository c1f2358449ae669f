#include "svg_canvas.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <initializer_list>
#include <new>

#include "number_text.h"
#include "shown_text.h"

namespace ptmatch::tool {
namespace {

// Page coordinates: a hundredth of a unit is finer than any screen, and no page reaches the bound,
// which keeps absurd input from producing numbers that viewers refuse.
std::string pageNumber(double value) {
    constexpr double kFarOutside = 1e6;
    if (std::isnan(value)) value = 0.0;
    std::string text = fixedText(std::clamp(value, -kFarOutside, kFarOutside), 2);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    return text;
}

// Adds pieces one by one. A chain of + would copy, and a literal followed by a string in it sets
// off a false alarm of GCC 12 (-Wrestrict).
void append(std::string& text, std::initializer_list<std::string_view> pieces) {
    for (const std::string_view piece : pieces) text += piece;
}

// Whether a colour "#rrggbb" is a light one, by its green alone, which counts most.
bool isLight(const std::string& colour) {
    constexpr std::size_t kGreen = 3;
    return colour.size() == 7 && colour[kGreen] >= '9';
}

// The attributes of an edge around what has these: white, around light colours dark.
SvgCanvas::Attributes edgeOf(const SvgCanvas::Attributes& attributes) {
    SvgCanvas::Attributes edge;
    const std::string* fill = nullptr;
    const std::string* stroke = nullptr;
    for (const auto& [key, value] : attributes) {
        if (key == "fill" && value != "none") fill = &value;
        if (key == "stroke") stroke = &value;
    }
    const std::string* const colour = stroke != nullptr ? stroke : fill;
    const bool isDark = colour != nullptr && isLight(*colour);
    const std::string edgeColour = isDark ? "#111827" : "#ffffff";
    const double wider = isDark ? 1.4 : 2.6;
    for (const auto& [key, value] : attributes) {
        if (key == "id") continue;
        const bool isColour = (key == "fill" || key == "stroke") && value != "none";
        const bool isWidth = key == "stroke-width";
        edge.emplace_back(key, isColour ? edgeColour
                               : isWidth
                                   ? significantText(parseNumber(value).value_or(1.0) + wider, 4)
                                   : value);
    }
    if (fill != nullptr && stroke == nullptr) {
        edge.emplace_back("stroke", edgeColour);
        edge.emplace_back("stroke-width", shortText(wider));
    }
    return edge;
}

// As characterLength(), 0 also for what XML does not admit.
std::size_t xmlCharacterLength(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    const bool isControl = lead < 0x20 && lead != '\t' && lead != '\n';
    const std::string_view start = text.substr(0, 3);
    const bool isNoCharacter =
        start == "\xef\xbf\xbe" || start == "\xef\xbf\xbf";  // U+FFFE, U+FFFF
    return isControl || isNoCharacter ? 0 : characterLength(text);
}

}  // namespace

std::string xmlEscaped(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t length = xmlCharacterLength(text);
        if (length == 0) {
            result += '?';
            text.remove_prefix(1);
            continue;
        }
        const char c = text.front();
        if (c == '&') {
            result += "&amp;";
        } else if (c == '<') {
            result += "&lt;";
        } else if (c == '>') {
            result += "&gt;";
        } else if (c == '"') {
            result += "&quot;";
        } else {
            result += text.substr(0, length);
        }
        text.remove_prefix(length);
    }
    return result;
}

SvgCanvas::SvgCanvas(double width, double height) : width_(width), height_(height) {}

SvgCanvas::Group SvgCanvas::group(const Attributes& attributes) {
    open("g", {}, attributes);
    body_ += ">\n";
    return Group(*this);
}

// Called by a destructor, perhaps because memory ran out: it cannot throw, finished() does.
void SvgCanvas::endGroup() noexcept {
    try {
        body_ += "</g>\n";
    } catch (const std::bad_alloc&) {
        isCut_ = true;
    }
}

void SvgCanvas::circle(const rxVector<2>& center, double radius, const Attributes& attributes,
                       std::string_view hint) {
    open(
        "circle",
        {{"cx", pageNumber(center.x())}, {"cy", pageNumber(center.y())}, {"r", pageNumber(radius)}},
        attributes);
    closeWithHint("circle", hint);
}

void SvgCanvas::line(const rxVector<2>& from, const rxVector<2>& to, const Attributes& attributes) {
    open("line",
         {{"x1", pageNumber(from.x())},
          {"y1", pageNumber(from.y())},
          {"x2", pageNumber(to.x())},
          {"y2", pageNumber(to.y())}},
         attributes);
    closeWithHint("line", {});
}

void SvgCanvas::cross(const rxVector<2>& center, double reach, const Attributes& attributes,
                      std::string_view hint) {
    std::string strokes;
    const auto stroke = [&](double dx, double dy) {
        append(strokes, {"M", pageNumber(center.x() - dx), " ", pageNumber(center.y() - dy), "L",
                         pageNumber(center.x() + dx), " ", pageNumber(center.y() + dy)});
    };
    stroke(reach, reach);
    stroke(reach, -reach);
    open("path", {{"d", strokes}}, attributes);
    closeWithHint("path", hint);
}

void SvgCanvas::polygon(const std::vector<rxVector<2>>& corners, const Attributes& attributes) {
    std::string points;
    for (const rxVector<2>& corner : corners) {
        append(points,
               {points.empty() ? "" : " ", pageNumber(corner.x()), ",", pageNumber(corner.y())});
    }
    open("polygon", {{"points", points}}, attributes);
    closeWithHint("polygon", {});
}

void SvgCanvas::rectangle(const rxVector<2>& corner, double width, double height,
                          const Attributes& attributes) {
    open("rect",
         {{"x", pageNumber(corner.x())},
          {"y", pageNumber(corner.y())},
          {"width", pageNumber(width)},
          {"height", pageNumber(height)}},
         attributes);
    closeWithHint("rect", {});
}

void SvgCanvas::image(const rxVector<2>& corner, double width, double height,
                      std::string_view source, const Attributes& attributes) {
    open("image",
         {{"x", pageNumber(corner.x())},
          {"y", pageNumber(corner.y())},
          {"width", pageNumber(width)},
          {"height", pageNumber(height)},
          {"preserveAspectRatio", "none"}},
         attributes);
    // The name that older viewers know it by, too.
    append(body_, {" xmlns:xlink=\"http://www.w3.org/1999/xlink\" xlink:href=\"",
                   xmlEscaped(source), "\"/>\n"});
}

void SvgCanvas::text(const rxVector<2>& position, std::string_view text,
                     const Attributes& attributes) {
    if (isEdging_) return;
    open("text", {{"x", pageNumber(position.x())}, {"y", pageNumber(position.y())}}, attributes);
    append(body_, {">", xmlEscaped(text), "</text>\n"});
}

void SvgCanvas::clipRectangle(std::string_view id, const rxVector<2>& corner, double width,
                              double height) {
    open("clipPath", {{"id", std::string(id)}}, {});
    body_ += ">\n";
    rectangle(corner, width, height);
    body_ += "</clipPath>\n";
}

std::string SvgCanvas::finished() const {
    if (isCut_) throw std::bad_alloc();
    const std::string width = pageNumber(width_);
    const std::string height = pageNumber(height_);
    std::string svg = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    append(svg, {"<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"", width, "\" height=\"",
                 height, "\" viewBox=\"0 0 ", width, " ", height, "\">\n", body_, "</svg>\n"});
    return svg;
}

void SvgCanvas::open(std::string_view name, const Attributes& geometry,
                     const Attributes& attributes) {
    append(body_, {"<", name});
    const Attributes edge = isEdging_ ? edgeOf(attributes) : Attributes();
    for (const Attributes* list : {&geometry, isEdging_ ? &edge : &attributes}) {
        for (const auto& [key, value] : *list) {
            append(body_, {" ", key, "=\"", xmlEscaped(value), "\""});
        }
    }
}

void SvgCanvas::closeWithHint(std::string_view name, std::string_view hint) {
    if (hint.empty() || isEdging_) {
        body_ += "/>\n";
    } else {
        append(body_, {"><title>", xmlEscaped(hint), "</title></", name, ">\n"});
    }
}

}  // namespace ptmatch::tool
