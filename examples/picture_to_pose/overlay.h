#pragma once

#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "foundation/vector.h"

namespace picture_to_pose {

namespace colours {  // blue, green, red
inline const cv::Scalar kGood(110, 230, 60);
inline const cv::Scalar kMissing(70, 70, 255);
inline const cv::Scalar kClutter(40, 170, 255);
inline const cv::Scalar kFrame(255, 200, 60);
inline const cv::Scalar kResidual(60, 255, 255);
inline const cv::Scalar kFirstAxis(80, 80, 255);
inline const cv::Scalar kSecondAxis(255, 140, 60);
inline const cv::Scalar kText(255, 255, 255);
}  // namespace colours

/// A drawing over a picture. Places and lengths are those of the picture, the centre of its first
/// pixel being (0, 0); the drawing is made larger where the picture is small, so that labels can be
/// read. What is not finite, or far outside, is left out.
class Overlay {
  public:
    /// @param picture  8-bit, grey or BGR.
    explicit Overlay(const cv::Mat& picture);

    void line(const rxVector<2>& a, const rxVector<2>& b, const cv::Scalar& colour, int width = 1);
    void arrow(const rxVector<2>& a, const rxVector<2>& b, const cv::Scalar& colour);
    void polygon(const std::vector<rxVector<2>>& corners, const cv::Scalar& colour, int width = 1);
    void circle(const rxVector<2>& centre, double radius, const cv::Scalar& colour, int width = 1);
    void cross(const rxVector<2>& centre, double radius, const cv::Scalar& colour);
    /// @param size  height of the capitals, pixels of the drawing.
    void label(const rxVector<2>& middle, const std::string& text, const cv::Scalar& colour,
               double size);

    /// How many pixels of the drawing one of the picture takes.
    double scale() const { return scale_; }

    /// The drawing, above the lines of a caption.
    cv::Mat withCaption(const std::vector<std::string>& lines) const;

  private:
    bool isInSight_(const rxVector<2>& p) const;
    cv::Point fixedPoint_(const rxVector<2>& p) const;

    double scale_ = 1.0;
    cv::Mat drawing_;
};

}  // namespace picture_to_pose
