#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/vector.h"

namespace ptmatch::tool {

/// Writes one SVG picture, element by element. Positions are page units, x right, y down. Numbers
/// are written with a decimal point whatever the locale, text and attributes are escaped, and what
/// is no character of XML becomes a question mark, so that the result is always well formed.
class SvgCanvas {
  public:
    using Attributes = std::vector<std::pair<std::string_view, std::string>>;

    /// An empty page.
    SvgCanvas(double width, double height);

    /// A group that lasts until the returned object goes; groups may be nested.
    class Group {
      public:
        Group(const Group&) = delete;
        Group& operator=(const Group&) = delete;
        ~Group() { canvas_.endGroup(); }

      private:
        friend class SvgCanvas;
        explicit Group(SvgCanvas& canvas) : canvas_(canvas) {}
        SvgCanvas& canvas_;
    };
    [[nodiscard]] Group group(const Attributes& attributes);

    /// Until the returned object goes, shapes are drawn in white, or dark if they are light, and
    /// somewhat wider, without their names and hints, and texts not at all: an edge around what is
    /// then drawn in the same way on top, so that it stands out from a photograph.
    class Edging {
      public:
        Edging(const Edging&) = delete;
        Edging& operator=(const Edging&) = delete;
        ~Edging() { canvas_.isEdging_ = false; }

      private:
        friend class SvgCanvas;
        explicit Edging(SvgCanvas& canvas) : canvas_(canvas) { canvas_.isEdging_ = true; }
        SvgCanvas& canvas_;
    };
    [[nodiscard]] Edging edging() { return Edging(*this); }

    /// `hint` is what a viewer shows when the pointer rests on the element; none when empty.
    void circle(const rxVector<2>& center, double radius, const Attributes& attributes = {},
                std::string_view hint = {});
    void line(const rxVector<2>& from, const rxVector<2>& to, const Attributes& attributes = {});
    /// A diagonal cross, two strokes from corner to corner of a square of half width `reach`.
    void cross(const rxVector<2>& center, double reach, const Attributes& attributes = {},
               std::string_view hint = {});
    void polygon(const std::vector<rxVector<2>>& corners, const Attributes& attributes = {});
    void rectangle(const rxVector<2>& corner, double width, double height,
                   const Attributes& attributes = {});
    /// A picture stretched over a rectangle. @param source  a file or, as "data:...", itself.
    void image(const rxVector<2>& corner, double width, double height, std::string_view source,
               const Attributes& attributes = {});
    void text(const rxVector<2>& position, std::string_view text,
              const Attributes& attributes = {});
    /// Names a rectangle that groups refer to with clip-path="url(#id)".
    void clipRectangle(std::string_view id, const rxVector<2>& corner, double width, double height);

    /// The whole picture.
    /// @throws std::bad_alloc  now or in one of the calls before.
    std::string finished() const;

  private:
    void endGroup() noexcept;
    void open(std::string_view name, const Attributes& geometry, const Attributes& attributes);
    void closeWithHint(std::string_view name, std::string_view hint);

    std::string body_;
    bool isCut_ = false;  // memory ran out where a group ends
    bool isEdging_ = false;
    double width_;
    double height_;
};

/// `text` with the characters that XML reserves written as entities.
std::string xmlEscaped(std::string_view text);

}  // namespace ptmatch::tool
