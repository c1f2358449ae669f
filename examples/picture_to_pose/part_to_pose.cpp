// Finds a part on a photograph by its holes, known from a drawing, and draws it where it lies.
//
//     part_to_pose part.png --model model.csv --scale 15 --bright --out overlay.png
//
// Ends with 0 when the part was found, with 1 when it was not, with 2 when something cannot be
// read.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <limits>
#include <stdexcept>

#include "blob_finder.h"
#include "blob_options.h"
#include "foundation/angle.h"
#include "overlay.h"
#include "picture_source.h"
#include "ptmatch/adapters.h"
#include "ptmatch/certainty.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/run_cost.h"
#include "tables.h"
#include "text.h"

namespace {

using namespace picture_to_pose;

struct Options {
    SourceOptions source;
    BlobOptions blobs;
    std::string modelFile;
    bool flipsY = false;
    double scale = 1.0;
    double scaleTolerance = 0.03;
    double rotation = 180.0;
    double minCoverage = 0.5;
    double captureRange = 0.0;
    std::string csvFile;
};

std::vector<rxVector<2>> readModel(const Options& options) {
    std::vector<rxVector<2>> model = readPoints(options.modelFile);
    if (model.size() < 3) {
        throw std::runtime_error(options.modelFile + ": a model needs 3 points or more");
    }
    if (options.flipsY) {
        for (rxVector<2>& hole : model) hole.y(-hole.y());
    }
    return model;
}

rxPointMatcherRunParams paramsFor(const rxPointMatcher& matcher,
                                  const std::vector<rxVector<2>>& data, const Options& options) {
    rxPointMatcherRunParams params(options.minCoverage);
    params.startPose(rxXform<2>(rxMatrix<2>(options.scale, 0, 0, options.scale), rxVector<2>()));
    params.scaleUncertainty(rxRange(-options.scaleTolerance, options.scaleTolerance));
    if (options.rotation >= 180.0) {
        params.rotationUncertainty(rxAngleRange::FullRange());
    } else {
        params.rotationUncertainty(
            rxAngleRange(rxDegree(-options.rotation), rxDegree(options.rotation)));
    }
    params.maxNumResults(10);  // the first is taken, the others tell how sure it is
    // The automatic capture range is the number of the grid size, which counts in units of the
    // model, while the capture range counts in those of the data: here the two differ in scale.
    const double captureRange = options.captureRange > 0.0
                                    ? options.captureRange
                                    : options.scale * rfRunCost(matcher, data, params).gridSize;
    params.autoCaptureRange(false);
    params.captureRange(captureRange);
    return params;
}

/// What is known after a run that found the part.
struct Found {
    rxPointMatcherResult result;
    rxCertainty certainty;
    double seconds = 0.0;
    std::size_t numBlobs = 0;
};

std::string summary(const Found& found) {
    const std::size_t matched = found.certainty.pairs.model.size();
    const std::size_t all = found.result.modelToDataMap().size();
    return std::to_string(found.numBlobs) + " blobs, " + std::to_string(matched) +
           " of them among the " + std::to_string(all) + " points of the model: coverage " +
           fixedText(100.0 * found.result.coverage(), 1) + " %, fit error " +
           fixedText(found.result.fitError(), 3) + " px, in " + fixedText(1e3 * found.seconds, 1) +
           " ms";
}

std::string poseText(const Found& found) {
    const rxXform<2>& pose = found.result.modelToDataXform();
    return "rotation " + fixedText(rxDegree(pose.rotation()).toDouble(), 3) + " deg, scale " +
           fixedText(pose.xScale(), 4) + " px per unit, origin of the model at " +
           pairText(pose.trans(), 2);
}

std::string certaintyText(const rxCertainty& certainty) {
    std::string text;
    if (certainty.covariance) {
        const rxPoseCovariance& covariance = *certainty.covariance;
        text =
            "standard deviations: " + fixedText(covariance.positionAt(covariance.centre).rms(), 3) +
            " px at the middle, " +
            fixedText(rxDegree(rxRadian(covariance.rotationSigma)).toDouble(), 4) + " deg; ";
    }
    if (certainty.log10CloseFalseAlarms) {
        text += "such poses expected by chance: 1e" +
                fixedText(*certainty.log10CloseFalseAlarms, 0) + "; ";
    }
    if (!certainty.nextPose) return text + "no other pose";
    return text + "the next pose has " + fixedText(100.0 * certainty.nextPose->coverageMargin, 0) +
           " % less coverage";
}

void writeCsv(const std::string& file, const Found& found, const std::vector<rxVector<2>>& data) {
    std::ofstream stream(file);
    stream << "model,x,y,residual\n" << std::fixed << std::setprecision(3);
    const rxMatchedPairs& pairs = found.certainty.pairs;
    for (std::size_t k = 0; k < pairs.model.size(); ++k) {
        const rxVector<2>& place = data[static_cast<std::size_t>(pairs.dataIndices[k])];
        stream << pairs.modelIndices[k] << ',' << place.x() << ',' << place.y() << ','
               << found.certainty.residuals[k] << '\n';
    }
    stream.close();
    if (!stream) throw std::runtime_error(file + ": cannot be written");
}

// The rectangle around the model, a little larger, where the pose puts it.
std::vector<rxVector<2>> frameOf(const std::vector<rxVector<2>>& model, const rxXform<2>& pose) {
    double left = std::numeric_limits<double>::infinity();
    double top = left;
    double right = -left;
    double bottom = -left;
    for (const rxVector<2>& p : model) {
        left = std::min(left, p.x());
        right = std::max(right, p.x());
        top = std::min(top, p.y());
        bottom = std::max(bottom, p.y());
    }
    const double margin = 0.04 * std::max(right - left, bottom - top);
    return {pose * rxVector<2>(left - margin, top - margin),
            pose * rxVector<2>(right + margin, top - margin),
            pose * rxVector<2>(right + margin, bottom + margin),
            pose * rxVector<2>(left - margin, bottom + margin)};
}

double typicalRadius(const std::vector<cv::KeyPoint>& blobs, const std::vector<long>& which) {
    std::vector<double> radii;
    radii.reserve(which.size());
    for (const long k : which) radii.push_back(0.5 * blobs[static_cast<std::size_t>(k)].size);
    if (radii.empty()) return 5.0;
    const auto middle = radii.begin() + static_cast<std::ptrdiff_t>(radii.size() / 2);
    std::nth_element(radii.begin(), middle, radii.end());
    return *middle;
}

// Draws the part where it lies.   @return how much residuals are magnified.
double draw(Overlay& overlay, const Found& found, const std::vector<rxVector<2>>& model,
            const std::vector<cv::KeyPoint>& blobs) {
    const rxXform<2>& pose = found.result.modelToDataXform();
    const rxMatchedPairs& pairs = found.certainty.pairs;
    const double radius = typicalRadius(blobs, pairs.dataIndices);
    const double largest =
        *std::max_element(found.certainty.residuals.begin(), found.certainty.residuals.end());
    const double times = std::clamp(std::floor(4.0 * radius / std::max(largest, 1e-6)), 1.0, 50.0);

    const std::vector<rxVector<2>> frame = frameOf(model, pose);
    overlay.polygon(frame, colours::kFrame, 2);
    std::vector<bool> isMatched(blobs.size(), false);
    for (const long k : pairs.dataIndices) isMatched[static_cast<std::size_t>(k)] = true;
    for (std::size_t k = 0; k < blobs.size(); ++k) {
        if (!isMatched[k]) {
            overlay.circle(rfPoint(blobs[k].pt), 0.5 * blobs[k].size + 1.5, colours::kClutter, 2);
        }
    }
    for (std::size_t k = 0; k < model.size(); ++k) {
        const long match = found.result.modelToDataMap()[k];
        const rxVector<2> place = pose * model[k];
        if (match < 0) {
            overlay.circle(place, radius + 1.5, colours::kMissing, 2);
            overlay.cross(place, radius + 1.5, colours::kMissing);
            continue;
        }
        const cv::KeyPoint& blob = blobs[static_cast<std::size_t>(match)];
        overlay.circle(place, 0.5 * blob.size + 1.5, colours::kGood, 2);
        const rxVector<2> off = rfPoint(blob.pt) - place;
        overlay.line(place, {place.x() + times * off.x(), place.y() + times * off.y()},
                     colours::kResidual, 2);
    }
    const double reach = 0.12 * (frame[1] - frame[0]).len();
    const auto towards = [&](const rxVector<2>& corner) {
        const rxVector<2> way = corner - frame[0];
        const double share = reach / std::max(way.len(), 1e-9);
        return frame[0] + rxVector<2>(share * way.x(), share * way.y());
    };
    overlay.arrow(frame[0], towards(frame[1]), colours::kFirstAxis);
    overlay.arrow(frame[0], towards(frame[3]), colours::kSecondAxis);
    return times;
}

bool look(const cv::Mat& picture, int frame, const rxPointMatcher& matcher, const Options& options,
          cv::Mat& drawing) {
    const std::vector<cv::KeyPoint> blobs = findBlobs(picture, options.blobs);
    std::vector<cv::Point2f> centres;
    cv::KeyPoint::convert(blobs, centres);
    const std::vector<rxVector<2>> data = rfPoints(centres);
    const rxPointMatcherRunParams params = paramsFor(matcher, data, options);
    rxPointMatcherResultSet results;
    matcher.run(data, params, results);

    Overlay overlay(picture);
    if (results.results().empty()) {
        for (const cv::KeyPoint& blob : blobs) {
            overlay.circle(rfPoint(blob.pt), 0.5 * blob.size + 1.5, colours::kClutter, 2);
        }
        const std::string text = std::to_string(blobs.size()) + " blobs, the part was not found";
        std::cout << text << '\n';
        drawing = overlay.withCaption({text});
        return false;
    }
    const Found found = {results.results().front(), rfCertainty(matcher, data, params, results, 0),
                         results.time(), blobs.size()};
    std::cout << summary(found) << "\n  " << poseText(found) << "\n  "
              << certaintyText(found.certainty) << '\n';
    if (!options.csvFile.empty()) writeCsv(numbered(options.csvFile, frame), found, data);
    const double times = draw(overlay, found, matcher.modelPoints(), blobs);
    drawing = overlay.withCaption(
        {summary(found), poseText(found),
         certaintyText(found.certainty) + "; residuals drawn " + fixedText(times, 0) + " times"});
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Finds a part on a photograph by its holes and draws it where it lies.");
    Options options;
    addSourceOptions(app, options.source);
    app.add_option("--model", options.modelFile, "Table of the holes: columns x and y, any unit")
        ->required()
        ->type_name("FILE");
    app.add_flag("--flip-y", options.flipsY, "The y of the model points up, as in drawings");
    app.add_option("--scale", options.scale, "Pixels per unit of the model")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    app.add_option("--scale-tolerance", options.scaleTolerance,
                   "How far off that scale may be, as a share of it")
        ->check(CLI::Range(0.0, 0.9))
        ->capture_default_str();
    app.add_option("--rotation", options.rotation, "Rotation either way, degrees; 180 is any")
        ->check(CLI::Range(1.0, 180.0))
        ->capture_default_str();
    app.add_option("--min-coverage", options.minCoverage,
                   "Least share of the model that has to be seen")
        ->check(CLI::Range(0.01, 1.0))
        ->capture_default_str();
    app.add_option("--capture-range", options.captureRange,
                   "How far a hole may lie from where the pose puts it, pixels; by itself if not "
                   "given")
        ->check(CLI::PositiveNumber);
    addBlobOptions(app, options.blobs);
    app.add_option("--csv", options.csvFile,
                   "Write number, place and residual of each hole found; frames are numbered")
        ->type_name("FILE");
    CLI11_PARSE(app, argc, argv);

    return guarded("part_to_pose", [&] {
        rxPointMatcher matcher;  // trained once, run on every frame
        matcher.train(readModel(options), rxPointMatcherDefs::eAutoDetect);
        const bool isFound =
            lookAtAll(options.source, [&](const cv::Mat& picture, int frame, cv::Mat& drawing) {
                return look(picture, frame, matcher, options, drawing);
            });
        return isFound ? 0 : 1;
    });
}
