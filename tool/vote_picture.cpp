#include "vote_picture.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "base64.h"
#include "number_text.h"
#include "picture_page.h"
#include "raster_picture.h"
#include "svg_canvas.h"

namespace ptmatch::tool {
namespace {

constexpr Rgb kHighestMark{255, 255, 255};
constexpr Rgb kPoseMark{64, 255, 140};
constexpr Rgb kCasing{0, 0, 0};
constexpr Rgb kDark{24, 16, 48};
constexpr double kPanelHeight = 640.0;

/// Sizes of the rings, so that they leave the vote itself free.
struct RingRadii {
    double highest;
    double pose;

    /// @param side  of the square of a vote, in pixels or units of the page
    explicit RingRadii(double side)
        : highest(std::max(9.0, 0.8 * side + 4.0)), pose(highest + 5.5) {}
};

/// How votes become pixels: each a square of `zoom` pixels, or, where they are many, `reduction` of
/// them each way one pixel.
struct Zoom {
    std::size_t zoom = 1;
    std::size_t reduction = 1;

    explicit Zoom(const rxVoteImage& image) {
        constexpr std::size_t kWanted = 1000;
        constexpr std::size_t kMost = 2000;
        const auto longest = static_cast<std::size_t>(std::max(image.width, image.height));
        zoom = std::max<std::size_t>(1, kWanted / longest);
        reduction = (longest + kMost - 1) / kMost;
    }

    std::size_t pixels(long votes) const {
        return (static_cast<std::size_t>(votes) + reduction - 1) / reduction * zoom;
    }
    double pixelsPerVote() const {
        return static_cast<double>(zoom) / static_cast<double>(reduction);
    }
};

/// Colours of votes: the scale runs from the lowest to the highest of the picture.
class VoteColours {
  public:
    explicit VoteColours(const VoteReport& report)
        : low_(static_cast<double>(std::min(report.lowest, 0L))),
          span_(std::max(1.0, static_cast<double>(report.highest()) - low_)) {}

    Rgb operator()(long vote) const {
        return scaleColour((static_cast<double>(vote) - low_) / span_);
    }
    double low() const { return low_; }
    double high() const { return low_ + span_; }

