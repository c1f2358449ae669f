// Finds the dots of a plate on a photograph, gives each its column and row, and draws them.
//
//     plate_to_grid plate.png --pattern plate.txt --out overlay.png
//
// Ends with 0 when a plate was found, with 1 when none was, with 2 when something cannot be read.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <stdexcept>

#include "blob_finder.h"
#include "blob_options.h"
#include "overlay.h"
#include "picture_source.h"
#include "plate_grid.h"
#include "ptmatch/adapters.h"
#include "tables.h"
#include "text.h"

namespace {

using namespace picture_to_pose;

struct Options {
    SourceOptions source;
    BlobOptions blobs;
    PlateOptions plate;
    std::string patternFile;
    std::string csvFile;
};

std::string residualText(const rxFitResidual& residual) {
    return "rms " + fixedText(residual.rms, 3) + " px, largest " + fixedText(residual.largest, 3) +
           " px";
}

std::string summary(const Plate& plate, std::size_t numBlobs, const Options& options) {
    std::string text = std::to_string(numBlobs) + " blobs, " + std::to_string(plate.dots.size());
    if (options.plate.pattern.empty()) return text + " of them dots of a plate";
    const std::size_t all = options.plate.pattern.size();
    const double coverage = static_cast<double>(plate.dots.size()) / static_cast<double>(all);
    return text + " of them dots of the pattern, which has " + std::to_string(all) + ": coverage " +
           fixedText(100.0 * coverage, 1) + " %";
}

std::string affineText(const Plate& plate) {
    const rxMatrix<2> m = plate.affine.matrix();
    return "affine: (0, 0) at " + pairText(plate.affine.trans(), 2) + ", a column is " +
           pairText({m.element(0, 0), m.element(1, 0)}, 2) + ", a row " +
           pairText({m.element(0, 1), m.element(1, 1)}, 2) + "; " +
           residualText(plate.affineResidual);
}

void print(const Plate& plate, std::size_t numBlobs, const Options& options) {
    std::cout << summary(plate, numBlobs, options) << "\n  " << affineText(plate)
              << "\n  perspective: " << residualText(plate.perspectiveResidual) << "\n  parameters"
              << std::setprecision(12);
    for (const double p : plate.perspective.a2bParams()) std::cout << ' ' << p;
    std::cout << '\n';
}

void writeCsv(const std::string& file, const Plate& plate) {
    std::ofstream stream(file);
    stream << "column,row,x,y,residual\n" << std::fixed << std::setprecision(3);
    for (const PlacedDot& dot : plate.dots) {
        stream << dot.position.x() << ',' << dot.position.y() << ',' << dot.centre.x() << ','
               << dot.centre.y() << ',' << dot.residual << '\n';
    }
    stream.close();
    if (!stream) throw std::runtime_error(file + ": cannot be written");
}

// How much residuals are magnified: the largest takes a third of the spacing.
double magnification(const Plate& plate) {
    const double largest = std::max(plate.perspectiveResidual.largest, 1e-6);
    const double wanted = plate.spacing / 3.0 / largest;
    const double power = std::pow(10.0, std::floor(std::log10(wanted)));
    const double digit = wanted / power >= 5.0 ? 5.0 : wanted / power >= 2.0 ? 2.0 : 1.0;
    return std::clamp(digit * power, 1.0, 1000.0);
}

void drawGrid(Overlay& overlay, const Plate& plate, bool staggered) {
    const auto isPlaced = [&](const rxPair<long>& position) {
        return std::any_of(plate.dots.begin(), plate.dots.end(),
                           [&](const PlacedDot& dot) { return dot.position == position; });
    };
    for (const PlacedDot& dot : plate.dots) {
        const rxVector<2> here = plate.perspective.a2b(dot.position);
        const std::array<rxPair<long>, 2> steps =
            staggered ? std::array<rxPair<long>, 2>{{{1, 1}, {-1, 1}}}
                      : std::array<rxPair<long>, 2>{{{1, 0}, {0, 1}}};
        for (const rxPair<long>& step : steps) {
            if (!isPlaced(dot.position + step)) continue;
            overlay.line(here, plate.perspective.a2b(dot.position + step), colours::kFrame);
        }
    }
    const double reach = staggered ? 2.0 : 1.0;
    const rxVector<2> origin = plate.perspective.a2b({0, 0});
    const rxVector<2> column = plate.perspective.a2b({reach, 0});
    const rxVector<2> row = plate.perspective.a2b({0, reach});
    overlay.arrow(origin, column, colours::kFirstAxis);
    overlay.arrow(origin, row, colours::kSecondAxis);
}

void drawDots(Overlay& overlay, const Plate& plate, const std::vector<cv::KeyPoint>& blobs,
              double times) {
    const double textSize = std::clamp(0.17 * plate.spacing * overlay.scale(), 6.0, 13.0);
    for (const PlacedDot& dot : plate.dots) {
        const cv::KeyPoint& blob = blobs[dot.blob];
        const rxVector<2> centre = rfPoint(blob.pt);
        const double radius = 0.5 * blob.size;
        overlay.circle(centre, radius + 1.5, colours::kGood, 2);
        const rxVector<2> expected = plate.perspective.a2b(dot.position);
        const rxVector<2> off = dot.centre - expected;
        overlay.line(expected, {expected.x() + times * off.x(), expected.y() + times * off.y()},
                     colours::kResidual, 2);
        const rxVector<2> below(centre.x(),
                                centre.y() + radius + 2.0 + 0.9 * textSize / overlay.scale());
        overlay.label(below,
                      std::to_string(dot.position.x()) + "," + std::to_string(dot.position.y()),
                      colours::kText, textSize);
    }
    for (const rxPair<long>& position : plate.missing) {
        const rxVector<2> place = plate.perspective.a2b(position);
        overlay.circle(place, 0.25 * plate.spacing, colours::kMissing, 2);
        overlay.cross(place, 0.25 * plate.spacing, colours::kMissing);
    }
}

void drawClutter(Overlay& overlay, const std::vector<cv::KeyPoint>& blobs, const Plate& plate) {
    std::vector<bool> isDot(blobs.size(), false);
    for (const PlacedDot& dot : plate.dots) isDot[dot.blob] = true;
    for (std::size_t k = 0; k < blobs.size(); ++k) {
        if (!isDot[k])
            overlay.circle(rfPoint(blobs[k].pt), 0.5 * blobs[k].size + 1.5, colours::kClutter, 1);
    }
}

bool look(const cv::Mat& picture, int frame, const Options& options, cv::Mat& drawing) {
    const std::vector<cv::KeyPoint> blobs = findBlobs(picture, options.blobs);
    std::vector<Blob> dots;
    for (const cv::KeyPoint& blob : blobs) dots.push_back({rfPoint(blob.pt), 0.5 * blob.size});
    const std::optional<Plate> plate = findPlate(dots, options.plate);

    Overlay overlay(picture);
    if (!plate) {
        drawClutter(overlay, blobs, {});
        const std::string text = std::to_string(blobs.size()) + " blobs, no plate found";
        std::cout << text << '\n';
        drawing = overlay.withCaption({text});
        return false;
    }
    print(*plate, blobs.size(), options);
    if (!options.csvFile.empty()) writeCsv(numbered(options.csvFile, frame), *plate);
    const double times = magnification(*plate);
    drawGrid(overlay, *plate, options.plate.staggered);
    drawClutter(overlay, blobs, *plate);
    drawDots(overlay, *plate, blobs, times);
    drawing = overlay.withCaption({summary(*plate, blobs.size(), options), affineText(*plate),
                                   "perspective: " + residualText(plate->perspectiveResidual) +
                                       "; residuals drawn " + fixedText(times, 0) + " times"});
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Finds the dots of a plate on a photograph and gives each its column and row.");
    Options options;
    addSourceOptions(app, options.source);
    addBlobOptions(app, options.blobs);
    app.add_option("--pattern", options.patternFile,
                   "The plate as text: x for a dot, . for none, a line for each row")
        ->type_name("FILE");
    app.add_option("--spacing", options.plate.spacing,
                   "Distance of neighbouring dots, pixels; by itself if not given")
        ->check(CLI::PositiveNumber);
    app.add_option("--tolerance", options.plate.tolerance,
                   "How much of itself that distance may vary over the picture")
        ->check(CLI::Range(0.01, 0.9))
        ->capture_default_str();
    app.add_option("--snap", options.plate.snap,
                   "How far a dot may lie from its position, as a share of the distance")
        ->check(CLI::Range(0.01, 0.45))
        ->capture_default_str();
    app.add_flag("--staggered", options.plate.staggered, "Every other position is empty");
    app.add_option("--row-ratio", options.plate.rowRatio,
                   "Distance of rows over distance of columns")
        ->check(CLI::Range(0.1, 10.0))
        ->capture_default_str();
    app.add_option("--min-coverage", options.plate.minCoverage,
                   "Least share of the pattern that has to be seen")
        ->check(CLI::Range(0.01, 1.0))
        ->capture_default_str();
    app.add_option("--csv", options.csvFile,
                   "Write column, row, place and residual of each dot; frames are numbered")
        ->type_name("FILE");
    CLI11_PARSE(app, argc, argv);

    return guarded("plate_to_grid", [&] {
        if (!options.patternFile.empty()) {
            options.plate.pattern = readPattern(options.patternFile);
            if (options.plate.pattern.size() < 10) {
                throw std::runtime_error(options.patternFile + ": a pattern needs 10 dots or more");
            }
        }
        const bool isFound =
            lookAtAll(options.source, [&](const cv::Mat& picture, int frame, cv::Mat& drawing) {
                return look(picture, frame, options, drawing);
            });
        return isFound ? 0 : 1;
    });
}
