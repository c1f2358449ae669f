#include "lattice_drawing.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>

#include "plane_vectors.h"

namespace ptmatch::tool {
namespace {

constexpr auto kLatticeLine = "#9cc3de";
constexpr double kLabelSize = 12.0;
// How far beyond the outermost nodes lines, arrows and labels go: steps, then page units.
constexpr double kLineBeyond = 0.35;
constexpr double kArrowBeyond = 0.8;
constexpr double kLabelAway = 15.0;

// Everything is drawn along two axes in the same way; `isI` tells which one is meant.
rxVector<2> gridPoint(bool isI, double along, double across) {
    return isI ? rxVector<2>(along, across) : rxVector<2>(across, along);
}

struct Span {
    double low;
    double high;

    double count() const { return high - low + 1.0; }
};

Span spanOf(const Lattice& lattice, bool isI) {
    return isI ? Span{static_cast<double>(lattice.low.x()), static_cast<double>(lattice.high.x())}
               : Span{static_cast<double>(lattice.low.y()), static_cast<double>(lattice.high.y())};
}

class Drawing {
  public:
    Drawing(SvgCanvas& canvas, const PictureFrame& frame, const Lattice& lattice)
        : canvas_(canvas), frame_(frame), lattice_(lattice) {}

    // The lines along which the other position changes.
    void lines(bool isI) {
        constexpr double kMostLines = 200.0;
        const Span along = spanOf(lattice_, isI);
        const Span across = spanOf(lattice_, !isI);
        const double stride = std::max(1.0, std::ceil(along.count() / kMostLines));
        // No more than kMostLines, whatever the stride.
        const auto lines = static_cast<int>((along.high - along.low) / stride);
        for (int k = 0; k <= lines; ++k) {
            const double at = along.low + k * stride;
            canvas_.line(page(gridPoint(isI, at, across.low - kLineBeyond)),
                         page(gridPoint(isI, at, across.high + kLineBeyond)));
        }
    }

    void axis(bool isI, std::string_view name) {
        const Span along = spanOf(lattice_, isI);
        const double across = spanOf(lattice_, !isI).low;
        const char* const colour = isI ? kAxisIColour : kAxisJColour;
        const rxVector<2> from = page(gridPoint(isI, along.low, across));
        const rxVector<2> to = page(gridPoint(isI, along.high + kArrowBeyond, across));
        const rxVector<2> ahead = unit(to - from);
        if (ahead.isNull()) return;
        const rxVector<2> side(-ahead.y(), ahead.x());
        const auto group =
            canvas_.group({{"id", isI ? "axis-i" : "axis-j"}, {"stroke-linejoin", "round"}});
        const rxVector<2> neck = to - scaled(ahead, 8.0);
        canvas_.line(from, neck, {{"stroke", colour}, {"stroke-width", "2.2"}});
        canvas_.polygon({to, neck + scaled(side, 4.5), neck - scaled(side, 4.5)},
                        {{"fill", colour}});
        label(to + scaled(ahead, 4.0 + kLabelSize * textHalf(name, ahead)), name, colour, 15.0);
    }

    // The numbers of the positions along an axis, on the side away from the lattice.
    void numbers(bool isI) {
        const Span along = spanOf(lattice_, isI);
        const double across = spanOf(lattice_, !isI).low;
        const rxVector<2> step = stepOnPage(isI);
        const rxVector<2> away = unit(rxVector<2>() - stepOnPage(!isI));
        const std::size_t digits = std::max(std::to_string(std::lround(along.low)).size(),
                                            std::to_string(std::lround(along.high)).size());
        const double stride =
            labelStride(along, step.len(), 6.0 + 7.5 * static_cast<double>(digits));
        const double first = std::ceil(along.low / stride) * stride;
        constexpr double kMostLabels = 1000.0;  // far more than a page has room for
        const auto count =
            static_cast<int>(std::min(std::floor((along.high - first) / stride), kMostLabels));
        for (int k = 0; k <= count; ++k) {
            const double at = first + k * stride;
            label(page(gridPoint(isI, at, across)) + scaled(away, kLabelAway),
                  std::to_string(std::lround(at)), isI ? kAxisIColour : kAxisJColour, kLabelSize);
        }
    }

  private:
    rxVector<2> page(const rxVector<2>& position) const {
        return frame_.toPage(lattice_.dataFromGrid * position);
    }
    rxVector<2> stepOnPage(bool isI) const {
        return page(gridPoint(isI, 1.0, 0.0)) - page(gridPoint(isI, 0.0, 0.0));
    }
    static rxVector<2> unit(const rxVector<2>& v) {
        const double length = v.len();
        return length > 0.0 && std::isfinite(length) ? scaled(v, 1.0 / length) : rxVector<2>();
    }
    // Half the extent of a text in a direction, in units of its size.
    static double textHalf(std::string_view text, const rxVector<2>& direction) {
        const double halfWidth = 0.35 * static_cast<double>(text.size());
        return std::abs(direction.x()) * halfWidth + std::abs(direction.y()) * 0.5;
    }
    // 1, 2, 5, 10, ... positions from one number to the next, so that there is room for each.
    static double labelStride(const Span& along, double stepLength, double room) {
        double stride = 1.0;
        for (int n = 0; stride * stepLength < room && stride < along.count(); ++n) {
            stride *= n % 3 == 1 ? 2.5 : 2.0;
        }
        return stride;
    }
    void label(const rxVector<2>& at, std::string_view text, const char* colour, double size) {
        canvas_.text({at.x(), at.y() + 0.36 * size}, text,
                     {{"text-anchor", "middle"},
                      {"fill", colour},
                      {"font-size", std::to_string(static_cast<int>(size))},
                      {"font-weight", "bold"},
                      {"paint-order", "stroke"},
                      {"stroke", "#ffffff"},
                      {"stroke-width", "3"}});
    }

    SvgCanvas& canvas_;
    const PictureFrame& frame_;
    const Lattice& lattice_;
};

}  // namespace

std::vector<rxVector<2>> surroundings(const Lattice& lattice) {
    constexpr double kAround = 1.2;
    const Span i = spanOf(lattice, true);
    const Span j = spanOf(lattice, false);
    std::vector<rxVector<2>> corners;
    for (const double x : {i.low - kAround, i.high + kAround}) {
        for (const double y : {j.low - kAround, j.high + kAround}) {
            corners.push_back(lattice.dataFromGrid * rxVector<2>(x, y));
        }
    }
    std::erase_if(corners, [](const rxVector<2>& corner) { return !corner.isFinite(); });
    return corners;
}

void drawLatticeLines(SvgCanvas& canvas, const PictureFrame& frame, const Lattice& lattice,
                      const char* id) {
    const auto group = canvas.group(stroked(id, kLatticeLine, 0.8));
    Drawing drawing(canvas, frame, lattice);
    drawing.lines(true);
    drawing.lines(false);
}

void drawLatticeAxes(SvgCanvas& canvas, const PictureFrame& frame, const Lattice& lattice,
                     std::string_view iName, std::string_view jName) {
    Drawing drawing(canvas, frame, lattice);
    drawing.axis(true, iName);
    drawing.axis(false, jName);
    const auto group = canvas.group({{"id", "labels"}});
    drawing.numbers(true);
    drawing.numbers(false);
}

}  // namespace ptmatch::tool