  private:
    double low_;
    double span_;
};

/// The highest vote of those that one pixel stands for.
long highestIn(const rxVoteImage& image, std::size_t column, std::size_t row, const Zoom& zoom) {
    const auto size = static_cast<long>(zoom.reduction);
    const long firstColumn = static_cast<long>(column) * size;
    const long firstRow = static_cast<long>(row) * size;
    long highest = image.vote(firstColumn, firstRow);
    for (long y = firstRow; y < std::min(firstRow + size, image.height); ++y) {
        for (long x = firstColumn; x < std::min(firstColumn + size, image.width); ++x) {
            highest = std::max<long>(highest, image.vote(x, y));
        }
    }
    return highest;
}

RasterPicture rasterOf(const VoteReport& report, const Zoom& zoom) {
    const VoteColours colours(report);
    RasterPicture picture(zoom.pixels(report.image.width), zoom.pixels(report.image.height));
    for (std::size_t y = 0; y < picture.height(); y += zoom.zoom) {
        for (std::size_t x = 0; x < picture.width(); x += zoom.zoom) {
            const Rgb colour = colours(highestIn(report.image, x / zoom.zoom, y / zoom.zoom, zoom));
            for (std::size_t k = 0; k < zoom.zoom * zoom.zoom; ++k) {
                picture.at(x + k % zoom.zoom, y + k / zoom.zoom) = colour;
            }
        }
    }
    return picture;
}

void drawRing(RasterPicture& picture, const rxVector<2>& at, double radius, const Rgb& colour) {
    picture.ring(at.x(), at.y(), radius, 4.0, kCasing);
    picture.ring(at.x(), at.y(), radius, 2.0, colour);
}

rxVector<2> middleOfHighest(const VoteReport& report) {
    return {static_cast<double>(report.highestColumn) + 0.5,
            static_cast<double>(report.highestRow) + 0.5};
}

// ---- the picture with axes

PictureFrame frameOf(const rxVoteImage& image, const PageBox& box) {
    const auto width = static_cast<double>(image.width);
    const auto height = static_cast<double>(image.height);
    return {{image.translation(0.0, 0.0), image.translation(width, height)}, box, YAxis::kDown};
}

void drawVotes(SvgCanvas& canvas, const PictureFrame& frame, const VoteReport& report) {
    const rxVoteImage& image = report.image;
    const Zoom zoom(image);
    const RasterPicture raster = rasterOf(report, zoom);
    const rxVector<2> corner = frame.toPage(image.translation(0.0, 0.0));
    const double pixel = frame.scale() * image.step / zoom.pixelsPerVote();
    canvas.image(corner, pixel * static_cast<double>(raster.width()),
                 pixel * static_cast<double>(raster.height()),
                 "data:image/png;base64," + base64Text(pngBytes(raster)),
                 {{"id", "votes"}, {"style", "image-rendering:pixelated"}});
}

void drawMark(SvgCanvas& canvas, const rxVector<2>& at, double radius, const Rgb& colour,
              const std::string& hint, const std::string& fill = "none") {
    const SvgCanvas::Attributes casing = {
        {"fill", fill}, {"stroke", hexText(kCasing)}, {"stroke-width", "4"}};
    const SvgCanvas::Attributes line = {
        {"fill", "none"}, {"stroke", hexText(colour)}, {"stroke-width", "2"}};
    canvas.circle(at, radius, casing);
    canvas.circle(at, radius, line, hint);
}

void drawMarks(SvgCanvas& canvas, const PictureFrame& frame, const VoteReport& report) {
    const auto toPage = [&](const rxVector<2>& place) {
        return frame.toPage(report.image.translation(place.x(), place.y()));
    };
    const RingRadii radii(frame.scale() * report.image.step);
    const auto group = canvas.group({{"id", "marks"}});
    drawMark(canvas, toPage(middleOfHighest(report)), radii.highest, kHighestMark,
             "highest vote " + std::to_string(report.highest()));
    for (const VoteReport::Pose& pose : report.poses) {
        const rxVector<2> at = toPage(pose.place);
        const std::string rank = std::to_string(pose.rank);
        drawMark(canvas, at, radii.pose, kPoseMark, "pose " + rank);
        if (report.poses.size() < 2) continue;
        canvas.text({at.x() + radii.pose + 4.0, at.y() - 8.0}, rank,
                    {{"font-size", "14"},
                     {"font-weight", "bold"},
                     {"fill", hexText(kPoseMark)},
                     {"paint-order", "stroke"},
                     {"stroke", hexText(kCasing)},
                     {"stroke-width", "3"}});
    }
}

/// A bar with the colours of the votes; numbers at its ends and at the threshold.
void drawScale(SvgCanvas& canvas, Panel& panel, const VoteReport& report) {
    constexpr int kSteps = 60;
    constexpr double kHeight = 18.0;
    const VoteColours colours(report);
    panel.heading("VOTES");
    panel.skip(4);
    const double y = panel.y();
    {
        const auto group = canvas.group({{"id", "scale"}, {"shape-rendering", "crispEdges"}});
        for (int k = 0; k < kSteps; ++k) {
            canvas.rectangle({panel.x() + kPanelWidth * k / kSteps, y}, kPanelWidth / kSteps,
                             kHeight, {{"fill", hexText(scaleColour((k + 0.5) / kSteps))}});
        }
    }
    const auto label = [&](double x, const std::string& text, const char* anchor) {
        canvas.text({x, y + kHeight + 15.0}, text,
                    {{"font-size", "12"}, {"fill", kInk}, {"text-anchor", anchor}});
    };
    label(panel.x(), fixedText(colours.low(), 0), "start");
    label(panel.x() + kPanelWidth, fixedText(colours.high(), 0), "end");
    const auto threshold = static_cast<double>(report.image.threshold);
    const double share = (threshold - colours.low()) / (colours.high() - colours.low());
    if (share <= 1.0) {
        const double x = panel.x() + kPanelWidth * share;
        canvas.line({x, y - 4.0}, {x, y + kHeight + 4.0},
                    {{"stroke", kInk}, {"stroke-width", "1.5"}});
        if (share > 0.08 && share < 0.92) label(x, fixedText(threshold, 0), "middle");
    }
    panel.skip(kHeight + 28.0);
}

void writeFigures(Panel& panel, const VoteReport& report) {
    const rxVoteImage& image = report.image;
    const rxVector<2> shift = image.translation(static_cast<double>(report.highestColumn),
                                                static_cast<double>(report.highestRow));
    panel.heading(report.isOfBestPose ? "SCALE AND ROTATION OF THE BEST POSE"
                                      : "WHERE THE HIGHEST VOTE STANDS");
    panel.figure("scale against the start", fixedText(image.place.scale, 5));
    panel.figure("rotation against the start",
                 fixedText(image.place.rotationDegrees, 3) + "\u00b0");
    panel.figure("translations",
                 std::to_string(image.width) + " \u00d7 " + std::to_string(image.height));
    panel.figure("step", significantText(image.step, 5));
    panel.figure("threshold", std::to_string(image.threshold));
    panel.figure("highest vote",
                 std::to_string(report.highest()) + " of " + std::to_string(image.highestPossible));
    panel.figure("at shift", fixedText(shift.x(), 2) + ", " + fixedText(shift.y(), 2));
}

void writeLegend(SvgCanvas& canvas, Panel& panel, const VoteReport& report) {
    panel.heading("LEGEND");
    panel.legend("highest vote", std::to_string(report.highest()), [&](const rxVector<2>& at) {
        drawMark(canvas, at, 5.0, kHighestMark, {}, hexText(kDark));
    });
    panel.legend("pose found", std::to_string(report.poses.size()), [&](const rxVector<2>& at) {
        drawMark(canvas, at, 7.0, kPoseMark, {}, hexText(kDark));
    });
    if (report.posesElsewhere > 0) {
        panel.figure("poses at other scales, rotations", std::to_string(report.posesElsewhere), 12);
    }
    panel.skip(10);
    panel.write("Axes: shift of the centre of the model,", 12, kFaintInk, "normal");
    panel.write("model units, seen from the start pose", 12, kFaintInk, "normal");
}

}  // namespace

std::string votePng(const VoteReport& report) {
    const Zoom zoom(report.image);
    RasterPicture picture = rasterOf(report, zoom);
    const auto toPixel = [&](const rxVector<2>& place) {
        return rxVector<2>(zoom.pixelsPerVote() * place.x(), zoom.pixelsPerVote() * place.y());
    };
    const RingRadii radii(zoom.pixelsPerVote());
    drawRing(picture, toPixel(middleOfHighest(report)), radii.highest, kHighestMark);
    for (const VoteReport::Pose& pose : report.poses) {
        drawRing(picture, toPixel(pose.place), radii.pose, kPoseMark);
    }
    return pngBytes(picture);
}

std::string voteSvg(const VoteReport& report, const MatchReport& match) {
    const rxVoteImage& image = report.image;
    const PageLayout page = layoutFor(
        {image.translation(0.0, 0.0),
         image.translation(static_cast<double>(image.width), static_cast<double>(image.height))},
        kPanelHeight);
    const PictureFrame frame = frameOf(image, page.plot);
    SvgCanvas canvas(page.width, page.height);
    canvas.rectangle({0.0, 0.0}, page.width, page.height, {{"fill", "#fafbfc"}});
    {
        const auto group = canvas.group({{"font-family", kFontFamily}});
        drawAxes(canvas, frame);
        {
            const PageBox& box = frame.box();
            canvas.clipRectangle("plot", {box.x, box.y}, box.width, box.height);
            const auto clipped = canvas.group({{"clip-path", "url(#plot)"}});
            drawVotes(canvas, frame, report);
            drawMarks(canvas, frame, report);
        }
        Panel panel(canvas, page.panelX, kEdge - 6);
        panel.write("Votes for translations", 21, kInk, "bold");
        panel.figure("model", shortFileName(match.modelFile), 12);
        panel.figure("data", shortFileName(match.dataFile), 12);
        panel.skip(14);
        writeFigures(panel, report);
        panel.skip(16);
        drawScale(canvas, panel, report);
        panel.skip(8);
        writeLegend(canvas, panel, report);
    }
    return canvas.finished();
}

}  // namespace ptmatch::tool
