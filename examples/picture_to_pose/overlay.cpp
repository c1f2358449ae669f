#include "overlay.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

namespace picture_to_pose {
namespace {

// Places are given to the drawing functions in sixteenths of a pixel.
constexpr int kShift = 4;
constexpr double kSixteenths = 16.0;
constexpr int kFont = cv::FONT_HERSHEY_SIMPLEX;

// Of the capitals of the font at scale 1.
constexpr double kCapitalHeight = 21.0;

// Half the colour, three quarters of the light: the drawing has to stand out.
cv::Mat faded(const cv::Mat& picture) {
    cv::Mat grey;
    cv::Mat colour;
    if (picture.channels() == 1) {
        grey = picture;
    } else {
        cv::cvtColor(picture, grey, cv::COLOR_BGR2GRAY);
    }
    cv::cvtColor(grey, grey, cv::COLOR_GRAY2BGR);
    if (picture.channels() == 1) {
        colour = grey;
    } else {
        colour = picture;
    }
    cv::Mat mixed;
    cv::addWeighted(grey, 0.4, colour, 0.35, 0.0, mixed);
    return mixed;
}

}  // namespace

Overlay::Overlay(const cv::Mat& picture) {
    constexpr double kWideEnough = 1200.0;
    scale_ = std::clamp(std::ceil(kWideEnough / picture.cols), 1.0, 4.0);
    cv::resize(faded(picture), drawing_, cv::Size(), scale_, scale_, cv::INTER_CUBIC);
}

bool Overlay::isInSight_(const rxVector<2>& p) const {
    constexpr double kMargin = 2000.0;
    return std::abs(p.x()) * scale_ < drawing_.cols + kMargin &&
           std::abs(p.y()) * scale_ < drawing_.rows + kMargin;
}

cv::Point Overlay::fixedPoint_(const rxVector<2>& p) const {
    const double x = (p.x() + 0.5) * scale_ - 0.5;
    const double y = (p.y() + 0.5) * scale_ - 0.5;
    return {cvRound(x * kSixteenths), cvRound(y * kSixteenths)};
}

void Overlay::line(const rxVector<2>& a, const rxVector<2>& b, const cv::Scalar& colour,
                   int width) {
    if (!isInSight_(a) || !isInSight_(b)) return;
    cv::line(drawing_, fixedPoint_(a), fixedPoint_(b), colour, width, cv::LINE_AA, kShift);
}

void Overlay::arrow(const rxVector<2>& a, const rxVector<2>& b, const cv::Scalar& colour) {
    line(a, b, colour, 3);
    const rxVector<2> along = a - b;
    const double length = along.len();
    if (!(length > 0.0)) return;
    const double head = std::min(12.0 / scale_, 0.4 * length) / length;
    const double wide = 0.5 * head;
    line(b,
         {b.x() + head * along.x() - wide * along.y(), b.y() + head * along.y() + wide * along.x()},
         colour, 3);
    line(b,
         {b.x() + head * along.x() + wide * along.y(), b.y() + head * along.y() - wide * along.x()},
         colour, 3);
}

void Overlay::polygon(const std::vector<rxVector<2>>& corners, const cv::Scalar& colour,
                      int width) {
    for (std::size_t k = 0; k < corners.size(); ++k) {
        line(corners[k], corners[(k + 1) % corners.size()], colour, width);
    }
}

void Overlay::circle(const rxVector<2>& centre, double radius, const cv::Scalar& colour,
                     int width) {
    if (!isInSight_(centre)) return;
    cv::circle(drawing_, fixedPoint_(centre), cvRound(radius * scale_ * kSixteenths), colour, width,
               cv::LINE_AA, kShift);
}

void Overlay::cross(const rxVector<2>& centre, double radius, const cv::Scalar& colour) {
    const double r = 0.7 * radius;
    line({centre.x() - r, centre.y() - r}, {centre.x() + r, centre.y() + r}, colour, 2);
    line({centre.x() - r, centre.y() + r}, {centre.x() + r, centre.y() - r}, colour, 2);
}

void Overlay::label(const rxVector<2>& middle, const std::string& text, const cv::Scalar& colour,
                    double size) {
    if (!isInSight_(middle)) return;
    const double fontScale = size / kCapitalHeight;
    int baseline = 0;
    const cv::Size box = cv::getTextSize(text, kFont, fontScale, 1, &baseline);
    const cv::Point place(cvRound((middle.x() + 0.5) * scale_ - 0.5 * box.width),
                          cvRound((middle.y() + 0.5) * scale_ + 0.5 * box.height));
    cv::putText(drawing_, text, place, kFont, fontScale, cv::Scalar(20, 20, 20), 3, cv::LINE_AA);
    cv::putText(drawing_, text, place, kFont, fontScale, colour, 1, cv::LINE_AA);
}

cv::Mat Overlay::withCaption(const std::vector<std::string>& lines) const {
    constexpr double kFontScaleOfWidth = 0.6 / 1300.0;
    double fontScale = kFontScaleOfWidth * drawing_.cols;
    const int lineHeight = cvRound(2.0 * kCapitalHeight * fontScale);
    const int margin = lineHeight / 2;
    int widest = 0;
    for (const std::string& text : lines) {
        int baseline = 0;
        widest = std::max(widest, cv::getTextSize(text, kFont, fontScale, 2, &baseline).width);
    }
    fontScale *= std::min(1.0, (drawing_.cols - 2.0 * margin) / std::max(1, widest));
    cv::Mat page;
    cv::copyMakeBorder(drawing_, page, 0, static_cast<int>(lines.size()) * lineHeight + margin, 0,
                       0, cv::BORDER_CONSTANT, cv::Scalar(32, 28, 26));
    int y = drawing_.rows + lineHeight;
    for (const std::string& text : lines) {
        cv::putText(page, text, {margin, y}, kFont, fontScale, colours::kText,
                    fontScale > 0.8 ? 2 : 1, cv::LINE_AA);
        y += lineHeight;
    }
    return page;
}

}  // namespace picture_to_pose
