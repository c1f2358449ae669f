#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/vector.h"
#include "foundation/xform.h"
#include "picture_frame.h"
#include "picture_page.h"
#include "svg_canvas.h"

// What the pictures of the guide have in common. Colours and text are those of the tool.
namespace ptmatch::guide {

using tool::PageBox;
using tool::SvgCanvas;
using Points = std::vector<rxVector<2>>;

/// The points of a table, "demo_pick/model" of data/demo_pick/model.csv.
Points pointsOf(const std::string& table);

Points mapped(const rxXform<2>& xform, const Points& points);

/// A number with so many digits behind the point.
std::string fixed(double value, int digits);

/// A page with the background and the font of the tool's pictures.
class Page {
  public:
    Page(double width, double height);

    SvgCanvas& canvas() { return canvas_; }

    /// Text at its left end; `colour` of the tool's.
    void text(const rxVector<2>& position, std::string_view text, double size = 14.0,
              const char* colour = tool::kInk, const char* anchor = "start");
    /// The title of a plot, bold, at the left end of its base line.
    void title(const rxVector<2>& position, std::string_view text);

    std::string finished();

  private:
    SvgCanvas canvas_;
};

/// Where the card of 30 dots (data/demo_pick) lies, as a search with the defaults finds it.
struct FoundCard {
    Points model;
    Points data;
    rxXform<2> pose;
    std::vector<long> map;  ///< the index of the data point of each model point
};
FoundCard foundCard();

/// A white box with a frame, in which points of the plane are drawn at one scale, y down. What lies
/// outside is cut off.
class Plot {
  public:
    /// @param shown  points that lie in the box, with a margin.
    Plot(Page& page, const PageBox& box, const Points& shown);

    rxVector<2> at(const rxVector<2>& point) const { return frame_.toPage(point); }
    double scale() const { return frame_.scale(); }
    const PageBox& box() const { return frame_.box(); }

    /// What is drawn while the group lives is cut off at the box.
    [[nodiscard]] SvgCanvas::Group clipped(SvgCanvas::Attributes attributes = {});

    void dots(const Points& points, double radius, const char* colour);
    void rings(const Points& points, double radius, const char* colour);
    void crosses(const Points& points, double reach, const char* colour);
    /// The area inside the outermost points.
    void outline(const Points& points, const char* colour);
    /// A rectangle given by two corners of the plane.
    void rectangle(const rxVector<2>& low, const rxVector<2>& high,
                   const SvgCanvas::Attributes& attributes);

  private:
    SvgCanvas& canvas_;
    tool::PictureFrame frame_;
    std::string clip_;
};

}  // namespace ptmatch::guide
