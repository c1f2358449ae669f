#include "blob_finder.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <optional>
#include <utility>

namespace picture_to_pose {
namespace {

constexpr double kPi = 3.14159265358979323846;

// Dark blobs on a light ground, whatever they were.
cv::Mat darkOnLight(const cv::Mat& picture, bool bright) {
    cv::Mat grey;
    if (picture.channels() == 1) {
        grey = picture.clone();
    } else {
        cv::cvtColor(picture, grey, cv::COLOR_BGR2GRAY);
    }
    if (bright) cv::bitwise_not(grey, grey);
    return grey;
}

// 255 where a pixel is darker than its surroundings. The window is wide enough for the ground to
// outweigh the largest blob in it.
cv::Mat darkerThanAround(const cv::Mat& grey, const BlobOptions& options) {
    const int widest = std::min(grey.cols, grey.rows) | 1;
    const int window = std::clamp(2 * cvCeil(options.maxDiameter) + 1, 3, std::max(3, widest));
    cv::Mat smooth;
    cv::GaussianBlur(grey, smooth, cv::Size(3, 3), 0.0);
    cv::Mat dark;
    cv::adaptiveThreshold(smooth, dark, 255, cv::ADAPTIVE_THRESH_MEAN_C, cv::THRESH_BINARY_INV,
                          window, 0.5 * options.contrast);
    return dark;
}

bool isBlob(const std::vector<cv::Point>& outline, const BlobOptions& options) {
    // An outline runs through the centres of the outermost pixels: half a pixel is missing around.
    const double perimeter = cv::arcLength(outline, true);
    const double area = cv::contourArea(outline) + 0.5 * perimeter + 1.0;
    const double diameter = std::sqrt(4.0 * area / kPi);
    if (diameter < options.minDiameter || diameter > options.maxDiameter) return false;
    const double around = perimeter + kPi;
    return 4.0 * kPi * area >= options.roundness * around * around;
}

std::vector<uchar> borderOf(const cv::Mat& box) {
    std::vector<uchar> levels;
    for (int x = 0; x < box.cols; ++x) {
        levels.push_back(box.at<uchar>(0, x));
        levels.push_back(box.at<uchar>(box.rows - 1, x));
    }
    for (int y = 1; y < box.rows - 1; ++y) {
        levels.push_back(box.at<uchar>(y, 0));
        levels.push_back(box.at<uchar>(y, box.cols - 1));
    }
    return levels;
}

double medianOf(std::vector<uchar> levels) {
    const auto middle = levels.begin() + static_cast<std::ptrdiff_t>(levels.size() / 2);
    std::nth_element(levels.begin(), middle, levels.end());
    return *middle;
}

// The centre of what is darker than the ground, in and right around the outline.
std::optional<cv::KeyPoint> measured(const cv::Mat& grey,
                                     const std::vector<std::vector<cv::Point>>& outlines, int index,
                                     const BlobOptions& options) {
    constexpr int kMargin = 3;
    cv::Rect box = cv::boundingRect(outlines[static_cast<std::size_t>(index)]);
    box -= cv::Point(kMargin, kMargin);
    box += cv::Size(2 * kMargin, 2 * kMargin);
    const cv::Rect picture(cv::Point(), grey.size());
    if ((box & picture) != box) return std::nullopt;  // cut off: its centre is anybody's guess

    cv::Mat inside(box.size(), CV_8U, cv::Scalar(0));
    cv::drawContours(inside, outlines, index, cv::Scalar(255), cv::FILLED, cv::LINE_8,
                     cv::noArray(), 0, -box.tl());
    cv::Mat around;
    cv::dilate(inside, around, cv::getStructuringElement(cv::MORPH_ELLIPSE, cv::Size(5, 5)));

    const double ground = medianOf(borderOf(grey(box)));
    std::vector<uchar> levels;
    double weight = 0.0;
    double x = 0.0;
    double y = 0.0;
    for (int row = 0; row < box.height; ++row) {
        for (int column = 0; column < box.width; ++column) {
            if (around.at<uchar>(row, column) == 0) continue;
            const uchar level = grey.at<uchar>(box.y + row, box.x + column);
            if (inside.at<uchar>(row, column) != 0) levels.push_back(level);
            const double depth = std::max(0.0, ground - level);
            weight += depth;
            x += depth * column;
            y += depth * row;
        }
    }
    const double depth = ground - medianOf(std::move(levels));
    if (depth < options.contrast) return std::nullopt;
    const double diameter = std::sqrt(4.0 * weight / depth / kPi);
    return cv::KeyPoint(static_cast<float>(box.x + x / weight),
                        static_cast<float>(box.y + y / weight), static_cast<float>(diameter), -1.0F,
                        static_cast<float>(depth));
}

}  // namespace

std::vector<cv::KeyPoint> findBlobs(const cv::Mat& picture, const BlobOptions& options) {
    const cv::Mat grey = darkOnLight(picture, options.bright);
    std::vector<std::vector<cv::Point>> outlines;
    std::vector<cv::Vec4i> nesting;
    cv::findContours(darkerThanAround(grey, options), outlines, nesting, cv::RETR_CCOMP,
                     cv::CHAIN_APPROX_NONE);
    std::vector<cv::KeyPoint> blobs;
    for (std::size_t k = 0; k < outlines.size(); ++k) {
        const bool isHole = nesting[k][3] >= 0;  // has a parent: the rim of a gap in something dark
        if (isHole || !isBlob(outlines[k], options)) continue;
        if (const auto blob = measured(grey, outlines, static_cast<int>(k), options)) {
            blobs.push_back(*blob);
        }
    }
    return blobs;
}

}  // namespace picture_to_pose
