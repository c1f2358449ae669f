#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "picture_frame.h"
#include "svg_canvas.h"

// What the pictures of all commands have in common: colours, a plot with axes, a panel beside it.
namespace ptmatch::tool {

// Colours that stay apart for colour-blind eyes (Okabe and Ito) on quiet greys.
constexpr auto kInk = "#1f2937";
constexpr auto kFaintInk = "#6b7280";
constexpr auto kGridLine = "#eef1f4";
constexpr auto kFrameLine = "#cbd2d9";
constexpr auto kBlue = "#0072b2";
constexpr auto kOrange = "#e6550d";
constexpr auto kMagenta = "#b3127d";
constexpr auto kGreen = "#00795c";
constexpr auto kQuietGrey = "#b6bec8";
constexpr auto kBlack = "#111827";

// Text and hints of a page.
constexpr auto kFontFamily = "DejaVu Sans, Helvetica, Arial, sans-serif";

// The page: margins, a plot of at most kPlotSide each way, a panel beside it.
constexpr double kEdge = 28.0;
constexpr double kTickRoom = 44.0;
constexpr double kPlotSide = 900.0;
constexpr double kPanelWidth = 300.0;

/// Sizes of a page whose plot shows points of a given shape.
struct PageLayout {
    PageBox plot;
    double panelX = 0.0;
    /// Where plot and panel end.
    double bottom = 0.0;
    double width = 0.0;
    double height = 0.0;
};

struct Photograph;

/// How a picture is to be drawn.
struct PictureStyle {
    YAxis yAxis = YAxis::kDown;
    /// Under everything, when the points are its pixels; null: none.
    const Photograph* photograph = nullptr;

    // Not explicit: an axis alone is a style.
    PictureStyle(YAxis axis) : yAxis(axis) {}  // NOLINT(google-explicit-constructor)
};

/// The page for `points` (not empty) with room for a panel of `panelHeight`. A wide scene gets room
/// above and below, so that plot and panel end on one line.
PageLayout layoutFor(const std::vector<rxVector<2>>& points, double panelHeight);

/// Markers shrink with the mean distance between points, so that dense scenes stay readable.
double markerRadius(const PageBox& box, std::size_t points);

/// The largest round factor, at most 100, that keeps an error of this size on the page within
/// `wanted`; 1 when it is larger anyway. Errors are usually too small to be seen.
double errorFactor(double errorOnPage, double wanted);

/// What the legend says of that factor: ", drawn 20x", or nothing for 1.
std::string factorText(double factor);

/// "kind 7 (1.5, 2)", the hint of a point.
std::string hintOf(const char* kind, std::size_t index, const rxVector<2>& p);

SvgCanvas::Attributes filled(const char* id, const char* colour);
SvgCanvas::Attributes stroked(const char* id, const char* colour, double width);

/// The white plot with its frame, and lines and numbers at round coordinates.
void drawAxes(SvgCanvas& canvas, const PictureFrame& frame);

/// The photograph in its place, a little paler than it is.
void drawPhotograph(SvgCanvas& canvas, const PictureFrame& frame, const Photograph& photograph);

/// Adds to points what has to be on the page besides: the corners of the photograph, if there is
/// one.
void includePhotograph(const PictureStyle& style, std::vector<rxVector<2>>& points);

/// Draws the plot of a picture: the photograph, if there is one, and what `draw` draws, clipped to
/// the box of the frame. Over a photograph it is called twice, first for the edges of everything.
template <typename Draw>
void drawOverPhotograph(SvgCanvas& canvas, const PictureFrame& frame, const PictureStyle& style,
                        Draw draw) {
    const PageBox& box = frame.box();
    canvas.clipRectangle("plot", {box.x, box.y}, box.width, box.height);
    const auto group = canvas.group({{"clip-path", "url(#plot)"}});
    if (style.photograph != nullptr) {
        drawPhotograph(canvas, frame, *style.photograph);
        const auto edging = canvas.edging();
        draw();
    }
    draw();
}

/// The last two parts of a path, shortened: the folder tells more than a file that is called
/// data.csv.
std::string shortFileName(const std::string& path);

/// The size of a title of the panel, so that it fits.
double titleSize(std::string_view title);

/// Writes the panel from top to bottom; `y` is the base line of what comes next.
class Panel {
  public:
    Panel(SvgCanvas& canvas, double x, double y) : canvas_(canvas), x_(x), y_(y) {}

    double x() const { return x_; }
    double y() const { return y_; }
    void skip(double height) { y_ += height; }

    void write(std::string_view text, double size, const char* colour, const char* weight);
    void heading(std::string_view text);
    /// A name on the left, its value on the right.
    void figure(std::string_view name, std::string_view value, double size = 14.0);

    /// A line of the legend; `draw` puts the symbol at the place it is given.
    template <typename Draw>
    void legend(std::string_view name, const std::string& value, Draw draw) {
        y_ += 16;
        draw(rxVector<2>(x_ + 11, y_ - 5));
        writeLegend(name, value);
    }

  private:
    void writeLegend(std::string_view name, const std::string& value);

    SvgCanvas& canvas_;
    double x_;
    double y_;
};

}  // namespace ptmatch::tool
