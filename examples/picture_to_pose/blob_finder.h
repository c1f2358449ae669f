#pragma once

#include <opencv2/core.hpp>
#include <vector>

namespace picture_to_pose {

/// What a blob looks like. Lengths in pixels of the picture.
struct BlobOptions {
    /// Light blobs on a dark ground (lit holes), or dark ones on a light ground (printed dots).
    bool bright = false;
    double minDiameter = 5.0;
    double maxDiameter = 60.0;
    /// How much a blob differs from the ground around it, in grey levels of 256.
    double contrast = 25.0;
    /// Area of the blob over that of its outline's circle, 4 pi area / perimeter^2: a disc has 1, a
    /// square 0.79. Dots seen obliquely are ellipses; one of axes 2 : 1 has 0.84.
    double roundness = 0.65;
};

/// The blobs of a picture: `pt` is the centre, the centre of the first pixel being (0, 0); `size`
/// the diameter of the disc of the same area; `response` the difference from the ground.
///
/// Each pixel is compared with the mean of its surroundings, so shading does no harm. The centre is
/// that of the grey levels, not of the outline, which makes it good to a small part of a pixel.
/// @param picture  8-bit, grey or BGR, not empty.
std::vector<cv::KeyPoint> findBlobs(const cv::Mat& picture, const BlobOptions& options);

}  // namespace picture_to_pose
